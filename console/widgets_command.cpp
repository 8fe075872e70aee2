#include "console/widgets_command.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "console/errors.h"
#include "console/frame_renderer.h"
#include "console/image_files.h"
#include "console/json_records.h"
#include "console/names.h"

namespace tessaron::console {
namespace {

using hostkit::event_result;
using hostkit::place;
using hostkit::widget_handle;

constexpr double SMALLEST_ZOOM = 0.001, LARGEST_ZOOM = 1000;
constexpr double FARTHEST_MOUSE = 1e6;  // pixels of the image

/// The numbers of "X,Y"; false for anything else.
bool parse_place(const std::string& text, place& at) {
  const char *start = text.data(), *end = start + text.size();
  const auto [comma, fault] = std::from_chars(start, end, at.x);
  if (fault != std::errc() || comma == end || *comma != ',') return false;
  const auto [rest, y_fault] = std::from_chars(comma + 1, end, at.y);
  return y_fault == std::errc() && rest == end && std::fabs(at.x) <= FARTHEST_MOUSE &&
         std::fabs(at.y) <= FARTHEST_MOUSE;
}

/// A coordinate for people: tenths are enough to find a handle again.
std::string coordinate(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.1f", v == 0 ? 0.0 : v);
  std::string shown = text;
  if (shown.ends_with(".0")) shown.resize(shown.size() - 2);
  return shown == "-0" ? "0" : shown;
}
std::string shown_place(place at) { return coordinate(at.x) + "," + coordinate(at.y); }

bool is_drawn(const widget_handle& h) { return h.handle >= 0 && h.can_be_held; }

render_options render_options_of(const widgets_options& o) {
  render_options render;
  render.place = o.place;
  render.effect = o.effect;
  render.output = o.output;
  render.inputs = o.inputs;
  render.params = o.params;
  render.frames = std::to_string(o.frame);
  render.size = o.size;
  render.downsample = o.downsample;
  render.pixel_format = o.pixel_format;
  render.pixel_aspect = o.pixel_aspect;
  render.picture_wanted = false;
  return render;
}

/// One window on an effect: its frame, and the handles over it.
class effect_window {
 public:
  effect_window(const widgets_options& options, const render_options& render, const chosen_effect& chosen,
                render_job& job)
      : options_(options), chosen_(chosen), job_(job), frames_(render, chosen.effect, *chosen.g, job, chosen.said) {
    host_ = &frames_.prepare(options.frame);
    view_.zoom = options.zoom;
    view_.width = frames_.layer().width;
    view_.height = frames_.layer().height;
    view_.downsample_x = job.downsample.x;
    view_.downsample_y = job.downsample.y;
    view_.pixel_aspect = options.pixel_aspect;
    view_.frame = options.frame;
    view_.fps = render.fps;
    view_.total_frames = job.total_frames;
    checked(host_->instance().new_window(view_));
  }

  const hostkit::window_view& view() const { return view_; }
  /// All widgets as they are now, in the window of the last picture.
  std::vector<widget_handle> handles();
  /// Turns on what --show names.
  void show(const std::vector<std::string>& names);
  /// The frame with the handles over it, scaled by the zoom.
  hostkit::image picture();
  /// Presses, moves and releases the mouse; what it changed, each as -p has it. Throws work_error where no handle is.
  std::vector<std::string> drag(const std::vector<place>& path);

 private:
  event_result checked(event_result result);
  [[noreturn]] void no_handle_at(place at);

