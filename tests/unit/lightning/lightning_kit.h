// What tests of lightning share: calls of the functions as text, and measures of a plane.
#pragma once

#include <cmath>
#include <string>

#include "operators/edge_fill.h"
#include "unit/operators/gradient_kit.h"

namespace tessaron {

namespace level_generic {
extern const lightning_loops LIGHTNING_LOOPS;
}
namespace level_sse41 {
extern const lightning_loops LIGHTNING_LOOPS;
}
namespace level_avx2 {
extern const lightning_loops LIGHTNING_LOOPS;
}
namespace level_avx512 {
extern const lightning_loops LIGHTNING_LOOPS;
}

}  // namespace tessaron

namespace tessaron::testing {

/// The loops of every level that this build and the processor offer.
inline std::vector<const lightning_loops*> all_lightning_loops() {
  std::vector<const lightning_loops*> all = {&level_generic::LIGHTNING_LOOPS};
#ifdef TESSARON_HAS_SSE41
  if (cpu_level_usable(cpu_level::sse41)) all.push_back(&level_sse41::LIGHTNING_LOOPS);
#endif
#ifdef TESSARON_HAS_AVX2
  if (cpu_level_usable(cpu_level::avx2)) all.push_back(&level_avx2::LIGHTNING_LOOPS);
#endif
#ifdef TESSARON_HAS_AVX512
  if (cpu_level_usable(cpu_level::avx512)) all.push_back(&level_avx512::LIGHTNING_LOOPS);
#endif
  return all;
}

/// Edges as the fill takes them.
class grouped_edges {
 public:
  explicit grouped_edges(std::span<const fill_edge> edges)
      : groups_(groups_of(edges.size())), runs_(runs_of(edges.size())) {
    edge_writer writer(groups_.data());
    for (const fill_edge& e : edges) writer.add(e);
    writer.finish();
    make_runs(groups_.data(), edges.size(), runs_.data());
  }
  std::vector<edge_run>& runs() { return runs_; }

 private:
  std::vector<edge_group> groups_;
  std::vector<edge_run> runs_;
};

/// Arguments of zap as parameters of a definition, so that tests can move them.
inline constexpr const char* ZAP =
    "(define Z () ()\n"
    "  from = [-0.8 0.2]\n to = [0.7 -0.1]\n scatter = 0\n bolts = 1\n width = [0.2 0]\n pointiness = 0\n"
    "  shown = [0 1]\n wrinkle = [0.5 0.5]\n branches = 0\n branch = [0.5 0.5]\n seed = [1 0]\n"
    "  dest = (zap from to scatter bolts width pointiness shown wrinkle branches branch seed))";

inline constexpr test_frame ZAP_FRAME = {.width = 200, .height = 120, .output_channels = 1};

/// Sum of samples in pixels, and where they lie.
struct light_of_plane {
  double sum = 0, x = 0, y = 0;
  int left = 1 << 30, right = -1, top = 1 << 30, bottom = -1;
};
inline light_of_plane measure(const definition_renderer& r) {
  light_of_plane l;
  for (int y = r.frame_size().y0; y <= r.frame_size().y1; ++y)
    for (int x = r.frame_size().x0; x <= r.frame_size().x1; ++x) {
      const double v = r.at(0, x, y) / 4096.0;
      if (v == 0) continue;
      l.sum += v;
      l.x += v * (x + 0.5);
      l.y += v * (y + 0.5);
      l.left = std::min(l.left, x);
      l.right = std::max(l.right, x);
      l.top = std::min(l.top, y);
      l.bottom = std::max(l.bottom, y);
    }
  if (l.sum > 0) {
    l.x /= l.sum;
    l.y /= l.sum;
  }
  return l;
}

/// Mean of the differences of two results, 1.0 for white against black.
inline double light_difference(const planes_of_result& a, const planes_of_result& b) {
  return mean_difference(a, b) / 4096;
}

/// Every sample between 0 and 1.
inline void expect_coverage(const planes_of_result& result) {
  ASSERT_EQ(result.size(), 1u);
  for (const fix v : result[0]) {
    ASSERT_GE(v, 0);
    ASSERT_LE(v, 4096);
  }
}

}  // namespace tessaron::testing
