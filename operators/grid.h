// draw_grid: a ruled plane in perspective.
#pragma once

namespace tessaron {

struct node;

/// `boxes`, `line_width`, `center`, `size`, `z_dist`, `latitude`, `swing`, `roll`, `tele_lens_width`,
/// `major_line_spacing`, `major_line_width` into one plane.
void draw_grid_image(node& n);

}  // namespace tessaron
