// Clips for tests without a host: pictures as functions of a frame number and a place, and a book of what was fetched.
#pragma once

#include <functional>
#include <vector>

#include "evaluator/clips.h"
#include "tests/support/report_capture.h"
#include "tests/unit/operators/gradient_kit.h"

namespace tessaron::testing {

/// Sample e at (x, y) of frame `frame` of input `clip`.
using clip_function = std::function<fix(int clip, int frame, int x, int y, int e)>;

/// Every sample tells its frame, its clip and its place, and differs much from those around it.
inline fix busy_clip(int clip, int frame, int x, int y, int e) {
  std::minstd_rand random(unsigned(1 + clip + 7 * frame + 1000 * x + 100003 * y + 31 * e));
  random.discard(3);
  return fix(random() % 4097u);
}

/// Stands in for a host that has frames of `width` by `height` of all inputs, as long as this lives.
class clips_at_hand {
 public:
  clips_at_hand(picture_size size, clip_function clip) : clip_(std::move(clip)), size_(size) {
    current() = this;
    read_clip_frame = fetch;
    time_globals.current_frame = 0;
    time_globals.total_frames = 24;
  }
  ~clips_at_hand() {
    current() = nullptr;
    read_clip_frame = nullptr;
    time_globals = {};
  }
  clips_at_hand(const clips_at_hand&) = delete;
  clips_at_hand& operator=(const clips_at_hand&) = delete;

  std::vector<int> fetched;                     // frame numbers, in order
  std::function<clip_fetch(int frame)> answer;  // in place of clip_fetch::done

 private:
  static clips_at_hand*& current() {
    static clips_at_hand* clips = nullptr;
    return clips;
  }
  static clip_fetch fetch(int image_number, int frame, frame_buffer& buffer) {
    clips_at_hand& here = *current();
    here.fetched.push_back(frame);
    here.frame_ = frame;
    buffer.raster = {};
    buffer.raster.width = here.size_.width;
    buffer.raster.height = here.size_.height;
    buffer.raster.x1 = here.size_.width - 1;
    buffer.raster.y1 = here.size_.height - 1;
    buffer.raster.kind = 2;
    buffer.reader = read;
    (void)image_number;
    return here.answer ? here.answer(frame) : clip_fetch::done;
  }
  static void read(const raster_info&, int y, int x0, int x1, fix* const* planes, int n_elements, int image_number) {
    const clips_at_hand& here = *current();
    for (int e = 0; e < n_elements; ++e)
      for (int x = x0; x <= x1; ++x) planes[e][x - x0] = here.clip_(image_number, here.frame_, x, y, e);
  }

  clip_function clip_;
  picture_size size_;
  int frame_ = 0;
};

/// Rounds towards minus infinity.
inline fix shifted_down(std::int64_t v, int bits) {
  return fix(v >= 0 ? v >> bits : -((-v + (1 << bits) - 1) >> bits));
}

}  // namespace tessaron::testing
