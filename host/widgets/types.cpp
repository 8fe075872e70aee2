#include "host/widgets/types.h"

#include <cstring>

#include "base/report.h"

namespace tessaron {

namespace {

constexpr widget_type TYPES[] = {
    {"cross_circle", "center"},
    {"cross_circle_offset_frac", "center"},
    {"cross", "center"},
    {"simple_cross", "center"},
    {"star8", "center"},
    {"single_hline", "center"},
    {"single_circle", "center"},
    {"center_radius", "center_radius"},
    {"center_radius_yscale", "center_radius"},
    {"center_radius_center_rel", "center_radius"},
    {"radius", "radius"},
    {"radius_green", "radius"},
    {"radius2", "radius"},
    {"radius4", "radius"},
    {"radius8", "radius"},
    {"wipe", "wipe"},
    {"wipe_with_edge", "wipe"},
    {"rect", "rect"},
    {"rect_pix", "rect"},
    {"rect_green", "rect"},
    {"rect_fullsize", "rect"},
    {"rect_green_fullsize", "rect"},
    {"rect_pix_fullsize", "rect"},
    {"rectshift", "rectshift"},
    {"rectshift_pix", "rectshift"},
    {"rectshift_green", "rectshift"},
    {"ellipse", "ellipse"},
    {"ellipse_scale4", "ellipse"},
    {"ellipse_no_handles_red", "ellipse"},
    {"ellipse_no_handles_green", "ellipse"},
    {"ellipse_no_handles_white", "ellipse"},
    {"ellipse_no_handles_red_scale4", "ellipse"},
    {"ellipse_no_handles_green_scale4", "ellipse"},
    {"ellipse_white", "ellipse"},
    {"ellipse_green", "ellipse"},
    {"ellipse_green_scale4", "ellipse"},
    {"ellipse_rad", "ellipse"},
    {"ellipse_freq", "ellipse"},
    {"ellipse_freq_center_norm", "ellipse"},
    {"ellipse_freq_no_rel", "ellipse"},
    {"ellipse_altctr", "ellipse"},
    {"lensflare_ellipse", "ellipse"},
    {"glint", "glint"},
    {"glint_no_rgb", "glint"},
    {"glow", "glint"},
    {"glow_noxy", "glint"},
    {"glow_noxy_small", "glint"},
    {"glow_alpha", "glint"},
    {"angle", "angle"},
    {"angle90", "angle"},
    {"simple_rect", "simple_rect"},
    {"simple_rect_1", "simple_rect"},
    {"rect_center_size", "rect_c_sz"},
    {"rect_size", "rect_c_sz"},
    {"timeslice", "timeslice"},
};
static_assert(std::size(TYPES) == 55);

constexpr widget_slot CENTER[] = {{"center"}, {"offset"}, {"negate"}};
constexpr widget_slot ELLIPSE[] = {{"width"}, {"angle", "rotate"}, {"rel_xy"}, {"rel_x"}, {"rel_y"}, {"offset"}};
constexpr widget_slot ANGLE[] = {{"angle", "rotate"}, {"center"}, {"stretch"}};
constexpr widget_slot CENTER_RADIUS[] = {{"center"}, {"radius"}};
constexpr widget_slot RADIUS[] = {{"radius"}, {ANY_PART}};
constexpr widget_slot RECT_C_SZ[] = {{"center"}, {"negate"}, {"offset"}, {"size"}, {"angle"}};
constexpr widget_slot RECT[] = {{"z_dist"}, {"rotate"}, {"shift"}, {"center"}};
constexpr widget_slot SIMPLE_RECT[] = {{"left_bottom"}, {"right_top"}, {"left"}, {"bottom"}, {"right"}, {"top"}};
constexpr widget_slot TIMESLICE[] = {{"angle"}, {"slice_width"}, {"offset"}};
constexpr widget_slot GLINT[] = {{"size"},       {"size_x"},     {"size_y"},   {"size_xy"},
                                 {"size_diag1"}, {"size_diag2"}, {"size_red"}, {"size_green"},
                                 {"size_blue"},  {"size_alpha"}, {"center"}};
constexpr widget_slot WIPE[] = {{"wipe_amount"},  {"wipe%"},       {"wipe_amt"},      {"mix_percent"},
                                {"wipe_percent"}, {"grad_add"},    {"edge_softness"}, {"border_width"},
                                {"grad_angle"},   {"autotrans_p"}, {"auto_trans"}};

struct base_type_slots {
  const char* base_type;
  std::span<const widget_slot> slots;
};
constexpr base_type_slots BASE_TYPES[] = {
    {"center", CENTER},           {"ellipse", ELLIPSE},     {"angle", ANGLE}, {"center_radius", CENTER_RADIUS},
    {"radius", RADIUS},           {"rect_c_sz", RECT_C_SZ}, {"rect", RECT},   {"rectshift", RECT},
    {"simple_rect", SIMPLE_RECT}, {"timeslice", TIMESLICE}, {"glint", GLINT}, {"wipe", WIPE},
};

}  // namespace

std::span<const widget_type> widget_types() { return TYPES; }

const widget_type* get_widget_type(const char* name) {
  for (const widget_type& type : TYPES)
    if (std::strcmp(type.type_name, name) == 0) return &type;
  report(REPORT_WARNING, "No such widget type name as %s", name);
  return nullptr;
}

std::span<const widget_slot> slots_of_base_type(const char* base_type) {
  for (const base_type_slots& row : BASE_TYPES)
    if (std::strcmp(row.base_type, base_type) == 0) return row.slots;
  return {};
}

int slot_of_part(const char* base_type, const char* part_name) {
  int index = 0;
  for (const widget_slot& slot : slots_of_base_type(base_type)) {
    const bool any = std::strcmp(slot.name, ANY_PART) == 0;
    if (any || std::strcmp(slot.name, part_name) == 0 || (slot.synonym && std::strcmp(slot.synonym, part_name) == 0))
      return index;
    ++index;
  }
  return -1;
}

}  // namespace tessaron
