#include "console/sequences.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "console/errors.h"

namespace tessaron::console {
namespace fs = std::filesystem;
namespace {

constexpr int MAX_NUMBER_WIDTH = 32;

std::string file_part(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

path_pattern::path_pattern(const std::string& text, bool may_exist) : text_(text) {
  std::error_code ignored;
  if (text.find_first_of("%#") == std::string::npos || (may_exist && fs::is_regular_file(text, ignored))) {
    before_ = text;
    return;
  }
  const auto start_number = [&](int width, bool zeros) {
    if (numbered_) throw command_line_error(text + ": more than one place for the frame number");
    if (width > MAX_NUMBER_WIDTH) throw command_line_error(text + ": the frame number is too wide");
    numbered_ = true;
    width_ = std::max(width, 1);
    zeros_ = zeros;
  };
  for (std::size_t i = 0; i < text.size();) {
    std::string& part = numbered_ ? after_ : before_;
    if (text[i] == '#') {
      std::size_t end = text.find_first_not_of('#', i);
      if (end == std::string::npos) end = text.size();
      start_number(int(std::min<std::size_t>(end - i, MAX_NUMBER_WIDTH + 1)), true);
      i = end;
    } else if (text.compare(i, 2, "%%") == 0) {
      part += '%';
      i += 2;
    } else if (text[i] == '%') {
      const std::size_t end = text.find_first_not_of("0123456789", i + 1);
      if (end == std::string::npos || text[end] != 'd')
        throw command_line_error(text + ": expected a form such as %04d behind '%' (%% stands for a percent sign)");
      int width = 0;
      std::from_chars(text.data() + i + 1, text.data() + std::min(end, i + 6), width);
      start_number(width, text[i + 1] == '0');
      i = end + 1;
    } else {
      part += text[i++];
    }
  }
  if (after_.find('/') != std::string::npos)
    throw command_line_error(text + ": the frame number must stand in the file name, not in a folder's");
}

std::string path_pattern::at(int frame) const {
  if (!numbered_) return before_;
  char number[MAX_NUMBER_WIDTH + 16];
  std::snprintf(number, sizeof number, zeros_ ? "%0*d" : "%*d", width_, frame);
  return before_ + number + after_;
}

std::optional<int> path_pattern::frame_of(const std::string& name) const {
  const std::string head = file_part(before_);
  if (!numbered_ || name.size() <= head.size() + after_.size() || name.compare(0, head.size(), head) != 0 ||
      name.compare(name.size() - after_.size(), after_.size(), after_) != 0)
    return std::nullopt;
  const std::string digits = name.substr(head.size(), name.size() - head.size() - after_.size());
  const std::size_t start = digits.find_first_not_of(' ');
  if (start == std::string::npos) return std::nullopt;
  int frame = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data() + start, end, frame);
  // Only the one way of writing a number is a file of the pattern: not `7` where `0007` is meant.
  if (fault != std::errc() || stop != end || file_part(at(frame)) != name) return std::nullopt;
  return frame;
}

std::string path_pattern::directory() const {
  const std::size_t slash = before_.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : before_.substr(0, slash);
}

std::vector<int> frames_on_disk(const path_pattern& pattern) {
  std::vector<int> frames;
  std::error_code fault;
  for (fs::directory_iterator entry(pattern.directory(), fault), end; !fault && entry != end; entry.increment(fault))
    if (const std::optional<int> frame = pattern.frame_of(entry->path().filename().string())) frames.push_back(*frame);
  std::sort(frames.begin(), frames.end());
  return frames;
}

int held_frame(const std::vector<int>& there, int frame) {
  const auto after = std::upper_bound(there.begin(), there.end(), frame);
  return after == there.begin() ? there.front() : *(after - 1);
}

}  // namespace tessaron::console
