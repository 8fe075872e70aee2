// Clip arguments: inputs of which a node function wants frames of other times.
#pragma once

#include <cstdint>
#include <vector>

#include "evaluator/clips.h"
#include "genotype/genotype.h"

namespace tessaron {

/// Whether an argument is an input image itself, which alone has other frames.
bool is_clip_arg(const node& n, int arg);

/// Fetches a frame of a clip argument into `buffer`. False: the render is being stopped, and why has been said.
bool fetch_frame(const node& n, int arg, int frame_number, frame_buffer& buffer);

/// A frame number as the clip has it: not below 0, nor farther than any clip reaches. In fix.
fix frame_of_clip(fix frame);

inline constexpr fix FRAME_FRACTION = FIX_ONE - 1;
static inline int frame_below(fix frame) { return frame >> FIX_BITS; }
static inline int frame_above(fix frame) { return (frame + FRAME_FRACTION) >> FIX_BITS; }

/// The frames of a clip that a picture asks for: those below and, with `interp`, those above the frame numbers.
class asked_frames {
 public:
  /// One frame number for the whole picture.
  asked_frames(fix frame, bool interp);
  /// One for each pixel of the view. Those beyond the clip are held to it, in place.
  asked_frames(std::int32_t* frames, bool interp);

  int first() const { return first_; }
  int last() const { return last_; }
  bool has(int frame) const { return listed_.empty() || listed_[std::size_t(frame - first_)]; }

 private:
  int first_, last_;
  std::vector<std::uint8_t> listed_;  // empty: all from first to last
};

/// What stands in the store of the effect's own output; at the start of a run the argument is put there.
void prev_dest_image(node& n);

}  // namespace tessaron
