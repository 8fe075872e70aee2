// The warps written out plainly, one pixel at a time: a rip-map as a map of levels, positions and samples in wide
// integers, every rule where it is said. Nothing is shared with the engine's loops.
#pragma once

#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "gradient_kit.h"

namespace tessaron::testing {

using wide = std::int64_t;

enum class plain_wrap { none, repeat, mirror };
inline constexpr plain_wrap ALL_WRAPS[] = {plain_wrap::none, plain_wrap::repeat, plain_wrap::mirror};
/// A value of the `wrap` argument.
inline float wrap_value(plain_wrap w) { return w == plain_wrap::none ? 0.0f : w == plain_wrap::repeat ? 1.0f : 2.0f; }

inline fix low_word(wide v) { return fix(std::uint32_t(std::uint64_t(v))); }
inline fix rounded(double v) { return low_word(wide(std::nearbyint(v))); }

/// Coordinates of a walk in n steps, which keeps them with 6 more bits.
inline wide place_at(wide from, wide to, int step, int n) {
  return low_word(from * 64 + wide(rounded(double(to - from) * 64 / (n - 1))) * step) >> 6;
}

/// One level: samples, and the border that the wrap rule makes.
struct plain_level {
  int w = 0, h = 0;
  std::vector<fix> samples;
  plain_wrap wrap_x = plain_wrap::none, wrap_y = plain_wrap::none;

  fix& at(int x, int y) { return samples[std::size_t(y) * w + x]; }
  static int inside(int p, int size, plain_wrap wrap) {
    if (p >= 0 && p < size) return p;
    if (wrap == plain_wrap::repeat) return p < 0 ? size - 1 : 0;
    return wrap == plain_wrap::mirror ? (p < 0 ? 0 : size - 1) : -1;
  }
  fix read(int x, int y) const {
    const int i = inside(x, w, wrap_x), j = inside(y, h, wrap_y);
    return i < 0 || j < 0 ? 0 : samples[std::size_t(j) * w + i];
  }
  /// Whole and fraction parts of 12 bits; neighbours beyond the border have no weight.
  fix bilinear(wide px, wide py) const {
    const int i = int(px >> 12), j = int(py >> 12);
    const wide fx = px & 4095, fy = py & 4095, fxy = (fx * fy) >> 12;
    const auto beside = [&](int x, int y) -> wide { return x > w || y > h ? 0 : read(x, y); };
    return fix(((4096 - fx - fy + fxy) * read(i, j) + (fx - fxy) * beside(i + 1, j) + fxy * beside(i + 1, j + 1) +
                (fy - fxy) * beside(i, j + 1)) >>
               12);
  }
};

/// One element of the sampling image.
class plain_rip_map {
 public:
  plain_rip_map(int w, int h, plain_wrap wrap_x, plain_wrap wrap_y, const std::function<fix(int, int)>& source)
      : wrap_x_(wrap_x), wrap_y_(wrap_y) {
    plain_level top{w, h, std::vector<fix>(std::size_t(w) * h), wrap_x, wrap_y};
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) top.at(x, y) = std::clamp(source(x, y), 0, 8191);
    levels_[{0, 0}] = top;
  }

  /// x levels are made from the finest rows, y levels from all x levels at once.
  const plain_level& level(int lx, int ly) {
    const auto found = levels_.find({lx, ly});
    if (found != levels_.end()) return found->second;
    const plain_level& from = ly > 0 ? level(lx, ly - 1) : level(lx - 1, 0);
    plain_level made;
    made.wrap_x = wrap_x_;
    made.wrap_y = wrap_y_;
    made.w = ly > 0 ? from.w : (from.w + 1) / 2;
    made.h = ly > 0 ? (from.h + 1) / 2 : from.h;
    for (int y = 0; y < made.h; ++y)
      for (int x = 0; x < made.w; ++x)
        made.samples.push_back(
            (ly > 0 ? from.read(x, 2 * y) + from.read(x, 2 * y + 1) : from.read(2 * x, y) + from.read(2 * x + 1, y)) /
            2);
    return levels_[{lx, ly}] = made;
  }

