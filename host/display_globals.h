// Display and time globals of one render, from what the host says of its frame.
#pragma once

#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// num / den; a denominator of 0 counts as the numerator alone.
double downsample_fraction(const pf_rational& r);
/// A size in pixels at a fraction of full resolution, rounded, at least 1 and at most what an int holds.
int scaled_size(int size, double fraction);

/// The ratio that this render uses: the forced one, the host's, or 1.
float render_pixel_aspect(const pf_in_data& in_data);

/// The part of display_dims that tells of the scaled layer: its size and ratio.
void set_layer_dims(int layer_width, int layer_height, double dsx, double dsy);
/// Sets display_dims from the layer's full size and the downsample fractions; reads temp_raster_info
/// and render_info. False, with a report and nothing changed, when a dimension is 0.
bool set_display_dim_globals(int layer_width, int layer_height, double dsx, double dsy);

/// Sets all of time_globals but the run's start and the seed of the noises.
void set_time_globals(const pf_in_data& in_data);
/// Makes `fps` this rate whatever the host says, frames a second; 0 takes the host's again.
void set_fixed_frame_rate(float fps);

/// Marks the frame in the instance's held images and sets time_globals.run_start_time: a frame that is
/// not the next one after the last starts a new run.
void note_temporal_run(globals_record& record, const pf_in_data& in_data, bool thumbnail);

}  // namespace tessaron
