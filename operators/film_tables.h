// What a pair of film stocks does to a sample: characteristic curves as splines, the response of a channel, and the
// tables that film_effect applies, kept between frames.
//
//   input --gamma, exposure--> negative: density over exposure --light through it--> print: density over exposure
//         --light through it--> gamma --> stretched so that the print's black and white are 0 and 1 --> output
//
// Everything is in single precision; the library's functions are those of double precision, rounded.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "operators/film_types.h"

namespace tessaron {

// --- splines -------------------------------------------------------------------------------------------------

/// A slope that stands for none: the curve ends with second derivative 0.
inline constexpr float NATURAL_SLOPE = 1e32f;

/// A cubic spline through up to MAX_CURVE_POINTS points.
struct film_spline {
  int count = 0;
  bool ascending = false;  // the points' order
  float x[MAX_CURVE_POINTS] = {}, y[MAX_CURVE_POINTS] = {}, y2[MAX_CURVE_POINTS] = {};
};

/// Of two neighbours with equal x the second is reported and left out.
film_spline make_spline(const float* x, const float* y, int count, float first_slope = NATURAL_SLOPE,
                        float last_slope = NATURAL_SLOPE);

/// The interval of the last evaluation, which is tried first. Each caller has its own.
struct spline_place {
  int lo = 0;
};
/// The spline at e; outside the points its end polynomials go on. With fewer than two points e itself.
float curve_value(const film_spline& spline, float e, spline_place& place);

// --- settings ------------------------------------------------------------------------------------------------

struct node;

/// Arguments of film_effect.
enum film_arg : int {
  FILM_IMAGE,
  FILM_FILMS_FIELDS_BLUR,  // negative, print, fields mode, blur
  FILM_CC_GAMMAS,          // amount, input gamma, output gamma, field dominance
  FILM_NEG_EXPOSURE,
  FILM_PRINT_EXPOSURE,
  FILM_OFFSET_SCALE,  // low, high
  FILM_GLOW_BRIGHTNESS,
  FILM_GLOW_SOFT_FOCUS,
  FILM_GLOW_WIDTH,
  FILM_GRAIN_AMP,
  FILM_MIDTONES_MONO,  // three peaks, mono flag
  FILM_GRAIN_BLUR,
  FILM_GRAIN_MISC,  // cadence mode, seed, grain at black, grain at white
};

struct film_settings {
  int neg = 0, print = 0;  // indices into the tables of films
  float film_amount = 1;   // mix of the film's result with the input
  float in_gamma = 1;
  float out_gamma = 1;
  float neg_scale = 1;  // exposure on the negative, a factor
  float print_scale[FILM_CHANNELS] = {1, 1, 1};
  float grain_amp[FILM_CHANNELS] = {};
  float grain_black = 0, grain_white = 0;            // relative grain at black and at white
  float grain_mid[FILM_CHANNELS] = {.5f, .5f, .5f};  // brightness of most grain
  // Derived.
  float black_offset = 0;
  float gray_scale[FILM_CHANNELS] = {1, 1, 1};  // keeps mid grey at 0.5 through the negative
  float out_offset = 0, out_scale = 1;          // maps the print's range to 0..1

  /// Whether all but what is derived is the same.
  bool same_choice(const film_settings& other) const;
};

/// What a node's settled arguments say.
film_settings film_settings_of(const node& n);

/// Numbers of the grain of a frame's two fields, the earlier field's first.
struct grain_phases {
  std::int32_t first, second;
};
/// Mode 0: every field has grain of its own; 1: both fields of a frame share one. Any other: as film comes to video,
/// each of its frames lasting three fields, then two; `mode` is the place of the sequence of five frames.
grain_phases grain_phases_of(int mode, int frame);

// --- response ------------------------------------------------------------------------------------------------

/// A film with its curves as splines.
struct film_curves {
  const film_type* film = nullptr;
  film_spline curve[FILM_CHANNELS];
};
film_curves curves_of(const film_type& film);

/// Black of a film in use, as light: it keeps logarithms finite.
inline constexpr float FILM_BLACK = 0.015873f;

/// The response of channel i to a sample x. A reversal print is given the negative of entry 0.
float film_curve(fix x, const film_curves& neg, const film_curves& print, int i, const film_settings& settings,
                 bool gray_pass);

/// Fills the derived settings. `no_film` is an entry 0.
void derive_settings(film_settings& settings, const film_curves& neg, const film_curves& print,
                     const film_curves& no_film);

// --- tables --------------------------------------------------------------------------------------------------

inline constexpr int FILM_TABLE_SIZE = 4097;
inline constexpr int GRAIN_TABLE_SIZE = 65;

struct film_tables {
  // By sample, 0 to 4096. Values of 16 bits, in words, which processors gather.
  std::int32_t response[FILM_CHANNELS][FILM_TABLE_SIZE];
  float grain[FILM_CHANNELS][GRAIN_TABLE_SIZE];  // by sample >> 6
};

/// Grain at brightness t = j / 64, times 4.
float grain_entry(int j, int channel, const film_settings& settings, const film_type& neg, const film_type& print);

/// The tables for these settings: the last ones when nothing but derived fields differs. Main thread only.
const film_tables& get_film_tables(const film_settings& settings);
/// How often tables were built, and forgets them; for tests.
int film_tables_built();
void reset_film_tables();

}  // namespace tessaron
