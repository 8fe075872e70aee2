// The definition groups, in definition order. Each file of this folder is compiled once per
// instruction-set level and defines one group in that level's namespace.
#pragma once

#include "catalogue/defuns.h"

namespace tessaron {

#define TESSARON_DECLARE_GROUPS(LEVEL)                \
  namespace LEVEL {                                   \
  void define_unary(fun_registry& registry);          \
  void define_binary(fun_registry& registry);         \
  void define_ternary(fun_registry& registry);        \
  void define_vector(fun_registry& registry);         \
  void define_geometry(fun_registry& registry);       \
  void define_noise(fun_registry& registry);          \
  void define_blur(fun_registry& registry);           \
  void define_glow(fun_registry& registry);           \
  void define_gradient(fun_registry& registry);       \
  void define_warp(fun_registry& registry);           \
  void define_rest(fun_registry& registry);           \
  }

TESSARON_DECLARE_GROUPS(level_generic)
TESSARON_DECLARE_GROUPS(level_sse41)
TESSARON_DECLARE_GROUPS(level_avx2)
TESSARON_DECLARE_GROUPS(level_avx512)

}  // namespace tessaron
