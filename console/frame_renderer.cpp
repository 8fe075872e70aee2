#include "console/frame_renderer.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <iomanip>
#include <sstream>

#include "console/errors.h"
#include "console/image_files.h"
#include "console/npy.h"
#include "console/output_file.h"
#include "console/pixels.h"
#include "console/sha256.h"

namespace tessaron::console {
namespace {

volatile std::sig_atomic_t interrupt_taken = 0;

std::string pixel_hash(const hostkit::image& picture) {
  sha256 digest;
  for (int y = 0; y < picture.height; ++y)
    digest.add(picture.row(y), std::size_t(picture.width) * std::size_t(picture.bytes_per_pixel()));
  return digest.hex();
}

}  // namespace

interrupt_watch::interrupt_watch() : before_(std::signal(SIGINT, [](int) { interrupt_taken = 1; })) {}
interrupt_watch::~interrupt_watch() { std::signal(SIGINT, before_); }
bool interrupt_watch::interrupted() { return interrupt_taken; }

void frame_renderer::load_inputs(int frame) {
  layer_ = job_.size.value_or(size_option{});
  bool sized = false;
  for (std::optional<input_feed>& feed : job_.feeds) {
    if (!feed) continue;
    const hostkit::image& picture = feed->at(frame);
    // The layer is the first input; a size that was asked for stands in where that has no image.
    const bool is_first = &feed == &job_.feeds.front();
    if (is_first || (!sized && !job_.size)) layer_ = {picture.width, picture.height};
    sized = true;
  }
}

void frame_renderer::decide_format() {
  bool deep = false;
  for (std::optional<input_feed>& feed : job_.feeds)
    if (feed) deep = deep || is_deep(feed->current().format);
  format_ = job_.format.value_or(deep ? hostkit::pixel_format::bgra16 : hostkit::pixel_format::rgba8);
}

void frame_renderer::start(int frame) {
  decide_format();
  const bool bgra = format_ == hostkit::pixel_format::bgra8 || format_ == hostkit::pixel_format::bgra16;
  auto host = std::make_unique<effect_host>(options_.place, effect_.definition, g_, bgra);
  if (bgra && !host->instance().takes_bgra()) {
    // The settings may forbid the native layouts: what nobody asked for by name then gives way.
    if (job_.format)
      throw work_error("the engine does not take " + options_.pixel_format + " images; see allow_native_image_formats");
    format_ = hostkit::pixel_format::rgba16;
  }
  print_messages(host->instance().take_messages());
  host->set_params(job_.params, frame, host->instance().values());
  host_ = std::move(host);
}

hostkit::frame_request frame_renderer::request_for(int frame) {
  hostkit::frame_request request;
  request.frame = frame;
  request.fps = options_.fps;
  request.total_frames = job_.total_frames;
  request.field = options_.field;
  request.downsample_x = job_.downsample.x;
  request.downsample_y = job_.downsample.y;
  request.pixel_aspect = options_.pixel_aspect;
  request.width = layer_.width;
  request.height = layer_.height;
  request.format = format_;
  const host_form form = {format_, job_.downsample.x, job_.downsample.y};
  std::vector<const hostkit::image*> inputs;
  for (std::optional<input_feed>& feed : job_.feeds) inputs.push_back(feed ? &feed->prepared(form) : nullptr);
  request.inputs = host_->in_slots(inputs);
  request.input_at = [this, form, inputs, slots = request.inputs](int slot, double at) -> const hostkit::image* {
    const hostkit::image* const here = std::size_t(slot) < slots.size() ? slots[std::size_t(slot)] : nullptr;
    const auto input = std::find(inputs.begin(), inputs.end(), here);
    if (!here || input == inputs.end()) return nullptr;
    input_feed& feed = *job_.feeds[std::size_t(input - inputs.begin())];
    return &feed.prepared_at(int(std::floor(at)), form);
  };
  for (const param_setting& setting : job_.params)
    if (setting.keyed() && !request.values_at)
      request.values_at = [this](double at, std::vector<pf_param_def>& values) {
        host_->set_params(job_.params, at, values);
      };
  request.abort = [] { return interrupt_taken ? int(PF_Err_CANCEL) : 0; };
  request.want_root = !options_.fix_file.empty();
  request.want_stats = options_.stats;
  return request;
}

void frame_renderer::print_messages(const std::vector<std::string>& messages) {
  for (const std::string& message : messages)
    if (std::find(already_said_.begin(), already_said_.end(), message) == already_said_.end())
      std::fprintf(stderr, "%s\n", message.c_str());
}

void frame_renderer::write_files(const frame_task& task, const hostkit::frame_result& result) const {
  if (!options_.fix_file.empty() && !is_left_alone(options_.fix_file, options_)) {
    const hostkit::root_values& root = result.root;
    const std::string bytes = npy_bytes(root.samples, {root.height, root.width, root.elements});
    write_whole_file(options_.fix_file, bytes.data(), bytes.size());
  }
  if (task.output.empty() || is_left_alone(task.output, options_)) return;
  const bool grown = result.output.width != result.layer_width || result.output.height != result.layer_height;
  const picture_window window = {result.layer_width, result.layer_height, result.origin_x, result.origin_y};
  write_image_file(task.output, result.output, grown ? std::optional(window) : std::nullopt);
}

std::string frame_renderer::printed_results(const frame_task& task, const hostkit::frame_result& result) const {
  std::ostringstream text;
  if (options_.hash) text << task.frame << ' ' << pixel_hash(result.output) << '\n';
  if (!options_.stats) return text.str();
  const hostkit::stats_record& stats = result.stats;
  text << std::fixed << std::setprecision(6) << "frame=" << task.frame << " setup_seconds=" << stats.setup_seconds
       << " output_seconds=" << stats.output_seconds << " planes=" << stats.planes_in_use
       << " planes_planned=" << stats.planes_planned << " plane_bytes=" << stats.plane_bytes
       << " peak_bytes=" << inspect_peak_bytes() << '\n';
  for (const auto& [name, seconds] : stats.image_nodes)
    text << "frame=" << task.frame << " image_node=" << name << " seconds=" << seconds << '\n';
  return text.str();
}

effect_host& frame_renderer::prepare(int frame) {
  load_inputs(frame);
  try {
    if (!host_) start(frame);
  } catch (const hostkit::host_error& fault) {
    throw work_error(fault.what());
  }
  return *host_;
}

hostkit::frame_result frame_renderer::make(int frame) {
  prepare(frame);
  hostkit::frame_result result;
  try {
    result = host_->instance().render(request_for(frame));
  } catch (const hostkit::host_error& fault) {
    throw work_error(fault.what());
  }
  print_messages(result.messages);
  if (interrupt_taken) throw work_error("interrupted");
  if (result.error) throw work_error("the render failed with error " + std::to_string(result.error));
  return result;
}

std::string frame_renderer::render(const frame_task& task) {
  const hostkit::frame_result result = make(task.frame);
  write_files(task, result);
  return printed_results(task, result);
}

}  // namespace tessaron::console
