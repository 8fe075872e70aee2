#include "evaluator/clips.h"

#include <algorithm>

#include "base/fixed.h"
#include "evaluator/temp_images.h"

namespace tessaron {

clip_source read_clip_frame;

frame_buffer::~frame_buffer() {
  if (handle_) free_temp_handle(handle_);
}

std::uint8_t* frame_buffer::take(std::int64_t bytes) {
  if (bytes > bytes_ || !handle_) {
    if (handle_) free_temp_handle(handle_);
    bytes_ = 0;
    handle_ = try_temp_handle(std::max<std::int64_t>(bytes, 1));
    if (!handle_) return nullptr;
    bytes_ = bytes;
  }
  return static_cast<std::uint8_t*>(*handle_);
}

clip_fetch fetch_clip_frame(int image_number, int frame_number, frame_buffer& buffer) {
  if (read_clip_frame) return read_clip_frame(image_number, frame_number, buffer);
  buffer.raster = source_raster_info[image_number];
  buffer.reader = pixel_io.read_source[image_number];
  return clip_fetch::done;
}

int farthest_clip_frame() {
  // A clip's numbers need not start at 0, so its length alone does not tell where it ends.
  constexpr double BEYOND = 10000, LARGEST = 0x7fffffff >> FIX_BITS;
  const double current = std::max(double(time_globals.current_frame), 0.0);
  const double length = std::max(double(time_globals.total_frames), 0.0);
  const double farthest = current + length + BEYOND;
  return int(farthest < LARGEST ? farthest : LARGEST);
}

}  // namespace tessaron
