#include "base/libm.h"

#include <cmath>

namespace tessaron {

double libm_pow(double base, double exponent) { return std::pow(base, exponent); }
double libm_log(double v) { return std::log(v); }
double libm_sin(double v) { return std::sin(v); }
double libm_acos(double v) { return std::acos(v); }
double libm_sqrt(double v) { return std::sqrt(v); }

}  // namespace tessaron