  static int count(int size) {
    int n = 1;
    for (; size > 1 && n < 15; size = (size + 1) / 2) ++n;
    return n;
  }

  fix bilinear(wide px, wide py) {
    const plain_level& l = level(0, 0);
    if (wrap_x_ == plain_wrap::none) px = std::clamp<wide>(px, -4096, wide(l.w) << 12);
    if (wrap_y_ == plain_wrap::none) py = std::clamp<wide>(py, -4096, wide(l.h) << 12);
    return l.bilinear(px, py);
  }

  fix mip(wide px, wide py, wide level_x, wide level_y) {
    const int nx = count(level(0, 0).w), ny = count(level(0, 0).h);
    level_x = std::max<wide>(std::min<wide>(level_x, (nx - 1) * 4096 - 1), 0);
    level_y = std::max<wide>(std::min<wide>(level_y, (ny - 1) * 4096 - 1), 0);
    const int lx = int(level_x >> 12), ly = int(level_y >> 12);
    const wide ax = level_x & 4095, ay = level_y & 4095;
    // Where a direction has one level its next one is the same.
    const int lx1 = nx > 1 ? lx + 1 : lx, ly1 = ny > 1 ? ly + 1 : ly;
    wide x0 = ((px + 2048) >> lx) - 2048, y0 = ((py + 2048) >> ly) - 2048;
    wide x1 = nx > 1 ? (x0 >> 1) - 1024 : x0, y1 = ny > 1 ? (y0 >> 1) - 1024 : y0;
    if (wrap_x_ == plain_wrap::none) {
      x0 = std::clamp<wide>(x0, -4096, wide(level(lx, 0).w) << 12);
      x1 = std::clamp<wide>(x1, -4096, wide(level(lx1, 0).w) << 12);
    }
    if (wrap_y_ == plain_wrap::none) {
      y0 = std::clamp<wide>(y0, -4096, wide(level(0, ly).h) << 12);
      y1 = std::clamp<wide>(y1, -4096, wide(level(0, ly1).h) << 12);
    }
    const wide a = level(lx, ly).bilinear(x0, y0), b = level(lx1, ly1).bilinear(x1, y1);
    if (std::abs(ax - ay) <= 1) return fix(a + (((b - a) * ax) >> 12));
    if (ay > ax) return fix((a * (4096 - ay) + b * ax + level(lx, ly1).bilinear(x0, y1) * (ay - ax)) >> 12);
    return fix((a * (4096 - ax) + b * ay + level(lx1, ly).bilinear(x1, y0) * (ax - ay)) >> 12);
  }

 private:
  plain_wrap wrap_x_, wrap_y_;
  std::map<std::pair<int, int>, plain_level> levels_;
};

// --- positions -------------------------------------------------------------------------------------------------

struct plain_frame {
  int w, h;
  fix inv_aspect;
  plain_wrap wrap_x, wrap_y;

  plain_frame(const test_frame& f, plain_wrap x, plain_wrap y) : w(f.width), h(f.height), wrap_x(x), wrap_y(y) {
    inv_aspect = fix(std::llrint(4096.0 * (1.0f / (float(f.height) / float(f.width) * f.pixel_aspect))));
  }
  static wide x16(wide x) { return low_word(x * 8 + 32768); }
  wide y16(wide y) const { return low_word((low_word(-y * inv_aspect) >> 9) + 32768); }

  /// False: black.
  static bool wrapped(wide& p, plain_wrap wrap) {
    if (wrap == plain_wrap::none) return p >= -65536 && p <= 131072;
    const bool reflected = wrap == plain_wrap::mirror && (p & 0x10000);
    p = (p & 0xffff) ^ (reflected ? 0xffff : 0);
    return true;
  }
  static wide pixels(wide p16, int full) { return ((p16 * full) >> 4) - 2048; }
};

/// The whole sampling image.
struct plain_sampler {
  plain_frame frame;
  std::vector<plain_rip_map> elements;

