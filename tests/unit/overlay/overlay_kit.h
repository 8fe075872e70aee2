// A sheet of 100 by 60 pixels, white shapes on it, and what they cover.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "hostkit/overlay.h"
#include "support/render_kit.h"

namespace tessaron::testing {

inline constexpr double PI = 3.14159265358979323846;
inline constexpr pf_color WHITE = {255, 255, 255, 255};

class Overlay : public ::testing::Test {
 protected:
  static pf_draw_style style(float width, std::initializer_list<float> dashes = {}) {
    static std::vector<float> kept;
    kept = dashes;
    return {WHITE, width, int(kept.size()), kept.data()};
  }
  void line(const pf_draw_style& s, float x0, float y0, float x1, float y1) {
    EXPECT_EQ(draw.line(draw.draw_ref, &s, x0, y0, x1, y1), 0);
  }
  void polyline(const pf_draw_style& s, std::vector<float> xy, bool closed) {
    EXPECT_EQ(draw.polyline(draw.draw_ref, &s, xy.data(), int(xy.size() / 2), closed), 0);
  }
  void arc(const pf_draw_style& s, float x, float y, float radius, float start, float sweep) {
    EXPECT_EQ(draw.arc(draw.draw_ref, &s, x, y, radius, start, sweep), 0);
  }
  void text(const char* what, float x = 5, float y = 40, float size = 20) {
    EXPECT_EQ(draw.text(draw.draw_ref, &WHITE, x, y, size, what), 0);
  }
  int alpha(int x, int y) const { return pixel(sheet.premultiplied(), x, y).a; }
  /// Covered area in pixels.
  double ink() const {
    const image all = sheet.premultiplied();
    double sum = 0;
    for (int y = 0; y < all.height; ++y)
      for (int x = 0; x < all.width; ++x) sum += pixel(all, x, y).a / 255.0;
    return sum;
  }
  /// The alpha of the most covered pixel within `reach` of a place.
  int most_around(double x, double y, int reach = 1) const {
    int most = 0;
    for (int dy = -reach; dy <= reach; ++dy)
      for (int dx = -reach; dx <= reach; ++dx)
        most = std::max(most, alpha(int(std::floor(x)) + dx, int(std::floor(y)) + dy));
    return most;
  }

  hostkit::overlay sheet{100, 60};
  const pf_draw_callbacks& draw = sheet.callbacks();
};

}  // namespace tessaron::testing
