#include "console/frame_list.h"

#include <charconv>

#include "console/errors.h"

namespace tessaron::console {
namespace {

/// Reads a list from left to right. list: item { "," item }; item: number [ "-" number [ ("x" | ":") number ] ]
class frame_list_reader {
 public:
  explicit frame_list_reader(const std::string& text) : text_(text), at_(text.data()), end_(at_ + text.size()) {}

  std::vector<int> read() {
    std::vector<int> frames;
    do item(frames);
    while (accept(','));
    if (at_ != end_) fail("unexpected '" + std::string(at_, end_) + "'");
    return frames;
  }

 private:
  void item(std::vector<int>& frames) {
    const int first = number();
    int last = first, step = 1;
    if (accept('-')) {
      last = number();
      if (accept('x') || accept(':')) step = number();
    }
    if (last < first) fail(std::to_string(first) + "-" + std::to_string(last) + " runs backwards");
    if (step < 1) fail("a step must be 1 or more");
    if ((long(last) - first) / step + 1 > long(MAX_FRAMES) - long(frames.size()))
      fail("more than " + std::to_string(MAX_FRAMES) + " frames");
    for (long frame = first; frame <= last; frame += step) frames.push_back(int(frame));
  }

  int number() {
    int value = 0;
    const auto [next, fault] = std::from_chars(at_, end_, value);
    if (fault == std::errc::result_out_of_range) fail("a frame number is too large");
    if (fault != std::errc())
      fail(at_ == end_ ? "a number is missing at the end" : "expected a number at '" + std::string(at_, end_) + "'");
    at_ = next;
    return value;
  }

  bool accept(char c) {
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }

  [[noreturn]] void fail(const std::string& why) const { throw command_line_error("--frames " + text_ + ": " + why); }

  const std::string& text_;
  const char* at_;
  const char* end_;
};

}  // namespace

std::vector<int> parse_frame_list(const std::string& text) { return frame_list_reader(text).read(); }

}  // namespace tessaron::console
