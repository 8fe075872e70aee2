// The parts of groups that are too long for one file. Each is defined in a file of its own, and a
// group calls its parts in the catalogue's order.
#pragma once

#include "catalogue/defuns.h"
#include "evaluator/pass_hooks.h"

#ifndef TESSARON_LEVEL
#error "node functions are compiled per instruction-set level: TESSARON_LEVEL names the namespace"
#endif

namespace tessaron::TESSARON_LEVEL {

void define_vector_maths(fun_registry& r);     // mag_squared to direction
void define_colour(fun_registry& r);           // hsv_to_rgb to hotspots
void define_queries(fun_registry& r);          // slow_in_out to copy
void define_flares(fun_registry& r);           // lens_flare to glare
void define_clips(fun_registry& r);            // time_warp to interlace
void define_averages(fun_registry& r);         // ave_in_rect, ave_in_matte
void define_previous_output(fun_registry& r);  // get_prev_dest
void define_damage(fun_registry& r);           // jpeg_damage
void define_lightning(fun_registry& r);        // zap to zap_from_mask
void define_grid(fun_registry& r);             // draw_grid
void define_film(fun_registry& r);             // film_effect
void define_stylisers(fun_registry& r);        // flys_eye to paint
void define_foldings(fun_registry& r);         // kaleido to kaleido_oct

// Pass hooks that functions of several files share.

/// One element is its own largest, smallest, mean and only element.
static inline int pass_if_scalar(const node& n) { return n.args[0]->elnum == 1 ? 0 : -1; }
/// Turning, shearing or shifting by nothing.
static inline int pass_if_second_is_zero(const node& n) { return arg_zero(n, 1) ? 0 : -1; }

}  // namespace tessaron::TESSARON_LEVEL
