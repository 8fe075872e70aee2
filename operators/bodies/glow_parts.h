// What glow and the glints share: the image as colours, its parts above a threshold, and light over it.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE = 0;
constexpr int CHANNELS = 3;

/// Fetches the image into the node's first planes. A node of three elements gets colours without alpha; a single
/// element becomes all three.
void fetch_colours(node& n) {
  struct colours_only {
    ~colours_only() { max_elnum = before; }
    const std::int32_t before = max_elnum;
  } const limit;
  max_elnum = CHANNELS;
  for (int c = fetch_image_arg(n, IMAGE, n.images); c < n.elnum; ++c) copy_plane(n.images[c], n.images[c - 1]);
}

/// What stretches the samples above a threshold back to 1.0.
static inline fix threshold_stretch(fix threshold) { return 16777216 / fix_max(wrap_sub(FIX_ONE, threshold), 32); }

/// One sample of a plane that has its own threshold.
static inline std::int16_t above_threshold(fix sample, fix threshold, fix stretch) {
  return plane_sample(fix_max(fix_mul(wrap_sub(sample, threshold), stretch), 0));
}

/// Light w, above 0, screened over a sample.
static inline std::int16_t screened(fix sample, fix w) {
  return w < FIX_ONE ? plane_sample(wrap_add(fix_mul(wrap_sub(FIX_ONE, w), sample), w)) : std::int16_t(FIX_ONE);
}

constinit struct {
  std::int16_t* dest[3];
  const std::int16_t* source[3];
  fix threshold[3];
  fix stretch;
} threshold_job = {};

void forked_threshold_plane() {
  const plane_slice slice = slice_of_plane();
  const std::int16_t* from = threshold_job.source[0] + slice.first;
  std::int16_t* to = threshold_job.dest[0] + slice.first;
  const fix threshold = threshold_job.threshold[0], stretch = threshold_job.stretch;
  for (std::int64_t i = 0; i < slice.count; ++i) to[i] = above_threshold(from[i], threshold, stretch);
}

/// A plane's samples above a threshold, stretched back to 1.0. `dest` may be `source`.
void threshold_plane(std::int16_t* dest, const std::int16_t* source, fix threshold) {
  threshold_job = {{dest}, {source}, {threshold}, threshold_stretch(threshold)};
  fork_processes(forked_threshold_plane);
}

}  // namespace
}  // namespace tessaron::TESSARON_LEVEL
