#include "operators/sampling_reduced.h"

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "operators/planes.h"

namespace tessaron {

reduced_resolution::reduced_resolution(int n) : entered_(n > 0), field_number_(field_globals.field_number) {
  if (!entered_) return;
  cache_view = {temp_raster_info.x0, temp_raster_info.y0, temp_raster_info.width, temp_raster_info.height};
  enter_reduced_resolution(n);
  cache_step = 1 << n;
  field_globals.field_number = 0;
}

void reduced_resolution::leave() {
  if (!entered_) return;
  entered_ = false;
  leave_reduced_resolution();
  cache_step = 1;
  field_globals.field_number = field_number_;
}

}  // namespace tessaron
