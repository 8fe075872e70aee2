#include "host/widgets/transform.h"

#include <cmath>
#include <numbers>

#include "base/report.h"

namespace tessaron {

namespace {

/// A smaller determinant, or none that is a number, has no inverse.
bool is_singular(float determinant) { return !(std::fabs(determinant) >= 1e-06f); }

// Process-wide, guarded by the entry's mutex. The top is above the entries that were pushed.
gfx_matrix top;
gfx_matrix stack[GFX_STACK_ENTRIES];
int depth = 0;

/// top = top * right.
void multiply(const gfx_matrix& right) {
  gfx_matrix product;
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 3; ++column)
      product.m[row][column] = top.m[row][0] * right.m[0][column] + top.m[row][1] * right.m[1][column] +
                               (column == 2 ? top.m[row][2] : 0.0f);
  top = product;
}

}  // namespace

void gfx_xform_stack_push() {
  if (depth == GFX_STACK_ENTRIES) {
    report(REPORT_ERROR, "gfx_xform_stack_push: stack is full (%d entries).", GFX_STACK_ENTRIES);
    return;
  }
  stack[depth++] = top;
}

void gfx_xform_stack_pop() {
  if (depth == 0) {
    report(REPORT_ERROR, "gfx_xform_stack_pop: stack is empty.");
    return;
  }
  top = stack[--depth];
}

int gfx_xform_stack_depth() { return depth; }
const gfx_matrix& gfx_top_matrix() { return top; }
void gfx_set_matrix(const gfx_matrix& matrix) { top = matrix; }

void gfx_translate(float x, float y) { multiply({{{1, 0, x}, {0, 1, y}}}); }

void gfx_rotate(float degrees) {
  const double turn = double(degrees) * std::numbers::pi / 180;
  const float c = float(std::cos(turn)), s = float(std::sin(turn));
  multiply({{{c, -s, 0}, {s, c, 0}}});
}

void gfx_scale(float x, float y) { multiply({{{x, 0, 0}, {0, y, 0}}}); }

gfx_point gfx_transform_point(gfx_point p) {
  const auto& m = top.m;
  return {m[0][0] * p.x + m[0][1] * p.y + m[0][2], m[1][0] * p.x + m[1][1] * p.y + m[1][2]};
}

gfx_point gfx_inverse_transform_point(gfx_point p) {
  return gfx_inverse_transform_vector({p.x - top.m[0][2], p.y - top.m[1][2]});
}

gfx_point gfx_inverse_transform_vector(gfx_point v) {
  const auto& m = top.m;
  const float determinant = top.determinant();
  if (is_singular(determinant)) return {};
  return {(m[1][1] * v.x - m[0][1] * v.y) / determinant, (m[0][0] * v.y - m[1][0] * v.x) / determinant};
}

float gfx_matrix_scale() { return std::sqrt(std::fabs(top.determinant())); }

float gfx_from_window(float pixels) { return is_singular(top.determinant()) ? 0.0f : pixels / gfx_matrix_scale(); }

}  // namespace tessaron
