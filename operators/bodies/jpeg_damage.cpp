// jpeg_damage: the picture goes through a real JPEG codec, in four strips that know nothing of each other, and comes
// back with the codec's blocks, smeared colours and rings, and with the errors of a broken stream. At less resolution
// the codec's blocks become larger in the picture.
//
//   planes --reduced, 8 bits--> interleaved bytes --four strips: codec--> interleaved bytes --enlarged--> planes
#include "operators/bodies/jpeg_damage.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "operators/bodies/planes.h"
#include "operators/jpeg_strip.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

enum arg : int {
  IMAGE,
  QUALITY,
  SCALE_FREQS,     // long, middle, short waves
  SCALE_XY_FREQS,  // along rows, along columns
  CHROMA_LUMA,
  ERROR_RATE,
  ERROR_DENSITY,
  ERROR_AMP,
  ERROR_COHERENCE,
  SEED,
  RES_FACTOR,  // pixels of the picture for one of the codec's: across, down
};

constexpr int CHANNELS = 3;
constexpr int ABORT_ROWS = 16;
constexpr int STRIPS = 4;
constexpr float LARGEST_RES_FACTOR = 64;

/// Where sample i of a plane's row or column lies between two of the codec's.
struct place {
  int low, high;
  int weight;  // of the higher one, 0 to 256
};

struct {
  std::int16_t* planes[CHANNELS];
  int width, height;     // of the planes
  std::uint8_t* pixels;  // of the codec, red, green and blue in turn
  int codec_width, codec_height;
  const place* columns;      // the planes' columns between the codec's
  const int* first_columns;  // of each of the codec's columns, and one behind the last
  std::int32_t* rows;        // one for each worker, `row_size` words
  int row_size;
  jpeg_settings settings;
  jpeg_result results[STRIPS];
} job;

/// Rows of a loop, with the abort test.
template <class RowFunction>
void for_my_rows(int rows, RowFunction row_function) {
  int first = 0, count = 0;
  split_rows(rows, &first, &count);
  for (int y = first; y < first + count; ++y) {
    if (y % ABORT_ROWS == 0 && check_abort()) return;
    row_function(y);
  }
}

std::uint8_t* codec_row(int y) { return job.pixels + std::int64_t(y) * job.codec_width * CHANNELS; }

// --- to bytes ----------------------------------------------------------------------------------------------

std::uint8_t byte_of(int sample) { return std::uint8_t(fix_clamp(sample >> 4, 0, 255)); }

void forked_to_bytes() {
  for_my_rows(job.codec_height, [](int y) {
    std::uint8_t* row = codec_row(y);
    for (int c = 0; c < CHANNELS; ++c) {
      const std::int16_t* samples = job.planes[c] + std::int64_t(y) * job.width;
      for (int x = 0; x < job.width; ++x) row[CHANNELS * x + c] = byte_of(samples[x]);
    }
  });
}

/// The calling worker's row of sums.
std::int32_t* working_row() { return job.rows + std::int64_t(get_proc_number()) * job.row_size; }

/// First sample of the planes that belongs to sample i of the codec's.
int first_of(int i, int codec_size, int size) { return int(std::int64_t(i) * size / codec_size); }

void forked_reduce_to_bytes() {
  for_my_rows(job.codec_height, [](int y) {
    const int first_line = first_of(y, job.codec_height, job.height);
    const int lines = first_of(y + 1, job.codec_height, job.height) - first_line;
    std::uint8_t* row = codec_row(y);
    std::int32_t* sums = working_row();
    for (int c = 0; c < CHANNELS; ++c) {
      const std::int16_t* samples = job.planes[c] + std::int64_t(first_line) * job.width;
      for (int x = 0; x < job.width; ++x) sums[x] = samples[x];
      for (int line = 1; line < lines; ++line) {
        samples += job.width;
        for (int x = 0; x < job.width; ++x) sums[x] += samples[x];
      }
      for (int x = 0; x < job.codec_width; ++x) {
        const int first = job.first_columns[x], end = job.first_columns[x + 1];
        std::int64_t sum = 0;
        for (int k = first; k < end; ++k) sum += sums[k];
        row[CHANNELS * x + c] = byte_of(int(sum / ((end - first) * lines)));
      }
    }
  });
}

// --- the codec ---------------------------------------------------------------------------------------------

/// The first three strips are whole rows of blocks high, the last takes what is left.
int strip_start(int strip) {
  const int strip_height = (job.codec_height + 15) / STRIPS / 8 * 8;
  return strip == STRIPS ? job.codec_height : fix_min(strip * strip_height, job.codec_height);
}

void forked_strips() {
  int first = 0, count = 0;
  split_rows(STRIPS, &first, &count);
  for (int s = first; s < first + count; ++s) {
    job.results[s] = {};
    const int start = strip_start(s), rows = strip_start(s + 1) - start;
    if (rows > 0) job.results[s] = recode_strip(job.settings, codec_row(start), job.codec_width, rows, s);
  }
}

/// Workers can't raise what the codec has said; this does.
void raise_faults() {
  for (const jpeg_result& result : job.results) {
    if (result.outcome == jpeg_outcome::out_of_memory) {
      report(REPORT_ERROR, "Not enough memory.");
      fatal_exit(-100);
    }
    if (result.outcome == jpeg_outcome::refused) fatal("jpeg_damage: %s.", result.message);
  }
}

// --- back to planes ----------------------------------------------------------------------------------------

// A byte of 255 is 1.0.
constexpr double BYTE_SCALE = FIX_ONE / 255.0;

