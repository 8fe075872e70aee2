// What a widget shows: shapes, and handles that the mouse takes hold of.
#pragma once

#include <string>
#include <vector>

#include "host/widgets/transform.h"

namespace tessaron {

/// A corner of a shape: a place in the widget's coordinates, and a step from there in pixels of the window, so that
/// marks keep their size at every zoom.
struct gfx_vertex {
  gfx_point at;
  gfx_point off;
};

enum class gfx_color { yellow, red, green, blue, white, cyan };
enum class gfx_line_style { solid, dashed, dotted };

/// How a shape is drawn. `hot`: the mouse is on it.
struct gfx_look {
  gfx_color color = gfx_color::yellow;
  gfx_line_style style = gfx_line_style::solid;
  float width = 1.5f;  // pixels of the window, without the dark rim
};

/// A shape in the widget's coordinates, with its hit test.
struct gfx_primitive {
  enum class kind {
    polyline,  // through all corners
    polygon,   // the same, closed
    ellipse,   // an arc of one: `radii`, turned by `turn`, `sweep` from `start`; a full turn closes it
    square,    // a filled handle of `size`
    dot,       // the same, round
    text,      // drawn only
  };
  kind shape = kind::polyline;
  std::vector<gfx_vertex> corners;         // ellipse, square, dot, text: the one that it stands at
  gfx_point radii;                         // ellipse
  gfx_point window_radii;                  // ellipse: added to the radii, pixels of the window
  float turn = 0, start = 0, sweep = 360;  // ellipse: degrees, from x towards y
  float size = 7;                          // square, dot, text: pixels of the window
  std::string text;
  gfx_look look;

  /// Whether the mouse is on it. `pick_radius` in the widget's coordinates is added to its own thickness.
  bool hit(float x, float y, float pick_radius) const;
  /// Its outline in the widget's coordinates, as the top matrix makes it; closed shapes end where they began.
  std::vector<gfx_point> outline() const;
};

struct gfx_bounds {
  float left = 0, top = 0, right = 0, bottom = 0;
  bool contains(float x, float y, float margin) const {
    return x >= left - margin && x <= right + margin && y >= top - margin && y <= bottom + margin;
  }
};

/// What the mouse can take hold of: a place that it moves, and the shapes that stand for it.
struct widget_handle {
  const char* part = "";  // name of what it moves
  gfx_point position;     // the widget's coordinates
  gfx_bounds bounds;      // of the shapes
  std::vector<gfx_primitive> primitives;

  /// To be called when all shapes are there.
  void find_bounds();
  bool hit(float x, float y, float pick_radius) const;
};

// Makers of shapes.
gfx_primitive gfx_segment(gfx_point from, gfx_point to, gfx_look look);
gfx_primitive gfx_through(const std::vector<gfx_point>& corners, bool closed, gfx_look look);
/// A line around `at` whose ends are given in pixels of the window.
gfx_primitive gfx_mark(gfx_point at, gfx_point from, gfx_point to, gfx_look look);
gfx_primitive gfx_ellipse(gfx_point middle, gfx_point radii, float turn, gfx_look look);
/// A circle of a radius in pixels of the window.
gfx_primitive gfx_ring(gfx_point at, float radius, gfx_look look);
gfx_primitive gfx_square_handle(gfx_point at, gfx_look look);
gfx_primitive gfx_round_handle(gfx_point at, gfx_look look);
gfx_primitive gfx_label(gfx_point at, gfx_point off, std::string text, gfx_look look);

}  // namespace tessaron
