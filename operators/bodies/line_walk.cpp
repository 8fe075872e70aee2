// Sharp lines take the nearest pixel of each step. Soft ones (`subpixel`) interpolate between the two pixels across the
// line and count the pixels at its ends by the part that the line covers of the way from one to the next: so a line of
// no length is the bilinear sample, and growing or moving one changes the sum without a jump.
#include "operators/bodies/line_walk.h"

#include <cstring>

#include "operators/bodies/planes.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

// --- four elements at once --------------------------------------------------------------------------------------

// Vectors of the compiler's own, which it maps to what each level has.
typedef std::int32_t int4 __attribute__((vector_size(16)));
typedef std::uint32_t uint4 __attribute__((vector_size(16)));
typedef std::int16_t short4 __attribute__((vector_size(8)));

inline int4 load_pixel(const std::int16_t* p) {
  short4 v;
  std::memcpy(&v, p, sizeof v);
  return __builtin_convertvector(v, int4);
}
inline int4 sum(int4 a, int4 b) { return int4(uint4(a) + uint4(b)); }
inline int4 fix_product(int4 a, fix b) { return int4(uint4(a) * std::uint32_t(b)) >> FIX_BITS; }

// --- places -----------------------------------------------------------------------------------------------------

constexpr int PLACE_BITS = 20;  // fraction bits of a place along the minor direction: fix, and 8 more

constexpr std::int64_t wrap64(std::uint64_t v) { return std::int64_t(v); }
inline std::int64_t product64(std::int64_t a, std::int64_t b) { return wrap64(std::uint64_t(a) * std::uint64_t(b)); }
inline std::int64_t sum64(std::int64_t a, std::int64_t b) { return wrap64(std::uint64_t(a) + std::uint64_t(b)); }
inline std::int64_t shifted64(std::int64_t v, int bits) { return wrap64(std::uint64_t(v) << bits); }
inline std::int64_t clamp64(std::int64_t v, std::int64_t low, std::int64_t high) {
  return v < low ? low : v > high ? high : v;
}

inline int modulo(int p, int period) {
  const int rest = p % period;
  return rest < 0 ? rest + period : rest;
}

/// Pixels along the major direction, one a step.
template <bool WRAPS>
struct major_steps {
  const walk_axis& axis;
  int p, direction;

  major_steps(const walk_axis& a, int first, int step)
      : axis(a), p(WRAPS ? modulo(first, a.period) : first), direction(step) {}
  std::uint32_t place() const { return axis.place[WRAPS ? p : fix_clamp(p, -1, axis.size)]; }
  void next() {
    p += direction;
    if constexpr (WRAPS) {
      p = p == axis.period ? 0 : p;
      p = p < 0 ? axis.period - 1 : p;
    }
  }
};

/// Places along the minor direction, less than one pixel a step further on.
template <bool WRAPS>
struct minor_steps {
  const walk_axis& axis;
  std::int64_t at, step;  // PLACE_BITS fraction bits

  minor_steps(const walk_axis& a, std::int64_t first, std::int64_t s) : axis(a), at(first), step(s) { enter(); }
  void enter() {
    if constexpr (WRAPS) {
      const std::int64_t period = std::int64_t(axis.period) << PLACE_BITS;
      at %= period;
      at += at < 0 ? period : 0;
    }
  }
  int pixel() const { return int(at >> PLACE_BITS); }
  std::uint32_t place(int p) const { return axis.place[WRAPS ? p : fix_clamp(p, -1, axis.size)]; }
  fix fraction() const { return fix(at >> (PLACE_BITS - FIX_BITS)) & 0xfff; }
  void next() { go_to(at + step); }
  /// A place less than one period away.
  void go_to(std::int64_t place) {
    at = place;
    if constexpr (WRAPS) {
      const std::int64_t period = std::int64_t(axis.period) << PLACE_BITS;
      at -= at >= period ? period : 0;
      at += at < 0 ? period : 0;
    }
  }
};

// --- sums -------------------------------------------------------------------------------------------------------

constexpr double LARGEST_SAMPLE = 32767;

