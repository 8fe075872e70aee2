#include "console/render_command.h"

#include <cstdio>
#include <filesystem>

#include "console/errors.h"
#include "console/frame_renderer.h"
#include "console/image_files.h"
#include "console/progress.h"
#include "console/render_job.h"

namespace tessaron::console {
namespace {

std::string frame_name(int frame) { return "frame " + std::to_string(frame); }

/// Prints what each frame would read and write. False: an input frame is missing.
bool print_dry_run(const render_options& options, const render_job& job) {
  bool all_there = true;
  for (const frame_task& task : job.tasks) {
    std::string line = frame_name(task.frame) + ":";
    for (const std::optional<input_feed>& feed : job.feeds) {
      if (!feed) continue;
      line += ' ';
      try {
        line += feed->file_at(task.frame).value_or("(black)");
      } catch (const work_error& fault) {
        line.append("(").append(fault.what()).append(")");
        all_there = false;
      }
    }
    if (!task.output.empty()) line.append(" -> ").append(task.output);
    if (is_left_alone(task.output, options)) line += " (exists, left alone)";
    std::printf("%s\n", line.c_str());
  }
  return all_there;
}

int render_frames(const render_options& options, const found_effect& effect, genotype& g, render_job& job,
                  const std::vector<std::string>& already_said) {
  const interrupt_watch watch;
  progress_display progress(int(job.tasks.size()), options.progress_file);
  frame_renderer frames(options, effect, g, job, already_said);
  int status = EXIT_DONE;
  for (const frame_task& task : job.tasks) {
    if (is_left_alone(task.output, options) && (options.fix_file.empty() || is_left_alone(options.fix_file, options))) {
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
      if (!options.skip_bad_frames || interrupt_watch::interrupted()) break;
    }
  }
  progress.finish(status == EXIT_DONE ? "end" : "failed");
  return status;
}

/// Whether all images of -i have a place among the effect's inputs.
bool takes_inputs(const std::vector<std::string>& images, const genotype& g) {
  try {
    input_paths(images, g);
    return true;
  } catch (const command_line_error&) {
    return false;
  }
}

}  // namespace

chosen_effect choose_effect(const render_options& options) {
  chosen_effect chosen;
  for (found_effect& variant : find_variants(options.place, options.effect)) {
    chosen = {std::move(variant), nullptr, {}};
    chosen.g = bind_effect(chosen.effect.definition, &chosen.said);
    if (takes_inputs(options.inputs, *chosen.g)) break;
  }
  return chosen;
}

bool is_left_alone(const std::string& output, const render_options& options) {
  std::error_code ignored;
  return options.no_clobber && std::filesystem::exists(output, ignored);
}

int render_command(const render_options& options) {
  if (options.threads) {
    if (*options.threads < 1) throw command_line_error("--threads: expected 1 or more");
    if (!inspect_limit_processors(*options.threads))
      throw work_error("--threads: the system does not let processors be limited");
    limit_image_threads(*options.threads);
  }
  use_config_dir(options.place);
  const chosen_effect chosen = choose_effect(options);
  render_job job = plan_job(options, *chosen.g);
  if (options.dry_run) return print_dry_run(options, job) ? EXIT_DONE : EXIT_WORK_FAILED;
  return render_frames(options, chosen.effect, *chosen.g, job, chosen.said);
}

}  // namespace tessaron::console
