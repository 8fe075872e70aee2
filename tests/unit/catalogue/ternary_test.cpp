// Limits, blends, compositing and choices: references from the rules, and values worked out by hand.
#include "support/plain_arithmetic.h"

namespace tessaron::testing {
namespace {

constexpr fix LOWEST = INT32_MIN;

// --- references --------------------------------------------------------------------------------------

fix limited(fix value, fix bound1, fix bound2) {
  const fix low = bound1 < bound2 ? bound1 : bound2, high = bound1 < bound2 ? bound2 : bound1;
  if (value < low) return low;
  if (value > high) return high;
  return value;
}
fix multiplied_and_added(fix a, fix b, fix c) { return low32(wide(product(a, b)) + c); }
fix interpolated(fix a, fix b, fix p) { return low32(wide(product(low32(wide(b) - a), p)) + a); }
fix dissolved(fix a, fix b, fix p) {
  if (p <= 0) return a;
  if (p >= 0xfff) return b;
  return interpolated(a, b, p);
}

fix composited(fix back, fix front, fix m) {
  if (m >= 0xfff) return front;
  if (m < 1) return low32(wide(front) + back);
  return low32(wide(front) + product(back, 4096 - m));
}
/// Element of a picture: the alpha of rgb is 1.0, a scalar is its own.
fix picture(const sample_input& in, int a, int e) {
  if (e == 3 && in.elnum[a] == 3) return 4096;
  return in.arg[a][in.elnum[a] == 1 ? 0 : e];
}

void comp_rgba(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) {
    const fix m = picture(in, 1, 3);
    if (e < 3)
      out[e] = composited(picture(in, 0, e), picture(in, 1, e), m);
    else if (m >= 0xfff)
      out[e] = 4096;
    else if (m < 1)
      out[e] = picture(in, 0, 3);
    else
      out[e] = low32(wide(product(picture(in, 0, 3), 4096 - m)) + m);
  }
}

/// As comp_rgba, but any front without alpha is the result.
void comp_rgba1(const sample_input& in, fix out[4]) {
  if (in.elnum[1] == 4) return comp_rgba(in, out);
  for (int e = 0; e < in.result_elnum; ++e) out[e] = picture(in, 1, e);
}

/// One element of a branch that may be shorter than the result: 1 spreads, 2 gets blue 0, alpha is 1.0.
fix branch(const sample_input& in, int a, int e) {
  const int n = in.elnum[a];
  if (n == 1) return in.arg[a][0];
  if (e < n) return in.arg[a][e];
  return e == 3 ? 4096 : 0;
}
void if_positive(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = branch(in, branch(in, 0, e) < 1 ? 2 : 1, e);
}
void if_above(const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e) out[e] = branch(in, branch(in, 1, e) < branch(in, 0, e) ? 2 : 3, e);
}

fix posterized(fix a, fix s, fix m, fix p) {
  if (s == 0 || m >= 0x1000) return a;
  const fix h = floor_shift(s, 1);
  const auto base_of = [s](fix v) {
    const wide base = low32(wide(quotient(v, s)) * s);
    return wide(low32(v < 0 ? base - magnitude(s) : base));
  };
  if (m == 0) return low32(base_of(low32(wide(a) - p + h)) + p);
  const fix v = low32(wide(a) - p);
  const wide base = base_of(v);
  fix t = nearest_fix(double(low32(v - base - h)) * (1.0 / (m / 4096.0)) / 4096.0);
  if (t < low32(-wide(h)))
    t = low32(-wide(h));
  else if (t > h)
    t = h;
  return low32(base + t + h + p);
}

