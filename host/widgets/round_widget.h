// What widgets around a middle have in common: handles that move the middle, sizes along rays and outlines, and arms
// that turn.
#pragma once

#include "host/widgets/widget.h"

namespace tessaron {

/// A step as it looks on the screen: in widths of a pixel of the layer, y upwards.
struct screen_step {
  double x = 0, y = 0;
};
inline screen_step operator*(screen_step s, double factor) { return {s.x * factor, s.y * factor}; }

class round_widget : public widget {
 public:
  using widget::widget;
  void begin_drag(int handle, float x, float y) override;
  void drag(int handle, float x, float y) override;

 protected:
  /// What the declaration calls a part that is there.
  const char* part_name(int slot) const;
  bool has_parts() const;
  /// How a parameter says where something is.
  enum class place_rule {
    place,     // in its units
    step,      // in its units, from the middle of the frame
    fraction,  // of the frame, from its lower left corner
    norm,      // in half widths of the frame from its middle, whatever its units
  };
  static layer_point place_of(param& p, place_rule rule);

  /// Where a size is measured while it is dragged.
  enum class size_way {
    outline,  // the oval through the mouse
    ray,      // on the ray
    across,   // on the x axis
    upwards,  // on the y axis
  };
  /// A channel of a parameter that is a size. Its sign plays no part.
  struct size_part {
    param* p = nullptr;
    int channel = 0;
    screen_step unit;        // half axes that a size of 1 makes
    bool frequency = false;  // the size is 1 over the parameter's number
    /// 0 for a frequency that has no inverse: is_usable() is false.
    double size() const;
    bool is_usable() const;
  };
  /// A parameter of one channel for both half axes, of two for one each, or of more for an outline in each colour.
  struct oval_size {
    const char* part_name;
    param& p;
    screen_step unit;
    bool frequency = false;
    size_part part(int channel) const { return {&p, channel, unit, frequency}; }
    /// Half axes as the parameter says; of one channel where it has more than two.
    screen_step half(int channel = 0) const;
    bool is_usable() const;
  };

  /// Forgets all handles and shapes. `turn`: degrees, of the axes that sizes lie on.
  void start_round(layer_point middle, double turn = 0);
  layer_point middle() const { return middle_; }
  /// A step along the axes as a place on the layer, and back.
  layer_point around(screen_step s) const;
  screen_step from_middle(layer_point at) const;
  /// The corner of an oval at an angle of its own.
  layer_point on_oval(screen_step half, double degrees) const;
  gfx_primitive oval(screen_step half, gfx_look look) const;
  gfx_primitive arm(layer_point to, gfx_look look) const { return gfx_segment(gfx(middle_), gfx(to), look); }
  /// Widths of a pixel of the layer that a pixel of the window is long.
  static double window_pixel();
  /// The screen's height of the frame over its width.
  static double frame_proportion();

  /// A cross that moves the middle.
  void add_mover(const char* part_name, param& p, place_rule rule, gfx_look look);
  /// A small cross where the middle can't be moved.
  void add_middle_mark(gfx_look look);
  /// A handle without shapes for a size; the one above says where it is.
  widget_handle& add_size(const char* part_name, const size_part& part, size_way way, double degrees, layer_point at);
  // A handle that has no shape just now, its size being 0 or none, stays in the list: handles keep their numbers, and
  // one that is being dragged comes back.

  /// The same with a square on the oval that the size makes; `shown`: whether there is one.
  void add_square(const char* part_name, const size_part& part, size_way way, double degrees, gfx_look look,
                  bool shown = true);
  /// The squares of a size: at the right for x and on top for y, one channel has the first `sides` of all four.
  void add_size_squares(const oval_size& size, int sides, gfx_look look);
  /// The outlines, which can be taken hold of everywhere. Added last, they leave all other handles free.
  void add_size_outlines(const oval_size& size, gfx_look look);
  /// The same for a size whose oval others have a say in.
  void add_outline(const char* part_name, const size_part& part, gfx_look look);
  /// Gives a handle the outline that it stands for, if there is one.
  void add_oval(widget_handle& handle, screen_step half, bool usable, gfx_look look);
  /// A handle without shapes for both channels of a size, which grow together. `half`: the oval's half axes now.
  widget_handle& add_common(const char* part_name, const size_part& part, screen_step half, double degrees);
  /// An arm along the x axis with a round handle, `length` widths of a pixel away, that turns an angle.
  void add_turner(const char* part_name, param& p, double length, gfx_look arm_look, gfx_look look);

 private:
  enum class grip_kind { move, size, common, turn };
  /// What a handle does to its parameter.
  struct grip {
    grip_kind kind = grip_kind::move;
    size_part part;  // of move and turn only the parameter; of common, with the half axes as the unit
    place_rule rule = place_rule::place;
    size_way way = size_way::outline;
    double degrees = 0;
    // While it is held: what was there when the mouse came, so that no rounding adds up.
    double first[2] = {};    // sizes of both channels, or the angle
    double first_mouse = 0;  // the mouse's measure or direction
  };

  static void set_place(param& p, place_rule rule, layer_point place);
  static double measure(const grip& g, screen_step mouse);
  static void set_size(const size_part& part, double size);
  void drag_sizes(layer_point mouse) const;
  void drag_turn(layer_point mouse) const;

  layer_point middle_;
  double turn_ = 0;
  std::vector<grip> grips_;  // of each handle
  grip held_;
};

}  // namespace tessaron
