// Drawing through the host's callbacks: everything goes through the top matrix, each line has a dark rim so that it
// shows on any picture, and sizes in pixels of the window stay as they are at every zoom.
#pragma once

#include "host/widgets/handle.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// Names where drawing goes, as long as this lives. After an error of the host nothing more is drawn.
class gfx_target {
 public:
  explicit gfx_target(const pf_draw_callbacks& host);
  ~gfx_target();
  gfx_target(const gfx_target&) = delete;
  gfx_target& operator=(const gfx_target&) = delete;

 private:
  const pf_draw_callbacks* before_;
};

// In the widget's coordinates. Nothing happens without a target.
void gfx_line(gfx_point from, gfx_point to, const gfx_look& look);
void gfx_polyline(const std::vector<gfx_point>& points, bool closed, const gfx_look& look);
/// `radius` of the widget's coordinates; an ellipse in the window where the matrix stretches.
void gfx_circle(gfx_point middle, float radius, const gfx_look& look);
/// From `start` on by `sweep`, degrees, from x towards y.
void gfx_arc(gfx_point middle, float radius, float start, float sweep, const gfx_look& look);
/// A filled square or disc of `size` pixels of the window.
void gfx_filled_handle(gfx_point at, float size, bool round, const gfx_look& look, bool hot);
/// Text `off` pixels of the window away, its height in pixels.
void gfx_text(gfx_point at, gfx_point off, const char* text, float size, const gfx_look& look);

/// Any shape; a hot one is brighter and wider.
void gfx_draw(const gfx_primitive& primitive, bool hot);

}  // namespace tessaron
