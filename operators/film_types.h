// Film stocks: what the data file t_filmtypes.text says of negatives and prints.
//
//   entry  := begin NAME part* end NAME
//   part   := print_film | reversal_film
//           | color_curves UNIT UNIT curves              units of x and of y
//           | normal_gray_exposure NUMBER
//           | grain (NUMBER | [ R G B ])
//           | exposure_compensation R G B                 as log10
//   curves := red point* green point* blue point* end_color_curves
//           | rgb point* end_color_curves
//   point  := X Y                                         at most 20 a curve
//   UNIT   := log10 | log | stops | log2 | linear | lin
//
// Words outside an entry are skipped. An entry with faults is kept with what could be read, and takes nothing of
// the entries beside it.
#pragma once

#include <string>
#include <vector>

namespace tessaron {

inline constexpr int MAX_CURVE_POINTS = 20;
inline constexpr int FILM_CHANNELS = 3;

enum curve_unit : int { UNIT_LOG10 = 0, UNIT_STOPS = 1, UNIT_LINEAR = 2 };

struct film_type {
  std::string name;  // as a popup shows it: "Neg: %s" or "Print: %s"
  int is_print = 0;
  int is_reversal = 0;                                     // a print that needs no negative
  float exposure_compensation[FILM_CHANNELS] = {1, 1, 1};  // factors
  float normal_gray_exposure = 0;                          // in units of x
  float grain[FILM_CHANNELS] = {};
  int x_type = UNIT_LOG10, y_type = UNIT_LOG10;
  int point_count[FILM_CHANNELS] = {};
  float x[FILM_CHANNELS][MAX_CURVE_POINTS] = {};  // exposure
  float y[FILM_CHANNELS][MAX_CURVE_POINTS] = {};  // density

  bool has_curves() const { return point_count[0] > 0 || point_count[1] > 0 || point_count[2] > 0; }
};

/// Entry 0 of each table is fixed: no film.
struct film_table {
  std::vector<film_type> negatives, prints;

  /// What is not in a table is no film.
  const film_type& negative(int i) const { return entry(negatives, i); }
  const film_type& print(int i) const { return entry(prints, i); }

 private:
  static const film_type& entry(const std::vector<film_type>& table, int i) {
    return table[i >= 0 && i < int(table.size()) ? std::size_t(i) : 0];
  }
};

/// Reads one file. Faults are reported; what could be read is in the tables.
film_table read_film_types(const char* path);

/// The tables of the configuration directory's file, which is read at the first call.
const film_table& get_film_types();
/// Forgets them, so that the next call reads again. For tests.
void reset_film_types();

/// Names as popups show them.
std::vector<std::string> negative_film_names();
std::vector<std::string> print_film_names();

}  // namespace tessaron
