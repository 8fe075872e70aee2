#include <algorithm>

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {
namespace {

/// Pointers to texts, ended by null.
std::vector<const char*> text_pointers(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

plugin_texts::plugin_texts(std::string name, std::vector<std::string> definitions, std::vector<std::string> suffixes)
    : name_(std::move(name)), definitions_(std::move(definitions)), suffixes_(std::move(suffixes)) {
  if (!suffixes_.empty()) suffixes_.resize(definitions_.size());
  definition_pointers_ = text_pointers(definitions_);
  suffix_pointers_ = text_pointers(suffixes_);
  record_.plugin_name = name_.c_str();
  record_.n_effects = std::uint8_t(std::min<std::size_t>(definitions_.size(), 255));
  record_.effect_names = definition_pointers_.data();
  record_.effect_suffixes = suffixes_.empty() ? nullptr : suffix_pointers_.data();
  record_.doc_name = name_.c_str();
  record_.plugin_version = 1.1f;
}

}  // namespace tessaron::hostkit
