// Frames of inputs of any size under any origin, hint and field, against rectangles worked out here: one instance
// renders them all, so that nothing of one frame may show in the next.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>

#include "support/render_kit.h"

using namespace tessaron::testing;

namespace {

constexpr int FULL = 32768, FIX_STEP = 8;  // samples of rgba16 that are whole fix values come back as they were
constexpr int INPUTS = 3;

struct area {
  int left, top, right, bottom;  // last ones inside
  bool empty() const { return left > right || top > bottom; }
  bool holds(int x, int y) const { return x >= left && x <= right && y >= top && y <= bottom; }
};
area common(const area& a, const area& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}
area around(const area& a, const area& b) {
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

/// A frame as a host might ask for it, and what the output is to hold.
struct placed_frame {
  std::array<image, INPUTS> layers;
  std::array<bool, INPUTS> present = {true, true, true};
  int origin_x = 0, origin_y = 0, field = 0;
  pf_rect hint = {};

  /// Layers lie with their middles over that of the first, halves rounded up.
  area place(int i) const {
    const auto middle = [](int size) { return size / 2; };  // of 0 to size - 1, rounded up
    const int x = i ? middle(layers[0].width) - middle(layers[i].width) : 0;
    const int y = i ? middle(layers[0].height) - middle(layers[i].height) : 0;
    return {x, y, x + layers[i].width - 1, y + layers[i].height - 1};
  }
  /// What is rendered: around the images, within the output, the matte and what the host wants.
  area rendered() const {
    area covered = place(0);
    if (present[1]) covered = around(covered, place(1));
    const int x = -origin_x, y = -origin_y;
    area r = common(covered, {x, y, x + layers[0].width - 1, y + layers[0].height - 1});
    if (present[2]) r = common(r, place(2));
    return common(r, {x + hint.left, y + hint.top, x + hint.right - 1, y + hint.bottom - 1});
  }
  int red(int i, int x, int y) const {
    const area at = place(i);
    return present[i] && at.holds(x, y) ? get_field(layers[i], x - at.left, y - at.top, 0) : 0;
  }
  /// Null for a line of the other field, which stays as it was.
  std::optional<rgba> expected(int column, int row) const {
    const int x = column - origin_x, y = row - origin_y;
    if (field != 0 && (y & 1) != field - 1) return std::nullopt;
    if (!rendered().holds(x, y)) return rgba{};
    return rgba{red(0, x, y), red(1, x, y), red(2, x, y), FULL};
  }
};

placed_frame random_frame(std::mt19937& random) {
  const auto below = [&](int n) { return int(random() % unsigned(n)); };
  placed_frame f;
  for (image& layer : f.layers) {
    layer = image::make(1 + below(24), 1 + below(18), pixel_format::rgba16, 8 * below(2));
    for (int y = 0; y < layer.height; ++y)
      for (int x = 0; x < layer.width; ++x) set_field(layer, x, y, 0, (1 + below(4000)) * FIX_STEP);
  }
  f.present = {true, below(4) != 0, below(4) != 0};
  f.field = below(3);
  f.origin_x = below(15) - 7;
  f.origin_y = below(15) - 7;
  const int width = f.layers[0].width, height = f.layers[0].height;
  f.hint = {0, 0, width, height};
  if (below(2)) f.hint = {below(width + 4) - 2, below(height + 4) - 2, below(width + 6), below(height + 6)};
  return f;
}

TEST(PlacedFrames, hold_their_inputs_within_the_render_rectangle_and_nothing_around) {
  rendered_effect effect(
      "(define A (Source Back Matte) (rgba_ok)"
      " dest = (v4 (element_of Source 0) (element_of Back 0) (element_of Matte 0) 1))",
      pixel_format::rgba16);
  std::mt19937 random(20);
  int computed = 0, empty = 0;
  for (int n = 0; n < 400; ++n) {
    const placed_frame f = random_frame(random);
    ++(f.rendered().empty() ? empty : computed);
    frame_request request =
        effect.request({&f.layers[0], f.present[1] ? &f.layers[1] : nullptr, f.present[2] ? &f.layers[2] : nullptr});
    request.field = f.field;
    request.initial_fill = 0x55;
    request.before_render = [&](pf_in_data& in_data, pf_param_def**, pf_world&) {
      in_data.output_origin_x = f.origin_x;
      in_data.output_origin_y = f.origin_y;
      in_data.extent_hint = f.hint;
    };
    const frame_result result = effect.render(request);
    ASSERT_EQ(result.error, 0) << text_of(result.messages);
    for (int y = 0; y < result.output.height; ++y)
      for (int x = 0; x < result.output.width; ++x) {
        const rgba held = f.field == 0 ? rgba{} : pixel(f.layers[0], x, y);
        ASSERT_EQ(pixel(result.output, x, y), f.expected(x, y).value_or(held))
            << "frame " << n << " at " << x << " " << y;
      }
  }
  EXPECT_GT(computed, 100);
  EXPECT_GT(empty, 20);
}

}  // namespace
