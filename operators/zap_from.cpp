// zap_from and zap_from_mask: bolts that leave the outline of an object straight outwards.
//
// Each outline carries its share of the bolts, evenly spaced from a place that moves as the object does, and each
// bolt's state goes with its place in that row: where the object moves evenly, so do its bolts.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "genotype/genotype.h"
#include "operators/lightning.h"
#include "operators/operators.h"
#include "operators/outlines.h"

namespace tessaron {
namespace {

constexpr float SHORTEST_OUTLINE = 1.0f / 240;  // of the frame's width: specks throw no lightning
constexpr float NORMAL_REACH = 1.0f / 100;  // of the frame's width: how far along the outline its direction is taken
constexpr float LEAST_REACH = 2;            // pixels, the longer way
constexpr int OUTLINE_STATES = 16;          // bits between the states of one outline's bolts and the next one's

/// What a call says about places.
struct placing {
  float max_length, vary_length, vary_spacing;  // pixels; parts of the length and of the spacing
  const std::int16_t* mask = nullptr;           // null: everywhere
};

/// How many of `bolts` each outline carries, by length on the screen: whole parts first, then by what is left over.
std::vector<int> shares_of(const std::vector<outline>& outlines, int bolts) {
  double total = 0;
  for (const outline& o : outlines) total += double(o.length());
  std::vector<int> shares;
  std::vector<std::pair<double, std::size_t>> rests;
  int given = 0;
  for (std::size_t i = 0; i < outlines.size(); ++i) {
    const double due = bolts * double(outlines[i].length()) / total;
    shares.push_back(int(due));
    given += int(due);
    rests.emplace_back(due - int(due), i);
  }
  std::stable_sort(rests.begin(), rests.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  for (std::size_t k = 0; k < rests.size() && given < bolts; ++k, ++given) ++shares[rests[k].second];
  return shares;
}

/// 0 to 1: a mask between its samples.
float mask_at(const std::int16_t* mask, image_point p) {
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  const float x = std::clamp(p.x - 0.5f, 0.0f, float(width - 1)), y = std::clamp(p.y - 0.5f, 0.0f, float(height - 1));
  const int x0 = int(x), y0 = int(y), x1 = std::min(x0 + 1, width - 1), y1 = std::min(y0 + 1, height - 1);
  const float fx = x - float(x0), fy = y - float(y0);
  const auto sample = [&](int u, int v) { return float(mask[std::int64_t(v) * width + u]); };
  const float above = sample(x0, y0) + fx * (sample(x1, y0) - sample(x0, y0));
  const float below = sample(x0, y1) + fx * (sample(x1, y1) - sample(x0, y1));
  return std::clamp((above + fy * (below - above)) / float(FIX_ONE), 0.0f, 1.0f);
}

std::vector<bolt_plan> plan_bolts(const std::vector<outline>& outlines, int bolts, fix seed, const placing& p) {
  std::vector<bolt_plan> plan;
  const std::vector<int> shares = shares_of(outlines, bolts);
  const float reach =
      std::max(NORMAL_REACH * 2 * half_frame_width(), LEAST_REACH * std::max(1.0f, display_dims.pixel_aspect));
  for (std::size_t i = 0; i < outlines.size(); ++i)
    for (int k = 0; k < shares[i]; ++k) {
      const std::uint32_t state = bolt_state_of(seed, std::uint32_t(k) + (std::uint32_t(i) << OUTLINE_STATES));
      hash_chain chain = placing_chain(state);
      const float stray = p.vary_spacing * (chain.next() - 0.5f);
      const float s = (float(k) + 0.5f + stray) / float(shares[i]) * outlines[i].length();
      const image_point start = outlines[i].at(s);
      // Where the mask fades, bolts are shorter and thinner: they grow out of a mask that moves over them.
      const float strength = p.mask ? mask_at(p.mask, start) : 1;
      const float length = p.max_length * (1 - p.vary_length * chain.next()) * strength;
      // The object lies on the left of its outline.
      const auto [before, behind] = outlines[i].around(s, reach);
      const image_point a = bolt_space_of(before), b = bolt_space_of(behind), from = bolt_space_of(start);
      const float way = std::hypot(b.x - a.x, b.y - a.y);
      if (!(strength > 0) || !(way > 0)) continue;
      const image_point end = {from.x + length * (b.y - a.y) / way, from.y - length * (b.x - a.x) / way};
      plan.push_back({state, from, end, std::fabs(length), strength});
    }
  return plan;
}

/// The object's planes are fetched before the mask's: they may be where the node's own are.
void zap_from_object(node& n, int mask_arg, int bolts_arg, placing p, const lightning_loops& loops) {
  const int threshold_show = bolts_arg + 1 + SEED_PHASE_ARG + 1;
  const fix threshold = n.args[threshold_show]->const_vals[0], show = n.args[threshold_show]->const_vals[1];
  const int width = temp_raster_info.width, height = temp_raster_info.height;
  fetch_image_arg(n, 0, n.images);
  if (mask_arg && !abort_pending()) fetch_image_arg(n, mask_arg, n.images + 1);
  if (abort_pending()) return;
  p.mask = mask_arg ? n.images[1] : nullptr;

  const float frame_width = 2 * half_frame_width();
  const std::vector<outline> outlines =
      find_outlines(n.images[0], width, height, threshold, SHORTEST_OUTLINE * frame_width, display_dims.pixel_aspect);
  if (abort_pending()) return;
  const bolt_settings settings = bolt_settings_of(n, bolts_arg + 1);
  const int bolts = bolt_count(n.args[bolts_arg]->const_vals[0]);
  const std::vector<bolt_plan> plan = plan_bolts(outlines, bolts, settings.seed, p);

  std::vector<std::int16_t> object;
  if (show > 0) object.assign(n.images[0], n.images[0] + std::size_t(width) * std::size_t(height));
  draw_lightning(plan, settings, n.images[0], loops);
  if (show > 0) show_object(n.images[0], object.data(), threshold, show);
}

/// Element e of an argument, 1.0 for 4096.
float number(const node& n, int arg, int e) { return float(n.args[arg]->const_vals[e]) / 4096.0f; }

}  // namespace

void draw_zap_from(node& n, const lightning_loops& loops) {
  constexpr int MAX_LEN_VARY = 1, VARY_SPACING = 2, BOLTS = 3;
  check_image_planes(n, n.elnum);
  settle_args_from(n, MAX_LEN_VARY);
  zap_from_object(
      n, 0, BOLTS,
      {number(n, MAX_LEN_VARY, 0) * half_frame_width(), number(n, MAX_LEN_VARY, 1), number(n, VARY_SPACING, 0)}, loops);
}

void draw_zap_from_mask(node& n, const lightning_loops& loops) {
  constexpr int MASK = 1, MAX_LEN_VARY_SPACING = 2, BOLTS = 3;
  check_image_planes(n, 2 * n.elnum);
  settle_args_from(n, MAX_LEN_VARY_SPACING);
  zap_from_object(n, MASK, BOLTS,
                  {number(n, MAX_LEN_VARY_SPACING, 0) * half_frame_width(), number(n, MAX_LEN_VARY_SPACING, 1),
                   number(n, MAX_LEN_VARY_SPACING, 2)},
                  loops);
}

}  // namespace tessaron
