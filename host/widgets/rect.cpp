// Widgets of base type "rect": the outline of a picture in space, beside a cross on its centre. The shift has no handle
// of its own, unless there is no centre to drag.
#include "host/widgets/marks.h"
#include "host/widgets/picture_rect.h"

namespace tessaron {

namespace {

class rect_widget final : public picture_rect {
 public:
  rect_widget(const genotype& g, const widget_declaration& d) : picture_rect(g, d) {
    check_type("Rect", {"rect", "rect_pix", "rect_green", "rect_fullsize", "rect_green_fullsize", "rect_pix_fullsize"});
  }

 private:
  void add_places() override {
    const gfx_primitive outline = box_at(middle()).outline(rect_look());
    if (part(RECT_SHIFT)) add_shape(gfx_segment(gfx(center()), gfx(middle()), rect_look(gfx_line_style::dotted)));
    if (!part(RECT_CENTER) && !part(RECT_SHIFT)) {
      if (has_size()) add_shape(outline);
      return;
    }
    widget_handle& handle =
        part(RECT_CENTER) ? add(moves::center, "center", center()) : add(moves::shift, "shift", middle());
    add_cross(handle, rect_look());
    if (has_size()) handle.primitives.push_back(outline);
  }
};

}  // namespace

std::unique_ptr<widget> make_rect_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<rect_widget>(g, d);
}

}  // namespace tessaron
