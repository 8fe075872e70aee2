#include "console/render_job.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>

#include "console/errors.h"
#include "console/frame_list.h"
#include "console/image_files.h"

namespace tessaron::console {
namespace fs = std::filesystem;
namespace {

constexpr int MAX_DOWNSAMPLE = 1000;

/// `N` or `NxM` of whole numbers from 1 to `limit`; false for anything else. One number stands for both.
bool parse_pair(const std::string& text, int limit, bool one_will_do, int& x, int& y) {
  const char *at = text.data(), *end = at + text.size();
  const auto number = [&](int& value) {
    const auto [next, fault] = std::from_chars(at, end, value);
    at = next;
    return fault == std::errc() && value >= 1 && value <= limit;
  };
  if (!number(x)) return false;
  y = x;
  if (at == end) return one_will_do;
  return *at++ == 'x' && number(y) && at == end;
}

missing_rule parse_missing(const std::string& text) {
  if (text == "error") return missing_rule::error;
  if (text == "black") return missing_rule::black;
  if (text == "hold") return missing_rule::hold;
  throw command_line_error("--missing " + text + ": expected error, black or hold");
}

/// Paths that the run writes, each once.
class written_paths {
 public:
  void add(const std::string& path) {
    std::error_code ignored;
    const fs::path whole = fs::weakly_canonical(fs::absolute(path, ignored), ignored);
    if (!paths_.insert(whole.empty() ? path : whole.string()).second)
      throw command_line_error("two outputs of this run would be written to " + path);
  }

 private:
  std::set<std::string> paths_;
};

/// Finds out early that a file can't be made, rather than behind a long render.
void check_folder(const std::string& path) {
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) throw work_error("cannot write " + path + ": is a directory");
  const fs::path parent = fs::path(path).parent_path();
  const std::string folder = parent.empty() ? "." : parent.string();
  if (!fs::is_directory(folder, ignored)) throw work_error("cannot write " + path + ": there is no folder " + folder);
  if (::access(folder.c_str(), W_OK) != 0) throw work_error("cannot write " + path + ": the folder is not writable");
}

std::vector<frame_task> plan_tasks(const render_options& options) {
  const std::vector<int> frames = options.frames.empty() ? std::vector<int>{0} : parse_frame_list(options.frames);
  const bool other_results = options.hash || options.stats || !options.fix_file.empty() || options.dry_run;
  if (options.output.empty() && options.picture_wanted && !other_results)
    throw command_line_error("-o is missing: where does the picture go?");
  if (!options.fix_file.empty() && frames.size() > 1) throw command_line_error("--fix takes a single frame");
  written_paths written;
  for (const std::string& file : {options.fix_file, options.progress_file == "-" ? "" : options.progress_file})
    if (!file.empty()) written.add(file);
  std::vector<frame_task> tasks;
  if (options.output.empty()) {
    for (int frame : frames) tasks.push_back({frame, ""});
    return tasks;
  }
  const path_pattern pattern(options.output);
  if (const std::string fault = output_format_fault(options.output); !fault.empty())
    throw command_line_error("-o " + options.output + ": " + fault);
  if (frames.size() > 1 && !pattern.numbered())
    throw command_line_error("-o " + options.output +
                             ": several frames need a place for the frame number, such as %04d or ####");
  for (int frame : frames) {
    tasks.push_back({frame, pattern.at(frame)});
    written.add(tasks.back().output);
  }
  return tasks;
}

}  // namespace

size_option parse_size(const std::string& text) {
  size_option size;
  if (!parse_pair(text, MAX_IMAGE_SIDE, false, size.width, size.height))
    throw command_line_error("--size " + text + ": expected WIDTHxHEIGHT, each 1 to " + std::to_string(MAX_IMAGE_SIDE));
  return size;
}

downsample_option parse_downsample(const std::string& text) {
  downsample_option factor;
  if (!text.empty() && !parse_pair(text, MAX_DOWNSAMPLE, true, factor.x, factor.y))
    throw command_line_error("--downsample " + text + ": expected N or NxM, each 1 to " +
                             std::to_string(MAX_DOWNSAMPLE));
  return factor;
}

hostkit::pixel_format parse_pixel_format(const std::string& text) {
  using hostkit::pixel_format;
  if (text == "rgba8") return pixel_format::rgba8;
  if (text == "bgra8") return pixel_format::bgra8;
  if (text == "rgba16") return pixel_format::rgba16;
  if (text == "bgra16") return pixel_format::bgra16;
  throw command_line_error("--pixel-format " + text + ": expected rgba8, bgra8, rgba16 or bgra16");
}

render_job plan_job(const render_options& options, const genotype& g) {
  if (!(options.fps > 0 && options.fps <= 10000))
    throw command_line_error("--fps: expected a rate above 0, at most 10000");
  if (!(options.pixel_aspect > 0.0001 && options.pixel_aspect < 10000))
    throw command_line_error("--pixel-aspect: expected a ratio between 0.0001 and 10000");
  if (options.field < 0 || options.field > 2) throw command_line_error("--field: expected 0, 1 or 2");
  if (options.total_frames && *options.total_frames < 1) throw command_line_error("--total-frames: expected 1 or more");
  render_job job;
  if (!options.size.empty()) job.size = parse_size(options.size);
  job.downsample = parse_downsample(options.downsample);
  if (!options.pixel_format.empty()) job.format = parse_pixel_format(options.pixel_format);
  job.tasks = plan_tasks(options);
  job.params = parse_params(options.params, g);
  job.feeds = bind_inputs(options.inputs, g, parse_missing(options.missing));
  for (const std::optional<input_feed>& feed : job.feeds)
    if (feed) job.total_frames = std::max(job.total_frames, feed->frame_count());
  if (options.total_frames) job.total_frames = *options.total_frames;
  if (!job.tasks.front().output.empty()) check_folder(job.tasks.front().output);
  if (!options.fix_file.empty()) check_folder(options.fix_file);
  return job;
}

}  // namespace tessaron::console
