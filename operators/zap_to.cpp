// zap_to: bolts that leap from a circle to the near edge of an object, or of its brightest parts.
//
//        ,-.                        ####
//       (   )o~~~~~~~~~~~~~~~~~~~~~x#####    each bolt aims at a region's middle, or beside it, and ends where
//        `-'                        ####     its way first meets the object
#include "operators/zap_to.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/bolt_outline.h"
#include "operators/lightning.h"
#include "operators/operators.h"
#include "operators/planes.h"

namespace tessaron {
namespace {

constexpr int TO_OBJ = 0, CENTER = 1, RADIUS = 2, BOLTS_POINTS = 3, FIRST_SETTING = 4, THRESHOLD_SHOW = 11;

constexpr int MOST_POINTS = 4096;
constexpr double FAINTEST = 0.005;  // of the light that a square of a hundredth of the frame's width holds when white
constexpr float ASIDE = 0.8f;       // of a region's radius: how far from its middle further points lie
constexpr float START_ARC = 0.25f;  // revolutions of the circle from which bolts to one point start
constexpr float TURN = 6.2831853f;
constexpr float PI = 3.1415927f;

struct region {
  double light;
  image_point middle;  // in the image
  /// Pixels: of a white disc with as much light.
  float radius() const { return float(std::sqrt(light / FIX_ONE / double(PI))); }
};

// -------------------------------------------------------------------------------------------------
// Where a bolt ends.

class object_samples {
 public:
  object_samples(const std::int16_t* samples, int width, int height, fix threshold)
      : samples_(samples), width_(width), height_(height), threshold_(float(threshold)) {}

  /// How far the object is above the threshold at a place within the image, between its samples.
  float above(image_point p) const {
    const float x = std::clamp(p.x - 0.5f, 0.0f, float(width_ - 1));
    const float y = std::clamp(p.y - 0.5f, 0.0f, float(height_ - 1));
    const int x0 = int(x), y0 = int(y), x1 = std::min(x0 + 1, width_ - 1), y1 = std::min(y0 + 1, height_ - 1);
    const float fx = x - float(x0), fy = y - float(y0);
    const float upper = at(x0, y0) + fx * (at(x1, y0) - at(x0, y0));
    const float lower = at(x0, y1) + fx * (at(x1, y1) - at(x0, y1));
    return upper + fy * (lower - upper) - threshold_;
  }

  /// The first place on the way from `start` where it comes into the object, up to `reach` pixels away. A way that
  /// starts within the object leaves it first. False: there is none.
  bool first_hit(image_point start, image_point direction, float reach, image_point& hit) const {
    float from = 0, to = reach;
    clip(start.x, direction.x, float(width_), from, to);
    clip(start.y, direction.y, float(height_), from, to);
    if (!(from < to)) return false;
    const auto place = [&](float t) { return image_point{start.x + t * direction.x, start.y + t * direction.y}; };
    float before = above(place(from));
    if (before > 0 && from > 0) {  // it reaches to the picture's border
      hit = place(from);
      return true;
    }
    for (float t = from; t < to;) {
      const float next = std::min(t + 1, to), here = above(place(next));
      if (here > 0 && before <= 0) {
        hit = place(t + (next - t) * (before / (before - here)));
        return true;
      }
      if (!(next > t)) return false;
      before = here;
      t = next;
    }
    return false;
  }

 private:
  float at(int x, int y) const { return float(samples_[std::int64_t(y) * width_ + x]); }
  /// The part of a way that lies between 0 and `size` in one direction.
  static void clip(float start, float step, float size, float& from, float& to) {
    if (step == 0) {
      if (start < 0 || start > size) to = from;
      return;
    }
    const float a = -start / step, b = (size - start) / step;
    from = std::max(from, std::min(a, b));
    to = std::min(to, std::max(a, b));
  }

