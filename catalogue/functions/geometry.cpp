// Functions of place: polar coordinates, turns, shears, projections, and light. Angles are in
// revolutions unless said otherwise.
#include "base/fixed.h"
#include "base/libm.h"
#include "catalogue/functions/groups.h"
#include "catalogue/functions/parts.h"
#include "catalogue/functions/vector_formulas.h"
#include "evaluator/kernels.h"
#include "evaluator/tables.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

struct swap_elements {
  static inline void of(const fix* in, fix* out) { out[0] = in[1], out[1] = in[0]; }
};

struct polar_to_xy {
  static inline void of(const fix* in, fix* out) {
    out[0] = fix_mul(in[1], fix_cos(in[0]));
    out[1] = fix_mul(in[1], fix_sin(in[0]));
  }
};

struct xy_to_polar {
  static inline void of(const fix* in, fix* out) {
    out[0] = wrap_sub(fix_atan2(in[1], in[0]), in[2]) & 0xfff;
    length<2>::of(in, out + 1);
  }
};

/// Turns (dx, dy) by an angle of sine s and cosine c and puts it back on the centre.
static inline void turn(fix dx, fix dy, fix s, fix c, const fix* center, fix* out) {
  out[0] = wrap_add(wrap_add(center[0], wrap_mul(wrap_neg(dy), s) >> FIX_BITS), fix_mul(dx, c));
  out[1] = wrap_add(wrap_add(center[1], fix_mul(dx, s)), fix_mul(c, dy));
}
static inline void turn(fix dx, fix dy, fix angle, const fix* center, fix* out) {
  turn(dx, dy, fix_sin(angle), fix_cos(angle), center, out);
}

/// In: vector (2), revolutions, center (2).
struct rotate_by_each {
  static inline void of(const fix* in, fix* out) {
    turn(wrap_sub(in[0], in[3]), wrap_sub(in[1], in[4]), in[2], in + 3, out);
  }
};

/// One angle for all samples of a row, whose sine and cosine are looked up once.
template <bool ONE_VECTOR, bool ONE_CENTER>
void rotate_by_one(node& n) {
  const auto vector = [&](int e) { return sample_source<ONE_VECTOR>{n.arg_rows[0][e], *n.arg_rows[0][e]}; };
  const auto center = [&](int e) { return sample_source<ONE_CENTER>{n.arg_rows[2][e], *n.arg_rows[2][e]}; };
  const auto x = vector(0), y = vector(1);
  const auto center_x = center(0), center_y = center(1);
  const fix s = fix_sin(*n.arg_rows[1][0]), c = fix_cos(*n.arg_rows[1][0]);
  fix* __restrict out_x = n.rows[0];
  fix* __restrict out_y = n.rows[1];
  const int width = row_width(n);
#pragma GCC ivdep
  for (int i = 0; i < width; ++i) {
    const fix about[2] = {center_x[i], center_y[i]};
    fix out[2];
    turn(wrap_sub(x[i], about[0]), wrap_sub(y[i], about[1]), s, c, about, out);
    out_x[i] = out[0];
    out_y[i] = out[1];
  }
}

void rotate(node& n) {
  if (!uniform(n, 1)) return vector_rows<rotate_by_each, 5, 2>(n);
  if (uniform(n, 2)) return uniform(n, 0) ? rotate_by_one<true, true>(n) : rotate_by_one<false, true>(n);
  return uniform(n, 0) ? rotate_by_one<true, false>(n) : rotate_by_one<false, false>(n);
}

/// In: vector (2), revolutions, center (2), start_rad, rotate_offset. The turn falls off with the
/// radius; inside start_rad twice over, a parabola takes the place of the radius.
struct vortex {
  static inline void of(const fix* in, fix* out) {
    const fix offset[2] = {wrap_sub(in[0], in[3]), wrap_sub(in[1], in[4])};
    const fix core = in[5];
    fix radius;
    length<2>::of(offset, &radius);
    const fix parabola = wrap_add(wrap_div(wrap_mul(radius, radius), core) >> 2, core);
    fix reach = radius >= wrap_mul(2, core) ? radius : radius <= 0 ? core : parabola;
    if (reach < 2) reach = 1;
    turn(offset[0], offset[1], wrap_add(in[6], wrap_div(wrap_shl(in[2], FIX_BITS), reach)), in + 3, out);
  }
};

