// film_effect: video as if shot on a negative and printed on a print stock. What the two films do to brightness and
// colour is one table a channel; over it lie a glow, as light scatters in the film's layers, and grain, which is
// strongest in the tones between black and white.
#include "operators/bodies/film.h"

#include <bit>
#include <cstring>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/tables.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "operators/bodies/planes.h"
#include "operators/film_tables.h"

#if defined(__AVX512BW__)
#include <immintrin.h>
#endif

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int PASSES = 3;
constexpr int ABORT_ROWS = 16;
constexpr int CHANNELS = FILM_CHANNELS;

// --- stages of a block of samples ------------------------------------------------------------------------
//
// A row goes through its stages in blocks of samples that stay in the first-level cache.

constexpr int BLOCK = 256;

struct glow_factors {
  double sample, light;           // weights of the sample and of the blurred plane
  double brightness, normalised;  // of their product, as a screen has it
};

struct grain_source {
  const float* table;      // by sample >> 6; null: no grain
  std::uint32_t seeds[2];  // by parity of the view's rows
};

/// What is done to one channel. A stage without its pointer is left out.
struct {
  std::int16_t* plane;
  const std::int32_t* response;  // by sample
  const std::int32_t* light;     // the long image
  glow_factors glow;
  grain_source grain;
  std::int16_t* noise;  // grain goes there, or comes from there
  bool make_noise, add_noise;
  bool levels, clamp_levels;
  fix low, range;
} job;

// Rounding a float to the nearest integer, ties to even: what is added to the bias keeps no fraction.
constexpr float NEAREST_LIMIT = 65536.0f;
constexpr float NEAREST_BIAS = 12582912.0f;  // 1.5 * 2^23
constexpr std::int32_t NEAREST_BIAS_BITS = 0x4b400000;

// Table look-ups. Compilers take vectors apart for them; whole vectors run past n, within the block.

#if defined(__AVX512BW__)
constexpr int WORDS = 16;

/// In whole vectors: what is loaded as one must have been stored as one.
void widen(const std::int16_t* plane, std::int32_t* samples, int n) {
  int i = 0;
  for (; i + WORDS <= n; i += WORDS)
    _mm512_store_si512(samples + i, _mm512_maskz_cvtepi16_epi32(
                                        0xffff, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plane + i))));
  const __mmask16 left = __mmask16((1u << (n - i)) - 1);
  if (left)
    _mm512_store_si512(samples + i, _mm512_maskz_cvtepi16_epi32(left, _mm256_maskz_loadu_epi16(left, plane + i)));
}

/// Indices side by side, the look-ups one by one: the processor's own gathering takes half as long again.
void respond(std::int32_t* samples, int n) {
  const __m512i most = _mm512_set1_epi32(FIX_ONE);
  const std::int32_t* const response = job.response;
  alignas(64) std::uint16_t indices[BLOCK];
  for (int i = 0; i < n; i += WORDS) {
    const __m512i v = _mm512_load_si512(samples + i);
    const __m512i index = _mm512_maskz_min_epi32(0xffff, _mm512_maskz_max_epi32(0xffff, v, __m512i{}), most);
    _mm256_store_si256(reinterpret_cast<__m256i*>(indices + i), _mm512_maskz_cvtepi32_epi16(0xffff, index));
  }
  for (int i = 0; i < n; i += 4) {
    std::uint64_t four = 0;
    std::memcpy(&four, indices + i, sizeof four);
    for (int k = 0; k < 4; ++k) samples[i + k] = response[four >> 16 * k & 0xffff];
  }
}

