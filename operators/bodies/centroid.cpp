// A region is a set of runs: stretches of lit pixels of a row. A run is summed and cleared when it is found, so each is
// found once; popped from the stack, it looks for the runs that touch it in the rows above and below.
#include "operators/bodies/centroid.h"

#include "base/fixed.h"
#include "base/report.h"
#include "operators/flood_stack.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

template <int N>
class region {
 public:
  region(std::int16_t* const* planes, int width, int height) : width_(width), height_(height) {
    for (int c = 0; c < N; ++c) planes_[c] = planes[c];
  }

  bool lit(int x, int y) const {
    const std::int64_t at = place(x, y);
    bool any = false;
    for (int c = 0; c < N; ++c) any |= planes_[c][at] > 0;
    return any;
  }

  /// Everything that is connected to a lit pixel.
  centroid_sums flood(int x, int y) {
    stack_.clear();
    take_run(x, y);
    flood_run run = {};
    while (stack_.pop(run)) {
      if (run.row > 0) take_touching(run, run.row - 1);
      if (run.row + 1 < height_) take_touching(run, run.row + 1);
    }
    return sums_;
  }

 private:
  std::int64_t place(int x, int y) const { return std::int64_t(y) * width_ + x; }

  void take_touching(const flood_run& run, int row) {
    const int last = fix_min(run.last + 1, width_ - 1);
    for (int x = fix_max(run.first - 1, 0); x <= last; ++x)
      if (lit(x, row)) x = take_run(x, row);
  }

  /// Sums and clears the whole run that a pixel is in; its last pixel.
  int take_run(int x, int y) {
    flood_run run = {y, x, x};
    while (run.first > 0 && lit(run.first - 1, y)) --run.first;
    while (run.last + 1 < width_ && lit(run.last + 1, y)) ++run.last;
    const int n = run.last - run.first + 1;
    std::int64_t run_total = 0;
    for (int c = 0; c < N; ++c) {
      std::int16_t* samples = planes_[c] + place(run.first, y);
      std::int64_t light = 0, moment = 0;
      for (int i = 0; i < n; ++i) {
        const std::int32_t v = samples[i] > 0 ? samples[i] : 0;
        samples[i] = 0;
        light += v;
        moment += std::int64_t(v) * i;
      }
      sums_.light[c] += light;
      sums_.x += moment + light * run.first;
      run_total += light;
    }
    sums_.total += run_total;
    sums_.y += run_total * y;
    stack_.push(run);
    return run.last;
  }

  std::int16_t* planes_[N];
  const int width_, height_;
  flood_stack& stack_ = get_flood_stack();
  centroid_sums sums_ = {};
};

template <int N>
int next_lit(const std::int16_t* const* planes, int width, int x, int y) {
  const std::int64_t row = std::int64_t(y) * width;
  for (; x < width; ++x)
    for (int c = 0; c < N; ++c)
      if (planes[c][row + x] > 0) return x;
  return width;
}

}  // namespace

centroid_sums add_to_centroid(std::int16_t* const* planes, int width, int height, int x, int y) {
  region<3> r(planes, width, height);
  if (r.lit(x, y)) return r.flood(x, y);
  report(REPORT_WARNING, "add_to_centroid: warning, start point was 0");
  return {};
}

centroid_sums add_to_bw_centroid(std::int16_t* plane, int width, int height, int x, int y) {
  region<1> r(&plane, width, height);
  if (r.lit(x, y)) return r.flood(x, y);
  report(REPORT_WARNING, "add_to_bw_centroid: warning, start point was 0");
  return {};
}

int next_lit_pixel(const std::int16_t* const* planes, int width, int x, int y) {
  return next_lit<3>(planes, width, x, y);
}
int next_lit_bw_pixel(const std::int16_t* plane, int width, int x, int y) { return next_lit<1>(&plane, width, x, y); }

}  // namespace tessaron::TESSARON_LEVEL
