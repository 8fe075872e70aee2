#include "console/param_args.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "console/errors.h"
#include "console/names.h"
#include "host/inspect.h"

namespace tessaron::console {
namespace {

[[noreturn]] void refuse(const param& p, const std::string& why) {
  throw command_line_error("-p " + std::string(p.name) + ": " + why);
}

bool has_named_list(const param& p) { return p.flags[1] & PARAM1_NAMED_LIST; }

/// Entries of one channel of a popup.
std::vector<std::string> popup_entries(const param& p, int channel) {
  if (has_named_list(p)) return inspect_list_names(p);
  std::vector<std::string> entries;
  const int first = channel * (p.n_popup_entries + 1);  // each channel's entries end with a null
  for (int i = first; i < std::min(first + p.n_popup_entries, MAX_POPUP_TEXTS); ++i)
    if (p.popup_entry[i]) entries.push_back(p.popup_entry[i]);
  return entries;
}

std::string trimmed(const std::string& text) {
  const std::size_t start = text.find_first_not_of(" \t\n");
  return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(" \t\n") + 1 - start);
}

/// A number as the definition reads it: the same digits give the same default, bit for bit.
bool whole_number_text(const std::string& text, float& value) {
  const char* start = text.c_str() + (text[0] == '+');
  double check = 0;
  const auto [end, fault] = std::from_chars(start, text.c_str() + text.size(), check);
  return fault == std::errc() && end == text.c_str() + text.size() && std::isfinite(check) &&
         inspect_number(text, value) && std::isfinite(value);
}

float channel_value(const param& p, int channel, const std::string& text) {
  float value = 0;
  const bool number = whole_number_text(text, value);
  if (p.ptype == PTYPE_POPUP) {
    const std::vector<std::string> entries = popup_entries(p, channel);
    // The definition's number counts the names of a data file from 1.
    const float first = has_named_list(p) ? 1 : 0;
    for (std::size_t i = 0; i < entries.size(); ++i)
      if (same_name(text, entries[i]) || is_shown_as(text, entries[i])) return first + float(i);
    const bool known_count = !entries.empty();
    if (number && value >= 0 && value == std::floor(value) && (!known_count || value < float(entries.size())))
      return first + value;
    refuse(p, known_count
                  ? "no entry '" + text + "'; the entries are " + joined(entries) + "." + suggestion(text, entries)
                  : "expected an index from 0, got '" + text + "'");
  }
  if (!number) refuse(p, "'" + text + "' is not a number");
  const bool toggle = p.ptype == PTYPE_TOGGLE || p.ptype == PTYPE_BUTTON;
  if (toggle && value != 0 && value != 1) refuse(p, "a toggle is 0 or 1, got '" + text + "'");
  if (p.ptype == PTYPE_COLOR && (value < 0 || value > 1))
    refuse(p, "a colour's numbers are 0 to 1, got '" + text + "'");
  return value;
}

std::vector<float> channel_values(const param& p, const std::string& text) {
  std::vector<std::string> parts;
  if (p.nchannels == 1) {
    parts.push_back(trimmed(text));  // a popup's text may hold a comma
  } else {
    for (std::size_t start = 0; start <= text.size();) {
      const std::size_t comma = std::min(text.find(',', start), text.size());
      parts.push_back(trimmed(text.substr(start, comma - start)));
      start = comma + 1;
    }
  }
  if (int(parts.size()) != p.nchannels)
    refuse(p, "takes " + std::to_string(p.nchannels) + " numbers apart by commas, got '" + text + "'");
  std::vector<float> values;
  for (const std::string& part : parts) {
    if (part.empty()) refuse(p, "a value is missing in '" + text + "'");
    values.push_back(channel_value(p, int(values.size()), part));
  }
  return values;
}

std::vector<param_key> keyed_values(const param& p, const std::string& text) {
  std::vector<param_key> keys;
  std::size_t start = 0;
  for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', start)) {
    const std::size_t end = std::min(text.find_first_of(" \t\n", at), text.size());
    const std::string number = text.substr(at + 1, end - at - 1);
    int frame = 0;
    const auto [stop, fault] = std::from_chars(number.data(), number.data() + number.size(), frame);
    if (fault != std::errc() || stop != number.data() + number.size())
      refuse(p, "expected a frame number behind '@', got '" + number + "'");
    keys.push_back({frame, channel_values(p, text.substr(start, at - start))});
    start = end;
  }
  if (!trimmed(text.substr(start)).empty())
    refuse(p, "expected VALUE@FRAME, got '" + trimmed(text.substr(start)) + "'");
  std::stable_sort(keys.begin(), keys.end(), [](const param_key& a, const param_key& b) { return a.frame < b.frame; });
  for (std::size_t i = 1; i < keys.size(); ++i)
    if (keys[i].frame == keys[i - 1].frame) refuse(p, "two keys at frame " + std::to_string(keys[i].frame));
  return keys;
}

}  // namespace

std::vector<float> param_setting::at(double frame) const {
  if (frame <= keys.front().frame) return keys.front().values;
  if (frame >= keys.back().frame) return keys.back().values;
  const auto after = std::find_if(keys.begin(), keys.end(), [&](const param_key& key) { return key.frame > frame; });
  const param_key &a = *(after - 1), &b = *after;
  const double t = (frame - a.frame) / (double(b.frame) - a.frame);
  std::vector<float> values;
  for (std::size_t c = 0; c < a.values.size(); ++c)
    values.push_back(float(a.values[c] + (double(b.values[c]) - a.values[c]) * t));
  return values;
}

param_setting parse_param(const std::string& text, const genotype& g) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) throw command_line_error("-p " + text + ": expected NAME=VALUE");
  const std::string name = text.substr(0, equals), value = text.substr(equals + 1);
  std::vector<std::string> names;
  const param* p = nullptr;
  for (int i = 0; i < g.n_params; ++i) {
    names.push_back(g.params[i]->name);
    if (!p && same_name(name, names.back())) p = g.params[i];
  }
  if (!p)
    throw command_line_error("-p " + name + ": " + g.name + " has no such parameter" +
                             (names.empty() ? "; it has none." : "; it has " + joined(names) + ".") +
                             suggestion(name, names));
  const std::vector<std::string> entries = popup_entries(*p, 0);
  const bool names_entry = p->ptype == PTYPE_POPUP && std::find(entries.begin(), entries.end(), value) != entries.end();
  if (value.find('@') == std::string::npos || names_entry) return {p->name, {{0, channel_values(*p, value)}}};
  return {p->name, keyed_values(*p, value)};
}

std::vector<param_setting> parse_params(const std::vector<std::string>& texts, const genotype& g) {
  std::vector<param_setting> settings;
  for (const std::string& text : texts) {
    settings.push_back(parse_param(text, g));
    for (std::size_t i = 0; i + 1 < settings.size(); ++i)
      if (settings[i].name == settings.back().name)
        throw command_line_error("-p " + settings.back().name + ": is set twice");
  }
  return settings;
}

void apply_params(const std::vector<param_setting>& settings, double frame, genotype& g) {
  for (const param_setting& setting : settings) inspect_set_param(g, setting.name, setting.at(frame));
}

}  // namespace tessaron::console
