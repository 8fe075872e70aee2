// One frame: fills the records that describe images and time to the evaluator, runs it, and leaves the
// output whole.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "base/report.h"
#include "evaluator/loop_plan.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/plan.h"
#include "evaluator/temp_images.h"
#include "host/alpha_modes.h"
#include "host/clip_frames.h"
#include "host/configuration.h"
#include "host/converters.h"
#include "host/display_globals.h"
#include "host/host_state.h"
#include "host/host_suites.h"
#include "host/log.h"
#include "host/output_rows.h"
#include "host/render_setup.h"
#include "platform/platform.h"

namespace tessaron {
namespace {

constexpr const char* OBSERVER_SUITE = "Tessaron Observer Suite";

// --- sizes ---------------------------------------------------------------------------------------

bool nothing_wanted(const pf_in_data& in_data, const pf_world& output) {
  if (output.width == 0 || output.height == 0) return true;
  const pf_rect& hint = in_data.extent_hint;
  const bool hint_is_0 = !hint.left && !hint.top && !hint.right && !hint.bottom;
  const bool out_is_0 = !render_info.out_x0 && !render_info.out_y0 && !render_info.out_x1 && !render_info.out_y1;
  return hint_is_0 && out_is_0;
}

/// Planes are all of one size: those of another size go.
void keep_planes_of_this_size(const pf_world& output) {
  static std::int32_t view_width = 0, view_height = 0;  // of the last render of the process
  if (view_width != temp_raster_info.width || view_height != temp_raster_info.height ||
      Globals->last_width != output.width || Globals->last_height != output.height) {
    view_width = temp_raster_info.width;
    view_height = temp_raster_info.height;
    Globals->last_width = std::int16_t(output.width);
    Globals->last_height = std::int16_t(output.height);
    free_all_temp_images();
  }
  display_dims.n_pixels = temp_raster_info.width * temp_raster_info.height;
  display_dims.view_width = temp_raster_info.width;
  display_dims.view_height = temp_raster_info.height;
  short_image_size = std::int64_t(display_dims.n_pixels) * std::int64_t(sizeof(std::int16_t));
}

bool is_thumbnail(const pf_in_data& in_data, const pf_world& output) {
  constexpr int ICON_WIDTH = 128, ICON_TOLERANCE = 10;
  if (host_state.host_app == HOST_COMBUSTION) return std::abs(output.width - ICON_WIDTH) < ICON_TOLERANCE;
  if (host_state.host_app != HOST_MOTION) return false;
  const auto icon_ratio = [](const pf_rational& r) {
    return std::int64_t(r.num) * 5 == r.den || std::int64_t(r.num) * 13 == r.den;
  };
  return icon_ratio(in_data.downsample_x) && icon_ratio(in_data.downsample_y);
}

// --- fields --------------------------------------------------------------------------------------

/// In field rendering row operators count their planes anew.
void recount_planes(genotype& g) {
  for (int i = 0; i < g.n_nodes; ++i) {
    node& n = g.nodes[i];
    if (n.kind != KIND_FUNCTION || !n.fun->is_image_fun || (n.node_flags & NODE_CONSTANT)) continue;
    const int count =
        std::max({n.elnum * n.fun->images_per_element + n.fun->extra_images, int(n.elnum), int(n.fun->min_images)});
    if (count > MAX_NODE_IMAGE_COUNT)
      fatal("%s has image_count %d > MAX_NODE_IMAGE_COUNT %d", n.name ? n.name : n.fun->name, count,
            MAX_NODE_IMAGE_COUNT);
    n.image_count = std::int8_t(count);
  }
}

void set_field(const pf_in_data& in_data) {
  // Rows of a field keep the positions that they have in the frame, so that two field renders make up
  // the frame render: no offset.
  field_globals = {};
  if (in_data.field == 0 || host_state.host_app == HOST_MOTION) return;
  field_globals.field_number = 3 - in_data.field;
}

// --- rows in and out -----------------------------------------------------------------------------

void choose_pixel_io(const frame_effect& effect) {
  pixel_io = {};
  for (int i = 0; i < MAX_INPUTS; ++i) {
    const raster_info& source = source_raster_info[i];
    pixel_io.read_source[i] = read_absent_source;
    if (source.kind != 2) continue;
    pixel_io.read_source[i] = choose_source_reader(source.format, mix_globals.mix_input, config.input_lut_on);
    pixel_io.read_texels[i] = choose_texel_reader(source.format, mix_globals.mix_input, config.input_lut_on);
  }
  pixel_io.write_dest = choose_dest_writer(dest_raster_info.format, config.output_lut_on);
  pixel_io.write_planes = write_planes_to_dest;
  if (mix_globals.mix_output) {
    pixel_io.write_dest = straightening_writer(pixel_io.write_dest);
    pixel_io.write_planes = nullptr;  // every row goes through the straightening
  }
  pixel_io.dest_alpha_mode = mix_globals.alpha_source_mode;
  const int alpha_input = effect.g->alpha_z_input;
  pixel_io.dest_mode_2_ok = effect.g->rgba_mode == 2 && alpha_input >= 0 && alpha_input < effect.inputs.count &&
                            effect.inputs.layer[alpha_input];
}

/// A root that leaves the output's alpha alone finds the alpha of its background there.
void settle_output_alpha(const genotype& g) {
  if (dest_alpha_mode_for(g.nodes[0].elnum) == 2) copy_input_alpha(source_raster_info[g.alpha_z_input]);
}

// --- the observer --------------------------------------------------------------------------------

void tell_frame_done(const tessaron_observer_suite& observer, double preparation_seconds) {
  std::vector<const char*> names;
  std::vector<double> seconds;
  for (const node_timing& timing : last_frame_stats.image_nodes) {
    names.push_back(timing.n->name ? timing.n->name : timing.n->fun->name);
    seconds.push_back(timing.seconds);
  }
  tessaron_frame_stats stats = {};
  stats.setup_seconds = last_frame_stats.setup_seconds + preparation_seconds;
  stats.output_seconds = last_frame_stats.output_seconds;
  stats.n_image_nodes = std::int32_t(names.size());
  stats.image_node_names = names.data();
  stats.image_node_seconds = seconds.data();
  stats.planes_in_use = last_frame_stats.planes_in_use;
  stats.planes_planned = last_frame_stats.planes_planned;
  stats.plane_bytes = last_frame_stats.plane_bytes;
  observer.frame_done(observer.user, &stats);
}

/// The host's observer sees the root's rows as long as this lives.
class observed_frame {
 public:
  explicit observed_frame(const pf_in_data& in_data) : started_(platform::seconds()), suite_(in_data, OBSERVER_SUITE) {}
  ~observed_frame() {
    pixel_io.tap = nullptr;
    pixel_io.tap_user = nullptr;
  }
  void tap_rows() {
    if (!suite_ || !suite_->root_row) return;
    pixel_io.tap = suite_->root_row;
    pixel_io.write_planes = nullptr;  // planes would go to the output unseen
    pixel_io.tap_user = suite_->user;
  }
  void prepared() { preparation_seconds_ = platform::seconds() - started_; }
  void done() {
    if (suite_ && suite_->frame_done) tell_frame_done(*suite_.operator->(), preparation_seconds_);
  }

