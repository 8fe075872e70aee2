// draw_grid: a plane ruled in boxes, turned in space and seen through a lens. A line is a strip of the plane, its
// outline projected and filled by the area that it covers: lines far away become faint where they become thin.
//
//   +---+---+---+      latitude leans the top away, swing the right side, roll turns it all to the left; the middle of
//   |   |   |   |      the plane stays at `center`
//   +---+---+---+
#include "operators/grid.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype.h"
#include "operators/bolt_outline.h"
#include "operators/lightning.h"
#include "operators/operators.h"

namespace tessaron {
namespace {

constexpr int BOXES = 0, LINE_WIDTH = 1, CENTER = 2, SIZE = 3, Z_DIST = 4, LATITUDE = 5, SWING = 6, ROLL = 7,
              TELE_LENS_WIDTH = 8, MAJOR_LINE_SPACING = 9, MAJOR_LINE_WIDTH = 10;

constexpr std::size_t MOST_EDGES = 1 << 16;
constexpr int EDGES_OF_A_LINE = 5;  // four, and one more where the near plane cuts a corner off
constexpr double NEAREST = 0.01;    // depth at which lines are cut; the plane's middle is at 1 + z_dist
constexpr double TURN = 6.28318530718;
constexpr int ABORT_EVERY = 256;  // lines

/// A point of the plane as the lens has it: the picture's coordinates times depth (norm units), and the depth.
struct seen_point {
  double x, y, depth;
};

class camera {
 public:
  explicit camera(const node& n) {
    const auto number = [&n](int arg) { return n.args[arg]->const_vals[0] / 4096.0; };
    const double lat = number(LATITUDE) * TURN, swing = number(SWING) * TURN, roll = number(ROLL) * TURN;
    // x to the right, y up, z away from the viewer: leaned about x, swung about y, rolled in the picture.
    const double right[3] = {std::cos(swing), 0, std::sin(swing)};
    const double up[3] = {-std::sin(lat) * std::sin(swing), std::cos(lat), std::sin(lat) * std::cos(swing)};
    const double c = std::cos(roll), s = std::sin(roll), lens = number(TELE_LENS_WIDTH);
    x_ = {c * right[0] - s * right[1], s * right[0] + c * right[1], lens * right[2]};
    y_ = {c * up[0] - s * up[1], s * up[0] + c * up[1], lens * up[2]};
    middle_depth_ = 1 + number(Z_DIST);
  }
  /// (u, v): place in the plane, norm units from its middle.
  seen_point of(double u, double v) const {
    return {u * x_.x + v * y_.x, u * x_.y + v * y_.y, middle_depth_ + u * x_.depth + v * y_.depth};
  }

 private:
  seen_point x_, y_;
  double middle_depth_;
};

/// The lines of one direction: from one side of the plane on, a box's size apart. Lengths in norm units.
struct ruling {
  int count = 0;
  double size, step = 0;
  double half_width = 0, half_major = 0;
  int major_spacing = 0;  // 0: no major lines

  double place(int i) const { return -size / 2 + i * step; }
  double half_width_of(int i) const { return major_spacing > 0 && i % major_spacing == 0 ? half_major : half_width; }
};

/// Line widths are parts of a box, those of major lines multiples of them.
ruling ruling_of(const node& n, int direction) {
  const auto number = [&n](int arg, int e) { return n.args[arg]->const_vals[e] / 4096.0; };
  const double boxes = number(BOXES, direction);
  ruling r = {.size = std::fabs(number(SIZE, direction))};
  if (boxes <= 0) return r;
  r.count = int(boxes) + 1;
  r.step = r.size / boxes;
  r.half_width = r.step * std::max(number(LINE_WIDTH, direction), 0.0) / 2;
  r.half_major = r.half_width * std::max(number(MAJOR_LINE_WIDTH, 0), 0.0);
  r.major_spacing = std::max(n.args[MAJOR_LINE_SPACING]->const_vals[0] >> FIX_BITS, 0);
  return r;
}

/// Outlines with room for a limited number of edges.
class edge_table {
 public:
  explicit edge_table(std::size_t room) : room_(int(room)), groups_(groups_of(room)), edges_(groups_.data()) {}

  /// Room for one more line; reported where there is none.
  bool has_room() const {
    const int n_edges = int(edges_.count());
    if (n_edges + EDGES_OF_A_LINE < room_) return true;
    report(REPORT_PLAIN, "grid error: n_edges %d + 5 >= n_edge_structs %d \n", n_edges, room_);
    return false;
  }

