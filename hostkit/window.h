// Windows of a host and the mouse in them: what the event command is given, and what it gives back.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tessaron/host_interface.h"

namespace tessaron::hostkit {

/// A place in pixels, y downwards, between whole numbers: (0, 0) is a corner.
struct place {
  double x = 0, y = 0;
};

/// A window that shows a layer at a frame: a place of the layer, in its pixels at full resolution, lies at
/// place * zoom + pan in the window, whatever the downsampling.
struct window_view {
  double zoom = 1, pan_x = 0, pan_y = 0;
  bool stretched = false;  // x is also multiplied by the pixel aspect, so that pixels have their shape on the screen
  int window_type = PF_Window_LAYER;
  int width = 0, height = 0;  // of the layer at full resolution
  int downsample_x = 1, downsample_y = 1;
  double pixel_aspect = 1.0;
  int frame = 0;
  double fps = 24.0;
  int total_frames = 1;

  /// Takes a place, 16.16, on; non-zero: it can't be done. What it throws comes out of the event call.
  using conversion = std::function<int(pf_fixed& x, pf_fixed& y)>;
  bool converts = true;        // false: a host that offers no conversion
  conversion source_to_frame;  // in place of zoom and pan
  conversion layer_to_comp;    // behind it; unset: not offered

  place to_window(place of_layer) const;
  place to_layer(place of_window) const;
};

/// One handle of an effect, or a widget that shows none just now.
struct widget_handle {
  int widget = 0;  // place in the effect's list
  std::string type_name, base_type, name;
  int enable_index = 0;  // host parameter that shows or hides it; 0: none
  bool enabled = false, visible = false;
  int n_handles = 0;  // of the widget
  int handle = -1;    // place in the widget's list; -1: the widget has none
  std::string part;
  place at;                  // in the window
  bool can_be_held = false;  // else it only marks a place just now
  bool hot = false;
};

/// What the engine answered to an event.
struct event_result {
  int error = 0;  // what the command returned
  bool handled = false, send_drag = false, redraw = false;
  int cursor = 0;                      // 0: left as it is
  std::vector<std::string> info;       // lines to be shown beside the mouse
  std::vector<int> changed;            // host parameters that have a new value, rising
  std::vector<widget_handle> handles;  // while drawing
  std::vector<std::string> messages;
};

}  // namespace tessaron::hostkit
