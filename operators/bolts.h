// Lightning bolts: polylines with a width at each point, made by displacing midpoints, with branches of their own.
//
//        start o-.    branch      .-o end        x, y: pixel widths from the middle of the image, y up
//               `-.  ,-o        ,'               width: half of the bolt's breadth, pixels
//                  `'-._   _.-'
//                       `-'
//
// A bolt is a pure function of its end points, its state (a hash) and the settings, so that a frame repeats exactly
// and a bolt moves evenly with what moves it. Records hold single precision; an expression with constants of more
// digits than that is computed in double precision and rounded when it is stored.
#pragma once

#include <cstdint>
#include <memory>

#include "base/fixed.h"
#include "operators/lightning_loops.h"

namespace tessaron {

struct bolt_point {
  float x, y, width;
};

/// Most points of one bolt: midpoints are divided eleven times.
inline constexpr int MAX_BOLT_DEPTH = 11;
inline constexpr int MAX_BOLT_POINTS = (1 << MAX_BOLT_DEPTH) + 1;

/// One bolt with its branches, which it owns.
struct bolt {
  std::int32_t n_full = 0;    // points before any cut
  std::int32_t n_points = 0;  // points in use after the cut
  std::int32_t point_capacity = 0;
  bolt_point* points = nullptr;
  std::int32_t n_children = 0;
  std::int32_t child_capacity = 0;
  bolt** children = nullptr;
  std::int32_t first_shown = 0;  // first point that is drawn
  float width = 0;               // given at the finish, pixels
  float start = 0;               // part of the bolt at which it begins to show
  float end = 0;                 // part of the bolt at which it ends
  float pointiness = 0;          // part of the shown length over which it tapers to nothing

  bolt() = default;
  ~bolt();
  bolt(const bolt&) = delete;
  bolt& operator=(const bolt&) = delete;

  int shown() const { return n_points - first_shown; }
};
using bolt_ptr = std::unique_ptr<bolt>;

/// Room for `count` more points; false without memory.
[[nodiscard]] bool reserve_points(bolt& b, int count);
/// False without memory.
[[nodiscard]] bool append_point(bolt& b, const bolt_point& p);
/// Takes the child over; false without memory, and the child is freed.
[[nodiscard]] bool append_child(bolt& b, bolt_ptr child);

/// What all bolts of a call share. Lengths in pixels unless said otherwise.
struct bolt_settings {
  float width, width_vary;            // base width; how far a point's width strays from it, 0..1
  float pointiness;                   // part of the length
  float start, end;                   // parts of the length
  float wrinkle_low, wrinkle_high;    // displacement relative to a segment: of short ones, of the whole bolt
  float branchiness;                  // branches of a bolt
  float branch_angle, branch_length;  // half turns; part of the bolt's length
  fix seed;
  float phase;
};

/// How displacement, phase and branches go with the length of a segment.
struct wrinkle_scale {
  float peak = 0, slope = 0, phase_scale = 0, branch_per_length = 0;
};
/// For bolts of about `length` pixels.
wrinkle_scale set_wrinkle_scale(const bolt_settings& settings, float length);

/// hash2 of the noise family: a pure hash of two words.
std::uint32_t hash2(std::uint32_t a, std::uint32_t b);

/// Uniform numbers from a hash, each four steps on.
class hash_chain {
 public:
  explicit hash_chain(std::uint32_t state) : state_(state) {}
  std::uint32_t next_state();
  /// 0 to 1.
  float next();

 private:
  std::uint32_t state_;
};

/// Cuts and tapers a bolt: its points take their final widths, n_points and first_shown what is seen of it.
void finish_bolt(bolt& b, float width, float start, float end, float pointiness);

/// Makes one bolt with its branches; one builder a thread. Ends early on an abort of the render and without memory.
class bolt_builder {
 public:
  /// At most `max_points` points for the bolt and all its branches; further branches are left out.
  bolt_builder(const bolt_settings& settings, const wrinkle_scale& wrinkle, int max_points,
               displace_midpoints_fn displace)
      : settings_(settings), wrinkle_(wrinkle), points_left_(max_points), displace_(displace) {}

  /// From (x0, y0) to (x1, y1), finished at a base width of `width`. Null without memory.
  bolt_ptr build(std::uint32_t state, float x0, float y0, float x1, float y1, float width);

  /// The points alone, between two outer points of width 1.
  bolt_ptr make_bolt(float x0, float y0, float x1, float y1, float width);
  /// `count` branches from points `from` to `to` on; a fraction is rounded up at random.
  void add_branches(bolt& parent, float count, int from, int to, float scale, int depth);

  std::uint32_t bolt_state = 0;
  bool out_of_memory() const { return out_of_memory_; }

 private:
  bolt_settings settings_;
  wrinkle_scale wrinkle_;
  int points_left_;
  displace_midpoints_fn displace_;
  bool out_of_memory_ = false;
};

}  // namespace tessaron
