// Functions of place and light: references from the rules, and values worked out by hand.
#include "support/plain_tables.h"

namespace tessaron::testing {
namespace {

// --- references --------------------------------------------------------------------------------------

fix minus(fix a, fix b) { return low32(wide(a) - b); }
fix plus(fix a, fix b) { return low32(wide(a) + b); }
fix plus(fix a, fix b, fix c) { return low32(wide(a) + b + c); }
fix negative(fix a) { return low32(-wide(a)); }
fix shifted_up(fix a) { return low32(wide(a) * 4096); }

void turned(fix dx, fix dy, fix angle, const fix* center, fix out[4]) {
  const fix s = plain_sine(angle), k = plain_cosine(angle);
  out[0] = plus(center[0], product(negative(dy), s), product(dx, k));
  out[1] = plus(center[1], product(dx, s), product(k, dy));
}

void vortex(const sample_input& in, fix out[4]) {
  const fix *v = in.arg[0], *c = in.arg[2];
  const fix turns = in.arg[1][0], start = in.arg[3][0], offset = in.arg[4][0];
  const fix d[2] = {minus(v[0], c[0]), minus(v[1], c[1])};
  const fix r = plain_length_of(d, 2);
  fix q;
  if (r >= low32(2 * wide(start)))
    q = r;
  else if (r <= 0)
    q = start;
  else
    q = plus(floor_shift(quotient(low32(wide(r) * r), start), 2), start);
  if (q < 2) q = 1;
  turned(d[0], d[1], plus(offset, quotient(shifted_up(turns), q)), c, out);
}

/// As a 3-vector: 1 element spreads, 2 get a third of 0.
void as_3(const sample_input& in, int a, fix v[3]) {
  for (int e = 0; e < 3; ++e) v[e] = in.elnum[a] == 1 ? in.arg[a][0] : e < in.elnum[a] ? in.arg[a][e] : 0;
}

/// v cos + (u x v) sin + u (u . v) (1 - cos) around the axis u of length 1.0.
void axis_rotate(const sample_input& in, fix out[4]) {
  fix v[3], u[3];
  as_3(in, 0, v);
  as_3(in, 1, u);
  const fix length = plain_length_of(u, 3);
  for (fix& element : u) element = quotient(shifted_up(element), length);
  const fix s = plain_sine(in.arg[2][0]), c = plain_cosine(in.arg[2][0]);
  const fix dot = plus(product(u[0], v[0]), product(u[1], v[1]), product(u[2], v[2]));
  const fix along = product(dot, 4096 - c);
  const fix cross[3] = {minus(product(u[1], v[2]), product(u[2], v[1])),
                        minus(product(u[2], v[0]), product(u[0], v[2])),
                        minus(product(u[0], v[1]), product(u[1], v[0]))};
  for (int e = 0; e < 3; ++e) out[e] = plus(product(v[e], c), product(cross[e], s), product(u[e], along));
}

void perspective(const sample_input& in, fix out[4]) {
  const fix x = in.arg[0][0], y = in.arg[0][1], d = in.arg[1][0], l = in.arg[3][0];
  const fix sa = plain_sine(in.arg[2][0]), ca = plain_cosine(in.arg[2][0]), e = product(d, ca);
  const fix w = minus(floor_shift(negative(low32(wide(y) * product(sa, l))), 12), ca);
  fix g;
  if (w == 0)
    g = shifted_up(e);
  else if ((w > 0 && e > 0) || (w <= 0 && e <= 0))
    g = quotient(shifted_up(minus(0x1800, e)), w);
  else
    g = quotient(shifted_up(e), negative(w));
  out[0] = product(product(x, l), g);
  out[1] = plus(product(minus(product(product(l, ca), y), sa), g), product(d, sa));
}

void spotlight(const sample_input& in, fix out[4]) {
  double unit[2][3], length[2];
  for (int a = 0; a < 2; ++a) {
    double squares = 0;
    for (int e = 0; e < 3; ++e) squares += real(in.arg[a][e]) * real(in.arg[a][e]);
    length[a] = std::sqrt(squares);
    for (int e = 0; e < 3; ++e) unit[a][e] = length[a] == 0 ? 0 : real(in.arg[a][e]) / length[a];
  }
  double chord = 0;
  for (int e = 0; e < 3; ++e) chord += (unit[0][e] - unit[1][e]) * (unit[0][e] - unit[1][e]);
  double angle = std::acos(std::max(-1.0, 1 - chord / 2));
  const double inner = real(in.arg[2][0]) * 0.017453292, outer = real(in.arg[3][0]) * 0.017453292;
  out[0] = 0;
  if (angle > outer) return;
  angle = std::max(angle, inner);
  double t = inner == outer ? 1 : (outer - angle) / (outer - inner);
  t = t >= 0.5 ? 1 - 2 * (t - 1) * (t - 1) : 2 * t * t;
  const double falloff = real(in.arg[4][0]);
  if (falloff > 0) {
    t *= std::pow(length[1], -falloff);
    if (std::isnan(t) || t > 7.99) t = 7.99;
  }
  out[0] = nearest_fix(t);
}

const register_reference TRANSPOSE("transpose", [](const sample_input& in, fix out[4]) {
  out[0] = in.arg[0][1];
  out[1] = in.arg[0][0];
});
const register_reference POLAR_TO_XY("polar_to_xy", [](const sample_input& in, fix out[4]) {
  out[0] = product(in.arg[0][1], plain_cosine(in.arg[0][0]));
  out[1] = product(in.arg[0][1], plain_sine(in.arg[0][0]));
});
const register_reference XY_TO_POLAR("xy_to_polar", [](const sample_input& in, fix out[4]) {
  out[0] = minus(plain_arc_tangent(in.arg[0][1], in.arg[0][0]), in.arg[1][0]) & 0xfff;
  out[1] = plain_length_of(in.arg[0], 2);
});
const register_reference ROTATE("rotate", [](const sample_input& in, fix out[4]) {
  const fix *v = in.arg[0], *c = in.arg[2];
  turned(minus(v[0], c[0]), minus(v[1], c[1]), in.arg[1][0], c, out);
});
const register_reference VORTEX("vortex", vortex);
const register_reference AXIS_ROTATE("axis_rotate", axis_rotate);
const register_reference SHEAR("shear", [](const sample_input& in, fix out[4]) {
  out[0] = plus(product(in.arg[1][0], in.arg[0][1]), in.arg[0][0]);
  out[1] = plus(product(in.arg[1][1], in.arg[0][0]), in.arg[0][1]);
});
const register_reference PERSPECTIVE("perspective", perspective);
const register_reference SPOTLIGHT("spotlight", spotlight);

// --- values worked out by hand -----------------------------------------------------------------------

constexpr fix ONE = 4096, QUARTER_TURN = 1024, HALF_TURN = 2048;

TEST(geometry, transposition_swaps) {
  expect_values("transpose", {{1, 2}}, {2, 1});
  expect_values("transpose", {{INT32_MIN, 0}}, {0, INT32_MIN});
}

TEST(geometry, polar_coordinates) {
  expect_values("polar_to_xy", {{QUARTER_TURN, 2 * ONE}}, {0, 2 * ONE});
  expect_values("polar_to_xy", {{512, ONE}}, {2896, 2896});  // 0.70711 * 4096
  expect_values("xy_to_polar", {{0, ONE}, {0}}, {QUARTER_TURN, ONE});
  // Minus an eighth of a turn masks to 3584. 2.0 is entry 512, 5931642: (5931642 + 512) >> 10.
  expect_values("xy_to_polar", {{ONE, -ONE}, {0}}, {3584, 5793});
  expect_values("xy_to_polar", {{ONE, -ONE}, {100}}, {3484, 5793});
}

TEST(geometry, rotation_is_counterclockwise_around_the_center) {
  expect_values("rotate", {{ONE, 0}, {QUARTER_TURN}, {0, 0}}, {0, ONE});
  expect_values("rotate", {{2 * ONE, ONE}, {HALF_TURN}, {ONE, ONE}}, {0, ONE});
}

TEST(geometry, four_quarter_turns_restore_a_point) {
  values at = {1234, -777};
  for (int i = 0; i < 4; ++i) at = evaluate("rotate", {at, {QUARTER_TURN}, {100, 50}});
  EXPECT_EQ(at, (values{1234, -777}));
}

TEST(geometry, a_vortex_turns_less_with_the_radius) {
  expect_values("vortex", {{ONE, 0}, {QUARTER_TURN}, {0, 0}, {0}, {0}}, {0, ONE});
  // Radius 2.0: half the angle, 8192 * 2896 >> 12.
  expect_values("vortex", {{2 * ONE, 0}, {QUARTER_TURN}, {0, 0}, {0}, {0}}, {5792, 5792});
}

TEST(geometry, the_core_of_a_vortex_is_a_parabola) {
  // r = start_rad: (1.0 / 4) + 1.0 is 5120; 1024 * 4096 / 5120 = 819; cos 1267, sin 3895.
  expect_values("vortex", {{ONE, 0}, {QUARTER_TURN}, {0, 0}, {ONE}, {0}}, {1267, 3895});
  // At the centre the reach is start_rad itself; there is nothing to turn.
  expect_values("vortex", {{50, 60}, {QUARTER_TURN}, {50, 60}, {ONE}, {0}}, {50, 60});
  // One step from the centre without a core: the reach counts as 1, the turn is whole.
  expect_values("vortex", {{1, 0}, {1}, {0, 0}, {0}, {0}}, {1, 0});
}

TEST(geometry, a_vortex_adds_its_rotate_offset) {
  expect_values("vortex", {{ONE, 0}, {0}, {0, 0}, {0}, {QUARTER_TURN}}, {0, ONE});
}

TEST(geometry, rotation_about_an_axis) {
  expect_values("axis_rotate", {{ONE, 0, 0}, {0, 0, ONE}, {QUARTER_TURN}}, {0, ONE, 0});
  expect_values("axis_rotate", {{ONE}, {0, 0, ONE}, {QUARTER_TURN}}, {-ONE, ONE, ONE});  // (1, 1, 1)
  expect_values("axis_rotate", {{ONE, 0}, {0, ONE}, {QUARTER_TURN}}, {0, 0, -ONE});      // z is 0 in both
}

TEST(geometry, the_length_of_the_axis_does_not_matter) {
  expect_values("axis_rotate", {{ONE, 0, 0}, {0, 0, 3 * ONE}, {QUARTER_TURN}}, {0, ONE, 0});
}

TEST(geometry, shear_reads_the_old_values_of_both) {
  expect_values("shear", {{ONE, 2 * ONE}, {ONE / 2, ONE}}, {2 * ONE, 3 * ONE});
  expect_values("shear", {{ONE, 2 * ONE}, {-ONE, 0}}, {-ONE, 2 * ONE});
}

TEST(geometry, perspective_of_a_plane_seen_straight_on_is_the_plane) {
  expect_values("perspective", {{2048, ONE}, {ONE}, {0}, {ONE}}, {2048, ONE});
}

TEST(geometry, perspective_takes_its_gain_by_the_signs_of_distance_and_side) {
  // From behind: cos is -1.0, the distance -1.0, w 1.0: signs differ, g = -1.0 / -1.0.
  expect_values("perspective", {{2048, ONE}, {ONE}, {HALF_TURN}, {ONE}}, {2048, -ONE});
  // Both not above 0: w is -1.0, the distance -1.0: g = (1.5 + 1.0) / -1.0.
  expect_values("perspective", {{2048, ONE}, {-ONE}, {0}, {ONE}}, {-5120, -10240});
  // Edge on, w is 0: g is the distance shifted up, here 0; y is distance * sin.
  expect_values("perspective", {{2048, 0}, {ONE}, {QUARTER_TURN}, {ONE}}, {0, ONE});
}

TEST(geometry, perspective_reads_its_view_from_the_row_s_first_sample) {
  const fun_info& fun = *level_catalogue(cpu_level::generic).find("perspective");
  kernel_bench bench(fun, 0, 2, std::vector<arg_form>(4, arg_form::row));
  for (int i = 0; i < 2; ++i) {
    bench.set(0, i, 0, 2048);
    bench.set(0, i, 1, ONE);
    for (int a = 1; a < 4; ++a) bench.set(a, i, 0, i == 0 ? a == 2 ? 0 : ONE : 999);
  }
  bench.run(fun.kernels[0]);
  EXPECT_EQ(bench.result(1, 0), 2048);
  EXPECT_EQ(bench.result(1, 1), ONE);
}

constexpr fix degrees(int d) { return d * 4096; }
const values DOWN = {0, 0, -ONE}, ASIDE = {ONE, 0, 0};

TEST(geometry, spotlight_is_full_inside_and_dark_outside) {
  expect_values("spotlight", {DOWN, DOWN, {degrees(10)}, {degrees(20)}, {0}}, {ONE});
  expect_values("spotlight", {DOWN, ASIDE, {degrees(10)}, {degrees(20)}, {0}}, {0});
}

TEST(geometry, spotlight_has_a_smooth_edge) {
  // 90 degrees between 60 and 120: t = 0.5. Between 0 and 120: t = 0.25, 2 * t * t = 0.125.
  expect_values("spotlight", {DOWN, ASIDE, {degrees(60)}, {degrees(120)}, {0}}, {2048});
  expect_values("spotlight", {DOWN, ASIDE, {0}, {degrees(120)}, {0}}, {512});
  // Between 30 and 180 it is 0.6: 1 - 2 * 0.16.
  expect_values("spotlight", {DOWN, ASIDE, {degrees(30)}, {degrees(180)}, {0}}, {2785});  // 2785.28
}

TEST(geometry, a_spotlight_edge_without_width_is_hard) {
  expect_values("spotlight", {DOWN, DOWN, {degrees(20)}, {degrees(20)}, {0}}, {ONE});
  expect_values("spotlight", {DOWN, ASIDE, {degrees(20)}, {degrees(20)}, {0}}, {0});
}

TEST(geometry, spotlight_falls_off_with_the_distance_to_the_surface) {
  expect_values("spotlight", {DOWN, {0, 0, -2 * ONE}, {degrees(10)}, {degrees(20)}, {ONE}}, {2048});
  expect_values("spotlight", {DOWN, {0, 0, -2 * ONE}, {degrees(10)}, {degrees(20)}, {2 * ONE}}, {1024});
  // At 1/64 it would be 64: the limit is 7.99.
  expect_values("spotlight", {DOWN, {0, 0, -64}, {degrees(10)}, {degrees(20)}, {ONE}}, {32727});
}

TEST(geometry, spotlight_of_zero_vectors_is_defined) {
  // Only one has a direction: the chord is 1, the angle 60 degrees.
  expect_values("spotlight", {DOWN, {0, 0, 0}, {degrees(70)}, {degrees(80)}, {0}}, {ONE});
  expect_values("spotlight", {DOWN, {0, 0, 0}, {degrees(70)}, {degrees(80)}, {ONE}}, {32727});
}

}  // namespace
}  // namespace tessaron::testing