/// Look-ups in the hash table, which takes half of all vector registers.
class hash_steps {
 public:
  hash_steps() {
    for (int i = 0; i < PARTS; ++i) part_[i] = _mm512_loadu_si512(hash_table + i * WORDS);
  }
  /// hash_step of 16 words.
  __m512i operator()(__m512i v) const {
    __m512i found[PARTS / 2];
    for (int i = 0; i < PARTS / 2; ++i) found[i] = _mm512_permutex2var_epi32(part_[2 * i], v, part_[2 * i + 1]);
    for (int bit = 2 * WORDS, left = PARTS / 4; left > 0; bit *= 2, left /= 2) {
      const __mmask16 upper = _mm512_test_epi32_mask(v, _mm512_set1_epi32(bit));
      for (int i = 0; i < left; ++i) found[i] = _mm512_mask_blend_epi32(upper, found[2 * i], found[2 * i + 1]);
    }
    return _mm512_add_epi32(_mm512_maskz_srli_epi32(0xffff, v, 8), found[0]);
  }

 private:
  static constexpr int PARTS = 256 / WORDS;
  __m512i part_[PARTS];
};

void random_words(std::uint32_t counter, std::uint32_t* words) {
  const __m512i lanes = _mm512_setr_epi32(0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60);
  const hash_steps step;
  for (int i = 0; i < BLOCK / 4; i += WORDS) {
    const __m512i v = _mm512_add_epi32(lanes, _mm512_set1_epi32(std::int32_t(counter + 4u * unsigned(i))));
    _mm512_store_si512(words + i, step(step(step(step(v)))));
  }
}

/// The amount of grain by sample: the table's 65 entries are four vectors and one more.
class grain_amounts {
 public:
  explicit grain_amounts(const float* table) : last_(_mm512_set1_ps(table[4 * WORDS])) {
    for (int i = 0; i < 4; ++i) part_[i] = _mm512_loadu_ps(table + i * WORDS);
  }
  __m512 operator()(__m512i samples) const {
    const __m512i half = _mm512_set1_epi32(2 * WORDS), end = _mm512_set1_epi32(4 * WORDS);
    const __m512i index = _mm512_maskz_srli_epi32(0xffff, _mm512_maskz_max_epi32(0xffff, samples, __m512i{}), 6);
    const __m512 low = _mm512_permutex2var_ps(part_[0], index, part_[1]);
    const __m512 high = _mm512_permutex2var_ps(part_[2], index, part_[3]);
    const __m512 within = _mm512_mask_blend_ps(_mm512_cmpge_epi32_mask(index, half), low, high);
    return _mm512_mask_blend_ps(_mm512_cmpge_epi32_mask(index, end), within, last_);
  }

 private:
  __m512 part_[4], last_;
};

/// As nearest_of_float.
__m512i nearest_of_floats(__m512 v) {
  // What is no number passes: of two that have no order the second one comes out.
  const __m512 not_below = _mm512_maskz_max_ps(0xffff, _mm512_set1_ps(-NEAREST_LIMIT), v);
  const __m512 within = _mm512_maskz_min_ps(0xffff, _mm512_set1_ps(NEAREST_LIMIT), not_below);
  const __m512i bits = _mm512_castps_si512(_mm512_add_ps(within, _mm512_set1_ps(NEAREST_BIAS)));
  return _mm512_sub_epi32(bits, _mm512_set1_epi32(NEAREST_BIAS_BITS));
}

void grain_of(const std::int32_t* samples, const std::uint8_t* bytes, std::int32_t* grain, int n) {
  const grain_amounts amounts(job.grain.table);
  for (int i = 0; i < n; i += WORDS) {
    const __m512i random =
        _mm512_maskz_cvtepu8_epi32(0xffff, _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i)));
    const __m512i centred =
        _mm512_sub_epi32(_mm512_maskz_slli_epi32(0xffff, random, 4), _mm512_set1_epi32(FIX_ONE / 2));
    const __m512 swing = _mm512_maskz_cvtepi32_ps(0xffff, centred);
    const __m512 amount = amounts(_mm512_load_si512(samples + i));
    _mm512_store_si512(grain + i, nearest_of_floats(_mm512_mul_ps(swing, amount)));
  }
}
#else
void widen(const std::int16_t* plane, std::int32_t* samples, int n) {
  for (int i = 0; i < n; ++i) samples[i] = plane[i];
}

