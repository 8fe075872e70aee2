// What all image operators begin with: their planes checked and filled.
#include <algorithm>
#include <cstring>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/operators.h"

namespace tessaron {
namespace {

constexpr std::int64_t FORKED_BLOCK = 1024;  // bytes from which a block is worth the workers' while
constexpr int COPY_GRAIN = 64;               // bytes; a worker's share is a whole number of these

struct {
  char* dest;
  const char* src;
  std::int64_t size;
} copy_job;

void forked_copy() {
  const int grains = int((copy_job.size + COPY_GRAIN - 1) / COPY_GRAIN);
  int first = 0, count = 0;
  split_rows(grains, &first, &count);
  const std::int64_t start = std::int64_t(first) * COPY_GRAIN;
  const std::int64_t end = std::min(copy_job.size, start + std::int64_t(count) * COPY_GRAIN);
  if (end > start) std::memcpy(copy_job.dest + start, copy_job.src + start, std::size_t(end - start));
}

/// Whether a plane that is copied to holds what is still to be copied, when copying goes upwards.
bool overtakes(std::int16_t* const* dest, std::int16_t* const* src, int count) {
  for (int e = 1; e < count; ++e)
    if (std::find(dest, dest + e, src[e]) != dest + e) return true;
  return false;
}

/// Copies planes that may be the same ones, moved up or down by some places.
void copy_planes(std::int16_t* const* dest, std::int16_t* const* src, int count) {
  const bool downwards = overtakes(dest, src, count);
  for (int k = 0; k < count; ++k) {
    const int e = downwards ? count - 1 - k : k;
    if (dest[e] != src[e]) copy_plane(dest[e], src[e]);
  }
}

}  // namespace

template <class T>
void fill_skipped_lines(T* samples, std::size_t stride, std::size_t line_samples) {
  if (!field_globals.field_number) return;
  const int height = temp_raster_info.height;
  for (int k = 0; k < height; ++k) {
    if (((temp_raster_info.y0 + k) & 1) != field_globals.field_number - 1) continue;
    T* line = samples + std::size_t(k) * stride;
    const T* above = k > 0 ? line - stride : k + 1 < height ? line + stride : line;
    const T* below = k + 1 < height ? line + stride : above;
    for (std::size_t i = 0; i < line_samples; ++i) line[i] = T((std::int64_t(above[i]) + below[i]) >> 1);
  }
}
template void fill_skipped_lines(std::int16_t*, std::size_t, std::size_t);
template void fill_skipped_lines(std::int32_t*, std::size_t, std::size_t);

void check_image_planes(const node& n, int expected) {
  const char* name = n.name ? n.name : n.fun->name;
  if (n.image_count != expected) fatal("node %s has image_count %d, expected %d.", name, n.image_count, expected);
  for (int i = 0; i < expected; ++i)
    if (!n.images[i]) fatal("node %s has NULL image %d.", name, i);
}

void copy_plane(std::int16_t* dest, const std::int16_t* src) {
  copy_job = {reinterpret_cast<char*>(dest), reinterpret_cast<const char*>(src), short_image_size};
  if (short_image_size >= FORKED_BLOCK)
    fork_processes(forked_copy);
  else
    std::memcpy(dest, src, std::size_t(short_image_size));
}

int fetch_image_arg(node& n, int arg, std::int16_t* const* dest_planes) {
  node& image = *n.args[arg];
  const int count = std::min<int>(image.elnum, max_elnum);
  const bool has_planes = image.kind == KIND_FUNCTION && image.image_count > 0 && !(image.node_flags & NODE_CONSTANT);
  if (has_planes) {
    copy_planes(dest_planes, image.images, count);
  } else {
    eval_node_tree_into_planes(image, dest_planes, count);
  }
  const std::size_t width = std::size_t(temp_raster_info.width);
  for (int e = 0; e < count; ++e) fill_skipped_lines(dest_planes[e], width, width);
  return count;
}

}  // namespace tessaron
