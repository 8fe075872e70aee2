// Lattices of strokes.
#include "operators/paint.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "evaluator/workers.h"
#include "operators/planes.h"
#include "operators/sampling.h"

namespace tessaron {
namespace {

// --- layers ------------------------------------------------------------------------------------------------------

/// Lengths are in distances between strokes of the layer.
struct layer_manner {
  float pitch;                    // distance between strokes, of that of the main layer
  float jitter;                   // how far a stroke may lie off its place, in each direction
  float half_length, half_width;  // mean
  float size_spread;              // of single strokes: up to this much longer or shorter
  float ragged;
  float side_edge, end_edge;  // soft edges, in half-widths and half-lengths
  float tone_spread, light;
  bool details;  // only where the image has some
};
// The strokes of the ground are so large that each covers its whole cell, whichever way it runs: nothing is bare.
constexpr layer_manner LAYERS[PAINT_LAYERS] = {
    {1.6f, 0.12f, 1.45f, 1.02f, 0.1f, 0.12f, 0.10f, 0.12f, 0.020f, 0.020f, false},
    {1.0f, 0.35f, 1.60f, 0.55f, 0.3f, 0.35f, 0.16f, 0.20f, 0.030f, 0.045f, false},
    {0.5f, 0.35f, 1.50f, 0.52f, 0.3f, 0.35f, 0.20f, 0.25f, 0.025f, 0.035f, true},
};
constexpr float SMALLEST_PITCH = 2;            // pixels; finer lattices are not laid
constexpr float MOST_STROKES = 600;            // to a half of the frame, of any layer
constexpr int FIRST_DETAIL_SEED = 7919;        // between the seeds of two layers
constexpr float COHERENCE = 5;                 // main cells over which strokes without an edge to follow agree
constexpr float FOLLOW_REFERENCE = 1 / 20.0f;  // of a half frame: contrast over this length makes strokes follow
constexpr float FAINT_CONTRAST = 0.03f;        // with follow_grad 1.0, half of the way to following
constexpr float DETAIL_FROM = 0.03f, DETAIL_FULL = 0.12f;  // contrast over a cell of the main layer
constexpr float LIGHT_X = -0.6f, LIGHT_Y = -0.8f;          // where the light comes from: the upper left

// --- random numbers -----------------------------------------------------------------------------------------------

std::uint32_t cell_hash(int i, int j, std::uint32_t seed) {
  return hash4(std::uint32_t(i) + hash4((std::uint32_t(j) * 16) ^ seed));
}
/// A sequence of numbers of one cell.
class cell_random {
 public:
  explicit cell_random(std::uint32_t hash) : state_(hash) {}
  /// -1 to 1.
  float both_ways() {
    state_ = hash4(state_ + 0x9e3779b9u);
    return float(state_ >> 8 & 0xffff) * (2.0f / 0xffff) - 1.0f;
  }
  /// 0 to 1.
  float fraction() { return 0.5f * both_ways() + 0.5f; }

 private:
  std::uint32_t state_;
};

// --- places --------------------------------------------------------------------------------------------------------

/// A direction without a sense, as the vector of twice its angle.
struct direction {
  float c, s;

