// Bodies of the image operators, as the catalogue names them, and what they share. Each body runs once
// per image on the main thread: it fetches its image argument into the node's planes and works on whole
// planes, with the workers' help.
#pragma once

#include <cstdint>

namespace tessaron {

struct node;

/// Each sample to a power, through a table made for the call.
void gamma_image(node& n);

/// The checks that every operator begins with: the node holds `expected` planes and none is missing.
/// Anything else is fatal.
void check_image_planes(const node& n, int expected);

/// Puts the value of argument `arg` into planes of the view's size: the tree is evaluated, or the planes
/// of a node that has some are copied. Fills one plane for each element of the argument, at most
/// max_elnum; the number of planes filled.
int fetch_image_arg(node& n, int arg, std::int16_t* const* dest_planes);

/// Copies one plane of short_image_size bytes; a large one on all workers.
void copy_plane(std::int16_t* dest, const std::int16_t* src);

}  // namespace tessaron
