// The controller of an instance's widgets: which of them the mouse is on, and what it does to them.
#pragma once

#include <memory>
#include <vector>

#include "genotype/globals.h"
#include "host/widgets/widget.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// The widget set of one instance, `Globals.widgets`.
class widget_controller {
 public:
  std::vector<std::unique_ptr<widget>> widgets;
  bool visible = true;
  widget* active_widget = nullptr;  // that the last click hit
  int active_handle = -1;           // of it
  bool enabled = true;
  bool dragging = false;
  float last_x = 0, last_y = 0;  // of the mouse, the widgets' coordinates

  bool redraw = false;      // the window is out of date
  bool fresh_look = false;  // a window has come up since the last drawing
  const genotype* made_for = nullptr;
};

/// Makes the widgets of the selected effect anew in the current record; without widgets there is no controller.
/// Existing ones are deleted first.
void make_widgets();
/// Deletes a record's widget set.
void free_widgets(globals_record& record);

// With the current record's controller, and the matrix from the layer to the window on top of the stack. x and y are
// pixels of the window.
void widgets_draw(const pf_draw_callbacks& host);
/// Whether a handle was hit, which is then active.
bool widgets_mouse_down(float x, float y);
void widgets_drag(float x, float y);
void widgets_mouse_up(float x, float y);
/// The widget under the mouse; null: none.
widget* widgets_cursor(float x, float y);

}  // namespace tessaron
