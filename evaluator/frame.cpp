// The records of the render under way.
#include "evaluator/frame.h"

namespace tessaron {

raster_info dest_raster_info;
raster_info source_raster_info[4];
raster_info temp_raster_info;
render_info_record render_info;
display_dims_record display_dims;
time_globals_record time_globals;
mix_globals_record mix_globals;
field_globals_record field_globals;
pixel_io_record pixel_io;
std::int32_t abort_requested;

}  // namespace tessaron
