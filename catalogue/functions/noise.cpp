// Noise. `static` and `random` are hashes of a pixel's number or of a seed; `noise` and its kin fill the frame from a
// lattice, and solid_noise.cpp and cells.cpp hold what works at coordinates.
#include "operators/bodies/noise.h"
#include "base/fixed.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/noises.h"
#include "evaluator/frame.h"
#include "evaluator/kernels.h"
#include "evaluator/pass_hooks.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// noise and its kin fill the planes of their result and read no image.
constexpr image_needs FRAME_NOISE = {.images_per_element = 1, .aux_count_b = 1};

void define_frame_noises(fun_registry& r) {
  define(r, {.name = "noise",
             .args = {"frequency", "octaves", "shift", "rand_seed"},
             .doc = "Fractal noise over the frame, around 0.5.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = FUN_NEVER_CONSTANT,
             .flags2 = FUN2_SMOOTHS,
             .image = &FRAME_NOISE,
             .combos = {{"1,1,2,1>1 2,1,2,1>1", noise_image}}});
  define(r, {.name = "noise2",
             .args = {"frequency", "octaves", "shift", "rand_seed", "scale"},
             .doc = "Two elements of fractal noise over the frame, around 0, times scale.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = FUN_NEVER_CONSTANT,
             .flags2 = FUN2_SMOOTHS,
             .image = &FRAME_NOISE,
             .pass = [](const node& n) -> int { return arg_zero(n, 4) ? 4 : -1; },
             .combos = {{"1,1,2,1,1>2 2,1,2,1,1>2", noise_image}}});
  define(r, {.name = "noise3",
             .args = {"frequency", "octaves", "shift", "rand_seed"},
             .doc = "Three elements of fractal noise over the frame, around 0.5.",
             .cost = 10,
             .weight = 1.0f,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = FUN_NEVER_CONSTANT,
             .flags2 = FUN2_SMOOTHS,
             .image = &FRAME_NOISE,
             .combos = {{"1,1,2,1>3 2,1,2,1>3", noise_image}}});
}

// --- hashes ------------------------------------------------------------------------------------------

static inline fix low_bits(std::uint32_t v) { return fix(v & 0xfff); }

/// 0 to 0xfff.
struct static_1 {
  static inline void of(std::uint32_t n, fix* out) { out[0] = low_bits(hash4(n)); }
};

/// Two elements of -0.5 to 0.5, from the low and the high half of one hash.
struct static_2 {
  static inline void of(std::uint32_t n, fix* out) {
    const std::uint32_t v = hash4(n + 33333);
    out[0] = low_bits(v) - 0x800;
    out[1] = low_bits(v >> 16) - 0x800;
  }
};

/// Three elements of 0 to 0xfff; the third needs a hash of its own.
struct static_3 {
  static inline void of(std::uint32_t n, fix* out) {
    const std::uint32_t v = hash4(n + 77777);
    out[0] = low_bits(v);
    out[1] = low_bits(v >> 16);
    out[2] = low_bits(hash4(v) >> 8);
  }
};

/// Numbers the pixels from the frame's offset on, so that each frame has its own run of numbers.
template <class F, int N>
void static_rows(node& n) {
  const std::uint32_t first = std::uint32_t(time_globals.time_offset) + std::uint32_t(n.pixel_index);
  const int width = row_width(n);
  fix* rows[N];
  for (int e = 0; e < N; ++e) rows[e] = n.rows[e];
#pragma GCC ivdep
  for (int i = 0; i < width; ++i) {
    fix out[N];
    F::of(first + std::uint32_t(i), out);
    for (int e = 0; e < N; ++e) rows[e][i] = out[e];
  }
}

struct seed_hash {
  static inline fix of(fix seed) { return low_bits(hash4(std::uint32_t(seed))); }
};

constexpr std::uint8_t STATIC_FLAGS = FUN_NEVER_CONSTANT | FUN_FRAME_DEPENDENT | FUN_NO_CACHE;

void define_hashes(fun_registry& r) {
  define(r, {.name = "static",
             .args = {},
             .doc = "A random value of 0 to 1 for each pixel, new in every frame.",
             .cost = 1,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = STATIC_FLAGS,
             .position_dependent = true,
             .combos = {{">1", static_rows<static_1, 1>}}});
  define(r, {.name = "static2",
             .args = {},
             .doc = "Two random values of -0.5 to 0.5 for each pixel, new in every frame.",
             .cost = 1,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = STATIC_FLAGS,
             .position_dependent = true,
             .combos = {{">2", static_rows<static_2, 2>}}});
  define(r, {.name = "static3",
             .args = {},
             .doc = "Three random values of 0 to 1 for each pixel, new in every frame.",
             .cost = 1,
             .fun_class = CLASS_FRAME_NOISE,
             .flags = STATIC_FLAGS,
             .position_dependent = true,
             .combos = {{">3", static_rows<static_3, 3>}}});
  define(r, {.name = "random",
             .args = {"seed"},
             .doc = "A random value of 0 to 1 that depends on the seed alone.",
             .cost = 1,
             .fun_class = CLASS_FRAME_NOISE,
             .combos = {{"1>1", unary<seed_hash>}}});
}

}  // namespace

void define_noise(fun_registry& r) {
  define_solid_noises(r);
  define_frame_noises(r);
  define_hashes(r);
  define_cell_patterns(r);
}

}  // namespace tessaron::TESSARON_LEVEL
