// How a bolt grows: midpoints displaced to and fro, ends tapered, branches along its way.
#include "operators/bolts.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <new>
#include <span>

#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"

namespace tessaron {
namespace {

constexpr float SHORTEST_BRANCH = 2.0f;  // pixels
constexpr float THINNEST_BRANCH = 0.01f;
constexpr float END_THINNING = 0.33f;  // of the width of the outermost points
constexpr int BRANCH_LEVELS = 2;
constexpr float MOST_BRANCHES = 1e6f;  // of one bolt; far beyond what is to be seen
constexpr float HALF_TURN = 3.1415927f;
constexpr std::uint32_t UNIT_MASK = 0x3fffffff;  // the bits of a hash that make a number from 0 to 1

/// Room for `more` entries: an array grows by its own size, within limits.
template <class T>
bool make_room(T*& entries, std::int32_t count, int more, std::int32_t& capacity, int least, int most) {
  std::int32_t grown = capacity;
  while (grown - count < more) grown += std::clamp(grown, least, most);
  if (grown == capacity) return true;
  void* const moved = std::realloc(static_cast<void*>(entries), std::size_t(grown) * sizeof(T));
  if (!moved) return false;
  entries = static_cast<T*>(moved);
  capacity = grown;
  return true;
}

// --- the line --------------------------------------------------------------------------------------------

/// A line that is divided depth by depth. It has room for the points of all segments that there could be; those that
/// there are, are marked. Segment i of a depth goes from place i to place i + 1 of 2^depth.
class midpoint_line {
 public:
  midpoint_line(const bolt_point& from, const bolt_point& to) {
    set(0, from);
    set(PLACES, to);
  }

  void divide(const midpoint_shape& shape, std::uint32_t state, displace_midpoints_fn displace) {
    std::uint16_t lists[2][PLACES];  // segments to be divided, of one depth and of the next
    int count = 1;
    lists[0][0] = 0;
    for (int depth = 0; depth < MAX_BOLT_DEPTH && count > 0; ++depth) {
      const std::uint16_t* const segments = lists[depth % 2];
      std::uint16_t* const next = lists[(depth + 1) % 2];
      int next_count = 0;
      for (int i = 0; i < count; i += midpoint_block::SIZE) {
        const int n = std::min(count - i, midpoint_block::SIZE);
        divide_block(shape, {segments + i, std::size_t(n)}, depth, state, displace);
        for (int k = 0; k < n; ++k) {
          next[next_count] = std::uint16_t(2 * segments[i + k]);
          next_count += block_.divide_before[k];
          next[next_count] = std::uint16_t(2 * segments[i + k] + 1);
          next_count += block_.divide_behind[k];
        }
      }
      count = next_count;
    }
  }

  int points() const {
    int sum = 0;
    for (const std::uint64_t word : used_) sum += std::popcount(word);
    return sum;
  }

  /// All points in order.
  void copy_to(bolt_point* out) const {
    for (int w = 0; w < WORDS; ++w)
      for (std::uint64_t left = used_[w]; left; left &= left - 1) {
        const int place = w * WORD_BITS + std::countr_zero(left);
        *out++ = {x_[place], y_[place], width_[place]};
      }
  }

 private:
  static constexpr int PLACES = 1 << MAX_BOLT_DEPTH, WORD_BITS = 64, WORDS = PLACES / WORD_BITS + 1;

  void set(int place, const bolt_point& p) {
    x_[place] = p.x;
    y_[place] = p.y;
    width_[place] = p.width;
    used_[place / WORD_BITS] |= std::uint64_t(1) << place % WORD_BITS;
  }

  void divide_block(const midpoint_shape& shape, std::span<const std::uint16_t> segments, int depth,
                    std::uint32_t state, displace_midpoints_fn displace) {
    const int length = PLACES >> depth;
    int k = 0;
    for (const int segment : segments) {
      const int a = segment * length, b = a + length;
      block_.key[k] = (1u << depth) + state + std::uint32_t(segment);
      block_.ax[k] = x_[a];
      block_.ay[k] = y_[a];
      block_.awidth[k] = width_[a];
      block_.bx[k] = x_[b];
      block_.by[k] = y_[b];
      block_.bwidth[k] = width_[b];
      ++k;
    }
    displace(shape, block_, k);
    k = 0;
    for (const int segment : segments) {
      set(segment * length + length / 2, {block_.x[k], block_.y[k], block_.width[k]});
      ++k;
    }
  }

