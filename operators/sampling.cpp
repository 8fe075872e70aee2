#include "operators/sampling.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/report.h"
#include "evaluator/frame.h"
#include "genotype/genotype.h"

namespace tessaron {

mipmap_table_record mipmap_table;
std::int16_t* mipmap_buffer;
bool wrap_x_on, wrap_x_mirror, wrap_y_on, wrap_y_mirror;

namespace {

constexpr std::size_t BUFFER_ALIGNMENT = 64;  // bytes
// Vector loads take more than the two neighbours they need: room behind the last sample.
constexpr std::size_t READ_AHEAD = 32;  // samples

growing_buffer<std::int16_t> sampling_memory;

[[noreturn]] void out_of_memory(std::uint64_t bytes) {
  set_message("Malloc %ld returned a null pointer.", long(bytes));
  report_message(REPORT_ERROR);
  report(REPORT_ERROR, "Not enough memory.");
  fatal_exit(-100);
}

/// Halves a size down to 1; the number of levels.
int level_sizes(int size, bool levels, std::int32_t* sizes) {
  int count = 0;
  sizes[count++] = size;
  while (levels && size > 1 && count < MAX_MIPMAP_LEVELS) sizes[count++] = size = (size + 1) >> 1;
  for (int i = count; i <= MAX_MIPMAP_LEVELS; ++i) sizes[i] = size;
  return count;
}

}  // namespace

void set_wrap_flags(fix wrap_x, fix wrap_y) {
  wrap_x_on = wrap_x > 0;
  wrap_x_mirror = wrap_x > FIX_ONE;
  wrap_y_on = wrap_y > 0;
  wrap_y_mirror = wrap_y > FIX_ONE;
}

void set_mipmap_table(int width, int height, int elnum, bool levels) {
  mipmap_table_record& t = mipmap_table;
  if (mipmap_buffer && t.width == width && t.height == height && t.elnum == elnum && t.levels == levels) return;
  t = {.width = width, .height = height, .elnum = elnum, .levels = levels};
  t.x_level_count = level_sizes(width, levels, t.x_level_width);
  t.y_level_count = level_sizes(height, levels, t.y_level_height);
  std::uint64_t columns = 0, rows = 0;
  std::uint64_t row_of[MAX_MIPMAP_LEVELS];
  for (int i = 0; i < t.x_level_count; ++i) {
    t.x_level_offset[i] = std::uint32_t(columns * std::uint64_t(elnum));
    columns += std::uint64_t(t.x_level_width[i]) + 2;
  }
  for (int j = 0; j < t.y_level_count; ++j) {
    row_of[j] = rows;
    rows += std::uint64_t(t.y_level_height[j]) + 2;
  }
  const std::uint64_t stride = (columns * std::uint64_t(elnum) + 1) & ~std::uint64_t(1);
  const std::uint64_t samples = stride * (rows + 1) + std::uint64_t(elnum);
  if (samples > std::numeric_limits<std::uint32_t>::max()) {  // beyond what places in the buffer can name
    t = {};
    out_of_memory(samples * sizeof(std::int16_t));
  }
  t.row_stride = std::int32_t(stride);
  for (int j = 0; j < t.y_level_count; ++j) t.y_level_row[j] = std::uint32_t(row_of[j] * stride);
  for (int i = 0; i <= MAX_MIPMAP_LEVELS; ++i) {
    t.x_level_offset[i] = t.x_level_offset[std::min(i, t.x_level_count - 1)];
    t.y_level_row[i] = t.y_level_row[std::min(i, t.y_level_count - 1)];
    t.x_level_limit[i] = t.x_level_width[i] << FIX_BITS;
    t.y_level_limit[i] = t.y_level_height[i] << FIX_BITS;
  }
  t.max_x_level = (t.x_level_count - 1) * FIX_ONE - 1;
  t.max_y_level = (t.y_level_count - 1) * FIX_ONE - 1;
  mipmap_buffer = nullptr;  // an image for which there is no memory leaves no table that looks finished
  mipmap_buffer = sampling_memory.at_least(std::size_t(samples) + READ_AHEAD);
}

sampling_frame current_sampling_frame() {
  const display_dims_record& d = display_dims;
  return {d.aspect_product_inv_fix, d.full_width, d.full_height, d.x_origin_fix, d.y_origin_fix};
}

coordinate_steps view_coordinates() {
  const int step = std::max(render_info.step, 1);
  return coordinates_from(temp_raster_info.x0 / step, temp_raster_info.y0 / step);
}

end_weights end_weights_of(fix first, fix last) {
  constexpr int WEIGHT_BITS = FIX_BITS + 1;  // two ends that are alike get 1.0 each
  const fix sum = wrap_add(first, last);
  const fix total = sum ? sum : 1;
  return {wrap_div(wrap_shl(first, WEIGHT_BITS), total), wrap_div(wrap_shl(last, WEIGHT_BITS), total)};
}

template <class T>
growing_buffer<T>::~growing_buffer() {
  std::free(data_);
}

template <class T>
T* growing_buffer<T>::at_least(std::size_t count) {
  if (count <= count_) return data_;
  std::free(data_);
  count_ = 0;
  const std::size_t bytes = (count * sizeof(T) + BUFFER_ALIGNMENT - 1) / BUFFER_ALIGNMENT * BUFFER_ALIGNMENT;
  data_ = static_cast<T*>(std::aligned_alloc(BUFFER_ALIGNMENT, bytes));
  if (!data_) out_of_memory(bytes);
  std::memset(data_, 0, bytes);
  count_ = count;
  return data_;
}
template class growing_buffer<std::int16_t>;
template class growing_buffer<std::int32_t>;

}  // namespace tessaron
