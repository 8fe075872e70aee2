// Host pixels to rows of fix.
#include "host/converters/layouts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

/// N of 1 reads alpha alone.
template <class F, int N, bool MIX, bool TABLE>
void read_row(const std::uint8_t* pixels, fix* const* planes, int n) {
  const word* p = reinterpret_cast<const word*>(pixels);
  fix* __restrict first = planes[0];
  if constexpr (N == 1) {
#pragma GCC ivdep
    for (int i = 0; i < n; ++i) first[i] = F::to_fix(field<F, ALPHA>(p + i * F::WORDS));
  } else {
    fix* __restrict green = planes[1];
    fix* __restrict blue = planes[2];
    fix* __restrict alpha = planes[N - 1];
#pragma GCC ivdep
    for (int i = 0; i < n; ++i) {
      const word* pixel = p + i * F::WORDS;
      const fix a = F::to_fix(field<F, ALPHA>(pixel));
      first[i] = read_colour<F, RED, MIX, TABLE>(pixel, a);
      green[i] = read_colour<F, GREEN, MIX, TABLE>(pixel, a);
      blue[i] = read_colour<F, BLUE, MIX, TABLE>(pixel, a);
      if constexpr (N == 4) alpha[i] = a;
    }
  }
}

template <class F, int N>
void set_count(row_converters& table) {
  read_row_fn(&entry)[2][2] = table.read[F::SLOT][read_count_slot(N)];
  entry[0][0] = read_row<F, N, false, false>;
  entry[0][1] = read_row<F, N, false, true>;
  entry[1][0] = read_row<F, N, true, false>;
  entry[1][1] = read_row<F, N, true, true>;
}

template <class F>
void set_format(row_converters& table) {
  set_count<F, 1>(table);
  set_count<F, 3>(table);
  set_count<F, 4>(table);
}

}  // namespace

void set_read_rows(row_converters& table) {
  set_format<rgba8>(table);
  set_format<bgra8>(table);
  set_format<rgba16>(table);
  set_format<bgra16>(table);
}

}  // namespace tessaron::TESSARON_LEVEL