/// Element e of a value of N elements as a 3-vector: 1 spreads, 2 get z 0.
template <int N>
static inline fix element_of_3(const fix* v, int e) {
  return N == 1 ? v[0] : e < N ? v[e] : 0;
}

/// In: value (N_V), axis (N_A), revolutions. v cos + (u x v) sin + u (u . v) (1 - cos), with the axis
/// brought to length 1.0 as u.
template <int N_V, int N_A>
struct axis_rotate {
  static inline void of(const fix* in, fix* out) {
    fix uv[6];  // the axis, then the value
    fix* const u = uv;
    fix* const v = uv + 3;
    for (int e = 0; e < 3; ++e) v[e] = element_of_3<N_V>(in, e), u[e] = element_of_3<N_A>(in + N_V, e);
    unit_vector<3>::of(u, u);

    const fix s = fix_sin(in[N_V + N_A]), c = fix_cos(in[N_V + N_A]);
    fix along, across[3];
    dot_product<3, 3>::of(uv, &along);
    cross_3::of(uv, across);
    along = fix_mul(along, FIX_ONE - c);
    for (int e = 0; e < 3; ++e)
      out[e] = wrap_add(wrap_add(fix_mul(v[e], c), fix_mul(across[e], s)), fix_mul(u[e], along));
  }
};

/// In: vector (2), shear (2). Both from the old values.
struct shear {
  static inline void of(const fix* in, fix* out) {
    out[0] = wrap_add(fix_mul(in[2], in[1]), in[0]);
    out[1] = wrap_add(fix_mul(in[3], in[0]), in[1]);
  }
};

// --- projection --------------------------------------------------------------------------------------

/// Projects points of a tilted plane. Distance, latitude and lens angle hold for a whole row.
struct perspective_view {
  fix lens, sin_lat, cos_lat, depth, rise;

  inline perspective_view(fix distance, fix latitude, fix lens_angle)
      : lens(lens_angle),
        sin_lat(fix_sin(latitude)),
        cos_lat(fix_cos(latitude)),
        depth(fix_mul(distance, cos_lat)),
        rise(fix_mul(distance, sin_lat)) {}

  inline void project(fix x, fix y, fix& to_x, fix& to_y) const {
    const fix w = wrap_sub(wrap_neg(wrap_mul(y, fix_mul(sin_lat, lens))) >> FIX_BITS, cos_lat);
    const bool same_side = (w > 0) == (depth > 0);
    const fix numerator = wrap_shl(same_side && w != 0 ? wrap_sub(0x1800, depth) : depth, FIX_BITS);
    const fix gain = wrap_div(numerator, same_side ? w : wrap_neg(w));  // w of 0 leaves the numerator
    to_x = fix_mul(fix_mul(x, lens), gain);
    to_y = wrap_add(fix_mul(wrap_sub(fix_mul(fix_mul(lens, cos_lat), y), sin_lat), gain), rise);
  }
};

void perspective(node& n) {
  const perspective_view view(*n.arg_rows[1][0], *n.arg_rows[2][0], *n.arg_rows[3][0]);
  const fix *x = n.arg_rows[0][0], *y = n.arg_rows[0][1];
  const int step = uniform(n, 0) ? 0 : 1;
  for (int i = 0; i < row_width(n); ++i) view.project(x[i * step], y[i * step], n.rows[0][i], n.rows[1][i]);
}

// --- light -------------------------------------------------------------------------------------------

struct direction_3 {
  double length, unit[3];

  /// The zero vector has no direction: its unit vector is zero.
  explicit inline direction_3(const fix* in) {
    double squares = 0;
    for (int e = 0; e < 3; ++e) {
      unit[e] = fix_to_float(in[e]);
      squares += unit[e] * unit[e];
    }
    length = libm_sqrt(squares);
    for (double& u : unit) u = length > 0 ? u / length : 0;
  }
};

/// In: light_dir (3), light_to_surface (3), inner_a and outer_a in degrees, falloff_power.
struct spotlight {
  static inline void of(const fix* in, fix* out) {
    const direction_3 beam(in), ray(in + 3);
    const double inner = radians(in[6]), outer = radians(in[7]);
    double angle = angle_between(beam, ray);
    double light = 0;
    if (!(angle > outer)) {
      angle = angle > inner ? angle : inner;
      // An edge without width is hard: inside it the light is full.
      const double t = outer == inner ? 1 : (outer - angle) / (outer - inner);
      light = t >= 0.5 ? 1 - 2 * (t - 1) * (t - 1) : 2 * t * t;
      if (in[8] > 0) {
        light *= libm_pow(ray.length, -double(fix_to_float(in[8])));
        if (!(light < BRIGHTEST)) light = BRIGHTEST;  // also where the distance is 0
      }
    }
    out[0] = fix_from_double(light);
  }

