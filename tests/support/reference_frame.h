// A tree's value at one pixel, the slow way: nodes one after the other, each kernel on one sample, with
// the limit of planes wherever the plan keeps a value in one. Knows nothing of rows, loops, caches or
// the order of images. Coordinates come from the formulas in exact arithmetic of wide integers.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype.h"
#include "tests/support/render_definition.h"

namespace tessaron::testing {

using pixel_value = std::array<fix, 4>;

inline std::int64_t shift_down(std::int64_t v, int bits) { return v >> bits; }

/// x of a frame column: -1.0 at the left edge to 1.0 at the right, at pixel centres.
inline fix reference_x(const test_frame& f, int column) {
  const std::int64_t step = std::llrint(4096 * 8192.0 / f.width);
  return fix(shift_down((step >> 1) - 0x1000000 + 0x800 + column * step, 12));
}
/// y of a frame row: xy_aspect * pixel_aspect at the top, falling.
inline fix reference_y(const test_frame& f, int row) {
  const double aspect = double(float(f.height) / float(f.width)) * f.pixel_aspect;
  const std::int64_t step = std::llrint(4096 * 8192.0 * f.pixel_aspect / f.width);
  const std::int64_t accumulated = (step >> 1) - std::llrint(4096 * 4096 * aspect) + row * step + 0x800;
  return fix(shift_down(-accumulated, 12));
}

class reference_pixel {
 public:
  using source_function = definition_renderer::pixel_function;

  reference_pixel(const genotype& g, const test_frame& frame, const source_function& source, int x, int y)
      : g_(g), frame_(frame), source_(source), x_(x), y_(y) {}

  /// Value of a node of the folded tree.
  pixel_value of(const node& n) {
    if (n.node_flags & NODE_CONSTANT) return {n.const_vals[0], n.const_vals[1], n.const_vals[2], n.const_vals[3]};
    if (n.pass_arg >= 0) return of(*n.args[n.pass_arg]);
    if (n.kind == KIND_BUILT_IN) return variable(n);
    const auto found = known_.find(&n);
    if (found != known_.end()) return found->second;
    pixel_value value = n.fun->is_image_fun ? gamma(n) : per_pixel(n);
    if (n.image_count > 0) limit(value, n.elnum);
    return known_[&n] = value;
  }

 private:
  pixel_value variable(const node& n) const {
    switch (n.var_index) {
      case VAR_X:
        return {reference_x(frame_, x_)};
      case VAR_Y:
        return {reference_y(frame_, y_)};
      case VAR_XY:
        return {reference_x(frame_, x_), reference_y(frame_, y_)};
      default: {
        pixel_value v{};
        for (int e = 0; e < n.elnum; ++e) v[e] = source_(x_, y_, e);
        return v;
      }
    }
  }
  static void limit(pixel_value& v, int elnum) {
    for (int e = 0; e < elnum; ++e) v[e] = std::clamp(v[e], -0x7fff, 0x7fff);
  }
  pixel_value gamma(const node& n) {
    pixel_value base = of(*n.args[0]);
    limit(base, n.args[0]->elnum);
    const pixel_value power = of(*n.args[1]);
    pixel_value v{};
    for (int e = 0; e < n.elnum; ++e) {
      const double b = std::abs(base[std::min(e, n.args[0]->elnum - 1)]) / 4096.0;
      const double p = power[std::min(e, n.args[1]->elnum - 1)] / 4096.0;
      v[e] = fix_from_double(std::pow(b, p));
    }
    return v;
  }
  pixel_value per_pixel(const node& n) {
    node one = n;
    node args[MAX_ARG_NUMBER];
    one.vars = &fold_rows;
    one.uniform_args = 0xffff;
    for (int e = 0; e < 4; ++e) one.rows[e] = &one.const_vals[e];
    for (int a = 0; a < n.arg_number; ++a) {
      args[a] = *n.args[a];
      if (a < n.eval_arg_number) {
        const pixel_value v = of(*n.args[a]);
        std::copy(v.begin(), v.end(), args[a].const_vals);
      }
      for (int e = 0; e < 4; ++e) args[a].rows[e] = &args[a].const_vals[e];
      one.args[a] = &args[a];
      one.arg_rows[a] = args[a].rows;
      one.arg_consts[a] = args[a].const_vals;
    }
    one.own_kernel(one);
    pixel_value v{};
    std::copy_n(one.const_vals, n.elnum, v.begin());
    return v;
  }

  const genotype& g_;
  const test_frame& frame_;
  const source_function& source_;
  int x_, y_;
  std::map<const node*, pixel_value> known_;
};

/// The first pixel where a rendered frame differs from the reference, as text; empty when none does.
inline std::string first_difference(definition_renderer& r, const reference_pixel::source_function& source) {
  const test_frame& f = r.frame_size();
  for (int y = f.y0; y <= f.y1; ++y)
    for (int x = f.x0; x <= f.x1; ++x) {
      const pixel_value wanted = reference_pixel(r.effect(), f, source, x, y).of(r.root());
      for (int e = 0; e < r.elnum(); ++e)
        if (r.at(e, x, y) != wanted[e])
          return "element " + std::to_string(e) + " at " + std::to_string(x) + "," + std::to_string(y) + ": " +
                 std::to_string(r.at(e, x, y)) + " instead of " + std::to_string(wanted[e]);
    }
  return "";
}

}  // namespace tessaron::testing