  plain_sampler(const test_frame& f, plain_wrap wx, plain_wrap wy, int elnum,
                const definition_renderer::pixel_function& source)
      : frame(f, wx, wy) {
    for (int e = 0; e < elnum; ++e)
      elements.emplace_back(f.width, f.height, wx, wy, [&](int x, int y) { return source(x, y, e); });
  }
  fix bilinear16(int e, wide x16, wide y16) {
    if (!plain_frame::wrapped(x16, frame.wrap_x) || !plain_frame::wrapped(y16, frame.wrap_y)) return 0;
    return elements[e].bilinear(frame.pixels(x16, frame.w), frame.pixels(y16, frame.h));
  }
  fix mip16(int e, wide x16, wide y16, wide level_x, wide level_y) {
    if (!plain_frame::wrapped(x16, frame.wrap_x) || !plain_frame::wrapped(y16, frame.wrap_y)) return 0;
    return elements[e].mip(frame.pixels(x16, frame.w), frame.pixels(y16, frame.h), level_x, level_y);
  }
  fix bilinear(int e, fix x, fix y) { return bilinear16(e, frame.x16(x), frame.y16(y)); }
  fix mip(int e, fix x, fix y, wide level_x, wide level_y) {
    return mip16(e, frame.x16(x), frame.y16(y), level_x, level_y);
  }
};

/// Slow references take each wrap mode of either direction once at the largest size.
inline bool too_slow(picture_size size, plain_wrap wx, plain_wrap wy) {
  return size.width > 100 && int(wy) != (int(wx) + 1) % 3;
}

// --- definitions -----------------------------------------------------------------------------------------------

/// Four-element sources: the image, and what coordinates and levels are made from.
inline constexpr int MAP_CHANNELS = 4;
inline std::string image_of(int elnum) {
  const char* const images[] = {"(element_of Source 0)", "(v2 (element_of Source 0) (element_of Source 1))",
                                "(v3 (element_of Source 0) (element_of Source 1) (element_of Source 2))", "Source"};
  return images[elnum - 1];
}
inline const std::string FIRST_PAIR = "(v2 (element_of Map 0) (element_of Map 1))";
inline const std::string SECOND_PAIR = "(v2 (element_of Map 2) (element_of Map 3))";
inline const std::string THIRD_PAIR = "(v2 (element_of Third 0) (element_of Third 1))";
inline const std::string FOURTH_PAIR = "(v2 (element_of Third 2) (element_of Third 3))";

inline std::string warp_definition(const std::string& call) {
  return "(define W (Source Map Third) (rgba_ok)\n  wx = 0 wy = 0\n  wrap = (v2 wx wy)\n  dest = " + call + ")";
}

/// A map that scatters over and around the frame: mostly inside, some near and some far outside.
inline definition_renderer::pixel_function scattered_map(int width, unsigned seed = 11) {
  return [=](int x, int y, int e) {
    std::minstd_rand random(seed + unsigned(x + width * y) * 4u + unsigned(e));
    random.discard(3);
    const int reach = random() % 16 == 0 ? 100000 : random() % 4 == 0 ? 16000 : 4500;
    return fix(random() % unsigned(2 * reach)) - reach;
  };
}

/// Compares a whole result; the first difference, or empty.
inline std::string first_wrong(definition_renderer& r, const std::function<fix(int e, int x, int y)>& expected) {
  for (int y = r.frame_size().y0; y <= r.frame_size().y1; ++y)
    for (int x = r.frame_size().x0; x <= r.frame_size().x1; ++x)
      for (int e = 0; e < r.elnum(); ++e)
        if (const fix wanted = expected(e, x, y); r.at(e, x, y) != wanted)
          return "element " + std::to_string(e) + " at " + std::to_string(x) + "," + std::to_string(y) + ": " +
                 std::to_string(r.at(e, x, y)) + " instead of " + std::to_string(wanted);
  return "";
}

}  // namespace tessaron::testing