  const std::int16_t* samples_;
  int width_, height_;
  float threshold_;
};

// -------------------------------------------------------------------------------------------------
// What bolts aim at.

struct {
  std::int16_t *plane, *object;
  fix threshold;
} light_job;

/// Sets the object aside and leaves its light in the plane. The light of a region is what it has above the threshold:
/// one that comes up or goes down does so from nothing.
void forked_light() {
  const plane_slice slice = slice_of_plane();
  std::int16_t* const plane = light_job.plane + slice.first;
  std::int16_t* const object = light_job.object + slice.first;
  const fix threshold = light_job.threshold;
  for (std::int64_t i = 0; i < slice.count; ++i) {
    object[i] = plane[i];
    plane[i] = plane_sample(fix_max(wrap_sub(plane[i], threshold), 0));
  }
}

void take_region(void* regions, double light, double x, double y) {
  const double frame = 2.0 * double(half_frame_width());
  if (light / FIX_ONE * (10000 / (frame * frame)) < FAINTEST) return;
  static_cast<std::vector<region>*>(regions)->push_back({light, {float(x) + 0.5f, float(y) + 0.5f}});
}

struct target {
  const region* of;
  image_point aim;  // in the image
};

/// The brightest regions; while there are more points than these, further ones beside their middles.
std::vector<target> targets_of(const std::vector<region>& regions, int points, fix seed) {
  std::vector<target> targets;
  if (regions.empty()) return targets;
  for (int j = 0; j < points; ++j) {
    const region& r = regions[std::size_t(j) % regions.size()];
    target t = {&r, r.middle};
    if (std::size_t(j) >= regions.size()) {
      hash_chain chain = placing_chain(bolt_state_of(~seed, std::uint32_t(j)));
      const float away = ASIDE * r.radius() * std::sqrt(chain.next());
      const double angle = double(chain.next() * TURN);
      t.aim.x += away * float(std::cos(angle));
      t.aim.y += away * float(std::sin(angle));
    }
    targets.push_back(t);
  }
  return targets;
}

/// From the side of the circle that faces the target to where the object begins on the way there.
bolt_plan plan_bolt(const target& t, std::uint32_t state, image_point center, float radius,
                    const object_samples& object) {
  const image_space space = image_space_of_view();
  const image_point aim = bolt_space_of(t.aim);
  image_point start = center;
  if (radius > 0) {
    const float facing = std::atan2(aim.y - center.y, aim.x - center.x);
    const double angle = double(facing + START_ARC * (placing_chain(state).next() - 0.5f) * TURN);
    start = {center.x + radius * float(std::cos(angle)), center.y + radius * float(std::sin(angle))};
  }
  const image_point from = space.of(start.x, start.y);
  const float way = std::hypot(t.aim.x - from.x, t.aim.y - from.y);
  const image_point direction = {(t.aim.x - from.x) / std::max(way, 0.001f),
                                 (t.aim.y - from.y) / std::max(way, 0.001f)};
  image_point end = aim, hit = {};
  if (object.first_hit(from, direction, way + 2 * t.of->radius(), hit)) end = bolt_space_of(hit);
  return {state, start, end, std::hypot(end.x - start.x, end.y - start.y)};
}

}  // namespace

void draw_zap_to(node& n, region_scan scan, const lightning_loops& loops) {
  check_image_planes(n, n.elnum);
  settle_args_from(n, CENTER);
  const auto value = [&n](int arg, int e = 0) { return n.args[arg]->const_vals[e]; };
  const fix threshold = value(THRESHOLD_SHOW, 0), show = value(THRESHOLD_SHOW, 1);
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  std::int16_t* const plane = n.images[0];
  fetch_image_arg(n, TO_OBJ, n.images);
  if (abort_pending()) return;

  const auto object = std::make_unique_for_overwrite<std::int16_t[]>(std::size_t(width) * std::size_t(height));
  light_job = {plane, object.get(), threshold};
  fork_processes(forked_light);
  std::vector<region> regions;
  scan(plane, width, height, take_region, &regions);
  if (abort_pending()) return;
  std::stable_sort(regions.begin(), regions.end(), [](const region& a, const region& b) { return a.light > b.light; });

  const bolt_settings settings = bolt_settings_of(n, FIRST_SETTING);
  const int points = std::clamp(value(BOLTS_POINTS, 1) >> FIX_BITS, 1, MOST_POINTS);
  if (regions.size() > std::size_t(points)) regions.resize(std::size_t(points));
  const std::vector<target> targets = targets_of(regions, points, settings.seed);
  std::vector<bolt_plan> plan;
  const image_point center = bolt_space_of(value(CENTER, 0), value(CENTER, 1));
  const float radius = float(value(RADIUS)) / 4096.0f * half_frame_width();
  const object_samples seen(object.get(), width, height, threshold);
  for (int b = 0; b < bolt_count(value(BOLTS_POINTS)) && !targets.empty(); ++b)
    plan.push_back(plan_bolt(targets[std::size_t(b) % targets.size()], bolt_state_of(settings.seed, std::uint32_t(b)),
                             center, radius, seen));
  draw_lightning(plan, settings, plane, loops);
  show_object(plane, object.get(), threshold, show);
}

}  // namespace tessaron