  const widgets_options& options_;
  const chosen_effect& chosen_;
  render_job& job_;
  frame_renderer frames_;
  effect_host* host_;
  hostkit::window_view view_;
};

/// Prints what the engine had to say. Throws work_error for its error number.
event_result effect_window::checked(event_result result) {
  frames_.print_messages(result.messages);
  if (result.error) throw work_error("the effect answered an event with error " + std::to_string(result.error));
  return result;
}

std::vector<widget_handle> effect_window::handles() {
  return checked(host_->instance().draw_handles(view_, nullptr)).handles;
}

void effect_window::show(const std::vector<std::string>& names) {
  if (names.empty()) return;
  const std::vector<widget_handle> all = handles();
  std::vector<std::string> known;
  for (const widget_handle& h : all)
    if (std::find(known.begin(), known.end(), h.name) == known.end()) known.push_back(h.name);
  std::vector<pf_param_def>& values = host_->instance().values();
  for (const std::string& name : names) {
    bool found = name == "all";
    for (const widget_handle& h : all) {
      if (name != "all" && !same_name(name, h.name) && !is_shown_as(name, h.name)) continue;
      found = true;
      if (h.enable_index > 0 && std::size_t(h.enable_index) < values.size())
        values[std::size_t(h.enable_index)].u.checkbox.value = 1;
    }
    if (!found)
      throw command_line_error("--show " + name + ": " + chosen_.effect.definition.name + " has no such handle" +
                               (known.empty() ? "; it has none." : "; it has " + joined(known) + ".") +
                               suggestion(name, known));
  }
}

hostkit::image effect_window::picture() {
  const hostkit::frame_result frame = frames_.make(options_.frame);
  const double scale_x = view_.width * view_.zoom / frame.layer_width;
  const double scale_y = view_.height * view_.zoom / frame.layer_height;
  const double width = std::round(frame.output.width * scale_x), height = std::round(frame.output.height * scale_y);
  if (width < 1 || height < 1 || width > MAX_IMAGE_SIDE || height > MAX_IMAGE_SIDE)
    throw work_error("at this zoom the picture would have a side of no pixel or of more than " +
                     std::to_string(MAX_IMAGE_SIDE));
  hostkit::image shown = resized(frame.output, int(width), int(height));
  // A picture that has grown around the layer moves it.
  view_.pan_x = frame.origin_x * scale_x;
  view_.pan_y = frame.origin_y * scale_y;
  draw_over(shown, [&](const pf_draw_callbacks& on) { checked(host_->instance().draw_handles(view_, &on)); });
  return shown;
}

std::vector<std::string> effect_window::drag(const std::vector<place>& path) {
  hostkit::instance& instance = host_->instance();
  std::vector<int> changed;
  const auto take = [&](event_result result) {
    changed.insert(changed.end(), result.changed.begin(), result.changed.end());
    return checked(std::move(result));
  };
  const event_result pressed = take(instance.click(view_, view_.to_window(path.front())));
  if (!pressed.handled || !pressed.send_drag) no_handle_at(path.front());
  for (std::size_t i = 1; i < path.size(); ++i) take(instance.drag(view_, view_.to_window(path[i])));
  take(instance.release(view_, view_.to_window(path.back())));
  std::vector<std::string> texts = host_->param_texts(changed);
  // What the mouse has set is no longer keyed.
  std::erase_if(job_.params, [&](const param_setting& setting) {
    return std::any_of(texts.begin(), texts.end(),
                       [&](const std::string& text) { return text.starts_with(setting.name + "="); });
  });
  return texts;
}

void effect_window::no_handle_at(place at) {
  const widget_handle* nearest = nullptr;
  double least = 0;
  const std::vector<widget_handle> all = handles();
  for (const widget_handle& h : all) {
    if (!is_drawn(h)) continue;
    const place there = view_.to_layer(h.at);
    const double distance = std::hypot(there.x - at.x, there.y - at.y);
    if (nearest && !(distance < least)) continue;
    nearest = &h;
    least = distance;
  }
  const std::string none = "--drag: there is no handle at " + shown_place(at);
  if (!nearest)
    throw work_error(none + ": no handle of " + chosen_.effect.definition.name +
                     " is shown; --show all turns them all on");
  throw work_error(none + "; the nearest is " + nearest->part + " of " + nearest->name + " (" + nearest->type_name +
                   ") at " + shown_place(view_.to_layer(nearest->at)) + ", " + coordinate(least) + " pixels away");
}

record_json pair_record(place at) { return record_json::array({float(at.x), float(at.y)}); }

/// A record for each widget, with its handles.
record_json widgets_record(const std::vector<widget_handle>& handles, const hostkit::window_view& view) {
  record_json list = record_json::array();
  std::optional<int> widget;
  for (const widget_handle& h : handles) {
    if (widget != h.widget) {
      widget = h.widget;
      list.push_back({{"type_name", h.type_name},
                      {"base_type", h.base_type},
                      {"name", h.name},
                      {"enable_index", h.enable_index},
                      {"enabled", h.enabled},
                      {"visible", h.visible},
                      {"handles", record_json::array()}});
    }
    if (is_drawn(h))
      list.back()["handles"].push_back(
          {{"part", h.part}, {"image", pair_record(view.to_layer(h.at))}, {"window", pair_record(h.at)}});
  }
  return list;
}

}  // namespace

std::vector<place> parse_drag(const std::string& text) {
  std::vector<place> path;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t colon = std::min(text.find(':', start), text.size());
    path.emplace_back();
    if (!parse_place(text.substr(start, colon - start), path.back()))
      throw command_line_error("--drag " + text +
                               ": expected X0,Y0:X1,Y1[:X2,Y2...], in pixels and within a million of them");
    start = colon + 1;
  }
  if (path.size() < 2) throw command_line_error("--drag " + text + ": a drag has two places or more");
  return path;
}

std::string before_name(const std::string& path) {
  const std::filesystem::path whole = path;
  return (whole.parent_path() / (whole.stem().string() + ".before" + whole.extension().string())).string();
}

int widgets_command(const widgets_options& options) {
  if (!(options.zoom >= SMALLEST_ZOOM && options.zoom <= LARGEST_ZOOM))
    throw command_line_error("--zoom: expected a number from 0.001 to 1000");
  if (options.output.empty() && options.drag.empty() && !options.json)
    throw command_line_error("-o is missing: where does the picture go?");
  const std::vector<place> path = options.drag.empty() ? std::vector<place>{} : parse_drag(options.drag);
  use_config_dir(options.place);
  const render_options render = render_options_of(options);
  const chosen_effect chosen = choose_effect(render);
  render_job job = plan_job(render, *chosen.g);
  const interrupt_watch watch;
  try {
    effect_window window(options, render, chosen, job);
    window.show(options.show);
    if (window.handles().empty() && !(options.json && options.output.empty() && path.empty()))
      throw work_error(chosen.effect.definition.name + " has no on-screen handles");
    // Both pictures are made before the first is written.
    const std::string& output = job.tasks.front().output;
    const bool pictures = !output.empty();
    std::optional<hostkit::image> before, after;
    std::vector<std::string> changed;
    if (!path.empty()) {
      if (pictures) before = window.picture();
      changed = window.drag(path);
    }
    if (pictures) after = window.picture();
    if (before) write_image_file(before_name(output), *before);
    if (after) write_image_file(output, *after);
    for (const std::string& text : changed) std::printf("%s\n", text.c_str());
    if (options.json) std::fputs(json_text(widgets_record(window.handles(), window.view())).c_str(), stdout);
  } catch (const hostkit::host_error& fault) {
    throw work_error(fault.what());
  }
  return EXIT_DONE;
}

}  // namespace tessaron::console
