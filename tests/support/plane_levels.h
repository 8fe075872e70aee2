// The plane loops of every instruction-set level, for tests that call them directly.
#pragma once

#include <stdexcept>

#include "catalogue/defuns.h"
#include "operators/planes.h"

namespace tessaron {

#define TESSARON_DECLARE_PLANE_LOOPS(LEVEL)                                                                        \
  namespace LEVEL {                                                                                                \
  void blur_plane(const std::int16_t* plane, fix x_amount, fix y_amount, int edge_mode, int passes, bool subpixel, \
                  bool field_mode, int width, int height);                                                         \
  void blur_plane_to_plane(std::int16_t* dest, const std::int16_t* plane, fix scale, fix x_amount, fix y_amount,   \
                           int edge_mode, int passes, bool subpixel, bool field_mode, int width, int height);      \
  void long_to_plane(std::int16_t* dest, float factor);                                                            \
  void scale_plane(std::int16_t* plane, fix scale);                                                                \
  void clear_plane(std::int16_t* plane);                                                                           \
  }

TESSARON_DECLARE_PLANE_LOOPS(level_generic)
TESSARON_DECLARE_PLANE_LOOPS(level_sse41)
TESSARON_DECLARE_PLANE_LOOPS(level_avx2)
TESSARON_DECLARE_PLANE_LOOPS(level_avx512)

#undef TESSARON_DECLARE_PLANE_LOOPS

}  // namespace tessaron

namespace tessaron::testing {

struct plane_loops {
  decltype(&level_generic::blur_plane) blur_plane;
  decltype(&level_generic::blur_plane_to_plane) blur_plane_to_plane;
  decltype(&level_generic::long_to_plane) long_to_plane;
  decltype(&level_generic::scale_plane) scale_plane;
  decltype(&level_generic::clear_plane) clear_plane;
};

inline plane_loops plane_loops_of(cpu_level level) {
  switch (level) {
    case cpu_level::generic:
      return {level_generic::blur_plane, level_generic::blur_plane_to_plane, level_generic::long_to_plane,
              level_generic::scale_plane, level_generic::clear_plane};
#ifdef TESSARON_HAS_SSE41
    case cpu_level::sse41:
      return {level_sse41::blur_plane, level_sse41::blur_plane_to_plane, level_sse41::long_to_plane,
              level_sse41::scale_plane, level_sse41::clear_plane};
#endif
#ifdef TESSARON_HAS_AVX2
    case cpu_level::avx2:
      return {level_avx2::blur_plane, level_avx2::blur_plane_to_plane, level_avx2::long_to_plane,
              level_avx2::scale_plane, level_avx2::clear_plane};
#endif
#ifdef TESSARON_HAS_AVX512
    case cpu_level::avx512:
      return {level_avx512::blur_plane, level_avx512::blur_plane_to_plane, level_avx512::long_to_plane,
              level_avx512::scale_plane, level_avx512::clear_plane};
#endif
    default:
      throw std::logic_error("no plane loops of this level");
  }
}

}  // namespace tessaron::testing
