// The host's images as the evaluator sees them: inputs of a call, raster records, rectangles.
#pragma once

#include <array>
#include <cstdint>

#include "evaluator/frame.h"
#include "evaluator/rectangle.h"
#include "genotype/globals.h"
#include "host/effect_table.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// The input layers of one command, by slot: slot 0 is params[0], the others are checked out of the host
/// and checked in again when this goes away.
class checked_out_inputs {
 public:
  checked_out_inputs(pf_in_data& in_data, pf_param_def** params) : in_data_(in_data), params_(params) {}
  ~checked_out_inputs();
  checked_out_inputs(const checked_out_inputs&) = delete;
  checked_out_inputs& operator=(const checked_out_inputs&) = delete;

  /// Takes `n_slots` (at most 4) layers at the current time. 0, or the host's error number.
  std::int32_t check_out(int n_slots);
  /// The layer of a slot; null where there is none.
  const pf_world* layer(int slot) const;
  std::uint32_t present_mask() const;
  /// Pixels by slot, null where there is no layer.
  std::array<const void*, MAX_INPUTS> pixels() const;

 private:
  pf_in_data& in_data_;
  pf_param_def** params_;
  pf_param_def extra_[MAX_INPUTS] = {};
  int n_slots_ = 0;  // slots 1 to n_slots_ - 1 are to be checked in
};

/// What the inputs of one effect are fed with, by image number less 1.
struct effect_inputs {
  int count = 0;
  const pf_world* layer[MAX_INPUTS] = {};   // null: a dummy, which reads as zeros
  int slot[MAX_INPUTS] = {-1, -1, -1, -1};  // the host's, by which other frames are asked for; -1: none
  bool matte[MAX_INPUTS] = {};              // named "Matte" or "Mask"
};
/// Finds each input of `g` by its name among the plug-in's. An input that has no layer of its own and is
/// declared default_input_self takes the first input's.
effect_inputs feed_inputs(const genotype& g, const effect_table& table, const checked_out_inputs& inputs);

/// False, with a report that names `what`, when a world with pixels can't be worked on: a negative or
/// unheld size, rows shorter than their pixels, no memory, memory not aligned to its samples.
bool world_usable(const pf_world& world, const char* what);

/// Fills a record from a world whose first pixel lies at (x0, y0) of the frame.
void raster_info_from_world(raster_info& raster, const pf_world& world, bool bgra, int x0, int y0);
/// Input record; `first` is the record that its centre goes over, null for the first input itself.
void source_raster_info_from_layer(raster_info& raster, const pf_world& layer, bool bgra, const raster_info* first);
/// Output record, at the host's output origin.
void dest_raster_info_from_layer(raster_info& raster, const pf_world& output, bool bgra, const pf_in_data& in_data);
/// All four input records; those without a layer are cleared.
void fill_source_rasters(const effect_inputs& inputs, bool bgra);

rectangle raster_rectangle(const raster_info& raster);
/// Frame bounds, scale and validity of render_info: the layer of in_data.
void set_frame_bounds(const pf_in_data& in_data);
/// The rectangle that the output may hold: dest_raster_info, at most 30000 beyond its corner.
rectangle output_rectangle();

/// Fills the rectangles of render_info and temp_raster_info. What is computed: around the inputs, within the
/// output, its mattes, and the host's hint. What is kept in planes: the same, but without regard to the hint where a
/// value depends on the view, and to the mattes too where a node looks around.
void set_render_rectangles(const genotype& g, const effect_inputs& inputs, const pf_in_data& in_data,
                           const input_border* borders);

}  // namespace tessaron
