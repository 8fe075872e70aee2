#include "operators/bodies/flare_draw.h"

#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

// Written before the workers start.
constinit struct {
  flare_canvas canvas;
  const flare_shape* shape;
  const flare_light* lights;
  int n_lights;
} job = {};

void forked_draw() {
  int first = 0, count = 0;
  split_rows(job.canvas.height, &first, &count);
  if (count < 1) return;
  const flare_shape& shape = *job.shape;
  for (int l = 0; l < job.n_lights; ++l) {
    for (int i = 0; i < shape.n_spots(); ++i) {
      if (check_abort()) return;
      placed_spot spot;
      if (shape.place_spot(i, job.lights[l], spot)) draw_spot(job.canvas, spot, first, first + count);
    }
    for (int i = 0; i < shape.n_rays(); ++i) {
      if (check_abort()) return;
      placed_rays rays;
      if (shape.place_rays(i, job.lights[l], rays)) draw_rays(job.canvas, rays, first, first + count);
    }
  }
}

void forked_limit() {
  int first = 0, count = 0;
  split_rows(job.canvas.height, &first, &count);
  const std::int64_t at = std::int64_t(first) * job.canvas.width, n = std::int64_t(count) * job.canvas.width;
  for (std::int16_t* plane : job.canvas.planes) {
    std::int16_t* samples = plane + at;
    for (std::int64_t i = 0; i < n; ++i) samples[i] = samples[i] < FIX_ONE ? samples[i] : std::int16_t(FIX_ONE);
  }
}

}  // namespace

void add_flares(const flare_canvas& canvas, const flare_shape& shape, const flare_light* lights, int n_lights) {
  if (n_lights < 1 || shape.n_spots() + shape.n_rays() == 0) return;
  job = {canvas, &shape, lights, n_lights};
  fork_processes(forked_draw);
}

void limit_light(const flare_canvas& canvas) {
  job = {canvas, nullptr, nullptr, 0};
  fork_processes(forked_limit);
}

}  // namespace tessaron::TESSARON_LEVEL
