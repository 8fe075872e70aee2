// Arguments that operators take as one value for the whole image.
#include <algorithm>

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype.h"
#include "operators/operators.h"

namespace tessaron {
namespace {

constexpr int MOST_ELEMENTS = 4;

std::int64_t middle;               // its place in the view
fix middle_sample[MOST_ELEMENTS];  // written by the worker that meets it, while others may still copy the nodes

void middle_pixel_sink(node& root, std::int64_t offset, int width) {
  if (middle < offset || middle >= offset + width) return;
  for (int e = 0; e < MOST_ELEMENTS; ++e)
    middle_sample[e] = root.rows[std::min<int>(e, root.elnum - 1)][middle - offset];
}

/// In the middle of the view; in field rendering, where every other line is left out, a line next to it perhaps.
std::int64_t place_of_middle() {
  int row = temp_raster_info.height / 2;
  const int field = field_globals.field_number;
  if (field && ((temp_raster_info.y0 + row) & 1) == field - 1 && temp_raster_info.height > 1) row -= 1;
  return std::int64_t(row) * temp_raster_info.width + temp_raster_info.width / 2;
}

// Besides the flags of the genotype: a value whose author has been told. It lives as long as its node.
constexpr std::uint8_t NODE_TOLD = 0x80;
static_assert(NODE_TOLD > NODE_IMAGES_VALID, "a bit of its own");

/// Says it once, not for every frame and element.
void tell_author(const node& n, node& value, int arg) {
  if (value.node_flags & NODE_TOLD) return;
  value.node_flags |= NODE_TOLD;
  report(REPORT_WARNING,
         "%s: '%s' takes one value for the whole image, but is given one for each pixel. That in the middle counts.",
         n.name ? n.name : n.fun->name, n.fun->arg_names[arg]);
}

void settle_arg(node& n, int arg) {
  node& value = *n.args[arg];
  if (value.node_flags & NODE_CONSTANT) return;
  tell_author(n, value, arg);
  middle = place_of_middle();
  std::copy(value.const_vals, value.const_vals + MOST_ELEMENTS, middle_sample);  // what stays after an abort
  eval_node_tree_pixel_loop(&value, middle_pixel_sink, 0, 1);
  std::copy(middle_sample, middle_sample + MOST_ELEMENTS, value.const_vals);
}

}  // namespace

void settle_args(node& n, std::initializer_list<int> args) {
  for (const int arg : args) settle_arg(n, arg);
}

void settle_args_from(node& n, int first) {
  for (int arg = first; arg < n.arg_number; ++arg) settle_arg(n, arg);
}

fix setting_value(node& n, int arg, int e) {
  settle_arg(n, arg);
  return n.args[arg]->const_vals[e];
}

}  // namespace tessaron
