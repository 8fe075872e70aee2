#include "hostkit/overlay.h"

#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
// Cairo's font library holds what it keeps by offsets, where the leak checker does not find it.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\n";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_options() {
  return "print_suppressions=0";
}
#endif

namespace tessaron::hostkit {
namespace {

constexpr int LARGEST_SIDE = 32767;  // of a cairo image
// Cairo's coordinates have 24 bits in front of the point.
constexpr double FARTHEST = 4e6;
constexpr double WIDEST_LINE = 1e4, LARGEST_TEXT = 1e3;
constexpr double FRAMED_LINE = 1.5;  // width above which a line ends round
constexpr std::size_t LONGEST_TEXT = 1000;
// Dashes that are finer or more than these come out solid.
constexpr int MAX_DASHES = 32;
constexpr double FINEST_DASHES = 0.1, MOST_PERIODS = 1e5;

bool in_reach(double v) { return std::fabs(v) <= FARTHEST; }  // not for NaN

/// Moves the ends of a line into the strip from `low` to `high` along one axis; false if the line passes it. Ends that
/// move get the border itself, so that a line along the axis stays exact however long it was.
bool cut_to_strip(place& from, place& to, double place::*along, double place::*across, double low, double high) {
  const place a = from, b = to;
  const double step = b.*along - a.*along;
  for (place* end : {&from, &to}) {
    const double inside = std::clamp(end->*along, low, high);
    if (inside == end->*along) continue;
    if ((a.*along < low && b.*along < low) || (a.*along > high && b.*along > high)) return false;
    end->*across = a.*across + (b.*across - a.*across) * ((inside - a.*along) / step);
    end->*along = inside;
  }
  return true;
}

double distance(place a, place b) { return std::hypot(b.x - a.x, b.y - a.y); }

/// One drawing on the sheet. A context of its own, so that no fault reaches the next drawing.
class pen {
 public:
  explicit pen(cairo_surface_t* surface) : context_(cairo_create(surface)) {}
  ~pen() { cairo_destroy(context_); }
  pen(const pen&) = delete;
  pen& operator=(const pen&) = delete;

  cairo_t* get() const { return context_; }

  void set_color(const pf_color& c) {
    cairo_set_source_rgba(context_, c.red / 255.0, c.green / 255.0, c.blue / 255.0, c.alpha / 255.0);
  }

  /// Strokes the path, which is about `length` pixels long and begins `offset` pixels behind the first dash's start.
  void stroke(const pf_draw_style& style, double length, double offset = 0) {
    set_color(style.color);
    cairo_set_line_width(context_, std::min(double(style.width), WIDEST_LINE));
    const bool dashed = set_dashes(style, length, offset);
    cairo_set_line_cap(context_, !dashed && style.width > FRAMED_LINE ? CAIRO_LINE_CAP_ROUND : CAIRO_LINE_CAP_BUTT);
    cairo_set_miter_limit(context_, 4);
    cairo_stroke(context_);
  }

 private:
  bool set_dashes(const pf_draw_style& style, double length, double offset) {
    if (style.n_dashes < 1 || style.n_dashes > MAX_DASHES || !style.dashes) return false;
    std::array<double, MAX_DASHES> dashes;
    double period = 0;
    for (int i = 0; i < style.n_dashes; ++i) {
      dashes[std::size_t(i)] = double(style.dashes[i]);
      if (!(dashes[std::size_t(i)] >= 0) || !in_reach(dashes[std::size_t(i)])) return false;
      period += dashes[std::size_t(i)];
    }
    if (period < FINEST_DASHES || length / period > MOST_PERIODS) return false;
    const double whole = style.n_dashes % 2 ? 2 * period : period;  // an odd list goes round twice
    cairo_set_dash(context_, dashes.data(), style.n_dashes, std::fmod(offset, whole));
    return true;
  }

  cairo_t* context_;
};

bool draws(const pf_draw_style& style) { return style.width > 0 && std::isfinite(style.width) && style.color.alpha; }

/// Lays one premultiplied pixel of the sheet over the straight fields of a picture, `full` being their full scale.
template <class Field>
void blend(std::uint32_t over, Field* pixel, const std::array<int, 4>& order, std::uint64_t full) {
  const std::uint64_t over_alpha = over >> 24;
  if (over_alpha == 0) return;
  const std::uint64_t under_alpha = std::min<std::uint64_t>(pixel[order[3]], full);
  // Everything in units of 1 / (255 * full).
  const std::uint64_t under_weight = (255 - over_alpha) * under_alpha;
  const std::uint64_t alpha = over_alpha * full + under_weight;
  for (int k = 0; k < 3; ++k) {
    const std::uint64_t over_color = (over >> (16 - 8 * k)) & 255;
    const std::uint64_t color =
        over_color * full * full + under_weight * std::min<std::uint64_t>(pixel[order[k]], full);
    pixel[order[k]] = Field(std::min((2 * color + alpha) / (2 * alpha), full));
  }
  pixel[order[3]] = Field((2 * alpha + 255) / 510);
}

}  // namespace

struct overlay::sheet {
  int width, height;
  cairo_surface_t* surface;
  pf_draw_callbacks callbacks;

