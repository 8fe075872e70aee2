// Drawing over a picture: the drawing callbacks of a window, as an anti-aliased raster.
#pragma once

#include <memory>

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {

/// A transparent sheet of `width` by `height` pixels that effects draw their handles on.
///
/// Solid lines of up to 1.5 pixels and dashes end where they are told to; wider lines end round, so that a dark line
/// under a thin bright one frames its ends too. Lines may reach as far as they like and are cut at the sheet. Shapes
/// that make no sense (a number that is none, no width, no radius) or that reach beyond four million pixels are left
/// out, and dashes too fine to be seen come out solid; none of these is an error. Every text is sans serif.
class overlay {
 public:
  /// Throws host_error when a sheet of that size can't be made.
  overlay(int width, int height);
  ~overlay();
  overlay(const overlay&) = delete;
  overlay& operator=(const overlay&) = delete;

  int width() const;
  int height() const;
  /// For pf_event_extra::drawing, as long as the sheet lives.
  const pf_draw_callbacks& callbacks() const;

  /// The sheet with straight colours, as rgba8.
  image straight() const;
  /// The sheet with colours multiplied by their alpha, as rgba8.
  image premultiplied() const;
  /// Lays the sheet over a picture of the same size and straight colours. Throws host_error when the sizes differ.
  void draw_over(image& picture) const;

 private:
  struct sheet;
  std::unique_ptr<sheet> sheet_;
};

}  // namespace tessaron::hostkit
