// The edges of a bolt, many segments side by side; what they are and in which order, tells bolt_edges.
#include "operators/bolt_outline.h"

#include <cmath>
#include <cstring>

#include "operators/bodies/lightning.h"
#include "operators/edge_runs.h"

#if defined(__AVX512BW__)
#include <immintrin.h>
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int LANES = edge_group::SIZE;
constexpr int CHUNK = 64;      // segments whose edges are made at once
constexpr int CANDIDATES = 4;  // edges of a segment, those across it only where the outline folds

/// Edges one behind the other.
template <int COUNT>
struct edge_list {
  alignas(64) float x0[COUNT], y0[COUNT], x1[COUNT], y1[COUNT];
  alignas(64) std::int32_t winding[COUNT];
};

/// The two sides of a bolt, in the image.
struct bolt_sides {
  alignas(64) float left_x[MAX_BOLT_POINTS], left_y[MAX_BOLT_POINTS];
  alignas(64) float right_x[MAX_BOLT_POINTS], right_y[MAX_BOLT_POINTS];

  /// As bolt_ring; false where points lie on top of each other.
  bool make(const bolt_point* points, int n, const image_space& to_image) {
    const image_space space = to_image;
    float way_x[MAX_BOLT_POINTS + 1], way_y[MAX_BOLT_POINTS + 1];  // to point i; the last one goes on
    std::int32_t still = 0;
    for (int i = 0; i + 1 < n; ++i) {
      const float dx = points[i + 1].x - points[i].x, dy = points[i + 1].y - points[i].y;
      const float length = std::sqrt(dx * dx + dy * dy);
      way_x[i + 1] = dx / length;
      way_y[i + 1] = dy / length;
      still |= !(length > 0);
    }
    if (still) return false;
    way_x[0] = way_x[1];
    way_y[0] = way_y[1];
    way_x[n] = way_x[n - 1];
    way_y[n] = way_y[n - 1];
    for (int i = 0; i < n; ++i) {
      const bolt_point p = points[i];
      const float m = (1 - 0.5f * (way_x[i] * way_x[i + 1] + way_y[i] * way_y[i + 1])) * p.width;
      const float across_x = m * (way_y[i] + way_y[i + 1]), across_y = m * (way_x[i] + way_x[i + 1]);
      left_x[i] = within_reach(p.x - across_x + space.middle_x);
      left_y[i] = within_reach((p.y + across_y) * space.y_scale + space.middle_y);
      right_x[i] = within_reach(p.x + across_x + space.middle_x);
      right_y[i] = within_reach((p.y - across_y) * space.y_scale + space.middle_y);
    }
    return true;
  }
};

/// Sends edges on in whole groups.
class group_writer {
 public:
  explicit group_writer(edge_group* groups) : group_(groups) {}

  void append(const edge_list<CHUNK * CANDIDATES>& from, int n) {
#if defined(__AVX512BW__)
    for (int i = 0; i < n; i += LANES) {
      const __m512i winding = _mm512_load_si512(from.winding + i);
      const __mmask16 kept = _mm512_test_epi32_mask(winding, winding);
      const auto keep = [this, kept, i](const auto* in, auto* out) {
        _mm512_storeu_si512(out + waiting_, _mm512_maskz_compress_epi32(kept, _mm512_load_si512(in + i)));
      };
      keep(from.x0, list_.x0);
      keep(from.y0, list_.y0);
      keep(from.x1, list_.x1);
      keep(from.y1, list_.y1);
      keep(from.winding, list_.winding);
      waiting_ += __builtin_popcount(kept);
    }
#else
    for (int i = 0; i < n; ++i) {
      put({from.x0[i], from.y0[i], from.x1[i], from.y1[i], from.winding[i]});
      waiting_ += from.winding[i] != 0;
    }
#endif
    int sent = 0;
    for (; sent + LANES <= waiting_; sent += LANES) send(sent);
    waiting_ -= sent;
    move(list_.x0, sent);
    move(list_.y0, sent);
    move(list_.x1, sent);
    move(list_.y1, sent);
    move(list_.winding, sent);
  }
  /// The last edge; fills the last group up, with edges without height where this one ends.
  std::size_t finish(const fill_edge& last) {
    put(last);
    const std::size_t count = count_ + std::size_t(++waiting_);
    while (waiting_ < LANES) {
      put({last.x1, last.y1, last.x1, last.y1, 0});
      ++waiting_;
    }
    send(0);
    return count;
  }

