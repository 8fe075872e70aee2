// What the warps share beside their loops: the table and the memory of the sampling image, and how positions
// beyond the frame are taken.
//
// The sampling image is a rip-map: the image reduced by halves in x and in y independently, so that a position
// can be read at one sharpness across and another one down. All x levels of a row lie side by side in one row of
// the buffer, the y levels one below the other. Samples are interleaved, 0 to 8191, and each level has a border of
// one sample all round.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/fixed.h"
#include "evaluator/pixel_loop.h"
#include "operators/operators.h"

namespace tessaron {

inline constexpr int MAX_MIPMAP_LEVELS = 15;

/// Where the levels lie. Entries behind the last level repeat it, so that the level behind any level can be named.
struct mipmap_table_record {
  // What the table was made for.
  std::int32_t width, height, elnum;
  bool levels;

  std::int32_t x_level_count, y_level_count;                                                 // 1 without filtering
  std::int32_t x_level_width[MAX_MIPMAP_LEVELS + 1], y_level_height[MAX_MIPMAP_LEVELS + 1];  // without borders
  fix x_level_limit[MAX_MIPMAP_LEVELS + 1], y_level_limit[MAX_MIPMAP_LEVELS + 1];            // fix pixels
  std::uint32_t x_level_offset[MAX_MIPMAP_LEVELS + 1];  // samples from a row's start to the level's left border
  std::uint32_t y_level_row[MAX_MIPMAP_LEVELS + 1];     // samples from the buffer's start to the level's top border
  std::int32_t row_stride;                              // samples
  fix max_x_level, max_y_level;                         // largest levels that can be asked for
};

/// First interior sample of a level.
static inline std::uint32_t level_start(const mipmap_table_record& t, int lx, int ly) {
  return t.y_level_row[ly] + std::uint32_t(t.row_stride) + t.x_level_offset[lx] + std::uint32_t(t.elnum);
}

/// The one sampling image: renders come one after the other, so all instances share its memory.
extern mipmap_table_record mipmap_table;
extern std::int16_t* mipmap_buffer;

/// What lies beyond the frame in each direction: black, the image again, or its mirror image.
extern bool wrap_x_on, wrap_x_mirror, wrap_y_on, wrap_y_mirror;

enum wrap_kind : int { WRAP_NONE, WRAP_REPEAT, WRAP_MIRROR };
static inline wrap_kind x_wrap_kind() { return !wrap_x_on ? WRAP_NONE : wrap_x_mirror ? WRAP_MIRROR : WRAP_REPEAT; }
static inline wrap_kind y_wrap_kind() { return !wrap_y_on ? WRAP_NONE : wrap_y_mirror ? WRAP_MIRROR : WRAP_REPEAT; }

/// Sets the flags from a `wrap` argument: at or below 0 none, up to 1.0 repeat, above mirror.
void set_wrap_flags(fix wrap_x, fix wrap_y);

/// Makes the table for an image, unless it is that image's already, and sees to the buffer. Too large an image for
/// the memory there is ends the render.
void set_mipmap_table(int width, int height, int elnum, bool levels);

/// What takes coordinates to positions and positions to fix pixels of the working image.
struct sampling_frame {
  fix inv_aspect_fix;                    // 1 / (pixel aspect * frame aspect)
  std::int32_t full_width, full_height;  // pixels of the frame
  fix origin_x, origin_y;                // of the working image in the frame, fix pixels
};
/// That of the view as it stands now.
sampling_frame current_sampling_frame();
/// Coordinates from the view's first pixel on.
coordinate_steps view_coordinates();

/// How bright the first and the last step of a walk are, 4096 for the mean of all.
struct end_weights {
  fix first, last;
};
/// From the two elements of an `ends_brightness` argument; a sum of 0 counts as 1.
end_weights end_weights_of(fix first, fix last);

/// Memory of an operator that is kept for its next call and grows when it has to. Samples start as 0.
template <class T>
class growing_buffer {
 public:
  growing_buffer() = default;
  ~growing_buffer();
  growing_buffer(const growing_buffer&) = delete;
  growing_buffer& operator=(const growing_buffer&) = delete;

  /// At least so many samples; what they hold is left from before or 0. Ends the render without memory.
  T* at_least(std::size_t count);

 private:
  T* data_ = nullptr;
  std::size_t count_ = 0;
};
extern template class growing_buffer<std::int16_t>;
extern template class growing_buffer<std::int32_t>;

}  // namespace tessaron
