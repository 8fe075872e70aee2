// Bodies of the image operators, as the catalogue names them, and what they share. Each body runs once
// per image on the main thread: it fetches its image argument into the node's planes and works on whole
// planes, with the workers' help.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "base/fixed.h"

namespace tessaron {

struct node;

/// Each sample to a power, through a table made for the call.
void gamma_image(node& n);

/// The checks that every operator begins with: the node holds `expected` planes and none is missing.
/// Anything else is fatal.
void check_image_planes(const node& n, int expected);

/// Makes sure that const_vals of these arguments hold values: each is one value for the whole image. One that varies
/// from pixel to pixel all the same counts with its value in the middle of the view, which a warning says. On the
/// main thread, before the long image is in use.
void settle_args(node& n, std::initializer_list<int> args);
/// The same of all arguments from `first` on.
void settle_args_from(node& n, int first);
/// Element e of one such argument.
fix setting_value(node& n, int arg, int e = 0);

/// In field rendering pixel loops leave the other field's lines out: fills these lines of a plane of the view,
/// `stride` samples from line to line, with the mean of the lines around, since operators read between lines.
template <class T>
void fill_skipped_lines(T* samples, std::size_t stride, std::size_t line_samples);
extern template void fill_skipped_lines(std::int16_t*, std::size_t, std::size_t);
extern template void fill_skipped_lines(std::int32_t*, std::size_t, std::size_t);

/// Puts the value of argument `arg` into planes of the view's size: the tree is evaluated, or the planes
/// of a node that has some are copied. Fills one plane for each element of the argument, at most
/// max_elnum; the number of planes filled. In field rendering the lines of the other field are made from this one's.
int fetch_image_arg(node& n, int arg, std::int16_t* const* dest_planes);

/// Copies one plane of short_image_size bytes; a large one on all workers.
void copy_plane(std::int16_t* dest, const std::int16_t* src);

}  // namespace tessaron
