// film_effect the slow way, written from its rules: one sample after the other, no blocks, no workers.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "film_kit.h"
#include "tests/support/plain_blur.h"

namespace tessaron::testing {

inline float float_pow(float a, float b) { return float(std::pow(double(a), double(b))); }
inline float float_log10(float v) { return float(std::log10(double(v))); }

/// The value of a film's curve by the engine's spline, which has tests of its own.
inline float plain_density(const film_type& film, int i, float e) {
  if (film.point_count[i] < 2) return e;
  spline_place place;
  return curve_value(make_spline(film.x[i], film.y[i], film.point_count[i]), e, place);
}

inline float plain_exposure(const film_type& film, float v) {
  const float t = film.normal_gray_exposure;
  if (film.x_type == 0) return float_log10(v) + (t + 0.7f);
  if (film.x_type == 1) return float_log10(v) / 0.301029995f + (t + 2.33f);
  return t + v;
}

/// All of the rule in one place; `print` has no points in the grey pass.
inline float plain_film_curve(int x, const film_type& chosen_neg, const film_type& print, int i, const film_settings& s,
                              bool gray_pass) {
  static const film_type none;
  const film_type& neg = print.is_reversal ? none : chosen_neg;
  const bool has_neg = neg.point_count[i] > 0, has_print = print.point_count[i] > 0;
  const float in = float(x) / 4096.0f;
  float v = float_pow(in, s.in_gamma);
  if (has_neg || has_print) v = (v + s.black_offset) * s.neg_scale;
  float tr = 0;
  if (has_neg) {
    tr = 1.0f / float_pow(10.0f, plain_density(neg, i, plain_exposure(neg, v)));
    if (!has_print && !gray_pass) tr = tr * 1.5f + 0.75f;
  } else {
    if (has_print && !print.is_reversal) v = float_pow(v, 0.45454544f) * -0.5f + 0.5f;
    tr = v > s.black_offset ? v : s.black_offset;
  }
  float out = 0;
  if (has_print) {
    const float p = tr * s.print_scale[i] * s.gray_scale[i] * print.exposure_compensation[i];
    out = 1.0f / float_pow(10.0f, plain_density(print, i, plain_exposure(print, p)));
  } else {
    out = s.print_scale[i] * tr;
  }
  out = float_pow(out > 0 ? out : 0, 1.0f / s.out_gamma);
  return ((out + s.out_offset) * s.out_scale - in) * s.film_amount + in;
}

inline void plain_derive(film_settings& s, const film_type& neg, const film_type& print) {
  static const film_type none;
  const bool neg_used = neg.point_count[0] > 0 && !print.is_reversal;
  film_settings neutral;
  neutral.black_offset = s.black_offset = neg_used || print.point_count[0] > 0 ? 0.015873f : 0;
  for (int i = 0; i < 3; ++i)
    neutral.gray_scale[i] = s.gray_scale[i] =
        neg_used ? 0.5f / plain_film_curve(2048, neg, none, i, neutral, true) : 0.5f / 0.5f;
  s.out_offset = 0;
  s.out_scale = 1;
  if (s.black_offset == 0) return;
  float m = 1e30f, M = -1e30f;
  for (int i = 0; i < 3; ++i)
    for (int x : {0, 4096}) {
      const float r = plain_film_curve(x, neg, print, i, neutral, false);
      m = r < m ? r : m;
      M = r > M ? r : M;
    }
  s.out_offset = -m;
  s.out_scale = 1.0f / (M - m);
}

inline std::int16_t to_16_bits(double v) { return std::int16_t(std::nearbyint(std::clamp(v, -32767.0, 32767.0))); }

struct plain_film_tables {
  std::vector<std::int16_t> response[3];
  std::vector<float> grain[3];
};

inline plain_film_tables plain_tables(film_settings s) {
  const film_table& films = get_film_types();
  const film_type& print = films.prints[std::size_t(s.print)];
  const film_type& neg = films.negatives[print.is_reversal ? 0 : std::size_t(s.neg)];
  plain_derive(s, neg, print);
  plain_film_tables tables;
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k <= 4096; ++k)
      tables.response[i].push_back(to_16_bits(double(plain_film_curve(k, neg, print, i, s, false)) * 4096));
    const float m = s.grain_mid[i], lo = 1.0f / (m > 0.0001f ? m : 0.0001f),
                hi = 1.0f / (1.0f - m > 0.0001f ? 1.0f - m : 0.0001f);
    for (int j = 0; j <= 64; ++j) {
      const float t = float(j) / 64.0f;
      float g = 0;
      if (t < m) {
        const float u = t * lo;
        g = (u * u - u * u * u + u) * (1.0f - s.grain_black) + s.grain_black;
      } else {
        const float u = (1.0f - t) * hi;
        g = (u * u - u * u * u + u) * (1.0f - s.grain_white) + s.grain_white;
      }
      const float n = neg.grain[i], p = print.grain[i];
      tables.grain[i].push_back(g * ((n > p ? n : p) + n + p) * 0.5f * s.grain_amp[i] * 4.0f);
    }
  }
  return tables;
}

/// Arguments of film_effect as the definition's numbers.
struct film_numbers {
  double neg = 0, print = 0, fields = 0, blur = 0;
  double amount = 1, in_gamma = 1, out_gamma = 1, dominance = 0;
  double neg_exposure = 0;
  double print_exposure[3] = {};
  double low = 0, high = 1;
  double glow[3] = {};
  double soft = 0;
  double glow_width[3] = {};
  double grain[3] = {};
  double middle[3] = {0.5, 0.5, 0.5};
  double mono = 0;
  double grain_blur[3] = {};
  double cadence = 0, seed = 0, grain_black = 0, grain_white = 0;

  static std::string list(std::initializer_list<double> v) {
    std::string text = "[";
    for (double each : v) text += std::to_string(each) + " ";
    return text + "]";
  }
  static std::string list(const double (&v)[3]) { return list({v[0], v[1], v[2]}); }
  std::string text(bool alpha = false) const {
    return std::string("(define F (Source) (rgba_ok) dest = (film_effect ") +
           (alpha ? "Source " : "(remove_alpha Source) ") + list({neg, print, fields, blur}) +
           list({amount, in_gamma, out_gamma, dominance}) + std::to_string(neg_exposure) + " " + list(print_exposure) +
           list({low, high}) + list(glow) + std::to_string(soft) + list(glow_width) + list(grain) +
           list({middle[0], middle[1], middle[2], mono}) + list(grain_blur) +
           list({cadence, seed, grain_black, grain_white}) + "))";
  }
  film_settings settings() const {
    const auto f = [](double v) { return float(fix_from_double(v)) / 4096.0f; };
    film_settings s;
    s.neg = int(neg);
    s.print = int(print);
    s.film_amount = f(amount);
    s.in_gamma = f(in_gamma);
    s.out_gamma = f(out_gamma);
    s.neg_scale = float_pow(2, f(neg_exposure));
    s.grain_black = f(grain_black);
    s.grain_white = f(grain_white);
    for (int i = 0; i < 3; ++i) {
      s.print_scale[i] = float_pow(2, f(print_exposure[i]));
      s.grain_amp[i] = f(grain[i]);
      s.grain_mid[i] = f(middle[i]);
    }
    return s;
  }
};

}  // namespace tessaron::testing