const register_reference CLAMP("clamp", by_element<limited>);
const register_reference MULTIPLY_ADD("*+", by_element<multiplied_and_added>);
const register_reference INTERP("interp", by_element<interpolated>);
const register_reference DISSOLVE("dissolve", [](const sample_input& in, fix out[4]) {
  in.constant[2] ? by_element<interpolated>(in, out) : by_element<dissolved>(in, out);
});
const register_reference COMP_PREMULT("comp_premult", [](const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e)
    out[e] = composited(picture(in, 0, e), picture(in, 1, e), in.arg[2][in.elnum[2] == 1 ? 0 : e]);
  if (in.result_elnum == 4 && (in.elnum[0] == 3 || in.elnum[1] == 3)) out[3] = 4096;
});
const register_reference COMP_RGBA("comp_rgba", comp_rgba);
const register_reference COMP_RGBA1("comp_rgba1", comp_rgba1);
const register_reference IF_POSITIVE("if+", if_positive);
const register_reference IF_POSITIVE_COERCE("if+_coerce", if_positive);
const register_reference IF_ABOVE("if>", if_above);
const register_reference IF_ABOVE_COERCE("if>_coerce", if_above);
const register_reference IF_EQ("if_eq", [](const sample_input& in, fix out[4]) {
  const bool equal = std::equal(in.arg[0], in.arg[0] + in.elnum[0], in.arg[1]);
  for (int e = 0; e < in.result_elnum; ++e) out[e] = in.arg[equal ? 2 : 3][e];
});
const register_reference POSTERIZE("posterize", [](const sample_input& in, fix out[4]) {
  for (int e = 0; e < in.result_elnum; ++e)
    out[e] = posterized(element(in, 0, e), element(in, 1, e), element(in, 2, e), element(in, 3, e));
});

// --- values worked out by hand -----------------------------------------------------------------------

TEST(ternary, clamp_takes_its_bounds_in_either_order) {
  expect_values("clamp", {{5}, {10}, {20}}, {10});
  expect_values("clamp", {{25}, {20}, {10}}, {20});
  expect_values("clamp", {{15}, {20}, {10}}, {15});
  expect_values("clamp", {{15}, {7}, {7}}, {7});
}

TEST(ternary, multiply_add) {
  expect_values("*+", {{2048}, {2048}, {5}}, {1029});
  expect_values("*+", {{2048, 4096}, {8192}, {1, 2}}, {4097, 8194});
}

TEST(ternary, interp_goes_on_beyond_its_ends) {
  expect_values("interp", {{1000}, {2000}, {2048}}, {1500});
  expect_values("interp", {{1000}, {2000}, {8192}}, {3000});
  expect_values("interp", {{1000}, {2000}, {-4096}}, {0});
  expect_values("interp", {{0, 0, 0}, {8, 8, 8, 0}, {2048}}, {4, 4, 4, 2048});
}

TEST(ternary, dissolve_stops_at_its_ends) {
  expect_values("dissolve", {{1000}, {2000}, {-1}}, {1000});
  expect_values("dissolve", {{1000}, {2000}, {8192}}, {2000});
  expect_values("dissolve", {{1000}, {2000}, {0xfff}}, {2000});
  expect_values("dissolve", {{1000}, {2000}, {0xffe}}, {1999});  // 1000 * 4094 >> 12 = 999
}

TEST(ternary, dissolve_by_a_constant_is_interp) {
  expect_values("dissolve", {{1000}, {2000}, {0xfff}}, {1999}, arg_form::constant);
  expect_values("dissolve", {{1000}, {2000}, {8192}}, {3000}, arg_form::constant);
  expect_values("dissolve", {{1000}, {2000}, {0xfff}}, {2000}, arg_form::uniform);
}

TEST(ternary, dissolve_spreads_the_last_element_of_two) {
  expect_values("dissolve", {{1, 2}, {0, 0, 0, 0}, {0}}, {1, 2, 2, 2});
  expect_values("dissolve", {{0, 0, 0}, {1, 2}, {4096}}, {1, 2, 2, 2});
  expect_values("dissolve", {{0, 0, 0}, {1, 2}, {0}}, {0, 0, 0, 4096});
  expect_values("dissolve", {{1, 2, 3}, {0, 0, 0, 0}, {0}}, {1, 2, 3, 4096});
}

