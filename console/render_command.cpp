#include "console/render_command.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iomanip>
#include <sstream>

#include "console/errors.h"
#include "console/image_files.h"
#include "console/npy.h"
#include "console/output_file.h"
#include "console/pixels.h"
#include "console/plugin_file.h"
#include "console/progress.h"
#include "console/render_job.h"
#include "console/sha256.h"
#include "hostkit/host_kit.h"

namespace tessaron::console {
namespace {

volatile std::sig_atomic_t interrupted = 0;

/// Takes the interrupt key while it lives, so that a render stops between rows and leaves nothing half-made.
class interrupt_watch {
 public:
  interrupt_watch() : before_(std::signal(SIGINT, [](int) { interrupted = 1; })) {}
  ~interrupt_watch() { std::signal(SIGINT, before_); }

 private:
  void (*before_)(int);
};

std::string frame_name(int frame) { return "frame " + std::to_string(frame); }

std::string pixel_hash(const hostkit::image& picture) {
  sha256 digest;
  for (int y = 0; y < picture.height; ++y)
    digest.add(picture.row(y), std::size_t(picture.width) * std::size_t(picture.bytes_per_pixel()));
  return digest.hex();
}

/// Moves host values to what the definition declares for its present defaults. Both lists are in the
/// engine's order; `values` may hold controls besides, such as inputs.
void copy_declared(const std::vector<pf_param_def>& declared, std::vector<pf_param_def>& values) {
  std::size_t at = 0;
  for (const pf_param_def& def : declared) {
    while (at < values.size() && (values[at].param_type != def.param_type || std::string(values[at].name) != def.name))
      ++at;
    if (at == values.size()) throw work_error(std::string("the plug-in has no control for ") + def.name);
    hostkit::take_default(values[at++], def);
  }
}

/// One effect instance and all that its frames need.
class renderer {
 public:
  /// `already_said`: what the definition had to say when it was bound; the plug-in says it again.
  renderer(const render_options& options, const found_effect& effect, genotype& g, render_job& job,
           const std::vector<std::string>& already_said)
      : options_(options), effect_(effect), g_(g), job_(job), already_said_(already_said) {}

  /// Renders a frame and writes its files; returns what is to be printed of it. Throws work_error.
  std::string render(const frame_task& task);

 private:
  void load_inputs(int frame);
  void start(int frame);
  void decide_format();
  hostkit::frame_request request_for(int frame);
  void write_files(const frame_task& task, const hostkit::frame_result& result) const;
  std::string printed_results(const frame_task& task, const hostkit::frame_result& result) const;
  void print_messages(const std::vector<std::string>& messages);

