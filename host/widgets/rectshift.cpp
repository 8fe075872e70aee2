// Widgets of base type "rectshift": the outline of a picture in space, with a handle for its shift, over the dashed
// outline that it would have without.
#include "host/widgets/marks.h"
#include "host/widgets/picture_rect.h"

namespace tessaron {

namespace {

class rectshift_widget final : public picture_rect {
 public:
  rectshift_widget(const genotype& g, const widget_declaration& d) : picture_rect(g, d) {
    check_type("Rectshift", {"rectshift", "rectshift_pix", "rectshift_green"});
  }

 private:
  void add_places() override {
    const bool has_shift = part(RECT_SHIFT) != nullptr;
    if (has_shift) {
      add_shape(gfx_segment(gfx(center()), gfx(middle()), rect_look(gfx_line_style::dotted)));
      widget_handle& handle = add(moves::shift, "shift", middle());
      if (has_size()) handle.primitives.push_back(box_at(middle()).outline(rect_look()));
      add_square(handle, rect_look());
    }
    const gfx_line_style style = has_shift ? gfx_line_style::dashed : gfx_line_style::solid;
    const gfx_primitive unshifted = box_at(center()).outline(rect_look(style));
    if (part(RECT_CENTER)) {
      widget_handle& handle = add(moves::center, "center", center());
      add_cross(handle, rect_look());
      if (has_size()) handle.primitives.push_back(unshifted);
    } else if (has_size()) {
      add_shape(unshifted);
    }
  }
};

}  // namespace

std::unique_ptr<widget> make_rectshift_widget(const genotype& g, const widget_declaration& d) {
  return std::make_unique<rectshift_widget>(g, d);
}

}  // namespace tessaron