TEST(ternary, comp_premult_by_matte) {
  expect_values("comp_premult", {{1000}, {500}, {0xfff}}, {500});
  expect_values("comp_premult", {{1000}, {500}, {0}}, {1500});
  expect_values("comp_premult", {{1000}, {500}, {-7}}, {1500});
  expect_values("comp_premult", {{1000}, {500}, {1024}}, {1250});
  expect_values("comp_premult", {{8, 8, 8, 8}, {4, 4, 4, 4}, {2048}}, {8, 8, 8, 8});
}

TEST(ternary, comp_premult_of_rgb_with_rgba_is_opaque) {
  expect_values("comp_premult", {{8, 8, 8, 8}, {4, 4, 4}, {2048}}, {8, 8, 8, 4096});
  expect_values("comp_premult", {{8, 8, 8}, {4, 4, 4, 4}, {0}}, {12, 12, 12, 4096});
}

TEST(ternary, comp_premult_spreads_a_scalar_over_all_elements) {
  // alpha: 1024 + (400 * 3072 >> 12) = 1324
  expect_values("comp_premult", {{400}, {100, 100, 100, 1024}, {1024}}, {400, 400, 400, 1324});
}

TEST(ternary, comp_rgba_uses_the_alpha_of_the_front) {
  expect_values("comp_rgba", {{1000, 1000, 1000, 4096}, {100, 200, 300, 1024}}, {850, 950, 1050, 4096});
  expect_values("comp_rgba", {{1000, 1000, 1000, 2048}, {100, 200, 300, 2048}}, {600, 700, 800, 3072});
  expect_values("comp_rgba", {{1000, 1000, 1000, 7}, {100, 200, 300, 0xfff}}, {100, 200, 300, 4096});
  expect_values("comp_rgba", {{1000, 1000, 1000, 7}, {100, 200, 300, 0}}, {1100, 1200, 1300, 7});
}

TEST(ternary, comp_rgba_over_a_back_without_alpha_is_opaque) {
  expect_values("comp_rgba", {{1000, 1000, 1000}, {100, 200, 300, 1024}}, {850, 950, 1050, 4096});
  expect_values("comp_rgba", {{1000, 1000, 1000}, {100, 200, 300, 0}}, {1100, 1200, 1300, 4096});
}

TEST(ternary, comp_rgba_takes_a_scalar_as_its_own_alpha) {
  // 410 * 3072 >> 12 is 307, 2048 * 3072 >> 12 is 1536.
  expect_values("comp_rgba", {{410, 410, 410, 2048}, {1024}}, {1331, 1331, 1331, 2560});
  expect_values("comp_rgba", {{1024}, {100, 200, 300, 2048}}, {612, 712, 812, 2560});
  expect_values("comp_rgba", {{410, 410, 410}, {1024}}, {1331, 1331, 1331});
  expect_values("comp_rgba", {{410}, {1024}}, {1331});
  expect_values("comp_rgba", {{410}, {0}}, {410});
}

TEST(ternary, comp_rgba_with_a_front_without_alpha_is_the_front) {
  expect_values("comp_rgba", {{1, 2, 3, 4}, {10, 20, 30}}, {10, 20, 30, 4096});
  expect_values("comp_rgba1", {{1, 2, 3, 4}, {10, 20, 30}}, {10, 20, 30});
  expect_values("comp_rgba1", {{1, 2, 3}, {10}}, {10});
}

TEST(ternary, if_positive_picks_else_at_0) {
  expect_values("if+", {{0}, {1}, {2}}, {2});
  expect_values("if+", {{1}, {1}, {2}}, {1});
  expect_values("if+", {{1, 0, -1}, {1, 2, 3}, {10, 20, 30}}, {1, 20, 30});
}

