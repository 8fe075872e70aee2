// The C library's mathematics behind one door, so that row kernels compiled for any instruction-set
// level share one copy and give the same bits.
#pragma once

namespace tessaron {

/// base to the power exponent; C rules for zeros, infinities and NaN.
double libm_pow(double base, double exponent);
/// Natural logarithm: 0 gives minus infinity, a negative value NaN.
double libm_log(double v);
/// Sine of an angle in radians; NaN of what is no number.
double libm_sin(double v);
/// Arc cosine in radians; NaN outside -1..1.
double libm_acos(double v);
/// Square root; NaN below 0.
double libm_sqrt(double v);

}  // namespace tessaron