 private:
  static constexpr double BRIGHTEST = 7.99;  // what a plane can just hold
  static constexpr double DEGREE = 0.017453292;

  static inline double radians(fix degrees) { return fix_to_float(degrees) * DEGREE; }

  /// From the chord between the two unit vectors.
  static inline double angle_between(const direction_3& a, const direction_3& b) {
    double squares = 0;
    for (int e = 0; e < 3; ++e) squares += (a.unit[e] - b.unit[e]) * (a.unit[e] - b.unit[e]);
    const double cosine = 1 - squares / 2;
    return libm_acos(cosine < -1 ? -1 : cosine);
  }
};

constexpr std::uint16_t ROW_STARTS_OF_PERSPECTIVE = 1 << 1 | 1 << 2 | 1 << 3;

}  // namespace

void define_geometry(fun_registry& r) {
  define(r, {.name = "transpose",
             .args = {"vector"},
             .doc = "Swaps the two elements.",
             .cost = 1,
             .fun_class = CLASS_MATH,
             .combos = {{"2>2", vector_rows<swap_elements, 2, 2>}}});
  define(r, {.name = "polar_to_xy",
             .args = {"revs_radius"},
             .doc = "(revolutions, radius) to (x, y).",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2>2", vector_rows<polar_to_xy, 2, 2>}}});
  define(r, {.name = "xy_to_polar",
             .args = {"vector", "dir_offset"},
             .doc = "(x, y) to (angle less dir_offset, 0 to 1; radius).",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"2,1>2", vector_rows<xy_to_polar, 3, 2>}}});
  define_colour(r);
  define(r, {.name = "rotate",
             .args = {"vector", "revolutions", "center"},
             .doc = "Turns a 2-vector about center.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .pass = pass_if_second_is_zero,
             .combos = {{"2,1,2>2", rotate}}});
  define(r, {.name = "vortex",
             .args = {"vector", "revolutions", "center", "start_rad", "rotate_offset"},
             .doc = "Turns by revolutions / radius about center, with a smooth core of start_rad, plus rotate_offset.",
             .cost = 3,
             .fun_class = CLASS_MATH,
             .combos = {{"2,1,2,1,1>2", vector_rows<vortex, 7, 2>}}});
  define(r, {.name = "axis_rotate",
             .args = {"value", "axis", "revolutions"},
             .doc = "Turns a 3-vector about an axis of any length.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .combos = {{"3,3,1>3", vector_rows<axis_rotate<3, 3>, 7, 3>},
                        {"3,2,1>3", vector_rows<axis_rotate<3, 2>, 6, 3>},
                        {"2,3,1>3", vector_rows<axis_rotate<2, 3>, 6, 3>},
                        {"2,2,1>3", vector_rows<axis_rotate<2, 2>, 5, 3>},
                        {"1,3,1>3", vector_rows<axis_rotate<1, 3>, 5, 3>},
                        {"1,2,1>3", vector_rows<axis_rotate<1, 2>, 4, 3>}}});
  define(r, {.name = "shear",
             .args = {"vector", "shear"},
             .doc = "(x + shear.x * y, y + shear.y * x).",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .pass = pass_if_second_is_zero,
             .combos = {{"2,2>2", vector_rows<shear, 4, 2>}}});
  define(r, {.name = "perspective",
             .args = {"vector", "distance", "latitude", "lens_angle"},
             .doc = "Projects a 2-vector through a tilted plane; the other arguments hold for a whole row.",
             .cost = 2,
             .fun_class = CLASS_MATH,
             .row_start_args = ROW_STARTS_OF_PERSPECTIVE,
             .combos = {{"2,1,1,1>2", perspective}}});
  define(r, {.name = "spotlight",
             .args = {"light_dir", "light_to_surface", "inner_a", "outer_a", "falloff_power"},
             .doc = "Light of a spot by the angle between two 3-vectors; inner_a and outer_a are in degrees.",
             .cost = 10,
             .fun_class = CLASS_OTHER,
             .combos = {{"3,3,1,1,1>1", vector_rows<spotlight, 9, 1>}}});
}

}  // namespace tessaron::TESSARON_LEVEL