inline void store_mean(const walk_settings& s, int4 total, std::int64_t weights, walk_result& out) {
  const double ratio = double(s.scale) / double(weights ? weights : 1);
  for (int e = 0; e < 4; ++e) {
    const double v = double(total[e]) * ratio;
    out.of[e] = nearest_int(v > LARGEST_SAMPLE ? LARGEST_SAMPLE : v < -LARGEST_SAMPLE ? -LARGEST_SAMPLE : v);
  }
}

/// Steps from `first` on that stay inside [0, size) when each goes `direction` further.
struct step_range {
  int first, end;
};
inline step_range steps_inside(int first_pixel, int direction, int count, int size) {
  // Nothing but weights happens outside.
  const std::int64_t p = first_pixel, last = p + std::int64_t(direction) * (count - 1);
  const std::int64_t low = direction > 0 ? -p : p - (size - 1);
  const std::int64_t beyond = direction > 0 ? last - (size - 1) : -last;
  const std::int64_t begin = clamp64(low, 0, count), end = count - clamp64(beyond, 0, count);
  return {int(begin), int(end > begin ? end : begin)};
}

/// The weight of each step, from the one end's to the other's.
struct weight_steps {
  std::int64_t at, step;  // 8 fraction bits
  fix weight() const { return fix(std::uint32_t(at >> 8)); }
  void next() { at = sum64(at, step); }
};

template <bool EVEN, bool MAJOR_WRAPS, bool MINOR_WRAPS>
void walk_sharp(const walk_settings& s, const walk_axis& major, const walk_axis& minor, const walk_line& line,
                walk_result& out) {
  constexpr fix HALF = FIX_ONE / 2;
  const int first = wrap_add(line.a_major, HALF) >> FIX_BITS, last = wrap_add(line.b_major, HALF) >> FIX_BITS;
  const int direction = last < first ? -1 : 1;
  const int count = (last - first) * direction + 1;
  const std::int64_t across = (std::int64_t(line.b_minor) - line.a_minor) * 256 / count;
  weight_steps weights = {shifted64(s.ends.first, 8), (std::int64_t(s.ends.last) - s.ends.first) * 256 / count};
  std::int64_t weight_sum = EVEN ? std::int64_t(count) * FIX_ONE : 0;

  const step_range inside = MAJOR_WRAPS ? step_range{0, count} : steps_inside(first, direction, count, major.size);
  if constexpr (!EVEN)
    for (int k = 0; k < inside.first; ++k, weights.next()) weight_sum += weights.weight();
  major_steps<MAJOR_WRAPS> along(major, first + direction * inside.first, direction);
  minor_steps<MINOR_WRAPS> beside(
      minor, ((std::int64_t(line.a_minor) + HALF) << (PLACE_BITS - FIX_BITS)) + across * inside.first, across);
  int4 total = {};
  for (int k = inside.first; k < inside.end; ++k) {
    const int4 pixel = load_pixel(s.image + along.place() + beside.place(beside.pixel()));
    if constexpr (EVEN) {
      total = sum(total, pixel);
    } else {
      const fix weight = weights.weight();
      total = sum(total, fix_product(pixel, weight));
      weight_sum += weight;
      weights.next();
    }
    along.next();
    beside.next();
  }
  if constexpr (!EVEN)
    for (int k = inside.end; k < count; ++k, weights.next()) weight_sum += weights.weight();
  store_mean(s, total, weight_sum, out);
}