  float length() const { return std::sqrt(c * c + s * s); }
};
direction turned(direction d, fix revolutions) {
  const float c = float(fix_cos(revolutions)) / FIX_ONE, s = float(fix_sin(revolutions)) / FIX_ONE;
  return {d.c * c - d.s * s, d.c * s + d.s * c};
}

/// Between four samples of a plane; places beyond its edges read the edge.
float sample_between(const std::int16_t* plane, int width, int height, float x, float y) {
  x = std::clamp(x, 0.0f, float(width - 1));
  y = std::clamp(y, 0.0f, float(height - 1));
  const int i = int(x), j = int(y);
  const int right = std::min(i + 1, width - 1), below = std::min(j + 1, height - 1);
  const float fx = x - float(i), fy = y - float(j);
  const std::int16_t* top = plane + std::int64_t(j) * width;
  const std::int16_t* bottom = plane + std::int64_t(below) * width;
  const float a = top[i] + fx * float(top[right] - top[i]), b = bottom[i] + fx * float(bottom[right] - bottom[i]);
  return a + fy * (b - a);
}

struct layer_lattice {
  layer_manner manner;
  std::uint32_t seed;
  float pitch;           // pixels
  int first_i, first_j;  // cells that can touch the view
  int columns, rows;
  int first_stroke;
};

struct plan_record {
  paint_settings settings;
  float pixel_aspect;
  float mid_x, mid_y;  // middle of the frame in the view
  float main_pitch, smallest_pitch, half_frame;
  layer_lattice layers[PAINT_LAYERS];
  // Strokes stand layer by layer, cell by cell, as the image that they look at lies in memory; `order` has their
  // numbers as they are laid on.
  std::vector<std::int32_t> order;
  std::vector<paint_stroke> strokes;
  std::vector<stroke_rows> stroke_row_ranges;
  std::vector<std::int32_t> band_starts, band_strokes;
};
plan_record plan;

/// Where strokes run that have no edge to follow: hashes of a coarse lattice, blended, so that neighbours agree.
direction free_direction(float x, float y, std::uint32_t seed) {
  x /= COHERENCE;
  y /= COHERENCE;
  const float i = std::floor(x), j = std::floor(y);
  const float fx = x - i, fy = y - j;
  const float wx = fx * fx * (3 - 2 * fx), wy = fy * fy * (3 - 2 * fy);
  direction sum = {0, 0};
  for (int k = 0; k < 4; ++k) {
    const int right = k & 1, below = k >> 1;
    const fix angle = fix(cell_hash(int(i) + right, int(j) + below, seed) & 0xfff);
    const float weight = (right ? wx : 1 - wx) * (below ? wy : 1 - wy);
    sum.c += weight * float(fix_cos(angle)) / FIX_ONE;
    sum.s += weight * float(fix_sin(angle)) / FIX_ONE;
  }
  return sum;
}

/// Contrast of the image over `length` pixels, 1.0 from black to white, where the direction has this length.
float contrast_over(float length, float direction_length) {
  return direction_length / (2.0f * PAINT_GRADIENT_GAIN * FIX_ONE) * length;
}

/// How much of a detail is painted, by the contrast over a main stroke.
float detail_opacity(float sharpness) {
  const float contrast = contrast_over(plan.main_pitch, sharpness);
  const float t = std::clamp((contrast - DETAIL_FROM) / (DETAIL_FULL - DETAIL_FROM), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

/// Makes the stroke of a cell; the rows that it touches.
stroke_rows make_stroke(const layer_lattice& layer, int i, int j, paint_stroke& s) {
  constexpr stroke_rows NONE = {0, -1};
  const paint_settings& set = plan.settings;
  const layer_manner& manner = layer.manner;
  cell_random random(cell_hash(i, j, layer.seed));
  const float cell_x = float(i) + 0.5f + manner.jitter * random.both_ways();
  const float cell_y = float(j) + 0.5f + manner.jitter * random.both_ways();
  s.x = plan.mid_x + cell_x * layer.pitch;
  s.y = plan.mid_y + cell_y * layer.pitch / plan.pixel_aspect;

  // Which way: along the image's edges where it has some, else with the neighbours.
  const auto sample = [&](const std::int16_t* plane) { return sample_between(plane, set.width, set.height, s.x, s.y); };
  const direction edge = {sample(set.direction[0]), sample(set.direction[1])};
  const float sharpness = edge.length();
  s.opacity = manner.details ? detail_opacity(sharpness) : 1.0f;
  if (s.opacity <= 0) return NONE;
  const float pull =
      std::max(float(set.follow_grad), 0.0f) / FIX_ONE * contrast_over(plan.half_frame * FOLLOW_REFERENCE, sharpness);
  const float follows = pull / (pull + FAINT_CONTRAST);
  const float in_main = layer.pitch / plan.main_pitch;
  const direction free = free_direction(cell_x * in_main, cell_y * in_main, std::uint32_t(set.rand_seed));
  direction run = {free.c * (1 - follows), free.s * (1 - follows)};
  if (sharpness > 0) {
    run.c += edge.c / sharpness * follows;
    run.s += edge.s / sharpness * follows;
  }
  constexpr fix SWAY = 230;  // of twice the angle: a stroke lies up to 10 degrees off
  run = turned(run, fix(SWAY * random.both_ways() * (1 - 0.5f * follows)));
  const float length = run.length();
  const float twice_cos = length > 0 ? std::clamp(run.c / length, -1.0f, 1.0f) : 1.0f;
  const float cosine = std::sqrt((1 + twice_cos) / 2), sine = std::copysign(std::sqrt((1 - twice_cos) / 2), run.s);

  // How large.
  const float half_length = manner.half_length * layer.pitch * (1 + manner.size_spread * random.both_ways());
  const float half_width = manner.half_width * layer.pitch * (1 + 0.5f * manner.size_spread * random.both_ways());
  const float aspect = plan.pixel_aspect;
  s.u_x = cosine / half_length;
  s.u_y = -sine * aspect / half_length;
  s.v_x = sine / half_width;
  s.v_y = cosine * aspect / half_width;
  // Edges are at least a pixel wide.
  s.side_slope = 1 / std::max(manner.side_edge, std::min(1 / half_width, 1.0f));
  s.end_slope = 1 / std::max(manner.end_edge, std::min(1 / half_length, 1.0f));
  const float reach = (std::abs(sine) * half_length + std::abs(cosine) * half_width) / aspect;

  // How it looks.
  s.ragged = manner.ragged;
  for (float& phase : s.bristle) phase = random.fraction();
  s.tone = 1 + manner.tone_spread * random.both_ways();
  s.light = manner.light * (sine * LIGHT_X + cosine * LIGHT_Y);
  for (int e = 0; e < set.elnum; ++e) s.color[e] = std::int16_t(std::lrint(sample(set.image[e])));
  return {int(std::clamp(std::ceil(s.y - reach), 0.0f, float(set.height))),
          int(std::clamp(std::floor(s.y + reach), -1.0f, float(set.height - 1)))};
}

float smallest_pitch_of(float half_frame) { return std::max(SMALLEST_PITCH, half_frame / MOST_STROKES); }
float main_pitch_of(float half_frame, fix frequency) {
  return std::max(half_frame * FIX_ONE / std::abs(float(frequency)), smallest_pitch_of(half_frame));
}

/// How far a layer's strokes reach from their middles, in distances between strokes.
float reach_of(const layer_manner& manner) {
  return manner.half_length * (1 + manner.size_spread) + manner.half_width * (1 + 0.5f * manner.size_spread);
}

/// The cells whose strokes can touch the view.
layer_lattice lattice_of(const layer_manner& manner, int number, std::uint32_t rand_seed) {
  layer_lattice l = {};
  l.manner = manner;
  l.seed = rand_seed + std::uint32_t(number + 1) * FIRST_DETAIL_SEED;
  l.pitch = std::max(plan.main_pitch * manner.pitch, plan.smallest_pitch);
  const float reach = reach_of(manner) + 1;
  const auto cells = [&](float middle, float size, float pitch, int& first, int& count) {
    first = int(std::floor(-middle / pitch - reach));
    count = int(std::ceil((size - middle) / pitch + reach)) - first;
  };
  cells(plan.mid_x, float(plan.settings.width), l.pitch, l.first_i, l.columns);
  cells(plan.mid_y, float(plan.settings.height), l.pitch / plan.pixel_aspect, l.first_j, l.rows);
  return l;
}

/// The order of a layer's strokes: by a hash of their cells, so that none seems to lie on its left neighbour as all
/// others do.
void order_cells(const layer_lattice& l) {
  constexpr int CLASSES = 256;
  const auto class_of = [&](int cell) {
    return cell_hash(l.first_i + cell % l.columns, l.first_j + cell / l.columns, ~l.seed) >> 4 & (CLASSES - 1);
  };
  const int count = l.columns * l.rows;
  std::vector<std::uint8_t> classes(std::size_t(count), 0);
  int starts[CLASSES + 1] = {};
  for (int cell = 0; cell < count; ++cell) {
    classes[std::size_t(cell)] = std::uint8_t(class_of(cell));
    ++starts[classes[std::size_t(cell)] + 1];
  }
  for (int k = 0; k < CLASSES; ++k) starts[k + 1] += starts[k];
  for (int cell = 0; cell < count; ++cell)
    plan.order[std::size_t(l.first_stroke + starts[classes[std::size_t(cell)]]++)] = l.first_stroke + cell;
}

void forked_make_strokes() {
  constexpr int ABORT_STROKES = 1024;
  const worker_share share = share_of(int(plan.strokes.size()));
  int layer = 0;
  for (int k = share.first; k < share.end; ++k) {
    if (k % ABORT_STROKES == 0 && check_abort()) return;
    while (layer + 1 < PAINT_LAYERS && k >= plan.layers[layer + 1].first_stroke) ++layer;
    const layer_lattice& l = plan.layers[layer];
    const int cell = k - l.first_stroke;
    plan.stroke_row_ranges[std::size_t(k)] =
        make_stroke(l, l.first_i + cell % l.columns, l.first_j + cell / l.columns, plan.strokes[std::size_t(k)]);
  }
}

/// Lists the strokes by the bands that they touch, in their order.
void sort_into_bands(int height) {
  const int n_bands = (height + PAINT_BAND - 1) / PAINT_BAND;
  std::vector<std::int32_t>& starts = plan.band_starts;
  starts.assign(std::size_t(n_bands) + 2, 0);
  const auto each_band = [&](auto use) {
    for (const std::int32_t number : plan.order) {
      const stroke_rows rows = plan.stroke_row_ranges[std::size_t(number)];
      if (rows.first > rows.last) continue;
      for (int band = rows.first / PAINT_BAND; band <= rows.last / PAINT_BAND; ++band) use(band, number);
    }
  };
  // Counted two places behind, so that filling leaves each band's start where it belongs.
  each_band([&](int band, int) { ++starts[std::size_t(band) + 2]; });
  for (int band = 0; band < n_bands; ++band) starts[std::size_t(band) + 2] += starts[std::size_t(band) + 1];
  plan.band_strokes.resize(std::size_t(starts.back()));
  each_band([&](int band, int number) { plan.band_strokes[std::size_t(starts[std::size_t(band) + 1]++)] = number; });
}

}  // namespace

float paint_reach(fix frequency) {
  if (frequency == 0) return 0;
  const float half_frame = float(display_dims.display_width) / 2;
  float farthest = 0;
  for (const layer_manner& manner : LAYERS)
    farthest = std::max(farthest, reach_of(manner) * std::max(main_pitch_of(half_frame, frequency) * manner.pitch,
                                                              smallest_pitch_of(half_frame)));
  return farthest;
}

bool plan_strokes(const paint_settings& settings) {
  if (settings.frequency == 0) return false;
  const sampling_frame frame = current_sampling_frame();
  plan.settings = settings;
  plan.pixel_aspect = display_dims.pixel_aspect;
  plan.half_frame = float(frame.full_width) / 2;
  plan.mid_x = plan.half_frame - float(frame.origin_x) / FIX_ONE - 0.5f;
  plan.mid_y = float(frame.full_height) / 2 - float(frame.origin_y) / FIX_ONE - 0.5f;
  plan.smallest_pitch = smallest_pitch_of(plan.half_frame);
  plan.main_pitch = main_pitch_of(plan.half_frame, settings.frequency);
  int count = 0;
  for (int k = 0; k < PAINT_LAYERS; ++k) {
    plan.layers[k] = lattice_of(LAYERS[k], k, std::uint32_t(settings.rand_seed));
    plan.layers[k].first_stroke = count;
    count += plan.layers[k].columns * plan.layers[k].rows;
  }
  plan.order.resize(std::size_t(count));
  plan.strokes.resize(std::size_t(count));
  plan.stroke_row_ranges.resize(std::size_t(count));
  for (const layer_lattice& l : plan.layers) order_cells(l);
  fork_processes(forked_make_strokes);
  if (abort_pending()) return false;
  sort_into_bands(settings.height);
  return true;
}

stroke_list strokes_of_band(int band) {
  const std::int32_t first = plan.band_starts[std::size_t(band)], end = plan.band_starts[std::size_t(band) + 1];
  return {plan.strokes.data(), plan.stroke_row_ranges.data(), plan.band_strokes.data() + first, end - first};
}

}  // namespace tessaron
