#include "operators/film_tables.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/libm.h"
#include "base/report.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"

namespace tessaron {
namespace {

constexpr float LOG10_OF_2 = 0.301029995f;
constexpr float LEAST_GRAIN_MID = 0.0001f;

float power(float base, float exponent) { return float(libm_pow(double(base), double(exponent))); }
float common_log(float v) { return float(std::log10(double(v))); }

/// Exposure v in a film's own units, from its normal grey.
float exposure_of(float v, const film_type& film) {
  const float t = film.normal_gray_exposure;
  switch (film.x_type) {
    case UNIT_LOG10:
      return common_log(v) + (t + 0.7f);
    case UNIT_STOPS:
      return common_log(v) / LOG10_OF_2 + (t + 2.33f);
    default:
      return t + v;
  }
}

/// Light that a channel of a film lets through when light v has fallen on it.
float light_through(float v, const film_curves& curves, int i) {
  spline_place place;
  return 1.0f / power(10.0f, curve_value(curves.curve[i], exposure_of(v, *curves.film), place));
}

/// The points of a spline: those of a curve without repetitions.
void take_points(film_spline& spline, const float* x, const float* y, int count) {
  for (int i = 0; i < count; ++i) {
    if (spline.count > 0 && spline.x[spline.count - 1] == x[i]) {
      report(REPORT_WARNING, "spline: x indices %d and %d are not distinct.", i - 1, i);
      continue;
    }
    spline.x[spline.count] = x[i];
    spline.y[spline.count] = y[i];
    ++spline.count;
  }
  spline.ascending = true;
  for (int i = 1; i < spline.count; ++i) spline.ascending = spline.ascending && spline.x[i] > spline.x[i - 1];
}

}  // namespace

// --- splines -------------------------------------------------------------------------------------------------

film_spline make_spline(const float* x_of, const float* y_of, int count, float first_slope, float last_slope) {
  film_spline spline;
  take_points(spline, x_of, y_of, std::clamp(count, 0, MAX_CURVE_POINTS));
  const int n = spline.count;
  if (n < 2) return spline;
  const float *x = spline.x, *y = spline.y;
  float* y2 = spline.y2;
  float u[MAX_CURVE_POINTS];

  // The tridiagonal system of the second derivatives: down, then back up.
  const auto slope = [&](int i) { return (y[i + 1] - y[i]) / (x[i + 1] - x[i]); };
  y2[0] = u[0] = 0;
  if (first_slope < NATURAL_SLOPE) {
    y2[0] = -0.5f;
    u[0] = (3.0f / (x[1] - x[0])) * (slope(0) - first_slope);
  }
  for (int i = 1; i < n - 1; ++i) {
    const float part = (x[i] - x[i - 1]) / (x[i + 1] - x[i - 1]);
    const float p = part * y2[i - 1] + 2.0f;
    y2[i] = (part - 1.0f) / p;
    u[i] = (6.0f * (slope(i) - slope(i - 1)) / (x[i + 1] - x[i - 1]) - part * u[i - 1]) / p;
  }
  float last_part = 0, last_u = 0;
  if (last_slope < NATURAL_SLOPE) {
    last_part = 0.5f;
    last_u = (3.0f / (x[n - 1] - x[n - 2])) * (last_slope - slope(n - 2));
  }
  y2[n - 1] = (last_u - last_part * u[n - 2]) / (last_part * y2[n - 2] + 1.0f);
  for (int i = n - 2; i >= 0; --i) y2[i] = y2[i] * y2[i + 1] + u[i];
  return spline;
}

float curve_value(const film_spline& spline, float e, spline_place& place) {
  if (spline.count < 2) return e;
  const float* x = spline.x;
  int lo = place.lo, hi = lo + 1;
  // Points out of order have several intervals for one place; a search from the ends always takes the same one.
  if (!spline.ascending || hi >= spline.count || !(x[lo] <= e && e < x[hi])) {
    lo = 0;
    hi = spline.count - 1;
    while (hi - lo > 1) {
      const int middle = (hi + lo) >> 1;
      (x[middle] > e ? hi : lo) = middle;
    }
    place.lo = lo;
  }
  const float h = x[hi] - x[lo];
  const float a = (x[hi] - e) / h, b = (e - x[lo]) / h;
  return a * spline.y[lo] + b * spline.y[hi] +
         ((a * a * a - a) * spline.y2[lo] + (b * b * b - b) * spline.y2[hi]) * (h * h) / 6.0f;
}

// --- settings ------------------------------------------------------------------------------------------------

film_settings film_settings_of(const node& n) {
  const auto value = [&n](film_arg arg, int e) { return fix_to_float(n.args[arg]->const_vals[e]); };
  const auto stops = [&value](film_arg arg, int e) { return power(2.0f, value(arg, e)); };
  film_settings s;
  s.neg = n.args[FILM_FILMS_FIELDS_BLUR]->const_vals[0] >> FIX_BITS;
  s.print = n.args[FILM_FILMS_FIELDS_BLUR]->const_vals[1] >> FIX_BITS;
  s.film_amount = value(FILM_CC_GAMMAS, 0);
  s.in_gamma = value(FILM_CC_GAMMAS, 1);
  s.out_gamma = value(FILM_CC_GAMMAS, 2);
  s.neg_scale = stops(FILM_NEG_EXPOSURE, 0);
  for (int c = 0; c < FILM_CHANNELS; ++c) {
    s.print_scale[c] = stops(FILM_PRINT_EXPOSURE, c);
    s.grain_amp[c] = value(FILM_GRAIN_AMP, c);
    s.grain_mid[c] = value(FILM_MIDTONES_MONO, c);
  }
  s.grain_black = value(FILM_GRAIN_MISC, 2);
  s.grain_white = value(FILM_GRAIN_MISC, 3);
  return s;
}

grain_phases grain_phases_of(int mode, int frame) {
  if (mode == 0) return {wrap_mul(2, frame), wrap_add(wrap_mul(2, frame), 1)};
  if (mode == 1) return {wrap_mul(2, frame), wrap_mul(2, frame)};
  // Five fields of video for two frames of film.
  const std::int32_t a = wrap_mul(wrap_sub(frame, mode), 2);
  const auto phase = [](std::int32_t field) { return field / 5 * 2 + (field % 5 > 1 ? 1 : 0); };
  return {phase(wrap_add(a, 18)), phase(wrap_add(a, 19))};
}

// --- response ------------------------------------------------------------------------------------------------

film_curves curves_of(const film_type& film) {
  film_curves curves;
  curves.film = &film;
  for (int c = 0; c < FILM_CHANNELS; ++c) curves.curve[c] = make_spline(film.x[c], film.y[c], film.point_count[c]);
  return curves;
}

bool film_settings::same_choice(const film_settings& other) const {
  const auto same = [](const float(&a)[FILM_CHANNELS], const float(&b)[FILM_CHANNELS]) {
    return std::equal(a, a + FILM_CHANNELS, b);
  };
  return neg == other.neg && print == other.print && film_amount == other.film_amount && in_gamma == other.in_gamma &&
         out_gamma == other.out_gamma && neg_scale == other.neg_scale && same(print_scale, other.print_scale) &&
         same(grain_amp, other.grain_amp) && grain_black == other.grain_black && grain_white == other.grain_white &&
         same(grain_mid, other.grain_mid);
}

float film_curve(fix x, const film_curves& neg, const film_curves& print, int i, const film_settings& s,
                 bool gray_pass) {
  const bool has_print = print.film->has_curves();
  const bool has_neg = neg.film->has_curves() && !print.film->is_reversal;
  const float input = float(x) / 4096.0f;

  float v = power(input, s.in_gamma);
  if (has_neg || has_print) v = (v + s.black_offset) * s.neg_scale;

  float through;
  if (has_neg) {
    through = light_through(v, neg, i);
    if (!has_print && !gray_pass) through = through * 1.5f + 0.75f;
  } else {
    // A print turns what it is given around, as it does with a negative.
    if (has_print && !print.film->is_reversal) v = power(v, 0.45454544f) * -0.5f + 0.5f;
    through = std::max(s.black_offset, v);
  }
  float out = s.print_scale[i] * through;
  if (has_print)
    out = light_through(through * s.print_scale[i] * s.gray_scale[i] * print.film->exposure_compensation[i], print, i);
  out = power(std::max(0.0f, out), 1.0f / s.out_gamma);
  return ((out + s.out_offset) * s.out_scale - input) * s.film_amount + input;
}

void derive_settings(film_settings& settings, const film_curves& neg, const film_curves& print,
                     const film_curves& no_film) {
  const bool in_use = neg.film->has_curves() || print.film->has_curves();
  film_settings neutral;
  neutral.black_offset = in_use ? FILM_BLACK : 0;
  for (int i = 0; i < FILM_CHANNELS; ++i)
    if (neg.film->has_curves()) neutral.gray_scale[i] = 0.5f / film_curve(FIX_ONE / 2, neg, no_film, i, neutral, true);
  settings.black_offset = neutral.black_offset;
  std::copy_n(neutral.gray_scale, FILM_CHANNELS, settings.gray_scale);
  settings.out_offset = 0;
  settings.out_scale = 1;
  if (!in_use) return;

  float least = film_curve(0, neg, print, 0, neutral, false), most = least;
  for (int i = 0; i < FILM_CHANNELS; ++i)
    for (const fix x : {0, FIX_ONE}) {
      const float response = film_curve(x, neg, print, i, neutral, false);
      least = std::min(least, response);
      most = std::max(most, response);
    }
  settings.out_offset = -least;
  settings.out_scale = 1.0f / (most - least);
}

// --- tables --------------------------------------------------------------------------------------------------

float grain_entry(int j, int channel, const film_settings& s, const film_type& neg, const film_type& print) {
  const float t = float(j) / 64.0f, middle = s.grain_mid[channel];
  const float lo = 1.0f / std::max(middle, LEAST_GRAIN_MID), hi = 1.0f / std::max(1.0f - middle, LEAST_GRAIN_MID);
  const auto rising = [](float u, float least) { return (u * u - u * u * u + u) * (1.0f - least) + least; };
  const float g = t < middle ? rising(t * lo, s.grain_black) : rising((1.0f - t) * hi, s.grain_white);
  const float a = neg.grain[channel], b = print.grain[channel];
  return g * (std::max(a, b) + a + b) * 0.5f * s.grain_amp[channel] * 4.0f;
}

namespace {

/// A response as a sample; one that is no number is black.
std::int32_t response_sample(float v) {
  constexpr float LIMIT = 8.0f;  // beyond what a plane holds
  if (!(v == v)) return 0;
  return plane_sample(fix_from_double(double(std::clamp(v, -LIMIT, LIMIT))));
}

/// Files may give numbers beyond all bounds.
float finite(float v) { return v - v == 0 ? v : 0; }

film_tables tables;
film_settings table_settings;
int builds;
bool built;

struct {
  film_curves neg, print;
} job;

void forked_fill_responses() {
  int first = 0, count = 0;
  split_rows(FILM_TABLE_SIZE, &first, &count);
  for (int c = 0; c < FILM_CHANNELS; ++c)
    for (int k = first; k < first + count; ++k)
      tables.response[c][k] = response_sample(film_curve(k, job.neg, job.print, c, table_settings, false));
}

void build(const film_settings& settings) {
  const film_table& films = get_film_types();
  const film_type& print = films.print(settings.print);
  // A reversal print is shot upon: there is no negative, nor its grain.
  const film_type& neg = films.negative(print.is_reversal ? 0 : settings.neg);
  job.neg = curves_of(neg);
  job.print = curves_of(print);
  table_settings = settings;
  derive_settings(table_settings, job.neg, job.print, curves_of(films.negative(0)));
  fork_processes(forked_fill_responses);
  for (int c = 0; c < FILM_CHANNELS; ++c)
    for (int j = 0; j < GRAIN_TABLE_SIZE; ++j)
      tables.grain[c][j] = finite(grain_entry(j, c, table_settings, neg, print));
  ++builds;
}

}  // namespace

const film_tables& get_film_tables(const film_settings& settings) {
  if (!built || !table_settings.same_choice(settings)) {
    built = false;  // until all of it stands
    build(settings);
    built = true;
  }
  return tables;
}

int film_tables_built() { return builds; }
void reset_film_tables() { built = false; }

}  // namespace tessaron
