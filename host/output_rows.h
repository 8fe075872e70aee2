// What the render path itself does to the output's rows, around the evaluator's pixel loop.
#pragma once

#include "evaluator/frame.h"

namespace tessaron {

/// Zeroes the output outside render_info's render rectangle; in field rendering only the field's rows.
void clear_outside_render_rectangle();

/// Copies an input's alpha into the rows that will be rendered, for a root that leaves the output's alpha
/// alone. Where the input has no pixels the alpha becomes 0.
void copy_input_alpha(const raster_info& source);

/// Reader for an input without a layer: zeros, alpha too.
void read_absent_source(const raster_info& raster, int y, int x0, int x1, fix* const* planes, int n_elements,
                        int image_number);

/// A writer that straightens each row by its alpha before `writer` takes it: by its fourth element, or by
/// the alpha of the first input.
dest_writer straightening_writer(dest_writer writer);

}  // namespace tessaron