 private:
  void put(const fill_edge& e) {
    list_.x0[waiting_] = e.x0;
    list_.y0[waiting_] = e.y0;
    list_.x1[waiting_] = e.x1;
    list_.y1[waiting_] = e.y1;
    list_.winding[waiting_] = e.winding;
  }
  void send(int first) {
    std::memcpy(group_->x0, list_.x0 + first, sizeof group_->x0);
    std::memcpy(group_->y0, list_.y0 + first, sizeof group_->y0);
    std::memcpy(group_->x1, list_.x1 + first, sizeof group_->x1);
    std::memcpy(group_->y1, list_.y1 + first, sizeof group_->y1);
    std::memcpy(group_->winding, list_.winding + first, sizeof group_->winding);
    ++group_;
    count_ += LANES;
  }
  template <class T>
  static void move(T* entries, int sent) {
    if (sent > 0) std::memcpy(entries, entries + sent, LANES * sizeof(T));
  }

  edge_group* group_;
  std::size_t count_ = 0;  // sent
  int waiting_ = 0;        // fewer than a group between two calls
  edge_list<CHUNK * CANDIDATES + 2 * LANES> list_;
};

inline std::int32_t orientation(float ax, float ay, float bx, float by, float cx, float cy) {
  return (bx - ax) * (cy - ay) - (cx - ax) * (by - ay) < 0 ? -1 : 1;
}

}  // namespace

std::size_t outline_bolt(const bolt& b, const image_space& space, edge_group* groups) {
  const int n = b.n_points - b.first_shown;
  if (n < 2 || n > MAX_BOLT_POINTS) return 0;
  bolt_sides sides;
  if (!sides.make(b.points + b.first_shown, n, space)) return bolt_edges(b, space, groups);

  group_writer out(groups);
  std::int32_t second_before = 0;
  for (int begin = 0; begin + 1 < n; begin += CHUNK) {
    const int count = fix_min(CHUNK, n - 1 - begin);
    const float *const lx = sides.left_x + begin, *const ly = sides.left_y + begin;
    const float *const rx = sides.right_x + begin, *const ry = sides.right_y + begin;
    alignas(64) std::int32_t first[CHUNK], second[CHUNK + 1];
    second[0] = second_before;
    for (int i = 0; i < count; ++i) {
      first[i] = orientation(lx[i], ly[i], lx[i + 1], ly[i + 1], rx[i], ry[i]);
      second[i + 1] = orientation(rx[i], ry[i], lx[i + 1], ly[i + 1], rx[i + 1], ry[i + 1]);
    }
    second_before = second[count];

    edge_list<CHUNK * CANDIDATES> edges;
    const auto set = [&edges](int at, float ax, float ay, float bx, float by, std::int32_t weight) {
      const bool down = ay <= by;
      edges.x0[at] = down ? ax : bx;
      edges.y0[at] = down ? ay : by;
      edges.x1[at] = down ? bx : ax;
      edges.y1[at] = down ? by : ay;
      edges.winding[at] = down ? -weight : weight;
    };
#pragma GCC ivdep
    for (int i = 0; i < count; ++i) {
      set(CANDIDATES * i, lx[i], ly[i], lx[i + 1], ly[i + 1], first[i]);
      set(CANDIDATES * i + 1, rx[i + 1], ry[i + 1], rx[i], ry[i], second[i + 1]);
      set(CANDIDATES * i + 2, lx[i], ly[i], rx[i], ry[i], second[i] - first[i]);
      set(CANDIDATES * i + 3, lx[i + 1], ly[i + 1], rx[i], ry[i], first[i] - second[i + 1]);
    }
    const int made = CANDIDATES * count, whole = (made + LANES - 1) / LANES * LANES;
    for (int i = made; i < whole; ++i) edges.winding[i] = 0;
    out.append(edges, whole);
  }
  const image_point left = {sides.left_x[n - 1], sides.left_y[n - 1]};
  const image_point right = {sides.right_x[n - 1], sides.right_y[n - 1]};
  return out.finish(edge_between(left, right, second_before));
}

void make_bolt_runs(const edge_group* groups, std::size_t count, edge_run* runs) {
  runs_of_groups(groups, count, runs);
}

}  // namespace tessaron::TESSARON_LEVEL
