// Rows of fix from other rows: division by alpha, samples of planes.
#include "host/converters/row_converters.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// Alpha up to 0 leaves no colour, alpha of 4095 and more leaves the colour as it is. Between, the
/// quotient of two 32-bit integers is exact when it is taken in double and truncated, and only in
/// double can it be taken for several pixels at once.
void postdiv_row(const fix* in, fix* out, const fix* alpha, int n) {
#pragma GCC ivdep
  for (int i = 0; i < n; ++i) {
    const fix a = alpha[i], c = in[i];
    const fix divisor = a < 1 ? 1 : a;
    const fix quotient = fix(double(wrap_shl(c, FIX_BITS)) / double(divisor));
    out[i] = a < 1 ? 0 : a < 4095 ? quotient : c;
  }
}

void widen_row(const std::int16_t* in, fix* __restrict out, int n) {
  for (int i = 0; i < n; ++i) out[i] = in[i];
}

}  // namespace

void set_plane_rows(row_converters& table) {
  table.postdiv = postdiv_row;
  table.widen = widen_row;
}

}  // namespace tessaron::TESSARON_LEVEL
