// Types of on-screen widgets: their names, their base types, and the parts that each base type knows.
#pragma once

#include <array>
#include <span>

namespace tessaron {

struct widget_type {
  const char* type_name;
  const char* base_type;  // which class
};

/// All types, in order.
std::span<const widget_type> widget_types();
/// The type of a name, by linear search; null after a report.
const widget_type* get_widget_type(const char* name);

/// A place for a parameter in a widget, with the names that fill it.
struct widget_slot {
  const char* name;
  const char* synonym = nullptr;
};
/// Takes any name, and comes last in its list.
inline constexpr const char* ANY_PART = "*";

/// The slots of a base type, in order; none for a base type that isn't known.
std::span<const widget_slot> slots_of_base_type(const char* base_type);
/// Place of a part's name in its base type's slots; -1: not there.
int slot_of_part(const char* base_type, const char* part_name);

// Slots of each base type, in the order of their table.
enum center_slot { CENTER_CENTER, CENTER_OFFSET, CENTER_NEGATE };
enum ellipse_slot { ELLIPSE_WIDTH, ELLIPSE_ANGLE, ELLIPSE_REL_XY, ELLIPSE_REL_X, ELLIPSE_REL_Y, ELLIPSE_OFFSET };
enum angle_slot { ANGLE_ANGLE, ANGLE_CENTER, ANGLE_STRETCH };
enum center_radius_slot { CENTER_RADIUS_CENTER, CENTER_RADIUS_RADIUS };
enum radius_slot { RADIUS_RADIUS, RADIUS_ANY };
enum rect_c_sz_slot { RECT_C_SZ_CENTER, RECT_C_SZ_NEGATE, RECT_C_SZ_OFFSET, RECT_C_SZ_SIZE, RECT_C_SZ_ANGLE };
enum rect_slot { RECT_Z_DIST, RECT_ROTATE, RECT_SHIFT, RECT_CENTER };  // rectshift too
enum simple_rect_slot {
  SIMPLE_RECT_LEFT_BOTTOM,
  SIMPLE_RECT_RIGHT_TOP,
  SIMPLE_RECT_LEFT,
  SIMPLE_RECT_BOTTOM,
  SIMPLE_RECT_RIGHT,
  SIMPLE_RECT_TOP,
};
enum timeslice_slot { TIMESLICE_ANGLE, TIMESLICE_SLICE_WIDTH, TIMESLICE_OFFSET };
enum glint_slot {
  GLINT_SIZE,
  GLINT_SIZE_X,
  GLINT_SIZE_Y,
  GLINT_SIZE_XY,
  GLINT_SIZE_DIAG1,
  GLINT_SIZE_DIAG2,
  GLINT_SIZE_RED,
  GLINT_SIZE_GREEN,
  GLINT_SIZE_BLUE,
  GLINT_SIZE_ALPHA,
  GLINT_CENTER,
};
enum wipe_slot {
  WIPE_WIPE_AMOUNT,
  WIPE_WIPE_PERCENT_SIGN,
  WIPE_WIPE_AMT,
  WIPE_MIX_PERCENT,
  WIPE_WIPE_PERCENT,
  WIPE_GRAD_ADD,
  WIPE_EDGE_SOFTNESS,
  WIPE_BORDER_WIDTH,
  WIPE_GRAD_ANGLE,
  WIPE_AUTOTRANS_P,
  WIPE_AUTO_TRANS,
};

}  // namespace tessaron
