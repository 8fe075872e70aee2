#include "console/names.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace tessaron::console {
namespace {

std::string lower_token(const std::string& text) {
  std::string out;
  for (char c : text) out += c == ' ' ? '_' : char(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

/// What is left of a name when a host shows it, in small letters.
std::string reduced_name(const std::string& text) {
  std::string out;
  for (unsigned char c : text) {
    if (c == '_' || c == ' ')
      out += out.empty() || out.back() != ' ' ? " " : "";
    else if (c < 0x80 && std::isprint(c))
      out += char(std::tolower(c));
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

}  // namespace

std::string shown_form(const std::string& token) {
  std::string out = token;
  std::replace(out.begin(), out.end(), '_', ' ');
  return out;
}

bool same_name(const std::string& typed, const std::string& token) {
  return typed == token || shown_form(typed) == shown_form(token);
}

bool is_shown_as(const std::string& token, const std::string& shown) {
  return reduced_name(token) == reduced_name(shown);
}

int edit_distance(const std::string& a_in, const std::string& b_in) {
  const std::string a = lower_token(a_in), b = lower_token(b_in);
  std::vector<int> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    int diagonal = row[0];
    row[0] = int(i) + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const int changed = diagonal + (a[i] != b[j]);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row[b.size()];
}

std::vector<std::string> near_names(const std::string& typed, const std::vector<std::string>& names) {
  struct candidate {
    int distance;
    std::string name;
  };
  std::vector<candidate> candidates;
  const std::string wanted = lower_token(typed.substr(0, 100));
  for (const std::string& name : names) {
    int distance = edit_distance(wanted, name);
    // A name that holds what was typed, or is held by it, is near however long the rest is.
    const std::string other = lower_token(name);
    const bool holds = wanted.size() >= 3 && other.size() >= 3 &&
                       (other.find(wanted) != std::string::npos || wanted.find(other) != std::string::npos);
    if (holds) distance = std::min(distance, 2);
    const int allowed = std::max(1, int(wanted.size()) / 3);
    if (distance <= allowed || holds) candidates.push_back({distance, name});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const candidate& a, const candidate& b) { return a.distance < b.distance; });
  std::vector<std::string> near;
  for (const candidate& c : candidates)
    if (near.size() < 3 && std::find(near.begin(), near.end(), c.name) == near.end()) near.push_back(c.name);
  return near;
}

std::string suggestion(const std::string& typed, const std::vector<std::string>& names) {
  const std::vector<std::string> near = near_names(typed, names);
  if (near.empty()) return "";
  std::string text = " Did you mean ";
  for (std::size_t i = 0; i < near.size(); ++i) text += (i == 0 ? "" : i + 1 == near.size() ? " or " : ", ") + near[i];
  return text + "?";
}

std::string joined(const std::vector<std::string>& texts, const char* between) {
  std::string out;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) out += between;
    out += text;
  }
  return out;
}

}  // namespace tessaron::console
