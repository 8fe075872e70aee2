#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "hostkit/host_memory.h"
#include "hostkit/instance_state.h"

namespace tessaron::hostkit {
namespace {

constexpr double FIXED_ONE = 65536.0;  // of the 16.16 host numbers
constexpr int TIME_STEP = 1000;        // host time units a frame, fine enough for curves between frames

bool is_bgra(pixel_format format) { return format == pixel_format::bgra8 || format == pixel_format::bgra16; }
bool is_deep(pixel_format format) { return format == pixel_format::rgba16 || format == pixel_format::bgra16; }

/// `size` pixels at 1 / `factor`, rounded, at least 1.
int reduced(int size, int factor) { return std::max(1, int(std::floor(double(size) / factor + 0.5))); }

pf_rational nearest_rational(double ratio) {
  constexpr int LARGEST_DENOMINATOR = 10000;
  if (!(ratio > 0) || ratio > LARGEST_DENOMINATOR) return {0, 1};  // the engine takes this as 1
  int den = 1;
  while (den < LARGEST_DENOMINATOR && std::fabs(ratio * den - std::round(ratio * den)) > 1e-7 * den) ++den;
  return {int(std::round(ratio * den)), den};
}

pf_world world_of(const image& picture) {
  pf_world world = {};
  world.width = picture.width;
  world.height = picture.height;
  world.rowbytes = picture.rowbytes;
  world.world_flags = is_deep(picture.format) ? PF_WorldFlag_DEEP : 0;
  // The engine only reads its inputs.
  world.data = const_cast<std::uint8_t*>(picture.data.data());
  return world;
}

pf_fixed limited(double v) { return pf_fixed(std::clamp(v, -2147483648.0, 2147483647.0)); }

pf_fixed percent_to_pixels(pf_fixed percent, int size, int origin) {
  return limited(std::floor(percent / 100.0 * size + origin * FIXED_ONE + 0.5));
}

pf_fixed pixels_to_percent(pf_fixed pixels, int size, int origin) {
  return limited(std::floor((pixels - origin * FIXED_ONE) * 100.0 / size + 0.5));
}

void check_request(const frame_request& request, bool bgra) {
  const auto refuse = [](const std::string& why) { throw host_error("Frame request: " + why + "."); };
  if (request.downsample_x < 1 || request.downsample_y < 1) refuse("a downsample factor is at least 1");
  if (!(request.fps > 0) || request.fps * TIME_STEP > 2e9) refuse("the frame rate is above 0");
  const double last = std::max(std::fabs(double(request.frame)), double(request.total_frames));
  if (request.total_frames < 0 || last * TIME_STEP > 2147483647.0) refuse("the clip is too long");
  if (is_bgra(request.format) != bgra)
    refuse(bgra ? "the plug-in takes its images in a bgra layout" : "the plug-in takes its images in an rgba layout");
  for (const image* input : request.inputs)
    if (input && is_bgra(input->format) != bgra) refuse("an input is not in the layout that the plug-in takes");
}

}  // namespace

// --- state ---------------------------------------------------------------------------------------

instance::state::state(tessaron_main_fn entry_point, const tessaron_plugin& record, const host_identity& host)
    : entry(entry_point), plugin(record), identity(host), basic_suite{acquire_suite, release_suite} {
  in_data.inter = HOST_CALLBACKS;
  in_data.utils = &host_memory;
  in_data.effect_ref = this;
  in_data.pica_basic = identity.has_suites ? &basic_suite : nullptr;
  in_data.version_major = identity.version_major;
  in_data.version_minor = identity.version_minor;
  in_data.appl_id = identity.appl_id;
  in_data.time_step = TIME_STEP;
  in_data.time_scale = 24 * TIME_STEP;
  in_data.downsample_x = in_data.downsample_y = in_data.pixel_aspect_ratio = {1, 1};
  host_param layer = {};
  layer.param_type = PF_Param_LAYER;
  declared.push_back(layer);
}

int instance::state::call(int number, pf_world* output, void* extra) {
  const calling_instance calling(*this);
  out_data = {};
  out_data.global_data = in_data.global_data;
  out_data.sequence_data = in_data.sequence_data;
  in_data.num_params = std::int32_t(declared.size());
  const int error = entry(&plugin, number, &in_data, &out_data, param_pointers.data(), output, extra);
  if (number == PF_Cmd_GLOBAL_SETUP) {
    in_data.global_data = out_data.global_data;
    name = out_data.name;
  }
  in_data.sequence_data = out_data.sequence_data;
  if (error) keep_return_message();
  return error;
}

void instance::state::keep_return_message() {
  const std::string text(out_data.return_msg, strnlen(out_data.return_msg, sizeof out_data.return_msg));
  if (text.empty() || (!messages.empty() && messages.back() == text)) return;
  messages.push_back(text);
  if (result) result->messages.push_back(text);
}

void instance::state::setup(int number, const char* what) {
  const int error = call(number);
  if (error == 0) return;
  std::string text = std::string(what) + " failed with error " + std::to_string(error);
  for (const std::string& message : messages) text += "\n" + message;
  throw host_error(text);
}

std::vector<host_param> instance::state::values_in_pixels(double frame) const {
  std::vector<host_param> placed = values;
  if (request && request->values_at) request->values_at(frame, placed);
  for (host_param& p : placed)
    if (p.param_type == PF_Param_POINT) {
      p.u.point.x = percent_to_pixels(p.u.point.x, layer_width, in_data.output_origin_x);
      p.u.point.y = percent_to_pixels(p.u.point.y, layer_height, in_data.output_origin_y);
    }
  return placed;
}

int instance::state::input_slot(std::size_t index) const {
  if (declared[index].param_type != PF_Param_LAYER) return -1;
  return int(std::count_if(declared.begin(), declared.begin() + std::ptrdiff_t(index),
                           [](const host_param& p) { return p.param_type == PF_Param_LAYER; }));
}

pf_world instance::state::input_world(std::size_t slot) const {
  if (request && slot < request->inputs.size() && request->inputs[slot]) return world_of(*request->inputs[slot]);
  pf_world none = {};
  if (slot == 0) {  // the layer itself has a size even without pixels
    none.width = layer_width;
    none.height = layer_height;
  }
  return none;
}

pf_world instance::state::input_world_at(std::size_t slot, double frame) const {
  const bool another = request && request->input_at && frame != request->frame;
  if (!another) return input_world(slot);
  const image* picture = request->input_at(int(slot), frame);
  if (!picture) return {};
  if (is_bgra(picture->format) != bgra) throw host_error("An input is not in the layout that the plug-in takes.");
  return world_of(*picture);
}

void instance::state::place_params() {
  call_params = values_in_pixels(double(in_data.current_time) / in_data.time_step);
  call_params[0].u.layer = input_world(0);
  param_pointers.clear();
  for (host_param& p : call_params) param_pointers.push_back(&p);
}

std::vector<int> instance::state::adopt_changes() {
  std::vector<int> changed;
  for (std::size_t i = 1; i < call_params.size(); ++i) {
    if (!(call_params[i].change_flags & PF_ChangeFlag_CHANGED_VALUE)) continue;
    changed.push_back(int(i));
    values[i] = call_params[i];
    values[i].change_flags &= ~std::uint32_t(PF_ChangeFlag_CHANGED_VALUE);  // news of this command alone
    if (values[i].param_type == PF_Param_POINT) {
      values[i].u.point.x = pixels_to_percent(values[i].u.point.x, layer_width, in_data.output_origin_x);
      values[i].u.point.y = pixels_to_percent(values[i].u.point.y, layer_height, in_data.output_origin_y);
    }
  }
  return changed;
}

// --- instance ------------------------------------------------------------------------------------

void take_default(host_param& value, const host_param& declared) {
  switch (declared.param_type) {
    case PF_Param_ANGLE:
      value.u.angle.value = declared.u.angle.default_value;
      break;
    case PF_Param_CHECKBOX:
      value.u.checkbox.value = declared.u.checkbox.default_value;
      break;
    case PF_Param_COLOR:
      value.u.color.value = declared.u.color.default_value;
      break;
    case PF_Param_POINT:
      value.u.point.x = declared.u.point.default_x;
      value.u.point.y = declared.u.point.default_y;
      break;
    case PF_Param_POPUP:
      value.u.popup.value = declared.u.popup.default_value;
      break;
    case PF_Param_FIX_SLIDER:
      value.u.slider.value = declared.u.slider.default_value;
      break;
    default:
      break;
  }
}

instance::instance(tessaron_main_fn entry, const tessaron_plugin& plugin, const host_identity& identity)
    : state_(std::make_unique<state>(entry, plugin, identity)) {
  state& host = *state_;
  host.setup(PF_Cmd_GLOBAL_SETUP, "Global setup");
  try {
    host.setup(PF_Cmd_PARAMS_SETUP, "Parameter setup");
    host.values = host.declared;
    for (host_param& p : host.values) take_default(p, p);
    host.setup(PF_Cmd_SEQUENCE_SETUP, "Sequence setup");
  } catch (...) {
    host.call(PF_Cmd_GLOBAL_SETDOWN);
    throw;
  }
}

instance::~instance() {
  state_->call(PF_Cmd_SEQUENCE_SETDOWN);
  state_->call(PF_Cmd_GLOBAL_SETDOWN);
}

const std::vector<host_param>& instance::declared() const { return state_->declared; }
std::vector<host_param>& instance::values() { return state_->values; }
const std::string& instance::name() const { return state_->name; }
bool instance::takes_bgra() const { return state_->bgra; }
std::uint32_t instance::out_flags() const { return state_->out_data.out_flags; }
std::vector<std::string> instance::take_messages() { return std::exchange(state_->messages, {}); }

int instance::command(int number, void* extra) {
  state& host = *state_;
  host.place_params();
  const int error = host.call(number, nullptr, extra);
  host.adopt_changes();
  return error;
}

help_result instance::about(const std::function<int(const tessaron_help_window&)>& show) {
  state& host = *state_;
  help_result result;
  host.help = &result;
  host.show_help = show ? &show : nullptr;
  host.place_params();
  result.error = host.call(PF_Cmd_ABOUT);
  host.show_help = nullptr;
  host.help = nullptr;
  return result;
}

std::vector<std::uint8_t> instance::save() {
  state& host = *state_;
  host.setup(PF_Cmd_SEQUENCE_FLATTEN, "Sequence flatten");
  const int size = host.out_data.flat_sdata_size;
  if (!host.in_data.sequence_data || size <= 0) throw host_error("The plug-in has no flat form.");
  const auto* bytes = static_cast<const std::uint8_t*>(host_memory.host_lock_handle(host.in_data.sequence_data));
  std::vector<std::uint8_t> saved(bytes, bytes + size);
  host_memory.host_unlock_handle(host.in_data.sequence_data);
  return saved;
}

void instance::reload(const std::vector<std::uint8_t>& saved) {
  state& host = *state_;
  host.call(PF_Cmd_SEQUENCE_SETDOWN);  // a project that is loaded replaces the instance
  const pf_handle handle = host_memory.host_new_handle(std::int64_t(saved.size()));
  if (!handle) throw host_error("No memory for the sequence data.");
  std::memcpy(host_memory.host_lock_handle(handle), saved.data(), saved.size());
  host_memory.host_unlock_handle(handle);
  host.in_data.sequence_data = handle;
  host.setup(PF_Cmd_SEQUENCE_RESETUP, "Sequence resetup");
}

void instance::state::describe_frame(const frame_request& request) {
  check_request(request, bgra);
  const image* first = request.inputs.empty() ? nullptr : request.inputs[0];
  pf_in_data& in = in_data;
  in.width = request.width > 0 ? request.width : first ? first->width * request.downsample_x : 0;
  in.height = request.height > 0 ? request.height : first ? first->height * request.downsample_y : 0;
  if (in.width <= 0 || in.height <= 0) throw host_error("Frame request: no size, and no first input to take it from.");
  layer_width = first ? first->width : reduced(in.width, request.downsample_x);
  layer_height = first ? first->height : reduced(in.height, request.downsample_y);
  in.time_step = TIME_STEP;
  in.time_scale = std::uint32_t(std::lround(request.fps * TIME_STEP));
  in.current_time = request.frame * TIME_STEP;
  in.total_time = request.total_frames * TIME_STEP;
  in.field = request.field;
  in.downsample_x = {1, request.downsample_x};
  in.downsample_y = {1, request.downsample_y};
  in.pixel_aspect_ratio = nearest_rational(request.pixel_aspect);
  in.output_origin_x = in.output_origin_y = 0;
  in.extent_hint = request.extent.value_or(pf_rect{0, 0, layer_width, layer_height});
}

namespace {

/// In field rendering the output holds the first input, of which the other field stays.
void start_output(image& output, const frame_request& request, int origin_x, int origin_y) {
  std::fill(output.data.begin(), output.data.end(), request.initial_fill);
  const image* first = request.inputs.empty() ? nullptr : request.inputs[0];
  if (request.field == 0 || !first || first->format != output.format) return;
  const int columns = std::min(first->width, output.width - origin_x),
            rows = std::min(first->height, output.height - origin_y);
  for (int y = 0; y < rows; ++y)
    std::memcpy(output.row(y + origin_y) + std::size_t(origin_x) * output.bytes_per_pixel(), first->row(y),
                std::size_t(columns) * output.bytes_per_pixel());
}

/// Drops the unused elements of the collected root.
void pack_root(root_values& root, int elements) {
  constexpr std::size_t COLLECTED = 4;
  root.elements = elements;
  const std::size_t pixels = root.samples.size() / COLLECTED;
  for (std::size_t i = 0; i < pixels; ++i)
    for (int e = 0; e < elements; ++e) root.samples[i * elements + e] = root.samples[i * COLLECTED + e];
  root.samples.resize(pixels * elements);
}

}  // namespace

frame_result instance::render(const frame_request& request) {
  state& host = *state_;
  frame_result result;
  struct frame_scope {
    state& host;
    ~frame_scope() {
      host.request = nullptr;
      host.result = nullptr;
    }
  } scope{host};
  host.request = &request;
  host.result = &result;
  host.checked_out = 0;
  host.fault = nullptr;
  host.root_elements = 0;

  host.describe_frame(request);
  result.layer_width = host.layer_width;
  result.layer_height = host.layer_height;
  host.place_params();
  result.error = host.call(PF_Cmd_FRAME_SETUP);
  if (result.error) return result;
  result.origin_x = host.in_data.output_origin_x = host.out_data.origin_x;
  result.origin_y = host.in_data.output_origin_y = host.out_data.origin_y;

  result.output = image::make(host.out_data.width, host.out_data.height, request.format, request.row_padding_bytes);
  start_output(result.output, request, result.origin_x, result.origin_y);
  host.in_data.extent_hint = request.extent.value_or(pf_rect{0, 0, result.output.width, result.output.height});
  if (request.want_root) {
    result.root.width = result.output.width;
    result.root.height = result.output.height;
    result.root.samples.resize(std::size_t(result.output.width) * result.output.height * 4);
  }

  host.place_params();  // points move with the origin
  pf_world output = world_of(result.output);
  const pf_in_data described = host.in_data;
  if (request.before_render) request.before_render(host.in_data, host.param_pointers.data(), output);
  result.error = host.call(PF_Cmd_RENDER, &output);
  if (request.before_render) {  // its changes are for one render
    const pf_handle sequence = host.in_data.sequence_data;
    host.in_data = described;
    host.in_data.sequence_data = sequence;
  }
  if (host.fault) std::rethrow_exception(std::exchange(host.fault, nullptr));
  host.adopt_changes();
  if (request.want_root) pack_root(result.root, host.root_elements);
  result.inputs_left_out = host.checked_out;
  return result;
}

}  // namespace tessaron::hostkit
