// The 2D transform stack that widgets draw and are hit through: from a widget's coordinates, pixels of the layer at
// full resolution with y downwards, to pixels of the window.
#pragma once

namespace tessaron {

/// A place in some plane.
struct gfx_point {
  float x = 0, y = 0;
  bool operator==(const gfx_point&) const = default;
};

/// x' = m[0][0] x + m[0][1] y + m[0][2], y' = m[1][0] x + m[1][1] y + m[1][2].
struct gfx_matrix {
  float m[2][3] = {{1, 0, 0}, {0, 1, 0}};
  float determinant() const { return m[0][0] * m[1][1] - m[0][1] * m[1][0]; }
};

inline constexpr int GFX_STACK_ENTRIES = 7;

/// Keeps the top matrix below a copy of it. A full stack is reported and stays as it is.
void gfx_xform_stack_push();
/// Takes the top matrix off. An empty stack is reported and stays as it is.
void gfx_xform_stack_pop();
/// Pushes that have not been popped.
int gfx_xform_stack_depth();

const gfx_matrix& gfx_top_matrix();
void gfx_set_matrix(const gfx_matrix& matrix);

// What comes after works in the coordinates that these make: they multiply into the top matrix from the right.
void gfx_translate(float x, float y);
/// Degrees, from x towards y.
void gfx_rotate(float degrees);
void gfx_scale(float x, float y);

gfx_point gfx_transform_point(gfx_point p);
/// Back from the window. A matrix that can't be inverted, its determinant below 1e-06 in magnitude, gives 0, 0.
gfx_point gfx_inverse_transform_point(gfx_point p);
/// A distance in the window, taken back without the matrix's shift; 0, 0 as above.
gfx_point gfx_inverse_transform_vector(gfx_point v);

/// Pixels of the window that one unit of the widget's coordinates is long: the square root of the determinant's
/// magnitude.
float gfx_matrix_scale();
/// A length in pixels of the window in the widget's coordinates; 0 where the matrix can't be inverted.
float gfx_from_window(float pixels);

/// A matrix on the stack as long as this lives.
class gfx_pushed {
 public:
  gfx_pushed() : depth_(gfx_xform_stack_depth()) { gfx_xform_stack_push(); }
  ~gfx_pushed() {
    if (gfx_xform_stack_depth() > depth_) gfx_xform_stack_pop();
  }
  gfx_pushed(const gfx_pushed&) = delete;
  gfx_pushed& operator=(const gfx_pushed&) = delete;

 private:
  int depth_;
};

}  // namespace tessaron
