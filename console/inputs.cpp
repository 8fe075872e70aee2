#include "console/inputs.h"

#include <algorithm>
#include <filesystem>

#include "console/errors.h"
#include "console/find_effect.h"
#include "console/image_files.h"
#include "console/names.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

/// A letter or `_`, then letters, digits, `_` and blanks: what may stand in front of the `=` of an input.
bool looks_like_name(const std::string& text) {
  return !text.empty() && !std::isdigit(static_cast<unsigned char>(text[0])) &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) || c == '_' || c == ' '; });
}

bool as_host_sees(const hostkit::image& picture, const host_form& form) {
  return picture.format == form.format && form.x_factor == 1 && form.y_factor == 1;
}

/// Index of a declared input, or -1.
int input_index(const std::vector<std::string>& names, const std::string& name) {
  for (std::size_t i = 0; i < names.size(); ++i)
    if (!names[i].empty() && same_name(name, names[i])) return int(i);
  return -1;
}

}  // namespace

// --- pictures of other frames --------------------------------------------------------------------------

const hostkit::image* frame_cache::find(const std::string& path) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const entry& e) { return e.path == path; });
  if (found == entries_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, found);
  return &entries_.front().picture;
}

const hostkit::image& frame_cache::put(const std::string& path, hostkit::image picture) {
  constexpr std::size_t BYTES_KEPT = std::size_t(512) << 20;
  if (const hostkit::image* there = find(path)) return *there;
  bytes_ += picture.data.size();
  entries_.push_front({path, std::move(picture)});
  while (bytes_ > BYTES_KEPT && entries_.size() > 1) {
    bytes_ -= entries_.back().picture.data.size();
    entries_.pop_back();
  }
  return entries_.front().picture;
}

// --- one input -----------------------------------------------------------------------------------------

input_feed::input_feed(const std::string& path, missing_rule rule) : pattern_(path, true), rule_(rule) {
  if (!pattern_.numbered()) return;
  there_ = frames_on_disk(pattern_);
  if (there_.empty()) throw work_error("no image of " + path + " is there");
}

int input_feed::frame_count() const {
  return pattern_.numbered() ? int(std::min<std::int64_t>(std::int64_t(there_.back()) - there_.front() + 1, 1 << 30))
                             : 1;
}

std::optional<std::string> input_feed::file_at(int frame) const {
  const bool there = !pattern_.numbered() || std::binary_search(there_.begin(), there_.end(), frame);
  if (there || rule_ == missing_rule::error) {
    std::string path = pattern_.at(frame);
    if (!there) throw work_error("frame " + std::to_string(frame) + " is missing: " + path);
    return path;
  }
  if (rule_ == missing_rule::hold) return pattern_.at(held_frame(there_, frame));
  return std::nullopt;
}

hostkit::image input_feed::black_like_neighbour(int frame) const {
  const hostkit::image neighbour = read_image_file(pattern_.at(held_frame(there_, frame)));
  return black_image(neighbour.width, neighbour.height, neighbour.format);
}

const hostkit::image& input_feed::at(int frame) {
  const std::optional<std::string> path = file_at(frame);
  if (path ? loaded_ == path : black_) return picture_;
  if (loaded_ && looked_elsewhere_) {  // a look back from the next frame finds it
    if (prepared_ready_)
      other_frames_.put(*loaded_, std::move(prepared_));
    else if (as_host_sees(picture_, form_))
      other_frames_.put(*loaded_, std::move(picture_));
  }
  prepared_ready_ = false;
  loaded_.reset();
  black_ = false;
  picture_ = path ? read_image_file(*path) : black_like_neighbour(frame);
  loaded_ = path;
  black_ = !path;
  return picture_;
}

const hostkit::image& input_feed::prepared(const host_form& form) {
  form_ = form;
  if (as_host_sees(picture_, form)) return picture_;
  if (!prepared_ready_) {
    prepared_ = reduce(convert(picture_, form.format), form.x_factor, form.y_factor);
    prepared_ready_ = true;
  }
  return prepared_;
}

int input_feed::nearest_of_clip(int frame) const {
  if (!pattern_.numbered() || rule_ == missing_rule::black) return frame;
  return std::clamp(frame, there_.front(), there_.back());
}

const hostkit::image& input_feed::prepared_at(int frame, const host_form& form) {
  looked_elsewhere_ = true;
  const std::optional<std::string> path = file_at(nearest_of_clip(frame));
  if (path ? loaded_ == path : black_) return prepared(form);
  const auto prepare = [&](const hostkit::image& read) {
    return reduce(convert(read, form.format), form.x_factor, form.y_factor);
  };
  if (!path) return black_picture_ = prepare(black_like_neighbour(frame));
  if (const hostkit::image* there = other_frames_.find(*path)) return *there;
  return other_frames_.put(*path, prepare(read_image_file(*path)));
}

std::vector<std::optional<std::string>> input_paths(const std::vector<std::string>& texts, const genotype& g) {
  const std::vector<std::string> names = input_names(g);
  const std::string has = names.empty() ? "; it has none" : "; it has " + joined(names);
  std::vector<std::optional<std::string>> paths(names.size());
  std::vector<std::string> in_order;
  for (const std::string& text : texts) {
    const std::size_t equals = text.find('=');
    const std::string name = equals == std::string::npos ? "" : text.substr(0, equals);
    const int index = input_index(names, name);
    std::error_code ignored;
    if (index < 0 && looks_like_name(name) && !std::filesystem::exists(text, ignored))
      throw command_line_error("-i " + text + ": " + g.name + " has no input '" + name + "'" + has + "." +
                               suggestion(name, names));
    if (index < 0) {
      in_order.push_back(text);
      continue;
    }
    if (paths[std::size_t(index)]) throw command_line_error("-i " + text + ": input " + name + " is given twice");
    paths[std::size_t(index)] = text.substr(equals + 1);
  }
  auto free_slot = paths.begin();
  for (const std::string& text : in_order) {
    free_slot = std::find(free_slot, paths.end(), std::nullopt);
    if (free_slot == paths.end())
      throw command_line_error("-i " + text + ": more images than " + g.name + " has inputs" + has);
    *free_slot = text;
  }
  for (std::size_t i = 0; i < paths.size(); ++i)
    if (paths[i] && paths[i]->empty()) throw command_line_error("-i " + names[i] + "=: the image's name is missing");
  return paths;
}

input_feeds bind_inputs(const std::vector<std::string>& texts, const genotype& g, missing_rule rule) {
  input_feeds feeds;
  for (const std::optional<std::string>& path : input_paths(texts, g)) {
    feeds.emplace_back();
    if (path) feeds.back().emplace(*path, rule);
  }
  return feeds;
}

}  // namespace tessaron::console
