// A widget: one on-screen handle or a group of them, tied to the parameters that it shows and moves.
#pragma once

#include <array>
#include <initializer_list>
#include <memory>
#include <vector>

#include "genotype/genotype.h"
#include "host/widgets/handle.h"
#include "host/widgets/places.h"
#include "host/widgets/types.h"

namespace tessaron {

/// The base of all widgets. A class for each base type fills its handles in prepare() and writes parameters in drag().
/// All coordinates are pixels of the layer at full resolution, y downwards.
class widget {
 public:
  widget(const genotype& g, const widget_declaration& declaration);
  virtual ~widget() = default;
  widget(const widget&) = delete;
  widget& operator=(const widget&) = delete;

  /// The mouse has taken hold of a handle: what lies between the two is kept during the drag.
  virtual void begin_drag(int handle, float x, float y);
  /// The mouse has moved: writes parameters so that the handle follows.
  virtual void drag(int handle, float x, float y) = 0;
  virtual void end_drag(int handle, float x, float y);
  /// Refreshes numbers, handles and shapes from the parameters.
  virtual void prepare() = 0;
  /// After parameters were written.
  virtual void finish();
  virtual bool is_visible();

  /// Whether the checkbox is on; a widget without one is.
  bool is_enabled() const;
  const widget_declaration& declaration() const { return declaration_; }
  const param* enabled_param() const { return enabled_param_; }
  const std::vector<widget_handle>& handles() const { return handles_; }
  /// Shapes that can't be taken hold of.
  const std::vector<gfx_primitive>& shapes() const { return shapes_; }
  /// prepare(), with the bounds of the handles found.
  void prepare_handles();

  int hot_handle = -1;   // drawn brighter
  int drag_handle = -1;  // being dragged

 protected:
  /// The parameter in a slot; null where the widget hasn't got it, the host doesn't show it, or it is a colour.
  param* part(int slot) const { return slots_[std::size_t(slot)]; }
  /// Whether the type's name has a word in it: "green", "pix", "fullsize", ...
  bool type_has(const char* word) const;
  /// Reports "Unknown %s widget type %s" unless the type is one of these.
  void check_type(const char* class_name, std::initializer_list<const char*> known) const;
  /// The factor in the type's name: 2, 4 or 8 of "scale2", "scale4", "radius8", else 1.
  double type_scale() const;
  /// The look of the type: its colour by name or `usual`.
  gfx_look look(gfx_line_style style = gfx_line_style::solid, gfx_color usual = gfx_color::yellow) const;

  void start();  // no handles, no shapes
  /// Adds a handle at a place; its shapes are still to be added.
  widget_handle& add_handle(const char* part_name, layer_point at);
  void add_shape(gfx_primitive shape) { shapes_.push_back(std::move(shape)); }
  /// Where the handle is to go for the mouse at (x, y).
  layer_point target(float x, float y) const { return {double(x) + grip_.x, double(y) + grip_.y}; }

 private:
  const widget_declaration& declaration_;
  std::array<param*, MAX_WIDGET_PARTS> slots_{};
  param* enabled_param_;
  std::vector<widget_handle> handles_;
  std::vector<gfx_primitive> shapes_;
  layer_point grip_;  // from the mouse to the handle
};

inline gfx_point gfx(layer_point p) { return {float(p.x), float(p.y)}; }
inline layer_point operator+(layer_point a, layer_point b) { return {a.x + b.x, a.y + b.y}; }
inline layer_point operator-(layer_point a, layer_point b) { return {a.x - b.x, a.y - b.y}; }
inline layer_point operator*(layer_point a, double factor) { return {a.x * factor, a.y * factor}; }

/// The object of a declaration, whose genotype must outlive it; null after a report where the base type isn't known.
std::unique_ptr<widget> make_widget(const genotype& g, const widget_declaration& declaration);

// One for each base type, each in its file.
using widget_maker = std::unique_ptr<widget> (*)(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_center_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_center_radius_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_radius_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_wipe_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_rect_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_rectshift_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_ellipse_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_glint_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_angle_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_simple_rect_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_rect_c_sz_widget(const genotype&, const widget_declaration&);
std::unique_ptr<widget> make_timeslice_widget(const genotype&, const widget_declaration&);

}  // namespace tessaron
