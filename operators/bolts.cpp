// How a bolt grows: midpoints displaced to and fro, ends tapered, branches along its way.
#include "operators/bolts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>

#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"

namespace tessaron {
namespace {

constexpr float SHORT_SQUARED = 4.0f;    // a segment of two pixels isn't divided further
constexpr float SHORTEST_BRANCH = 2.0f;  // pixels
constexpr float THINNEST_BRANCH = 0.01f;
constexpr float END_THINNING = 0.33f;  // of the width of the outermost points
constexpr int BRANCH_LEVELS = 2;
constexpr float MOST_BRANCHES = 1e6f;   // of one bolt; far beyond what is to be seen
constexpr double TURN = 6.28318530718;  // radians
constexpr float HALF_TURN = 3.1415927f;
constexpr std::uint32_t UNIT_MASK = 0x3fffffff;  // the bits of a hash that make a number from 0 to 1

double unit(std::uint32_t v) { return (v & UNIT_MASK) * 9.313225746154785e-10; }

/// Room for one more entry: an array grows by its own size, within limits.
template <class T>
bool make_room(T*& entries, std::int32_t count, std::int32_t& capacity, int least, int most) {
  if (count < capacity) return true;
  const std::int32_t grown = capacity + std::clamp(capacity, least, most);
  void* const moved = std::realloc(static_cast<void*>(entries), std::size_t(grown) * sizeof(T));
  if (!moved) return false;
  entries = static_cast<T*>(moved);
  capacity = grown;
  return true;
}

/// -1 to 1: where a hash and the phase have brought a swinging value.
double swing(std::uint32_t v, float phase) { return std::sin((unit(v) + phase) * TURN); }

}  // namespace

// --- records ---------------------------------------------------------------------------------------------

bolt::~bolt() {
  for (int i = 0; i < n_children; ++i) delete children[i];
  std::free(children);
  std::free(points);
}

bool append_point(bolt& b, const bolt_point& p) {
  if (!make_room(b.points, b.n_points, b.point_capacity, 16, 128)) return false;
  b.points[b.n_points++] = p;
  return true;
}

bool append_child(bolt& b, bolt_ptr child) {
  if (!make_room(b.children, b.n_children, b.child_capacity, 8, 32)) return false;
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

// --- the line --------------------------------------------------------------------------------------------

bool bolt_builder::append(bolt& b, const bolt_point& p) {
  --points_left_;
  if (append_point(b, p)) return true;
  out_of_memory_ = true;
  return false;
}

/// Appends all points from `from` on, without `to`. The displacement relative to a segment rises with its length up to
/// that of the whole bolt and falls beyond; the phase moves short segments faster than long ones.
void bolt_builder::subdivide(bolt& b, const bolt_point& from, const bolt_point& to, int depth, std::uint32_t index) {
  const float dx = to.x - from.x, dy = to.y - from.y;
  const float squared = dx * dx + dy * dy;
  if (depth >= MAX_BOLT_DEPTH || !(squared > SHORT_SQUARED)) {
    append(b, from);
    return;
  }
  const float length = std::sqrt(squared);
  const float amplitude = std::min(wrinkle_.peak / length, wrinkle_.slope * length + settings_.wrinkle_low);
  const float phase = wrinkle_.phase_scale / length;

  const std::uint32_t v = hash4((1u << depth) + bolt_state + index);
  const float displacement = float(swing(v, phase) * 0.5 * amplitude);
  const std::uint32_t v2 = hash4(v);
  const float f = float(0.5 + settings_.wrinkle_low * 0.33 * (unit(v2) - 0.5));
  bolt_point middle = {from.x + f * dx + displacement * dy, from.y + f * dy - displacement * dx,
                       (from.width + to.width) * 0.5f};
  if (settings_.width_vary > 0) {
    const std::uint32_t v3 = hash4(v2);
    const float width = float(middle.width + swing(v3, phase) * width_wrinkle_ * length);
    middle.width = std::min(std::max(width, 1 - settings_.width_vary), 1 + settings_.width_vary);
  }
  subdivide(b, from, middle, depth + 1, 2 * index);
  subdivide(b, middle, to, depth + 1, 2 * index + 1);
}

bolt_ptr bolt_builder::make_bolt(float x0, float y0, float x1, float y1, float width) {
  bolt_ptr made(new (std::nothrow) bolt);
  if (!made) {
    out_of_memory_ = true;
    return nullptr;
  }
  width_wrinkle_ = settings_.width_vary * 0.2f / std::max(width, 0.0001f);
  const bolt_point first = {x0, y0, 1.0f}, last = {x1, y1, 1.0f};
  subdivide(*made, first, last, 0, 0);
  append(*made, last);
  if (out_of_memory_) return nullptr;
  made->n_full = made->n_points;
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
