// Numbered image files: `shot.%04d.exr` and `shot.####.exr`.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessaron::console {

/// A file name that may hold one place for the frame number.
class path_pattern {
 public:
  /// Throws command_line_error for a second number place or a bad `%` form. A name whose `%` or `#`
  /// belongs to an existing file is taken as it stands with `may_exist`.
  explicit path_pattern(const std::string& text, bool may_exist = false);

  bool numbered() const { return numbered_; }
  /// The name at a frame; a plain name is the same at every frame. The sign counts into the width.
  std::string at(int frame) const;
  /// The frame number of a file name of this pattern, without its directory.
  std::optional<int> frame_of(const std::string& file_name) const;
  /// Directory of the files, "." when the name has none.
  std::string directory() const;
  const std::string& text() const { return text_; }

 private:
  std::string text_, before_, after_;
  bool numbered_ = false;
  int width_ = 1;
  bool zeros_ = true;
};

/// Frame numbers of the files that are there, in rising order.
std::vector<int> frames_on_disk(const path_pattern& pattern);

/// What a frame missing from a numbered input gives.
enum class missing_rule { error, black, hold };

/// The frame that stands for `frame` by the rule `hold`: the nearest one before it, else the first.
/// `there` is in rising order and not empty.
int held_frame(const std::vector<int>& there, int frame);

}  // namespace tessaron::console