void respond(std::int32_t* samples, int n) {
  const std::int32_t* response = job.response;
  for (int i = 0; i < n; ++i) samples[i] = response[fix_clamp(samples[i], 0, FIX_ONE)];
}

void random_words(std::uint32_t counter, std::uint32_t* words) {
  for (int i = 0; i < BLOCK / 4; ++i) words[i] = hash4(counter + 4u * std::uint32_t(i));
}

/// Nearest integer of a float, ties to even, held to +-65536.
std::int32_t nearest_of_float(float v) {
  const float shifted = (v < -NEAREST_LIMIT ? -NEAREST_LIMIT : v > NEAREST_LIMIT ? NEAREST_LIMIT : v) + NEAREST_BIAS;
  return std::bit_cast<std::int32_t>(shifted) - NEAREST_BIAS_BITS;
}

void grain_of(const std::int32_t* samples, const std::uint8_t* bytes, std::int32_t* grain, int n) {
  const float* const table = job.grain.table;
  alignas(64) float amounts[BLOCK];
  for (int i = 0; i < n; ++i) amounts[i] = table[fix_clamp(samples[i] >> 6, 0, 64)];
  for (int i = 0; i < n; ++i) grain[i] = nearest_of_float(float(bytes[i] * 16 - FIX_ONE / 2) * amounts[i]);
}
#endif

/// (1 - s) P + (s + b) k L - L P b k / 4096
void add_glow(std::int32_t* samples, const std::int32_t* light, int n) {
  const glow_factors f = job.glow;
  for (int i = 0; i < n; ++i) {
    const double sample = samples[i], lit = light[i];
    const double v = f.sample * sample + f.light * lit - (lit * sample * f.brightness * f.normalised) * (1.0 / FIX_ONE);
    samples[i] = nearest_int(v < -32767.0 ? -32767.0 : v > 32767.0 ? 32767.0 : v);
  }
}

/// Random bytes of the pixels of one row from frame column `column` on, a multiple of 4. Four neighbours share one
/// chain of hash steps, whose word is their four bytes.
void random_bytes(std::uint32_t counter, std::uint8_t* bytes) {
  alignas(64) std::uint32_t words[BLOCK / 4];
  random_words(counter, words);
  // The first pixel has the lowest byte.
  if constexpr (std::endian::native == std::endian::little)
    std::memcpy(bytes, words, BLOCK);
  else
    for (int i = 0; i < BLOCK; ++i) bytes[i] = std::uint8_t(words[i / 4] >> 8 * (i % 4));
}

fix held(fix v) { return fix_clamp(v, -0x7fff, 0x7fff); }

void set_levels(std::int32_t* samples, int n) {
  const fix low = job.low, range = job.range;
  for (int i = 0; i < n; ++i) samples[i] = wrap_add(wrap_mul(samples[i], range) >> FIX_BITS, low);
  if (!job.clamp_levels) return;
  for (int i = 0; i < n; ++i) samples[i] = held(samples[i]);
}

/// One block of a row, `n` samples at `offset` of the planes. `counter` is that of the block's first random byte, and
/// `skipped` of its bytes lie in front of it.
void develop_block(std::int64_t offset, int n, std::uint32_t counter, int skipped) {
  alignas(64) std::int32_t samples[BLOCK], grain[BLOCK];
  alignas(64) std::uint8_t bytes[BLOCK + 16];  // loops read whole vectors from the first byte that is used
  std::int16_t* plane = job.plane + offset;
  widen(plane, samples, n);
  if (job.response) respond(samples, n);
  if (job.light) add_glow(samples, job.light + offset, n);
  if (job.grain.table) {
    random_bytes(counter, bytes);
    grain_of(samples, bytes + skipped, grain, n);
    if (job.make_noise) {
      for (int i = 0; i < n; ++i) job.noise[offset + i] = std::int16_t(held(grain[i]));
    } else {
      for (int i = 0; i < n; ++i) samples[i] = held(samples[i] + grain[i]);
    }
  }
  if (job.add_noise)
    for (int i = 0; i < n; ++i) samples[i] = held(samples[i] + job.noise[offset + i]);
  if (job.levels) set_levels(samples, n);
  for (int i = 0; i < n; ++i) plane[i] = std::int16_t(samples[i]);
}