  sheet(int w, int h) : width(w), height(h), surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h)) {
    callbacks = {this, line, polyline, circle, arc, filled_rect, filled_circle, text};
  }
  ~sheet() { cairo_surface_destroy(surface); }

  const std::uint32_t* row(int y) const {
    return reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface) +
                                                  std::ptrdiff_t(y) * cairo_image_surface_get_stride(surface));
  }

  /// A straight line that may be as long as it likes; its dashes begin `offset` pixels before it.
  void stroke_line(const pf_draw_style& style, place from, place to, double offset = 0) const {
    const double margin = std::min(double(style.width), WIDEST_LINE) * 2 + 2;
    const place start = from;
    if (!cut_to_strip(from, to, &place::x, &place::y, -margin, width + margin)) return;
    if (!cut_to_strip(from, to, &place::y, &place::x, -margin, height + margin)) return;
    pen p(surface);
    cairo_move_to(p.get(), from.x, from.y);
    cairo_line_to(p.get(), to.x, to.y);
    p.stroke(style, distance(from, to), offset + distance(start, from));
  }

  void stroke_polyline(const pf_draw_style& style, std::span<const float> xy, bool closed) const {
    const std::size_t n = xy.size() / 2;
    const auto at = [&](std::size_t i) { return place{double(xy[i % n * 2]), double(xy[i % n * 2 + 1])}; };
    const std::size_t n_lines = closed ? n : n - 1;
    double length = 0;
    if (std::all_of(xy.begin(), xy.end(), [](float v) { return in_reach(double(v)); })) {
      pen p(surface);
      for (std::size_t i = 0; i < n; ++i) cairo_line_to(p.get(), at(i).x, at(i).y);
      if (closed) cairo_close_path(p.get());
      for (std::size_t i = 0; i < n_lines; ++i) length += distance(at(i), at(i + 1));
      return p.stroke(style, length);
    }
    for (std::size_t i = 0; i < n_lines; ++i) {
      stroke_line(style, at(i), at(i + 1), length);
      length += distance(at(i), at(i + 1));
    }
  }

  void stroke_arc(const pf_draw_style& style, double x, double y, double radius, double start, double sweep) const {
    constexpr double RADIAN = 3.14159265358979323846 / 180;
    const bool whole = std::fabs(sweep) >= 360;
    const double from = std::fmod(start, 360.0) * RADIAN;
    const double to = from + std::clamp(sweep, -360.0, 360.0) * RADIAN;
    pen p(surface);
    sweep < 0 ? cairo_arc_negative(p.get(), x, y, radius, from, to) : cairo_arc(p.get(), x, y, radius, from, to);
    if (whole) cairo_close_path(p.get());
    p.stroke(style, radius * std::fabs(to - from));
  }

  template <class Field>
  void blend_rows(image& picture, const std::array<int, 4>& order, std::uint64_t full) const {
    for (int y = 0; y < height; ++y) {
      const std::uint32_t* over = row(y);
      auto* pixel = reinterpret_cast<Field*>(picture.row(y));
      for (int x = 0; x < width; ++x, pixel += 4) blend(over[x], pixel, order, full);
    }
  }

  // --- the callbacks: nothing may throw into the engine ---------------------------------------------

  template <class Draw>
  static std::int32_t guarded(void* draw_ref, const void* style_or_color, const Draw& draw) {
    if (!draw_ref || !style_or_color) return PF_Err_BAD_REQUEST;
    try {
      draw(*static_cast<const sheet*>(draw_ref));
      return PF_Err_NONE;
    } catch (...) {
      return PF_Err_INTERNAL;
    }
  }

  static std::int32_t line(void* ref, const pf_draw_style* style, float x0, float y0, float x1, float y1) {
    return guarded(ref, style, [&](const sheet& s) {
      const bool sound = std::isfinite(x0) && std::isfinite(y0) && std::isfinite(x1) && std::isfinite(y1);
      if (sound && draws(*style)) s.stroke_line(*style, {double(x0), double(y0)}, {double(x1), double(y1)});
    });
  }

  static std::int32_t polyline(void* ref, const pf_draw_style* style, const float* xy, std::int32_t n_points,
                               std::int32_t closed) {
    return guarded(ref, style, [&](const sheet& s) {
      if (!xy || n_points < 2 || !draws(*style)) return;
      const std::span<const float> points(xy, std::size_t(n_points) * 2);
      if (std::all_of(points.begin(), points.end(), [](float v) { return std::isfinite(v); }))
        s.stroke_polyline(*style, points, closed != 0);
    });
  }

  static bool sound_circle(float x, float y, float radius) {
    return radius > 0 && in_reach(double(radius)) && in_reach(double(x)) && in_reach(double(y));
  }

  static std::int32_t circle(void* ref, const pf_draw_style* style, float x, float y, float radius) {
    return arc(ref, style, x, y, radius, 0, 360);
  }

  static std::int32_t arc(void* ref, const pf_draw_style* style, float x, float y, float radius, float start,
                          float sweep) {
    return guarded(ref, style, [&](const sheet& s) {
      if (sound_circle(x, y, radius) && std::isfinite(start) && std::isfinite(sweep) && draws(*style))
        s.stroke_arc(*style, double(x), double(y), double(radius), double(start), double(sweep));
    });
  }

  static std::int32_t filled_rect(void* ref, const pf_color* color, float left, float top, float width, float height) {
    return guarded(ref, color, [&](const sheet& s) {
      if (!(width > 0) || !(height > 0) || std::isnan(left) || std::isnan(top)) return;
      const auto cut = [](double v, int size) { return std::clamp(v, -1.0, size + 1.0); };
      const double x0 = cut(double(left), s.width), x1 = cut(double(left) + double(width), s.width);
      const double y0 = cut(double(top), s.height), y1 = cut(double(top) + double(height), s.height);
      if (std::isnan(x1) || std::isnan(y1)) return;
      pen p(s.surface);
      p.set_color(*color);
      cairo_rectangle(p.get(), x0, y0, x1 - x0, y1 - y0);
      cairo_fill(p.get());
    });
  }

  static std::int32_t filled_circle(void* ref, const pf_color* color, float x, float y, float radius) {
    return guarded(ref, color, [&](const sheet& s) {
      if (!sound_circle(x, y, radius)) return;
      pen p(s.surface);
      p.set_color(*color);
      cairo_arc(p.get(), double(x), double(y), double(radius), 0, 2 * 3.14159265358979323846);
      cairo_fill(p.get());
    });
  }

  static std::int32_t text(void* ref, const pf_color* color, float x, float y, float size, const char* utf8) {
    return guarded(ref, color, [&](const sheet& s) {
      if (!utf8 || !(size > 0) || double(size) > LARGEST_TEXT || !in_reach(double(x)) || !in_reach(double(y))) return;
      if (std::strlen(utf8) > LONGEST_TEXT) return;
      pen p(s.surface);
      p.set_color(*color);
      // The same on every screen: grey edges, no fitting to the pixel grid.
      cairo_font_options_t* const options = cairo_font_options_create();
      cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
      cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
      cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
      cairo_set_font_options(p.get(), options);
      cairo_font_options_destroy(options);
      cairo_select_font_face(p.get(), "sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
      cairo_set_font_size(p.get(), double(size));
      cairo_move_to(p.get(), double(x), double(y));
      cairo_show_text(p.get(), utf8);
    });
  }
};

