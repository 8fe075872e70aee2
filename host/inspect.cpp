#include "host/inspect.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/report.h"
#include "base/text.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/plan.h"
#include "genotype/genotype_reader.h"
#include "genotype/globals.h"
#include "genotype/text_reader.h"
#include "host/alpha_modes.h"
#include "host/configuration.h"
#include "host/display_globals.h"
#include "host/effect_table.h"
#include "host/host_state.h"
#include "host/named_lists.h"
#include "host/parameters.h"
#include "host/render_records.h"
#include "host/report_listener.h"
#include "host/widgets/declarations.h"
#include "installer/custom_listing.h"
#include "platform/platform.h"

namespace tessaron {
namespace {

/// A record of its own for `Globals` while it lives, with `g` as its one effect.
class scratch_globals {
 public:
  explicit scratch_globals(genotype* g = nullptr) : outer_(Globals) {
    init_globals(record_);
    record_.plugin_name = g ? g->name : "";
    record_.n_effects = 1;
    record_.genotypes[0] = g;
    record_.effect_genotype = g;
    record_.n_inputs = g ? g->n_inputs : 0;
    Globals = &record_;
  }
  ~scratch_globals() { Globals = outer_; }
  scratch_globals(const scratch_globals&) = delete;
  scratch_globals& operator=(const scratch_globals&) = delete;
  globals_record& record() { return record_; }

