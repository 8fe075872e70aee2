// chroma_warp and chroma_warp_filter: a smear of the image along a line, each step in a colour of its own, from the
// first colour over the second to the third: fringes of a simple lens, rainbows, prisms.
#include "evaluator/pixel_loop.h"
#include "operators/bodies/sinks.h"
#include "operators/bodies/step_walk.h"
#include "operators/bodies/warps.h"
#include "operators/sampling_colours.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int FEWEST_STEPS = 3;
constexpr int TABLE_BITS = 4;  // the table's weights sum to 16

// Written before the workers start.
struct {
  sampler image;
  walk_args args;
  int n_steps;
  const chroma_step* steps;
} job;

constexpr int ALPHA = 3;

/// Sums of rounded products, kept as the bits of numbers so large that they hold no fraction: their low words, 0 for
/// the bias itself, add up like whole numbers.
struct alignas(64) rounded_sums {
  std::uint64_t of[SAMPLE_BLOCK];

  void add(const fix* samples, float weight) {
    const double w = double(weight);
    for (int i = 0; i < SAMPLE_BLOCK; ++i) {
      const double product = double(samples[i]) * w + NEAREST_INT_BIAS;
      std::uint64_t bits = 0;
      std::memcpy(&bits, &product, sizeof bits);
      of[i] += bits;
    }
  }
  fix sum(int i) const { return fix(std::uint32_t(of[i])); }
};

/// Elements of the image and of the result. An image of one element gives all three colours; alpha is the plain mean of
/// the steps, so that an opaque image stays opaque.
template <int IMAGE, int RESULT, bool FILTERED>
void chroma_warp_row(node& n) {
  const int width = n.vars->row_width;
  sample_block<IMAGE> samples = {};
  for (int first = 0; first < width; first += SAMPLE_BLOCK) {
    const int count = fix_min(width - first, SAMPLE_BLOCK);
    step_walk walk(job.image, n, job.args, job.n_steps, first, count);
    rounded_sums sums[ALPHA] = {};
    alignas(64) fix alpha[SAMPLE_BLOCK] = {};
    for (int k = 0; k < job.n_steps; ++k) {
      walk.next<IMAGE, FILTERED>(samples);
      for (int e = 0; e < ALPHA; ++e) sums[e].add(samples.of[IMAGE == 1 ? 0 : e], job.steps[k].color[e]);
      if constexpr (RESULT > ALPHA)
        for (int i = 0; i < SAMPLE_BLOCK; ++i) alpha[i] = wrap_add(alpha[i], samples.of[IMAGE - 1][i]);
    }
    for (int e = 0; e < ALPHA; ++e)
      for (int i = 0; i < count; ++i) n.rows[e][first + i] = sums[e].sum(i) >> TABLE_BITS;
    if constexpr (RESULT > ALPHA)
      for (int i = 0; i < count; ++i) n.rows[ALPHA][first + i] = nearest_int(double(alpha[i]) / job.n_steps);
  }
}

template <bool FILTERED>
struct chroma_rows {
  static constexpr node_kernel OF_ONE[5] = {nullptr, nullptr, nullptr, chroma_warp_row<1, 3, FILTERED>, nullptr};
  static constexpr node_kernel OF_COLORS[5] = {nullptr, nullptr, nullptr, chroma_warp_row<3, 3, FILTERED>,
                                               chroma_warp_row<4, 4, FILTERED>};
};

/// Arguments behind those of the walk.
struct chroma_args {
  int wrap, steps, color1, white_balance, brightness;
};

class color_scales {
 public:
  explicit color_scales(const chroma_settings& settings) { set_chroma_warp_color_scales(settings); }
  ~color_scales() { free_chroma_warp_color_scales(); }
  color_scales(const color_scales&) = delete;
  color_scales& operator=(const color_scales&) = delete;
};

template <bool FILTERED>
void chroma_warp_by(node& n, const walk_args& walk, const chroma_args& args) {
  check_image_planes(n, n.elnum);
  const fix wrap_x = setting_value(n, args.wrap, 0), wrap_y = setting_value(n, args.wrap, 1);
  chroma_settings settings = {};
  settings.n_steps = fix_max(FEWEST_STEPS, setting_value(n, args.steps) >> FIX_BITS);
  for (int k = 0; k < 3; ++k)
    for (int c = 0; c < 3; ++c) settings.colors[k][c] = setting_value(n, args.color1 + k, c);
  settings.white_balance = setting_value(n, args.white_balance) != 0;
  settings.brightness = setting_value(n, args.brightness);
  if (!prepare_sampling_image(n, wrap_x, wrap_y, FILTERED)) return;

  const color_scales scales(settings);
  job = {sampler::of_current_image(), walk, settings.n_steps, chroma_warp_color_scales().data()};
  finish_by_pixels(n, mipmap_table.elnum == 1 ? chroma_rows<FILTERED>::OF_ONE : chroma_rows<FILTERED>::OF_COLORS);
}

}  // namespace

void chroma_warp_image(node& n) {
  constexpr walk_args WALK = {.from_coords = 1, .to_coords = 2, .from_levels = -1, .to_levels = -1};
  constexpr chroma_args ARGS = {.wrap = 3, .steps = 4, .color1 = 5, .white_balance = 8, .brightness = 9};
  chroma_warp_by<false>(n, WALK, ARGS);
}

void chroma_warp_filter_image(node& n) {
  constexpr walk_args WALK = {.from_coords = 1, .to_coords = 2, .from_levels = 3, .to_levels = 4};
  constexpr chroma_args ARGS = {.wrap = 5, .steps = 6, .color1 = 7, .white_balance = 10, .brightness = 11};
  chroma_warp_by<true>(n, WALK, ARGS);
}

}  // namespace tessaron::TESSARON_LEVEL