/// Grain stays with the frame's pixels, whatever part of the frame is rendered.
void forked_develop() {
  const raster_info& view = temp_raster_info;
  int first = 0, count = 0;
  split_rows(view.height, &first, &count);
  for (int row = first; row < first + count; ++row) {
    if (row % ABORT_ROWS == 0 && check_abort()) return;
    const std::uint32_t row_start =
        job.grain.seeds[row & 1] + std::uint32_t(view.y0 + row) * std::uint32_t(display_dims.display_width);
    int column = view.x0 & ~3, skipped = view.x0 & 3;
    for (int x = 0; x < view.width; column += BLOCK) {
      const int n = fix_min(BLOCK - skipped, view.width - x);
      develop_block(std::int64_t(row) * view.width + x, n, row_start + std::uint32_t(column), skipped);
      x += n;
      skipped = 0;
    }
  }
}

/// Runs the stages that are set and clears them, all but the plane.
void develop() {
  if (job.response || job.light || job.grain.table || job.add_noise || job.levels) fork_processes(forked_develop);
  job = {job.plane};
}

// --- one channel -----------------------------------------------------------------------------------------

fix setting(const node& n, film_arg arg, int e) { return n.args[arg]->const_vals[e]; }

/// Leaves the glow as a stage; what comes before it has been done.
void prepare_glow(const node& n, int channel) {
  const double soft = setting(n, FILM_GLOW_SOFT_FOCUS, 0) / 4096.0;
  const double brightness = setting(n, FILM_GLOW_BRIGHTNESS, channel) / 4096.0;
  if (!(soft > 0 || brightness > 0)) return;
  develop();
  const fix width = film_glow_width(n, channel);
  blur_plane(job.plane, width, width, blur_edge_mode, PASSES, false, false, temp_raster_info.width,
             temp_raster_info.height);
  const double normalised = 1.0 / (long_image_one / 4096.0);
  job.light = current_long_image();
  job.glow = {1.0 - soft, (soft + brightness) * normalised, brightness, normalised};
}

/// The two fields' phases by parity of the view's rows. Dominance 0: the upper field, that of the frame's even rows,
/// is the earlier one.
grain_phases phases_by_row(const node& n) {
  const int mode = setting(n, FILM_GRAIN_MISC, 0) >> FIX_BITS, dominance = setting(n, FILM_CC_GAMMAS, 3) >> FIX_BITS;
  const grain_phases phases = grain_phases_of(mode, nearest_int(double(time_globals.current_frame)));
  const bool swapped = (temp_raster_info.y0 + dominance) & 1;
  return swapped ? grain_phases{phases.second, phases.first} : phases;
}