overlay::overlay(int width, int height) {
  const auto fail = [&] {
    throw host_error("A sheet of " + std::to_string(width) + " by " + std::to_string(height) +
                     " pixels can't be made.");
  };
  if (width < 1 || height < 1 || width > LARGEST_SIDE || height > LARGEST_SIDE) fail();
  sheet_ = std::make_unique<sheet>(width, height);
  if (cairo_surface_status(sheet_->surface) != CAIRO_STATUS_SUCCESS) fail();
}

overlay::~overlay() = default;

int overlay::width() const { return sheet_->width; }
int overlay::height() const { return sheet_->height; }
const pf_draw_callbacks& overlay::callbacks() const { return sheet_->callbacks; }

image overlay::premultiplied() const {
  cairo_surface_flush(sheet_->surface);
  image sheet = image::make(width(), height(), pixel_format::rgba8);
  for (int y = 0; y < height(); ++y) {
    const std::uint32_t* from = sheet_->row(y);
    std::uint8_t* to = sheet.row(y);
    for (int x = 0; x < width(); ++x)
      for (int k = 0; k < 4; ++k) *to++ = std::uint8_t(from[x] >> (24 - 8 * k));
  }
  return sheet;
}

image overlay::straight() const {
  image sheet = premultiplied();
  for (int y = 0; y < height(); ++y)
    for (int x = 0; x < width(); ++x) {
      std::uint8_t* pixel = sheet.row(y) + 4 * x;
      const int alpha = pixel[0];
      for (int k = 1; alpha && k < 4; ++k)
        pixel[k] = std::uint8_t(std::min(255, (pixel[k] * 510 + alpha) / (2 * alpha)));
    }
  return sheet;
}

void overlay::draw_over(image& picture) const {
  if (picture.width != width() || picture.height != height())
    throw host_error("A sheet of handles has another size than the picture under it.");
  cairo_surface_flush(sheet_->surface);
  constexpr std::array<int, 4> RGBA = {1, 2, 3, 0},
                               BGRA = {2, 1, 0, 3};  // alpha stands first in the one, last in the other
  switch (picture.format) {
    case pixel_format::rgba8:
      return sheet_->blend_rows<std::uint8_t>(picture, RGBA, 255);
    case pixel_format::bgra8:
      return sheet_->blend_rows<std::uint8_t>(picture, BGRA, 255);
    case pixel_format::rgba16:
      return sheet_->blend_rows<std::uint16_t>(picture, RGBA, 32768);
    case pixel_format::bgra16:
      return sheet_->blend_rows<std::uint16_t>(picture, BGRA, 65535);
  }
}

}  // namespace tessaron::hostkit
