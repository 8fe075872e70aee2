// Frames of an input at other times: what a node function asks the host adapter for.
#pragma once

#include <cstdint>

#include "evaluator/frame.h"

namespace tessaron {

/// Memory for one frame of a clip, kept from frame to frame of one call of a node function, and what lies in it.
/// Released when this goes away.
class frame_buffer {
 public:
  frame_buffer() = default;
  ~frame_buffer();
  frame_buffer(const frame_buffer&) = delete;
  frame_buffer& operator=(const frame_buffer&) = delete;

  /// Room for `bytes`, on a cache line; what was there is gone. Null: there is no memory.
  std::uint8_t* take(std::int64_t bytes);

  raster_info raster = {};         // of the frame that was fetched last; `data` lies in this buffer
  source_reader reader = nullptr;  // of its rows

 private:
  void** handle_ = nullptr;
  std::int64_t bytes_ = 0;
};

enum class clip_fetch {
  done,
  no_buffer,  // no memory for the frame; nothing has been said yet
  refused,    // the host has no such frame to give: reported, and the render is being stopped
};

/// Fetches frame `frame_number` (0 is the frame at the host's time 0) of source image `image_number` (0 to 3) into
/// `buffer`. Main thread only.
clip_fetch fetch_clip_frame(int image_number, int frame_number, frame_buffer& buffer);

/// The host adapter's side of it, installed while a frame is rendered; null: each frame is the one at hand.
using clip_source = clip_fetch (*)(int image_number, int frame_number, frame_buffer& buffer);
extern clip_source read_clip_frame;

/// The largest frame number that is worth asking for: wild numbers must not keep the host fetching for hours.
int farthest_clip_frame();

}  // namespace tessaron
