// Lightning: what the node functions of the zap family share.
#pragma once

#include <cstdint>
#include <vector>

#include "operators/bolts.h"
#include "operators/edge_fill.h"

namespace tessaron {

struct node;

// The functions, given the loops of an instruction-set level.
void draw_zap(node& n, const lightning_loops& loops);
void draw_zap_from(node& n, const lightning_loops& loops);
void draw_zap_from_mask(node& n, const lightning_loops& loops);

/// Half the frame's width, pixels: what 1.0 of a norm coordinate is.
float half_frame_width();

/// The settings from the arguments behind `first` of a call, which all functions of the family have in one order.
/// `wrinkle_curve` with one element stands for both.
bolt_settings bolt_settings_of(const node& n, int first_arg);
inline constexpr int WIDTH_VARY_ARG = 0, POINTINESS_ARG = 1, START_LEN_ARG = 2, WRINKLE_ARG = 3, BRANCHINESS_ARG = 4,
                     BRANCH_ANG_LEN_ARG = 5, SEED_PHASE_ARG = 6;  // from first_arg on

/// The number of bolts that an argument asks for, within what a frame can hold.
int bolt_count(fix bolts);
/// The state of bolt `index` of a call.
std::uint32_t bolt_state_of(fix seed, std::uint32_t index);
/// Uniform numbers that place a bolt, apart from those that shape it.
hash_chain placing_chain(std::uint32_t state);

/// From norm coordinates to the bolts' space: pixel widths from the middle of the image, y up.
image_point bolt_space_of(fix x, fix y);
/// From a place in the image to the bolts' space.
image_point bolt_space_of(image_point p);

/// One bolt to be made.
struct bolt_plan {
  std::uint32_t state;
  image_point start, end;  // bolt space
  float scale_length;      // pixels that the wrinkles go by
  float strength = 1;      // factor of the width
};

/// Makes the bolts on all workers and draws them into a plane, which is cleared. Does nothing on an abort.
void draw_lightning(const std::vector<bolt_plan>& plan, const bolt_settings& settings, std::int16_t* plane,
                    const lightning_loops& loops);

/// Shows an object beneath what was drawn: samples of at least `show` where the object is above the threshold.
void show_object(std::int16_t* plane, const std::int16_t* object, fix threshold, fix show);

}  // namespace tessaron