  float x_[PLACES + 1], y_[PLACES + 1], width_[PLACES + 1];
  std::uint64_t used_[WORDS] = {};
  midpoint_block block_ = {};
};

}  // namespace

// --- records ---------------------------------------------------------------------------------------------

bolt::~bolt() {
  for (int i = 0; i < n_children; ++i) delete children[i];
  std::free(children);
  std::free(points);
}

bool reserve_points(bolt& b, int count) { return make_room(b.points, b.n_points, count, b.point_capacity, 16, 128); }

bool append_point(bolt& b, const bolt_point& p) {
  if (!reserve_points(b, 1)) return false;
  b.points[b.n_points++] = p;
  return true;
}

bool append_child(bolt& b, bolt_ptr child) {
  if (!make_room(b.children, b.n_children, 1, b.child_capacity, 8, 32)) return false;
  b.children[b.n_children++] = child.release();
  return true;
}

// --- numbers ---------------------------------------------------------------------------------------------

std::uint32_t hash2(std::uint32_t a, std::uint32_t b) { return hash4(b + hash4(a)); }

std::uint32_t hash_chain::next_state() { return state_ = hash4(state_); }
float hash_chain::next() { return float(next_state() & UNIT_MASK) * 9.313226e-10f; }

wrinkle_scale set_wrinkle_scale(const bolt_settings& settings, float length) {
  const float s = std::max(length, 0.001f);
  return {.peak = settings.wrinkle_high * s,
          .slope = std::max(settings.wrinkle_high - settings.wrinkle_low, 0.0f) / s,
          .phase_scale = settings.phase * s * 0.5f,
          .branch_per_length = settings.branchiness / s};
}

// --- bolts -----------------------------------------------------------------------------------------------

bolt_ptr bolt_builder::make_bolt(float x0, float y0, float x1, float y1, float width) {
  bolt_ptr made(new (std::nothrow) bolt);
  if (!made) {
    out_of_memory_ = true;
    return nullptr;
  }
  midpoint_line line({x0, y0, 1.0f}, {x1, y1, 1.0f});
  const float dx = x1 - x0, dy = y1 - y0;
  if (dx * dx + dy * dy > SHORT_BOLT_SQUARED)
    line.divide({.wrinkle_low = settings_.wrinkle_low,
                 .peak = wrinkle_.peak,
                 .slope = wrinkle_.slope,
                 .phase_scale = wrinkle_.phase_scale,
                 .width_vary = settings_.width_vary,
                 .width_wrinkle = settings_.width_vary * 0.2f / std::max(width, 0.0001f)},
                bolt_state, displace_);
  const int count = line.points();
  points_left_ -= count;
  if (!reserve_points(*made, count)) {
    out_of_memory_ = true;
    return nullptr;
  }
  line.copy_to(made->points);
  made->n_full = made->n_points = count;
  return made;
}

void finish_bolt(bolt& b, float width, float start, float end, float pointiness) {
  b.width = width;
  b.start = start;
  b.end = end;
  b.pointiness = pointiness;
  b.n_full = b.n_points;
  int n = b.n_points;
  if (end < 1.0f) n = int(float(b.n_full) * end + 0.5f);
  if (n <= 1) n = 0;
  b.n_points = n;
  int first = int(start * float(b.n_full));
  if (first >= n - 1) first = n;
  b.first_shown = first;
  const int tapered = std::clamp(int(float(n) * (1 - pointiness)), first, n);

  for (int i = 0; i < first; ++i) b.points[i].width = 0;
  if (n > 2) {
    if (first < n) b.points[first].width *= END_THINNING;
    b.points[n - 1].width *= END_THINNING;
  }
  for (int i = first; i < tapered; ++i) b.points[i].width *= width;
  if (tapered == n) return;
  const float step = width / (float(n) * pointiness);
  float ramp = 0;
  for (int i = n - 1; i >= tapered; --i, ramp += step) b.points[i].width *= ramp;
}

// --- branches --------------------------------------------------------------------------------------------

void bolt_builder::add_branches(bolt& parent, float count, int from, int to, float scale, int depth) {
  if (parent.n_points == 0 || abort_pending()) return;
  hash_chain chain(bolt_state);
  const int n = int(std::fmin(count, MOST_BRANCHES) + chain.next());
  const bolt_point base = parent.points[from];
  const float dx = parent.points[to].x - base.x, dy = parent.points[to].y - base.y;
  const float len = std::sqrt(dx * dx + dy * dy);
  if (!(len > 0)) return;  // no way to branch off from
  const float ux = dx / len, uy = dy / len;
  const float limit = settings_.branch_length * len * scale;

  for (int k = 0; k < n && points_left_ > 0 && !out_of_memory_; ++k) {
    if (check_abort()) return;
    const int i = int(float(from) + chain.next() * float(to - from));
    if (i >= parent.n_points) continue;
    const float t = float(i) / float(parent.n_full);
    const float width = parent.width * (1 - t);
    if (width < THINNEST_BRANCH) continue;
    const float start = std::clamp((parent.start - t) / (1 - t), 0.0f, 1.0f);
    const float end = std::clamp((parent.end - t) / (1 - t), 0.0f, 1.0f);

    const bolt_point& root = parent.points[i];
    const float along_x = root.x - base.x, along_y = root.y - base.y;
    const float run = std::sqrt(along_x * along_x + along_y * along_y);
    const float length = std::min((scale * len - run) * chain.next(), limit);
    if (!(length >= SHORTEST_BRANCH)) continue;
    const float angle = settings_.branch_angle * HALF_TURN * (chain.next() - 0.5f);
    const float c = float(std::cos(double(angle))), s = float(std::sin(double(angle)));
    const float end_x = root.x + length * (c * ux + s * uy), end_y = root.y + length * (c * uy - s * ux);
    bolt_state = chain.next_state();

    bolt_ptr child = make_bolt(root.x, root.y, end_x, end_y, width);
    if (!child) return;
    finish_bolt(*child, width, start, end, parent.pointiness);
    bolt& grown = *child;
    if (!append_child(parent, std::move(child))) {
      out_of_memory_ = true;
      return;
    }
    if (depth + 1 < BRANCH_LEVELS)
      add_branches(grown, length * wrinkle_.branch_per_length, 0, grown.n_full - 1, 1.0f, depth + 1);
  }
}

bolt_ptr bolt_builder::build(std::uint32_t state, float x0, float y0, float x1, float y1, float width) {
  bolt_state = state;
  bolt_ptr made = make_bolt(x0, y0, x1, y1, width);
  if (!made) return nullptr;
  finish_bolt(*made, width, settings_.start, settings_.end, settings_.pointiness);
  if (settings_.branchiness > 0) add_branches(*made, settings_.branchiness, 0, made->n_full - 1, 1.0f, 0);
  if (out_of_memory_) return nullptr;
  return made;
}

}  // namespace tessaron
