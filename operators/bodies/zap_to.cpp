// zap_to: finding the bright regions that bolts go to.
#include "operators/bodies/zap_to.h"

#include "evaluator/kernels.h"
#include "evaluator/pixel_loop.h"
#include "operators/bodies/centroid.h"
#include "operators/bodies/lightning.h"
#include "operators/zap_to.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int ABORT_EVERY = 16;  // rows

void scan_regions(std::int16_t* plane, int width, int height, region_taker take, void* regions) {
  for (int y = 0; y < height; ++y) {
    if (y % ABORT_EVERY == 0 && check_abort()) return;
    for (int x = 0; (x = next_lit_bw_pixel(plane, width, x, y)) < width; ++x) {
      const centroid_sums sums = add_to_bw_centroid(plane, width, height, x, y);
      if (sums.total > 0) take(regions, double(sums.total), sums.center_x(), sums.center_y());
    }
  }
}

}  // namespace

void zap_to_image(node& n) { draw_zap_to(n, scan_regions, LIGHTNING_LOOPS); }

}  // namespace tessaron::TESSARON_LEVEL
