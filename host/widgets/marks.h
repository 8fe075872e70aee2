// Marks of constant size on the screen that several classes of widgets draw.
#pragma once

#include "host/widgets/handle.h"

namespace tessaron {

/// An open cross for a middle. Its arms reach beyond a handle that lies on it.
void add_cross(widget_handle& handle, const gfx_look& look);
/// A filled square or disc that the mouse takes hold of.
void add_square(widget_handle& handle, const gfx_look& look);
void add_dot(widget_handle& handle, const gfx_look& look);

}  // namespace tessaron
