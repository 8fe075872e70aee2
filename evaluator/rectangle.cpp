#include "evaluator/rectangle.h"

#include <algorithm>

namespace tessaron {
namespace {

std::int16_t limited(std::int64_t side) {
  return std::int16_t(std::clamp<std::int64_t>(side, -UNBOUNDED_SIDE, UNBOUNDED_SIDE));
}

bool bounded(int side) { return side > -UNBOUNDED_SIDE && side < UNBOUNDED_SIDE; }

}  // namespace

rectangle make_rectangle(std::int64_t left, std::int64_t top, std::int64_t right, std::int64_t bottom) {
  if (right < left || bottom < top) return {};
  return {limited(left), limited(top), limited(right), limited(bottom), 0};
}

rectangle everything() { return make_rectangle(-UNBOUNDED_SIDE, -UNBOUNDED_SIDE, UNBOUNDED_SIDE, UNBOUNDED_SIDE); }

rectangle clip(const rectangle& a, const rectangle& b) {
  if (a.empty || b.empty) return {};
  return make_rectangle(std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                        std::min(a.bottom, b.bottom));
}

rectangle unite(const rectangle& a, const rectangle& b) {
  if (a.empty) return b;
  if (b.empty) return a;
  return make_rectangle(std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                        std::max(a.bottom, b.bottom));
}

rectangle grow(const rectangle& r, int left, int top, int right, int bottom) {
  if (r.empty) return r;
  const auto moved = [](int side, int by) { return bounded(side) ? std::int64_t(side) + by : side; };
  return make_rectangle(moved(r.left, -left), moved(r.top, -top), moved(r.right, right), moved(r.bottom, bottom));
}

std::int64_t half_rounded_up(std::int64_t sum) { return (sum + 1) >> 1; }

int centre_shift(int first_start, int first_end, int start, int end) {
  return int(half_rounded_up(std::int64_t(first_start) + first_end) - half_rounded_up(std::int64_t(start) + end));
}

}  // namespace tessaron
