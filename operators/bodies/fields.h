// The two fields of a frame: every other line each.
//
// Fields are numbered from the frame's last line upwards, as video counts them: on a frame of even height field 0 is
// the upper one, with lines 0, 2, 4 and so on, and field 1 the lower one with the frame's last line.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// `image`, `field`: the field's lines stay, each line between is the mean of the two around it.
void extract_field_image(node& n);

/// `frame1`, `frame2`, `dominance`: frame1 on the lines of field `dominance`, frame2 on the others.
void interlace(node& n);

/// `clip0`, `frame0`, `field0` and the same again: field0 of a frame of clip0 on the lines of field `field_dominance`,
/// and field1 of one of clip1 on the others; with `rev_field_mode` the other way round. A field that comes to lie on
/// the lines of the other one is filled in between its lines, as extract_field does it.
void interlace_get_frames_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