 private:
  globals_record record_{};
  globals_record* outer_;
};

/// A host that only takes parameter declarations.
std::int32_t take_declared_param(void* taken, std::int32_t, pf_param_def* def) {
  auto& list = *static_cast<std::vector<pf_param_def>*>(taken);
  list.push_back(*def);
  if (def->param_type == PF_Param_POPUP) list.back().u.popup.names = nullptr;  // lives only as long as the call
  return PF_Err_NONE;
}

/// What a host needs to tell for parameters and a plan: a layer of this size, at frame 0, as it is.
pf_in_data plain_in_data(int width, int height) {
  pf_in_data in_data{};
  in_data.version_major = 13;
  in_data.width = width;
  in_data.height = height;
  in_data.time_step = 1;
  in_data.total_time = 1;
  in_data.time_scale = 24;
  in_data.downsample_x = in_data.downsample_y = in_data.pixel_aspect_ratio = {1, 1};
  return in_data;
}

std::vector<pf_param_def> declare_into_list(genotype& g, pf_in_data& in_data) {
  std::vector<pf_param_def> declared;
  in_data.effect_ref = &declared;
  in_data.inter.add_param = take_declared_param;
  // Identifiers may be relative to the counter: a second declaration starts from what was written.
  std::vector<std::int16_t> written_ids;
  for (int i = 0; i < g.n_params; ++i) written_ids.push_back(g.params[i]->host_id);
  int next_index = 1, next_id = 1;
  declare_params(in_data, next_index, next_id);
  for (int i = 0; i < g.n_params; ++i) g.params[i]->host_id = written_ids[std::size_t(i)];
  in_data.effect_ref = nullptr;
  return declared;
}

/// What a host shows for a parameter that nobody has touched.
void set_initial_value(pf_param_def& def, const pf_in_data& in_data) {
  switch (def.param_type) {
    case PF_Param_POPUP:
      def.u.popup.value = def.u.popup.default_value;
      break;
    case PF_Param_POINT:
      def.u.point.x = pf_fixed(std::floor(def.u.point.default_x / 100.0 * in_data.width + 0.5));
      def.u.point.y = pf_fixed(std::floor(def.u.point.default_y / 100.0 * in_data.height + 0.5));
      break;
    default:
      break;
  }
}

/// Selects the effect of Globals and fills what a render of frame 0 fills before the tree is typed and folded.
void prepare_frame(genotype& g, const pf_in_data& in_data) {
  effect_inputs inputs;
  inputs.count = std::min(int(g.n_inputs), MAX_INPUTS);
  for (int i = 0; i < inputs.count; ++i)
    inputs.matte[i] = !std::strcmp(g.input_names[i], "Matte") || !std::strcmp(g.input_names[i], "Mask");
  std::fill(std::begin(source_raster_info), std::end(source_raster_info), raster_info{});
  temp_raster_info = {};
  temp_raster_info.width = in_data.width;
  temp_raster_info.height = in_data.height;
  temp_raster_info.x1 = in_data.width - 1;
  temp_raster_info.y1 = in_data.height - 1;
  set_frame_bounds(in_data);
  set_pixel_aspect_ratio(render_pixel_aspect(in_data));
  set_display_dim_globals(in_data.width, in_data.height, 1, 1);
  select_effect_i(0, 0);
  read_mix_params(g);
  choose_alpha_modes(g, inputs);
  set_time_globals(in_data);
}

}  // namespace

std::string labelled_text(const inspected_report& report) {
  std::string text = report.text;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  const char* label = severity_label(report.severity);
  return label && *label ? std::string(label) + ": " + text : text;
}

// ---- definitions ---------------------------------------------------------------------------------

void send_notes_to_standard_error() { set_note_stream(stderr); }

void start_engine() {
  if (!tables_ready) set_tables_and_globals();
}

namespace {

/// Gathers the widgets of an effect that is a plug-in of its own: the first and only entry of its popup.
void gather_alone(genotype& g) {
  for (int k = 0; k < g.n_params; ++k)
    for (widget_entry* entry = g.params[k]->widgets; entry; entry = entry->next) entry->effect_mask |= 1;
  widget_numbering numbering = widget_numbering::unknown;
  gather_widgets(g, numbering);
}

}  // namespace

genotype* inspect_definition(const definition_text& definition, std::vector<inspected_report>& reports) {
  report_listener listener(reports);
  scratch_globals globals;
  genotype* g = nullptr;
  const char* text = definition.text.c_str();
  note_definition_origin(text, definition);
  try {
    start_engine();
    g = load_effect_from_string(text);
    if (g) gather_alone(*g);
  } catch (const TessaronAbortException&) {
    g = nullptr;  // its words are among the reports
  }
  forget_definition_origin(text);
  reset_reader();
  if (g && !g->description && !definition.comment.empty()) g->description = copy_text(definition.comment.c_str());
  return g;
}

void free_inspected(genotype* g) {
  if (g) free_genotype(g);
}

bool inspect_set_param(genotype& g, const std::string& name, const std::vector<float>& values) {
  for (int i = 0; i < g.n_params; ++i) {
    param& p = *g.params[i];
    if (name != p.name) continue;
    for (int c = 0; c < std::min(int(values.size()), 4); ++c) p.value[c] = p.default_value[c] = values[c];
    return true;
  }
  return false;
}

// ---- parameters and plan -------------------------------------------------------------------------

std::vector<pf_param_def> inspect_host_params(genotype& g) {
  scratch_globals globals(&g);
  pf_in_data in_data = plain_in_data(1920, 1080);
  Globals->in_data = &in_data;
  return declare_into_list(g, in_data);
}

std::vector<std::string> inspect_list_names(const param& p) {
  if (!(p.flags[1] & PARAM1_NAMED_LIST)) return {};
  start_engine();
  const list_loader loader = named_list_loader(named_list_of(p));
  return loader ? loader() : std::vector<std::string>{};
}

bool inspect_plan(genotype& g, int width, int height, inspected_plan& plan, std::vector<inspected_report>& reports) {
  report_listener listener(reports);
  scratch_globals globals(&g);
  pf_in_data in_data = plain_in_data(width, height);
  Globals->in_data = &in_data;
  try {
    start_engine();
    std::vector<pf_param_def> declared = declare_into_list(g, in_data);
    std::vector<pf_param_def*> pointers{nullptr};
    for (pf_param_def& def : declared) {
      set_initial_value(def, in_data);
      pointers.push_back(&def);
    }
    Globals->params = pointers.data();
    ++host_state.call_stamp;
    prepare_frame(g, in_data);
    if (!resolve_element_counts(g)) return false;
    fold_and_pass(g);
    build_eval_image_nodes(g);
    build_eval_nodes(follow_pass(&g.nodes[0]), false);
  } catch (const TessaronAbortException&) {
    return false;
  }
  const auto index_of = [&](const node* n) { return int(n - g.nodes); };
  for (int i = 0; i < Globals->n_eval_image_nodes; ++i)
    plan.eval_image_nodes.push_back(index_of(Globals->eval_image_nodes_array[i]));
  for (int i = 0; i < eval_nodes_count; ++i) plan.eval_nodes.push_back(index_of(eval_nodes_array[i]));
  return true;
}

// ---- the rest ------------------------------------------------------------------------------------

const fun_registry& inspect_catalogue() {
  start_engine();
  return catalogue;
}

std::string inspect_combo_text(std::uint32_t combo, int arg_number) { return combo_text(combo, arg_number); }

bool inspect_number(const std::string& text, float& value) { return parse_number(text.c_str(), value); }

std::string inspect_config_dir() { return get_config_dir(); }

void inspect_use_config_dir(const std::string& dir) {
  setenv("TESSARON_CONFIG_DIR", dir.c_str(), 1);
  reset_custom_listing();
  reset_config();
}

bool inspect_limit_processors(int count) { return platform::limit_affinity(count); }
std::string inspect_cpu_level() { return cpu_level_name(chosen_cpu_level()); }
std::int64_t inspect_peak_bytes() { return platform::peak_resident_bytes(); }
const char* inspect_version() { return ENGINE_VERSION_TEXT; }

}  // namespace tessaron