void prepare_grain(const node& n, int channel, const film_tables& tables, std::int16_t* working) {
  if (setting(n, FILM_GRAIN_AMP, channel) <= 0) return;
  const bool mono = setting(n, FILM_MIDTONES_MONO, 3) > 0;
  const std::uint32_t seed = std::uint32_t(mono ? 1 : channel) * 10001u + std::uint32_t(setting(n, FILM_GRAIN_MISC, 1));
  const grain_phases phases = phases_by_row(n);
  const std::uint32_t stride =
      std::uint32_t(display_dims.display_width) * std::uint32_t(display_dims.display_height) + 7u;
  const grain_source grain = {
      tables.grain[channel],
      {seed + std::uint32_t(phases.first) * stride, seed + std::uint32_t(phases.second) * stride}};
  const fix blur = amount_to_fix_pixels(setting(n, FILM_GRAIN_BLUR, channel));
  job.grain = grain;
  if (blur < 1) return;

  job.noise = working;
  job.make_noise = true;
  develop();
  // Fields with grain of their own are two pictures, half as high.
  const bool apart = phases.first != phases.second;
  const fix down = apart ? fix_max(blur - FIX_ONE / 2, 0) : blur;
  const fix contrast = nearest_int(0.8 * blur) + FIX_ONE;
  if (abort_pending()) return;
  blur_plane_to_plane(working, working, contrast, blur, down, blur_edge_mode, PASSES, true, apart,
                      temp_raster_info.width, temp_raster_info.height);
  job.noise = working;
  job.add_noise = true;
}

void prepare_levels(const node& n) {
  const fix low = setting(n, FILM_OFFSET_SCALE, 0), high = setting(n, FILM_OFFSET_SCALE, 1);
  job.low = low;
  job.range = wrap_sub(high, low);
  job.levels = !(low == 0 && high == FIX_ONE);
  job.clamp_levels = job.range > FIX_ONE || low < 0;
}

void film_channel(const node& n, int channel, const film_tables& tables, std::int16_t* plane, std::int16_t* working) {
  job = {plane};
  if (setting(n, FILM_CC_GAMMAS, 0) > 0) job.response = tables.response[channel];
  prepare_glow(n, channel);
  if (abort_pending()) return;
  prepare_grain(n, channel, tables, working);
  if (abort_pending()) return;
  prepare_levels(n);
  develop();
}

}  // namespace

fix film_glow_width(const node& n, int channel) {
  constexpr float LARGEST = 500000.0f;  // pixels; what a fix holds, and beyond every blur's limit
  const float amount = float(setting(n, FILM_GLOW_WIDTH, channel)) / 4096.0f;
  const float pixels = amount * float(display_dims.display_width) * 0.125f;
  return fix_from_double(double(pixels < -LARGEST ? -LARGEST : pixels > LARGEST ? LARGEST : pixels));
}

void film_effect(node& n) {
  check_image_planes(n, n.elnum + 1);
  settle_args(n, {FILM_FILMS_FIELDS_BLUR, FILM_CC_GAMMAS, FILM_NEG_EXPOSURE, FILM_PRINT_EXPOSURE, FILM_OFFSET_SCALE,
                  FILM_GLOW_BRIGHTNESS, FILM_GLOW_SOFT_FOCUS, FILM_GLOW_WIDTH, FILM_GRAIN_AMP, FILM_MIDTONES_MONO,
                  FILM_GRAIN_BLUR, FILM_GRAIN_MISC});
  std::int16_t* const working = n.images[n.elnum];
  const int n_planes = fetch_image_arg(n, FILM_IMAGE, n.images);
  const film_tables& tables = get_film_tables(film_settings_of(n));
  const int fields_mode = setting(n, FILM_FILMS_FIELDS_BLUR, 2) >> FIX_BITS;
  const fix blur = amount_to_fix_pixels(setting(n, FILM_FILMS_FIELDS_BLUR, 3));

  for (int e = 0; e < n_planes && !abort_pending(); ++e) {
    std::int16_t* plane = n.images[e];
    rebuild_fields(plane, working, fields_mode);
    if (abort_pending()) return;
    if (blur > 0)
      blur_plane_to_plane(plane, plane, FIX_ONE, blur, blur, blur_edge_mode, PASSES, false, false,
                          temp_raster_info.width, temp_raster_info.height);
    if (e < CHANNELS && !abort_pending()) film_channel(n, e, tables, plane, working);
  }
}

}  // namespace tessaron::TESSARON_LEVEL
