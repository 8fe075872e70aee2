// Frames of a clip from other times, as pictures.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// `clip`, `frame`, `interp`: each pixel from the frame that `frame` has there, counted from 0. With interp above 0
/// the two nearest frames are mixed, otherwise the one below counts.
void time_warp_image(node& n);

/// The same with one frame for the whole picture.
void get_frame_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
