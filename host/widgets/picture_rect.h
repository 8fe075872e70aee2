// What the base types "rect" and "rectshift" share: the outline of a picture in space.
//
// A picture at a distance of 1 looks half as wide and high as the frame, in a type with "_fullsize" as large as the
// frame; at a distance of 2 half of that. z_dist of two channels is a distance for the width and one for the height.
// rotate turns the outline about its own middle, which lies by `shift` beside the centre. In a type with "_pix" a
// centre and a shift without units are pixels.
#pragma once

#include "host/widgets/turned_box.h"
#include "host/widgets/widget.h"

namespace tessaron {

class picture_rect : public widget {
 public:
  using widget::widget;

  void prepare() override;
  void begin_drag(int handle, float x, float y) override;
  void drag(int handle, float x, float y) override;

 protected:
  enum class moves { corner, side, angle, shift, center };

  /// Adds the handles of the centre and the shift, and what is drawn of them.
  virtual void add_places() = 0;

  layer_point center() const;
  layer_point middle() const;  // of the outline
  bool has_size() const;
  gfx_look rect_look(gfx_line_style style = gfx_line_style::solid) const { return look(style, gfx_color::blue); }
  turned_box box_at(layer_point place) const;
  widget_handle& add(moves what, const char* part_name, layer_point at);

 private:
  plain_numbers plain() const { return type_has("_pix") ? plain_numbers::pixels : plain_numbers::norm; }
  turned_point half_at_1() const;  // half of the size at a distance of 1
  double distance(int channel) const;
  void add_distances();
  void add_angle();
  void drag_distance(box_spot spot, turned_point to);

  std::vector<moves> moved_;     // by handle
  std::vector<box_spot> spots_;  // by handle, of the distance's handles
  bool tiny_along_ = false, tiny_up_ = false;
};

}  // namespace tessaron
