// Lightning from a circle to an object.
#pragma once

namespace tessaron {
struct node;
}

namespace tessaron::TESSARON_LEVEL {

/// `to_obj`, `center`, `radius`, `bolts_points`, `width_vary`, `end_pointiness`, `start_len`, `wrinkle_amp`,
/// `branchiness`, `branch_ang_len`, `seed_phase`, `threshold_show` into one plane.
void zap_to_image(node& n);

}  // namespace tessaron::TESSARON_LEVEL
