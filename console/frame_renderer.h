// Frames of one effect: inputs read, rendered through a host instance, written and printed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "console/effect_host.h"
#include "console/render_job.h"

namespace tessaron::console {

/// Takes the interrupt key while it lives, so that a render stops between rows and leaves nothing half-made.
class interrupt_watch {
 public:
  interrupt_watch();
  ~interrupt_watch();
  static bool interrupted();

 private:
  void (*before_)(int);
};

/// One effect instance and all that its frames need.
class frame_renderer {
 public:
  /// `already_said`: what the definition had to say when it was bound; the plug-in says it again.
  frame_renderer(const render_options& options, const found_effect& effect, genotype& g, render_job& job,
                 const std::vector<std::string>& already_said)
      : options_(options), effect_(effect), g_(g), job_(job), already_said_(already_said) {}

  /// Renders a frame and writes its files; returns what is to be printed of it. Throws work_error.
  std::string render(const frame_task& task);
  /// Renders a frame, and writes nothing. Throws work_error.
  hostkit::frame_result make(int frame);
  /// Reads the inputs of a frame and sets the effect up, if that has not been done. Throws work_error.
  effect_host& prepare(int frame);
  /// Size of the layer at full resolution, once the inputs have been read.
  size_option layer() const { return layer_; }
  /// To standard error, without what was said before.
  void print_messages(const std::vector<std::string>& messages);

 private:
  void load_inputs(int frame);
  void start(int frame);
  void decide_format();
  hostkit::frame_request request_for(int frame);
  void write_files(const frame_task& task, const hostkit::frame_result& result) const;
  std::string printed_results(const frame_task& task, const hostkit::frame_result& result) const;

  const render_options& options_;
  const found_effect& effect_;
  genotype& g_;
  render_job& job_;
  const std::vector<std::string>& already_said_;
  hostkit::pixel_format format_ = hostkit::pixel_format::rgba8;
  std::unique_ptr<effect_host> host_;
  size_option layer_;
};

}  // namespace tessaron::console
