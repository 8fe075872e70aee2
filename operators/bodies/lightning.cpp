// The functions that draw from edges, with their level's loops.
#include "operators/bodies/lightning.h"

#include "operators/grid.h"
#include "operators/lightning.h"

namespace tessaron::TESSARON_LEVEL {

constinit const lightning_loops LIGHTNING_LOOPS = {displace_midpoints, outline_bolt, make_bolt_runs, fill_rows};

void zap_image(node& n) { draw_zap(n, LIGHTNING_LOOPS); }
void zap_from_image(node& n) { draw_zap_from(n, LIGHTNING_LOOPS); }
void zap_from_mask_image(node& n) { draw_zap_from_mask(n, LIGHTNING_LOOPS); }
void draw_grid_image(node& n) { draw_grid(n, LIGHTNING_LOOPS); }

}  // namespace tessaron::TESSARON_LEVEL
