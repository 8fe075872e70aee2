// How far an effect reaches beyond its inputs: a walk from the root to the sources.
//
// Each node has a region of the frame, which its value is asked for. A function hands its region on to its
// arguments: as it is, or enlarged by the bounds hook of its declaration (`.bounds`), for functions that
// look around. Hooks run at frame setup, on the folded tree: a constant argument's const_vals hold, sizes come
// from display_dims, planes and pixels are not there.
#pragma once

#include "evaluator/rectangle.h"
#include "genotype/genotype.h"

namespace tessaron {

/// node::bounds while the walk runs, null otherwise.
struct bounds_record {
  rectangle region;  // empty: nothing asks for the node
};

// For bounds hooks; plain calls, so that every instruction-set level shares them.

/// Merges the node's region into argument `arg`, moved outwards by whole pixels on the left and right
/// (`pad_x`), top and bottom (`pad_y`). Sides saturate; a pad of 32767 or more asks for everything, one below 0
/// counts as 0. A constant argument has no region.
void grow_arg_bounds(node& n, int arg, int pad_x, int pad_y);
/// The same with an amount for each side.
void grow_arg_bounds(node& n, int arg, int left, int top, int right, int bottom);
/// Merges everything into argument `arg`: a function that may look anywhere.
void unbound_arg_bounds(node& n, int arg);
/// Merges the node's region as it is into every argument; what functions without a hook do.
void pass_bounds_on(node& n);

/// What the effect takes up when its inputs are `input`: the regions of the root and of every source, united.
rectangle bounds_of_tree(genotype& g, const rectangle& input);

}  // namespace tessaron
