// Following outlines from cell to cell. A cell lies between four pixel centres; a line enters it by one side and leaves
// by another, with the inside on its left. Places on a side follow from the two samples, so that a line moves with a
// soft edge by parts of a pixel.
//
//   a---b     heading 0: up, out between a and b
//   |   |             1: right, between b and c
//   d---c             2: down, 3: left
#include "operators/outlines.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>

#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

constexpr int UP = 0, RIGHT = 1, DOWN = 2, LEFT = 3;
constexpr int CORNER_X[] = {0, 1, 1, 0}, CORNER_Y[] = {0, 0, 1, 1};  // a, b, c, d
constexpr std::uint8_t SIDE_ACROSS = 1, SIDE_DOWN = 2;  // marks: between a pixel and the next, and the one below

struct {
  const std::int16_t* samples;
  int width, height;
  fix threshold;
  std::uint8_t *inside, *taken;
} mark_job;

/// Which pixels are inside; no side has been taken.
void forked_mark() {
  const worker_share rows = share_of(mark_job.height);
  const std::int64_t first = std::int64_t(rows.first) * mark_job.width, end = std::int64_t(rows.end) * mark_job.width;
  const std::int16_t* const samples = mark_job.samples;
  std::uint8_t* const inside = mark_job.inside;
  const fix threshold = mark_job.threshold;
  for (std::int64_t i = first; i < end; ++i) inside[i] = samples[i] > threshold;
  std::fill(mark_job.taken + first, mark_job.taken + end, std::uint8_t(0));
}

class tracer {
 public:
  tracer(const std::int16_t* samples, int width, int height, fix threshold)
      : samples_(samples),
        width_(width),
        height_(height),
        threshold_(threshold),
        inside_(std::make_unique_for_overwrite<std::uint8_t[]>(size() + BEHIND)),
        taken_(std::make_unique_for_overwrite<std::uint8_t[]>(size())) {
    std::fill_n(inside_.get() + size(), BEHIND, std::uint8_t(0));
    mark_job = {samples, width, height, threshold, inside_.get(), taken_.get()};
    fork_processes(forked_mark);
  }

  template <class Keep>
  void trace_all(Keep keep) {
    if (width_ < 2 || height_ < 2) return;
    // Lines that enter from the border first: what is left is closed.
    for (int x = 0; x + 1 < width_; ++x) {
      if (!in(x, 0) && in(x + 1, 0)) trace(x, 0, DOWN, keep);
      if (in(x, height_ - 1) && !in(x + 1, height_ - 1)) trace(x, height_ - 2, UP, keep);
    }
    for (int y = 0; y + 1 < height_; ++y) {
      if (in(0, y) && !in(0, y + 1)) trace(0, y, RIGHT, keep);
      if (!in(width_ - 1, y) && in(width_ - 1, y + 1)) trace(width_ - 2, y, LEFT, keep);
    }
    for (int y = 0; y + 1 < height_ && !check_abort(); ++y)
      for (int x = next_change(0, y); x + 1 < width_; x = next_change(x + 1, y))
        if (in(x, y) != in(x + 1, y) && !(taken_[at(x, y)] & SIDE_ACROSS)) {
          if (in(x + 1, y))
            trace(x, y, DOWN, keep);
          else if (y > 0)
            trace(x, y - 1, UP, keep);
        }
  }

 private:
  static constexpr std::size_t BEHIND = sizeof(std::uint64_t);  // bytes that a look at eight pixels may reach

  std::size_t size() const { return std::size_t(width_) * std::size_t(height_); }
  std::size_t at(int x, int y) const { return std::size_t(y) * std::size_t(width_) + std::size_t(x); }
  bool in(int x, int y) const { return inside_[at(x, y)]; }

  /// The first column from x on whose pixel differs from the next one in the row; or the last column.
  int next_change(int x, int y) const {
    const std::uint8_t* const row = inside_.get() + at(0, y);
    // Eight pairs at a time; what lies behind the row is cut off.
    for (; x + 1 < width_; x += 8) {
      std::uint64_t here = 0, next = 0;
      std::memcpy(&here, row + x, sizeof here);
      std::memcpy(&next, row + x + 1, sizeof next);
      if (here != next) return std::min(x + std::countr_zero(here ^ next) / 8, width_ - 1);
    }
    return width_ - 1;
  }

  /// The side by which a cell is left in a heading, as a mark; the pixel that it belongs to.
  std::uint8_t& mark_of(int x, int y, int heading, std::uint8_t& bit) {
    bit = heading == UP || heading == DOWN ? SIDE_ACROSS : SIDE_DOWN;
    return taken_[at(heading == RIGHT ? x + 1 : x, heading == DOWN ? y + 1 : y)];
  }

  image_point crossing(int x, int y, int heading) const {
    const int other = (heading + 1) & 3;
    const int ax = x + CORNER_X[heading], ay = y + CORNER_Y[heading];
    const int bx = x + CORNER_X[other], by = y + CORNER_Y[other];
    const float a = samples_[at(ax, ay)], b = samples_[at(bx, by)];
    const float t = (a - float(threshold_)) / (a - b);
    return {float(ax) + 0.5f + t * float(bx - ax), float(ay) + 0.5f + t * float(by - ay)};
  }