void forked_from_bytes() {
  for_my_rows(job.height, [](int y) {
    const std::uint8_t* row = codec_row(y);
    for (int c = 0; c < CHANNELS; ++c) {
      std::int16_t* samples = job.planes[c] + std::int64_t(y) * job.width;
      for (int x = 0; x < job.width; ++x) samples[x] = std::int16_t(nearest_int(row[CHANNELS * x + c] * BYTE_SCALE));
    }
  });
}

place place_of(int i, int codec_size, int size) {
  const std::int64_t at = ((2 * std::int64_t(i) + 1) * codec_size * 128) / size - 128;  // 1/256 samples
  const int low = int(at >> 8);
  return {fix_max(low, 0), fix_min(low + 1, codec_size - 1), int(at & 255)};
}

void forked_enlarge_from_bytes() {
  for_my_rows(job.height, [](int y) {
    const place line = place_of(y, job.codec_height, job.height);
    const std::uint8_t *above = codec_row(line.low), *below = codec_row(line.high);
    std::int32_t* blend = working_row();
    for (int i = 0; i < CHANNELS * job.codec_width; ++i)
      blend[i] = above[i] * (256 - line.weight) + below[i] * line.weight;
    for (int c = 0; c < CHANNELS; ++c) {
      std::int16_t* samples = job.planes[c] + std::int64_t(y) * job.width;
      for (int x = 0; x < job.width; ++x) {
        const place column = job.columns[x];
        const int v = blend[column.low + c] * (256 - column.weight) + blend[column.high + c] * column.weight;
        samples[x] = std::int16_t(nearest_int(v * (BYTE_SCALE / 65536)));
      }
    }
  });
}

// --- working memory ------------------------------------------------------------------------------------------

/// What both directions of a change of size need: where columns lie, and rows of sums.
void prepare_change_of_size() {
  const std::size_t width = std::size_t(job.width), codec_width = std::size_t(job.codec_width);
  job.row_size = fix_max(job.width, CHANNELS * job.codec_width);
  const std::size_t words = std::size_t(job.row_size) * std::size_t(get_n_procs());
  std::byte* memory =
      plane_scratch(width * sizeof(place) + (codec_width + 1) * sizeof(int) + words * sizeof(std::int32_t));
  place* columns = reinterpret_cast<place*>(memory);
  int* first_columns = reinterpret_cast<int*>(columns + width);
  job.columns = columns;
  job.first_columns = first_columns;
  job.rows = first_columns + codec_width + 1;
  for (int x = 0; x < job.width; ++x) {
    const place p = place_of(x, job.codec_width, job.width);
    columns[x] = {CHANNELS * p.low, CHANNELS * p.high, p.weight};
  }
  for (int x = 0; x <= job.codec_width; ++x) first_columns[x] = first_of(x, job.codec_width, job.width);
}

// --- settings ----------------------------------------------------------------------------------------------

float setting(const node& n, arg a, int e = 0) { return fix_to_float(n.args[a]->const_vals[e]); }
float share(const node& n, arg a) {
  const float v = setting(n, a);
  return v < 0 ? 0 : v > 1 ? 1 : v;
}

jpeg_settings settings_of(const node& n) {
  jpeg_settings s;
  s.quality = fix_clamp(n.args[QUALITY]->const_vals[0] >> FIX_BITS, LEAST_JPEG_QUALITY, BEST_JPEG_QUALITY);
  for (int band = 0; band < 3; ++band) s.bands[band] = setting(n, SCALE_FREQS, band);
  s.across = setting(n, SCALE_XY_FREQS, 0);
  s.down = setting(n, SCALE_XY_FREQS, 1);
  s.chroma = setting(n, CHROMA_LUMA, 0);
  s.luma = setting(n, CHROMA_LUMA, 1);
  s.errors = {share(n, ERROR_RATE), share(n, ERROR_DENSITY), setting(n, ERROR_AMP), share(n, ERROR_COHERENCE),
              n.args[SEED]->const_vals[0] >> FIX_BITS};
  return s;
}

int codec_size(int size, float factor) {
  if (!(factor > 1)) return size;
  const float held = factor < LARGEST_RES_FACTOR ? factor : LARGEST_RES_FACTOR;
  return fix_max(1, int(float(size) / held + 0.5f));
}

}  // namespace

void jpeg_damage(node& n) {
  check_image_planes(n, n.elnum);
  settle_args(n, {QUALITY, SCALE_FREQS, SCALE_XY_FREQS, CHROMA_LUMA, ERROR_RATE, ERROR_DENSITY, ERROR_AMP,
                  ERROR_COHERENCE, SEED, RES_FACTOR});
  fetch_image_arg(n, IMAGE, n.images);
  for (int c = 0; c < CHANNELS; ++c) job.planes[c] = n.images[c];
  job.width = temp_raster_info.width;
  job.height = temp_raster_info.height;
  job.codec_width = codec_size(job.width, setting(n, RES_FACTOR, 0));
  job.codec_height = codec_size(job.height, setting(n, RES_FACTOR, 1));
  job.settings = settings_of(n);
  job.pixels = reinterpret_cast<std::uint8_t*>(get_long_image(job.width, job.height));
  const bool reduced = job.codec_width != job.width || job.codec_height != job.height;
  if (reduced) prepare_change_of_size();

  for (const fork_body step : {reduced ? forked_reduce_to_bytes : forked_to_bytes, forked_strips}) {
    if (abort_pending()) return;
    fork_processes(step);
  }
  raise_faults();
  if (!abort_pending()) fork_processes(reduced ? forked_enlarge_from_bytes : forked_from_bytes);
}

}  // namespace tessaron::TESSARON_LEVEL
