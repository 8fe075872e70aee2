// Plane arithmetic without neighbours.
#include "operators/bodies/planes.h"

#include <cstring>

#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "operators/bodies/vectors.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr std::int64_t FORKED_BLOCK = 1024;  // bytes from which a block is worth the workers' while

struct {
  std::int16_t* dest;
  const std::int32_t* image;
  double factor;
} job;

void forked_long_to_plane() {
  const plane_slice slice = slice_of_plane(std::int64_t(long_image_width) * long_image_height);
  scale_samples(job.image + slice.first, job.dest + slice.first, slice.count, job.factor);
}

void forked_scale_plane() {
  const plane_slice slice = slice_of_plane();
  std::int16_t* samples = job.dest + slice.first;
  const double factor = job.factor;
  for (std::int64_t i = 0; i < slice.count; ++i) samples[i] = scaled_sample(samples[i], factor);
}

void forked_clear_plane() {
  const plane_slice slice = slice_of_plane();
  std::memset(job.dest + slice.first, 0, std::size_t(slice.count) * sizeof(std::int16_t));
}

}  // namespace

void long_to_plane(std::int16_t* dest, float factor) {
  job = {dest, current_long_image(), double(factor)};
  if (job.image) fork_processes(forked_long_to_plane);
}

void scale_plane(std::int16_t* plane, fix scale) {
  if (scale == FIX_ONE) return;
  if (scale == 0) return clear_plane(plane);
  job = {plane, nullptr, scale / 4096.0};
  fork_processes(forked_scale_plane);
}

void clear_plane(std::int16_t* plane) {
  job = {plane, nullptr, 0};
  if (short_image_size >= FORKED_BLOCK)
    fork_processes(forked_clear_plane);
  else
    std::memset(plane, 0, std::size_t(short_image_size));
}

}  // namespace tessaron::TESSARON_LEVEL
