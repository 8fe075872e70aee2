// draw_grid: a ruled plane in perspective.
#pragma once

namespace tessaron {

struct node;
struct lightning_loops;

/// `boxes`, `line_width`, `center`, `size`, `z_dist`, `latitude`, `swing`, `roll`, `tele_lens_width`,
/// `major_line_spacing`, `major_line_width` into one plane, given the loops of an instruction-set level.
void draw_grid(node& n, const lightning_loops& loops);

}  // namespace tessaron