 private:
  double started_, preparation_seconds_ = 0;
  held_suite<tessaron_observer_suite> suite_;
};

// --- the frame -----------------------------------------------------------------------------------

const char* text_or_empty(const char* text) { return text ? text : ""; }

/// Everything between the records of the images and the finished rows. 0 or a host error number.
std::int32_t evaluate(frame_effect& effect, const pf_in_data& in_data, const pf_world& output,
                      observed_frame& observer) {
  genotype& g = *effect.g;
  keep_planes_of_this_size(output);
  const bool thumbnail = is_thumbnail(in_data, output);
  Globals->host_flags = std::uint8_t(thumbnail ? Globals->host_flags | HOST_THUMBNAIL_RENDER
                                               : Globals->host_flags & ~HOST_THUMBNAIL_RENDER);
  time_globals.run_start_time = 0;
  if (g.flags[0] & GENO0_PREV_OUTPUT) note_temporal_run(*Globals, in_data, thumbnail);

  set_pixel_aspect_ratio(render_pixel_aspect(in_data));
  set_display_dim_globals(in_data.width, in_data.height, render_info.downsample_x, render_info.downsample_y);
  Globals->last_effect_i = std::int16_t(effect.effect_i);
  read_mix_params(g);
  choose_alpha_modes(g, effect.inputs);
  choose_pixel_io(effect);
  observer.tap_rows();
  if (field_globals.field_number != 0) recount_planes(g);
  set_time_globals(in_data);

  abort_requested = 0;
  host_state.host_abort_err = 0;
  set_abort_query(ae_check_abort);  // and the host is asked at the first row
  if (!resolve_element_counts(g)) return PF_Err_BAD_REQUEST;
  select_effect_i(effect.effect_i, 1);
  settle_output_alpha(g);

  const clip_access clips(in_data, g, effect.inputs, effect.bgra);
  observer.prepared();
  if (perform_effect() != 0) {
    report(REPORT_ERROR, "Tessaron(%s:%s): Error performing effect.\n", text_or_empty(Globals->plugin_name), g.name);
    return PF_Err_BAD_REQUEST;
  }
  if (abort_requested) return host_state.host_abort_err ? host_state.host_abort_err : PF_Err_CANCEL;
  observer.done();
  return PF_Err_NONE;
}

}  // namespace

std::int32_t render_frame(pf_in_data& in_data, pf_out_data&, pf_param_def** params, pf_world& output) {
  Globals->host_flags &= std::uint8_t(~HOST_IN_FRAME_SETUP);
  const checkout_permission permission;
  if (!frame_usable(in_data, params) || !world_usable(output, "Output")) return PF_Err_BAD_REQUEST;
  checked_out_inputs inputs(in_data, params);
  frame_effect effect;
  if (const std::int32_t error = choose_effect(params, inputs, effect)) return error;

  fill_source_rasters(effect.inputs, effect.bgra);
  dest_raster_info_from_layer(dest_raster_info, output, effect.bgra, in_data);
  set_frame_bounds(in_data);
  set_render_rectangles(*effect.g, effect.inputs, in_data, Globals->input_borders);
  set_field(in_data);  // clearing goes by it, too, where nothing is computed

  const bool something_to_compute = temp_raster_info.width > 0 && temp_raster_info.height > 0;
  if (something_to_compute && !nothing_wanted(in_data, output)) {
    observed_frame observer(in_data);
    if (const std::int32_t error = evaluate(effect, in_data, output, observer)) return error;
  }
  Globals->host_flags |= HOST_RENDERED_ONCE;
  clear_outside_render_rectangle();
  write_diagnostics_log();
  return PF_Err_NONE;
}

void free_temp_sets(globals_record& record) {
  bool missing = false;
  for (temp_set_record& set : record.temp_sets) {
    const temp_set_record held = set;
    set = {};
    set.last_time = -1000000;  // long before any frame
    for (int i = 0; i < held.image_count; ++i)
      if (held.handles[i])
        free_temp_handle(static_cast<void**>(held.handles[i]));
      else
        missing = true;
  }
  record.temp_count = 0;
  if (missing) free_temp_handle(nullptr);  // a fault, told when all that is there has been given back
}

}  // namespace tessaron