  /// From cell (x, y), entered in a heading by the side opposite to it.
  template <class Keep>
  void trace(int x, int y, int heading, Keep keep) {
    std::vector<image_point> points;
    bool closed = false;
    // The side of entry, as the one by which the cell before is left.
    x -= heading == RIGHT ? 1 : heading == LEFT ? -1 : 0;
    y -= heading == DOWN ? 1 : heading == UP ? -1 : 0;
    for (;;) {
      std::uint8_t bit = 0;
      std::uint8_t& mark = mark_of(x, y, heading, bit);
      if (mark & bit) {
        closed = true;
        break;
      }
      mark = std::uint8_t(mark | bit);
      points.push_back(crossing(x, y, heading));
      x += heading == RIGHT ? 1 : heading == LEFT ? -1 : 0;
      y += heading == DOWN ? 1 : heading == UP ? -1 : 0;
      if (x < 0 || y < 0 || x + 1 >= width_ || y + 1 >= height_) break;
      // Left first: corners that only touch are two objects.
      heading = (heading + 3) & 3;
      while (!leaves(x, y, heading)) heading = (heading + 1) & 3;
    }
    keep(std::move(points), closed);
  }
  bool leaves(int x, int y, int heading) const {
    const int other = (heading + 1) & 3;
    return in(x + CORNER_X[heading], y + CORNER_Y[heading]) && !in(x + CORNER_X[other], y + CORNER_Y[other]);
  }

  const std::int16_t* samples_;
  int width_, height_;
  fix threshold_;
  std::unique_ptr<std::uint8_t[]> inside_, taken_;
};

}  // namespace

outline::outline(std::vector<image_point> points, bool closed, float pixel_aspect)
    : points_(std::move(points)), closed_(closed) {
  const auto distance = [pixel_aspect](image_point a, image_point b) {
    return std::hypot(b.x - a.x, (b.y - a.y) * pixel_aspect);
  };
  along_.reserve(points_.size() + 1);
  double sum = 0;
  for (std::size_t i = 0; i < points_.size(); ++i) {
    if (i) sum += double(distance(points_[i - 1], points_[i]));
    along_.push_back(float(sum));
  }
  if (closed_ && !points_.empty()) {
    sum += double(distance(points_.back(), points_.front()));
    along_.push_back(float(sum));
  }
  length_ = float(sum);
  if (closed_) find_origin();
}

void outline::find_origin() {
  double weighted_y = 0;
  const std::size_t n = points_.size();
  for (std::size_t i = 0; i < n; ++i)
    weighted_y += double(along_[i + 1] - along_[i]) * 0.5 * (double(points_[i].y) + double(points_[(i + 1) % n].y));
  const float middle = length_ > 0 ? float(weighted_y / double(length_)) : 0;
  float farthest = -1;
  for (std::size_t i = 0; i < n; ++i) {
    const image_point a = points_[i], b = points_[(i + 1) % n];
    if ((a.y < middle) == (b.y < middle)) continue;
    const float t = (middle - a.y) / (b.y - a.y);
    const float x = a.x + t * (b.x - a.x);
    if (x <= farthest) continue;
    farthest = x;
    origin_ = along_[i] + t * (along_[i + 1] - along_[i]);
  }
}

image_point outline::at(float s) const {
  if (points_.size() < 2 || !(length_ > 0)) return points_.empty() ? image_point{} : points_.front();
  if (closed_) {
    s = std::fmod(s + origin_, length_);
    if (s < 0) s += length_;
  }
  s = std::clamp(s, 0.0f, length_);
  const auto above = std::upper_bound(along_.begin(), along_.end(), s);
  const std::size_t i =
      std::min(std::size_t(std::max<std::ptrdiff_t>(above - along_.begin() - 1, 0)), along_.size() - 2);
  const image_point a = points_[i], b = points_[(i + 1) % points_.size()];
  const float span = along_[i + 1] - along_[i];
  const float t = span > 0 ? (s - along_[i]) / span : 0;
  return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
}

std::pair<image_point, image_point> outline::around(float s, float reach) const {
  // Half way round to both sides would be the same place.
  const float r = std::min(reach, length_ * 0.25f);
  return {at(s - r), at(s + r)};
}

std::vector<outline> find_outlines(const std::int16_t* samples, int width, int height, fix threshold, float shortest,
                                   float pixel_aspect) {
  std::vector<outline> found;
  tracer(samples, width, height, threshold).trace_all([&](std::vector<image_point> points, bool closed) {
    outline line(std::move(points), closed, pixel_aspect);
    if (line.length() >= shortest) found.push_back(std::move(line));
  });
  std::stable_sort(found.begin(), found.end(),
                   [](const outline& a, const outline& b) { return a.length() > b.length(); });
  return found;
}

}  // namespace tessaron