TEST(ternary, if_above_picks_else_for_equal_values) {
  expect_values("if>", {{5}, {5}, {1}, {2}}, {2});
  expect_values("if>", {{6}, {5}, {1}, {2}}, {1});
  expect_values("if>", {{LOWEST}, {1}, {1}, {2}}, {2});
  expect_values("if>", {{5}, {1, 5, 9}, {1, 2, 3}, {10, 20, 30}}, {1, 20, 30});
}

TEST(ternary, coerced_choices_widen_the_shorter_branch) {
  expect_values("if+_coerce", {{1}, {7}, {1, 2, 3, 4}}, {7, 7, 7, 7});
  expect_values("if+_coerce", {{1}, {1, 2, 3}, {0, 0, 0, 0}}, {1, 2, 3, 4096});
  expect_values("if+_coerce", {{0}, {1, 2, 3}, {5, 6, 7, 8}}, {5, 6, 7, 8});
  expect_values("if>_coerce", {{2}, {1}, {1, 2}, {0, 0, 0}}, {1, 2, 0, 4096});
  expect_values("if>_coerce", {{2}, {1}, {1, 2}, {0, 0, 0, 0}}, {1, 2, 0, 4096});
  expect_values("if>_coerce", {{1, 2, 3}, {2}, {10}, {20}}, {20, 20, 10});
}

TEST(ternary, if_eq_compares_all_elements) {
  expect_values("if_eq", {{1, 2, 3, 4}, {1, 2, 3, 4}, {7}, {8}}, {7});
  expect_values("if_eq", {{1, 2, 3, 4}, {1, 2, 3, 5}, {7}, {8}}, {8});
}

TEST(ternary, if_eq_takes_the_whole_row_by_its_first_sample) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("if_eq");
  kernel_bench bench(fun, 0, 3, std::vector<arg_form>(4, arg_form::row));
  for (int i = 0; i < 3; ++i) {
    bench.set(0, i, 0, i);  // equal only at the first sample
    bench.set(1, i, 0, -i);
    bench.set(2, i, 0, 10 + i);
    bench.set(3, i, 0, 20 + i);
  }
  bench.run(fun.kernels[0]);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(bench.result(i, 0), 10 + i);
}

TEST(ternary, posterize_without_smoothing_rounds_to_the_nearest_step) {
  expect_values("posterize", {{1400}, {1000}, {0}, {0}}, {1000});
  expect_values("posterize", {{1500}, {1000}, {0}, {0}}, {2000});
  expect_values("posterize", {{1450}, {1000}, {0}, {100}}, {1100});
  expect_values("posterize", {{-600}, {1000}, {0}, {0}}, {-1000});
  // -1500 + 500 is an exact multiple below zero: one step further down.
  expect_values("posterize", {{-1500}, {1000}, {0}, {0}}, {-2000});
}

TEST(ternary, posterize_with_a_soft_edge) {
  // half smooth: the ramp is twice as steep, centred in the step, and flat at both ends
  expect_values("posterize", {{1500}, {1000}, {2048}, {0}}, {1500});
  expect_values("posterize", {{1600}, {1000}, {2048}, {0}}, {1700});
  expect_values("posterize", {{1100}, {1000}, {2048}, {0}}, {1000});
  expect_values("posterize", {{1900}, {1000}, {2048}, {0}}, {2000});
}

TEST(ternary, posterize_leaves_the_value_for_step_0_or_full_smoothing) {
  expect_values("posterize", {{1234}, {0}, {0}, {5}}, {1234});
  expect_values("posterize", {{1234}, {1000}, {4096}, {5}}, {1234});
}

TEST(ternary, posterize_has_a_step_and_a_phase_for_each_element) {
  expect_values("posterize", {{1400, 1400, 1400}, {1000, 0, 2000}, {0}, {0, 0, 500}}, {1000, 1400, 500});
}

}  // namespace
}  // namespace tessaron::testing