  /// A closed outline, whichever way round it runs.
  void add(const image_point* corners, int count) {
    double area = 0;
    for (int i = 0; i < count; ++i) {
      const image_point a = corners[i], b = corners[(i + 1) % count];
      area += double(a.x) * b.y - double(b.x) * a.y;
    }
    for (int i = 0; i < count; ++i) edges_.add(edge_between(corners[i], corners[(i + 1) % count], area < 0 ? -1 : 1));
  }

  std::vector<edge_run> runs() {
    edges_.finish();
    std::vector<edge_run> runs(runs_of(edges_.count()));
    make_runs(groups_.data(), edges_.count(), runs.data());
    return runs;
  }

 private:
  int room_;
  std::vector<edge_group> groups_;
  edge_writer edges_;
};

/// Cuts off what lies nearer than the near plane; the number of corners that remain, at most one more.
int cut_near(const seen_point (&corners)[4], seen_point (&kept)[EDGES_OF_A_LINE]) {
  int count = 0;
  for (int i = 0; i < 4; ++i) {
    const seen_point& a = corners[i];
    const seen_point& b = corners[(i + 1) % 4];
    if (a.depth >= NEAREST) kept[count++] = a;
    if ((a.depth >= NEAREST) == (b.depth >= NEAREST)) continue;
    const double t = (NEAREST - a.depth) / (b.depth - a.depth);
    kept[count++] = {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), NEAREST};
  }
  return count;
}

class grid_drawing {
 public:
  grid_drawing(const node& n, std::size_t room) : camera_(n), table_(room), space_(image_space_of_view()) {
    const fix* const center = n.args[CENTER]->const_vals;
    center_ = bolt_space_of(center[0], center[1]);
  }

  /// A strip of the plane. False: there is no room for it.
  bool add_strip(double u0, double v0, double u1, double v1) {
    if (!table_.has_room()) return false;
    const seen_point corners[4] = {camera_.of(u0, v0), camera_.of(u1, v0), camera_.of(u1, v1), camera_.of(u0, v1)};
    seen_point kept[EDGES_OF_A_LINE];
    const int count = cut_near(corners, kept);
    if (count < 3) return true;
    const double h = double(half_frame_width());
    image_point outline[EDGES_OF_A_LINE];
    for (int i = 0; i < count; ++i)
      outline[i] =
          space_.of(float(center_.x + kept[i].x / kept[i].depth * h), float(center_.y + kept[i].y / kept[i].depth * h));
    table_.add(outline, count);
    return true;
  }

  std::vector<edge_run> runs() { return table_.runs(); }

 private:
  camera camera_;
  edge_table table_;
  image_space space_;
  image_point center_;
};

/// From where to where the lines run that cross a ruling: to the outer sides of its outermost lines, so that corners
/// are whole.
struct extent {
  double from, to;
};
extent extent_of(const ruling& r) {
  extent e = {-r.size / 2, r.size / 2};
  if (r.count > 0) {
    e.from -= r.half_width_of(0);
    e.to = std::max(e.to, r.place(r.count - 1) + r.half_width_of(r.count - 1));
  }
  return e;
}

}  // namespace

void draw_grid(node& n, const lightning_loops& loops) {
  check_image_planes(n, n.elnum);
  settle_args_from(n, BOXES);
  const ruling across = ruling_of(n, 0), down = ruling_of(n, 1);
  const std::size_t wanted = (std::size_t(across.count) + std::size_t(down.count)) * EDGES_OF_A_LINE + 1;
  grid_drawing drawing(n, std::min(wanted, MOST_EDGES));
  const extent u = extent_of(across), v = extent_of(down);
  bool room = true;
  for (int i = 0; i < across.count && room; ++i) {
    if (i % ABORT_EVERY == 0 && check_abort()) return;
    const double half = across.half_width_of(i);
    if (half > 0) room = drawing.add_strip(across.place(i) - half, v.from, across.place(i) + half, v.to);
  }
  for (int i = 0; i < down.count && room; ++i) {
    if (i % ABORT_EVERY == 0 && check_abort()) return;
    const double half = down.half_width_of(i);
    if (half > 0) room = drawing.add_strip(u.from, down.place(i) - half, u.to, down.place(i) + half);
  }
  std::vector<edge_run> runs = drawing.runs();
  fill_edges(n.images[0], temp_raster_info.width, temp_raster_info.height, runs, loops);
}

}  // namespace tessaron