template <bool EVEN, bool MAJOR_WRAPS, bool MINOR_WRAPS>
void walk_soft(const walk_settings& s, const walk_axis& major, const walk_axis& minor, const walk_line& line,
               walk_result& out) {
  const std::int64_t difference = std::int64_t(line.b_major) - line.a_major;
  const int direction = difference < 0 ? -1 : 1;
  const std::int64_t length = difference * direction;
  // Seen in walking direction: the last pixel at or behind each end, and how far the end lies beyond it.
  const std::int64_t a = std::int64_t(line.a_major) * direction, b = a + length;
  const std::int64_t first = a >> FIX_BITS;
  const fix part_a = fix(a & 0xfff), part_b = fix(b & 0xfff);
  const int count = int((b >> FIX_BITS) - first) + 2;

  // Steps stand at the pixels' middles, but the first and the last at the line's ends. `t` is how far a step is along.
  const std::int64_t slope =
      length ? ((std::int64_t(line.b_minor) - line.a_minor) << (PLACE_BITS - FIX_BITS + FIX_BITS)) / length : 0;
  const std::int64_t start = std::int64_t(line.a_minor) << (PLACE_BITS - FIX_BITS);
  const std::int64_t weight_slope =
      shifted64(std::int64_t(s.ends.last) - s.ends.first, 8 + FIX_BITS) / (length + FIX_ONE);

  const int first_pixel = int(first) * direction;
  const step_range inside =
      MAJOR_WRAPS ? step_range{0, count} : steps_inside(first_pixel, direction, count, major.size);
  const auto weight_at = [&](std::int64_t t) {
    return fix(std::uint32_t(sum64(shifted64(s.ends.first, 8), product64(weight_slope, t) >> FIX_BITS) >> 8));
  };
  const auto t_at = [&](int k) { return clamp64(std::int64_t(k) * FIX_ONE - part_a, 0, length); };
  const auto part_at = [&](int k) { return k == 0 ? FIX_ONE - part_a : k == count - 1 ? part_b : FIX_ONE; };

  std::int64_t weight_sum = EVEN ? length + FIX_ONE : 0;
  if constexpr (!EVEN)
    for (int k = 0; k < inside.first; ++k) weight_sum += fix_mul(weight_at(t_at(k)), part_at(k));
  major_steps<MAJOR_WRAPS> along(major, first_pixel + direction * inside.first, direction);
  minor_steps<MINOR_WRAPS> beside(minor, start + (product64(slope, t_at(inside.first)) >> FIX_BITS), 0);
  std::int64_t t = t_at(inside.first);
  int4 total = {};
  for (int k = inside.first; k < inside.end; ++k) {
    const int p = beside.pixel();
    const fix fraction = beside.fraction();
    const std::uint32_t place = along.place();
    const int4 near = load_pixel(s.image + place + beside.place(p));
    const int4 far = load_pixel(s.image + place + beside.place(p + 1));
    const int4 pixel = (near * (FIX_ONE - fraction) + far * fraction) >> FIX_BITS;
    const fix part = part_at(k);
    fix weight = part;
    if constexpr (!EVEN) {
      weight = fix_mul(weight_at(t), part);
      weight_sum += weight;
    }
    total = sum(total, fix_product(pixel, weight));
    along.next();
    const std::int64_t next = t_at(k + 1);
    beside.go_to(beside.at + (product64(slope, next) >> FIX_BITS) - (product64(slope, t) >> FIX_BITS));
    t = next;
  }
  if constexpr (!EVEN)
    for (int k = inside.end; k < count; ++k) weight_sum += fix_mul(weight_at(t_at(k)), part_at(k));
  store_mean(s, total, weight_sum, out);
}

template <bool EVEN>
constexpr walk_function SHARP[2][2] = {{walk_sharp<EVEN, false, false>, walk_sharp<EVEN, false, true>},
                                       {walk_sharp<EVEN, true, false>, walk_sharp<EVEN, true, true>}};
template <bool EVEN>
constexpr walk_function SOFT[2][2] = {{walk_soft<EVEN, false, false>, walk_soft<EVEN, false, true>},
                                      {walk_soft<EVEN, true, false>, walk_soft<EVEN, true, true>}};

}  // namespace

walk_function choose_walk(bool subpixel, bool even_weights, bool major_wraps, bool minor_wraps) {
  if (subpixel) return even_weights ? SOFT<true>[major_wraps][minor_wraps] : SOFT<false>[major_wraps][minor_wraps];
  return even_weights ? SHARP<true>[major_wraps][minor_wraps] : SHARP<false>[major_wraps][minor_wraps];
}

}  // namespace tessaron::TESSARON_LEVEL
