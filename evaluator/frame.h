// What one render tells the evaluator: images, rectangles, display and time globals.
//
// The host adapter fills these process-wide records before a render; workers only read them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/fixed.h"

namespace tessaron {

/// Numbers of raster_info::format that hosts use. All are four fields a pixel.
enum native_format : std::int32_t { NATIVE_RGBA8 = 4, NATIVE_BGRA8 = 5, NATIVE_RGBA16 = 8, NATIVE_BGRA16 = 9 };

/// An image in memory. `row_pad` is in bytes for 8-bit formats and in fields for 16-bit ones.
struct raster_info {
  std::int32_t width, height;
  std::int32_t x0, y0;  // first pixel in frame coordinates
  std::int32_t x1, y1;  // last pixel
  std::int32_t format;
  std::int32_t bits;
  std::int32_t kind;  // 2: exists
  std::int32_t bytes_per_pixel;
  std::int32_t row_step = 1;
  std::int32_t row_pad;
  std::uint8_t* data;  // pixels; null where the record describes no memory

  bool operator==(const raster_info&) const = default;
};

struct render_info_record {
  std::int32_t frame_x0, frame_x1, frame_y0, frame_y1;      // the layer
  std::int32_t out_x0, out_y0, out_x1, out_y1;              // output rectangle
  std::int32_t render_x0, render_y0, render_x1, render_y1;  // computed rectangle
  double scale_x;                                           // host downsample in x as a fraction
  double downsample_x, downsample_y;
  std::int32_t valid;
  std::int32_t step = 1;  // sampling step, 1 for every normal render

  bool operator==(const render_info_record&) const = default;
};

/// Display globals. Names as the node functions know them.
struct display_dims_record {
  std::int32_t n_pixels;
  std::int32_t display_width, display_height;
  std::int32_t full_width, full_height;
  std::int32_t view_width, view_height;  // size of temp_raster_info
  float xy_aspect = 1.0f;
  fix xy_aspect_fix, yx_aspect_fix;
  float pixel_aspect = 1.0f;
  float pixel_aspect_inv = 1.0f;
  fix pixel_aspect_fix = FIX_ONE, pixel_aspect_inv_fix = FIX_ONE;
  fix aspect_product_fix, aspect_product_inv_fix;
  bool pixel_aspect_not_1, pixel_aspect_wide;
  fix x_origin_fix, y_origin_fix;

  bool operator==(const display_dims_record&) const = default;
};

struct time_globals_record {
  float frame_step, fps, current_frame, total_frames, total_secs, current_secs, percent_time;
  std::int32_t run_start_time;
  std::int32_t time_offset;  // seed of static: n_pixels * current_frame
};

/// How a render mixes with its input.
struct mix_globals_record {
  std::int32_t opacity_mode = 2;
  std::int32_t alpha_source_mode;
  bool mix_input, mix_output;
  std::int32_t borders_on;
};

struct field_globals_record {
  std::int32_t field_number;    // 0: no field rendering; 1 or 2
  float field_offset;           // y offset of the field's lines, in rows
  std::uint8_t merged_sources;  // bit s: source s comes as whole frames, its two fields are averaged

  bool operator==(const field_globals_record&) const = default;
};

/// Reads columns x0..x1 of frame row y of source image `image_number` (0 to 3) into `planes`
/// (`n_elements` of 1, 3 or 4), outside columns filled. Chosen once a render (host converters).
using source_reader = void (*)(const raster_info& raster, int y, int x0, int x1, fix* const* planes, int n_elements,
                               int image_number);
/// The values of a source_reader as interleaved samples held to 0..8191; `n_elements` is 3 or 4.
using texel_reader = void (*)(const raster_info& raster, int y, int x0, int x1, std::int16_t* texels, int n_elements);
/// Writes `n_columns` fix samples a plane at frame position (x0, y) of the output raster, alpha by
/// `alpha_mode`, each sample repeated `col_step` times. False: combination refused and reported.
using dest_writer = bool (*)(const raster_info& raster, int y, int x0, int n_columns, int col_step,
                             const fix* const* planes, int n_elements, int alpha_mode);
/// Sees the root's values of every output row, before any conversion or limit (rows are disjoint
/// between workers): frame row y, first column, samples, rows by element.
using root_tap = void (*)(void* user, int y, int x0, int n_columns, int n_elements, const fix* const* rows);

/// Writes a finished image (planes of the view) to the output: rows of the render rectangle, as a job
/// on the workers.
using plane_writer = void (*)(const std::int16_t* const* planes, int n_elements, int alpha_mode);

struct pixel_io_record {
  source_reader read_source[4];  // by image number
  texel_reader read_texels[4];   // by image number; null: through rows of fix
  dest_writer write_dest;
  plane_writer write_planes;     // null: a finished image is read row by row like any other value
  std::int32_t dest_alpha_mode;  // 0: the genotype's rgba_mode decides
  bool dest_mode_2_ok;           // the render path has enabled alpha mode 2 for this output
  root_tap tap;
  void* tap_user;
};

extern raster_info dest_raster_info;
extern raster_info source_raster_info[4];
extern raster_info temp_raster_info;
extern render_info_record render_info;
extern display_dims_record display_dims;
extern time_globals_record time_globals;
extern mix_globals_record mix_globals;
extern field_globals_record field_globals;
extern pixel_io_record pixel_io;

/// Set by the one thread that may ask the host; read by every worker.
extern std::int32_t abort_requested;

}  // namespace tessaron