  const render_options& options_;
  const found_effect& effect_;
  genotype& g_;
  render_job& job_;
  const std::vector<std::string>& already_said_;
  hostkit::pixel_format format_ = hostkit::pixel_format::rgba8;
  std::optional<plugin_file> plugin_;
  std::optional<hostkit::plugin_texts> texts_;
  std::optional<hostkit::instance> instance_;
  size_option layer_;
};

void renderer::load_inputs(int frame) {
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

void renderer::decide_format() {
  bool deep = false;
  for (std::optional<input_feed>& feed : job_.feeds)
    if (feed) deep = deep || is_deep(feed->current().format);
  format_ = job_.format.value_or(deep ? hostkit::pixel_format::bgra16 : hostkit::pixel_format::rgba8);
}

void renderer::start(int frame) {
  decide_format();
  hostkit::host_identity identity;
  identity.offers_bgra = format_ == hostkit::pixel_format::bgra8 || format_ == hostkit::pixel_format::bgra16;
  try {
    if (!options_.place.plugin_file.empty()) {
      plugin_.emplace(options_.place.plugin_file);
      instance_.emplace(plugin_->entry(), plugin_->descriptor(), identity);
    } else {
      texts_.emplace(effect_.definition.name, std::vector<std::string>{effect_.definition.text});
      instance_.emplace(&tessaron_main, texts_->record(), identity);
    }
  } catch (const hostkit::host_error& fault) {
    throw work_error(effect_.definition.name + ": " + fault.what());
  }
  if (identity.offers_bgra && !instance_->takes_bgra()) {
    // The settings may forbid the native layouts: what nobody asked for by name then gives way.
    if (job_.format)
      throw work_error("the engine does not take " + options_.pixel_format + " images; see allow_native_image_formats");
    format_ = hostkit::pixel_format::rgba16;
  }
  print_messages(instance_->take_messages());
  apply_params(job_.params, frame, g_);
  copy_declared(inspect_host_params(g_), instance_->values());
}

hostkit::frame_request renderer::request_for(int frame) {
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
  for (std::optional<input_feed>& feed : job_.feeds)
    request.inputs.push_back(feed ? &feed->prepared(format_, job_.downsample.x, job_.downsample.y) : nullptr);
  for (const param_setting& setting : job_.params)
    if (setting.keyed() && !request.values_at)
      request.values_at = [this](double at, std::vector<pf_param_def>& values) {
        apply_params(job_.params, at, g_);
        copy_declared(inspect_host_params(g_), values);
      };
  request.abort = [] { return interrupted ? int(PF_Err_CANCEL) : 0; };
  request.want_root = !options_.fix_file.empty();
  request.want_stats = options_.stats;
  return request;
}

void renderer::print_messages(const std::vector<std::string>& messages) {
  for (const std::string& message : messages)
    if (std::find(already_said_.begin(), already_said_.end(), message) == already_said_.end())
      std::fprintf(stderr, "%s\n", message.c_str());
}

void renderer::write_files(const frame_task& task, const hostkit::frame_result& result) const {
  if (!options_.fix_file.empty()) {
    const hostkit::root_values& root = result.root;
    const std::string bytes = npy_bytes(root.samples, {root.height, root.width, root.elements});
    write_whole_file(options_.fix_file, bytes.data(), bytes.size());
  }
  if (!task.output.empty()) write_image_file(task.output, result.output);
}

std::string renderer::printed_results(const frame_task& task, const hostkit::frame_result& result) const {
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

std::string renderer::render(const frame_task& task) {
  load_inputs(task.frame);
  if (!instance_) start(task.frame);
  hostkit::frame_result result;
  try {
    result = instance_->render(request_for(task.frame));
  } catch (const hostkit::host_error& fault) {
    throw work_error(fault.what());
  }
  print_messages(result.messages);
  if (interrupted) throw work_error("interrupted");
  if (result.error) throw work_error("the render failed with error " + std::to_string(result.error));
  write_files(task, result);
  return printed_results(task, result);
}

/// Prints what each frame would read and write. False: an input frame is missing.
bool print_dry_run(const render_options& options, const render_job& job) {
  bool all_there = true;
  std::error_code ignored;
  for (const frame_task& task : job.tasks) {
    std::string line = frame_name(task.frame) + ":";
    for (const std::optional<input_feed>& feed : job.feeds) {
      if (!feed) continue;
      try {
        line.append(" ").append(feed->file_at(task.frame).value_or("(black)"));
      } catch (const work_error& fault) {
        line.append(" (").append(fault.what()).append(")");
        all_there = false;
      }
    }
    if (!task.output.empty()) line.append(" -> ").append(task.output);
    if (options.no_clobber && !task.output.empty() && std::filesystem::exists(task.output, ignored))
      line += " (exists, left alone)";
    std::printf("%s\n", line.c_str());
  }
  return all_there;
}

int render_frames(const render_options& options, const found_effect& effect, genotype& g, render_job& job,
                  const std::vector<std::string>& already_said) {
  const interrupt_watch watch;
  progress_display progress(int(job.tasks.size()), options.progress_file);
  renderer frames(options, effect, g, job, already_said);
  int status = EXIT_DONE;
  for (const frame_task& task : job.tasks) {
    std::error_code ignored;
    if (options.no_clobber && !task.output.empty() && std::filesystem::exists(task.output, ignored)) {
      progress.frame_ended(task.frame, "skipped", task.output);
      continue;
    }
    try {
      const std::string results = frames.render(task);
      if (!results.empty()) {
        progress.clear_line();
        std::fputs(results.c_str(), stdout);
        std::fflush(stdout);
      }
      progress.frame_ended(task.frame, "done", task.output);
    } catch (const work_error& fault) {
      progress.clear_line();
      std::fprintf(stderr, "tessaron: %s: %s: %s\n", effect.definition.name.c_str(), frame_name(task.frame).c_str(),
                   fault.what());
      progress.frame_ended(task.frame, "failed", task.output);
      status = EXIT_WORK_FAILED;
      if (!options.skip_bad_frames || interrupted) break;
    }
  }
  progress.finish(status == EXIT_DONE ? "end" : "failed");
  return status;
}

}  // namespace

int render_command(const render_options& options) {
  if (options.threads) {
    if (*options.threads < 1) throw command_line_error("--threads: expected 1 or more");
    if (!inspect_limit_processors(*options.threads))
      throw work_error("--threads: the system does not let processors be limited");
    limit_image_threads(*options.threads);
  }
  use_config_dir(options.place);
  const found_effect effect = find_effect(options.place, options.effect);
  std::vector<std::string> said;
  const genotype_ptr g = bind_effect(effect.definition, &said);
  render_job job = plan_job(options, *g);
  if (options.dry_run) return print_dry_run(options, job) ? EXIT_DONE : EXIT_WORK_FAILED;
  return render_frames(options, effect, *g, job, said);
}

}  // namespace tessaron::console
