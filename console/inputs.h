// The images of -i: which input each one feeds, and the frame of each that a render asks for.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "console/sequences.h"
#include "genotype/genotype.h"
#include "hostkit/host_kit.h"

namespace tessaron::console {

/// How a host sees a picture: its format, reduced by whole factors.
struct host_form {
  hostkit::pixel_format format = hostkit::pixel_format::rgba8;
  int x_factor = 1, y_factor = 1;
};

/// Pictures of frames that were asked for last, the latest in front. An effect that looks a few frames back or ahead
/// then reads each file once.
class frame_cache {
 public:
  /// The picture of a file; null: it is not here.
  const hostkit::image* find(const std::string& path);
  const hostkit::image& put(const std::string& path, hostkit::image picture);

 private:
  struct entry {
    std::string path;
    hostkit::image picture;
  };
  std::list<entry> entries_;
  std::size_t bytes_ = 0;
};

/// The image file or numbered sequence of one input.
class input_feed {
 public:
  input_feed(const std::string& path, missing_rule rule);

  /// Files of the sequence; 1 for a plain image.
  int frame_count() const;
  /// File that is read at a frame; nothing where the rule puts black there. Throws work_error when the
  /// frame is missing and must not be.
  std::optional<std::string> file_at(int frame) const;
  /// The picture at a frame, as it is in its file. A picture that was read last is not read again.
  const hostkit::image& at(int frame);
  /// What `at` gave last.
  const hostkit::image& current() const { return picture_; }
  /// The same as a host sees it. Made once for each picture.
  const hostkit::image& prepared(const host_form& form);
  /// The picture at another frame as a host sees it, while the one that `at` gave stays. Frames before the first of a
  /// sequence are its first, those beyond its end its last, unless what is missing is to be black; a frame that is
  /// missing within is treated as `at` would. The picture stays until the next call.
  const hostkit::image& prepared_at(int frame, const host_form& form);

 private:
  hostkit::image black_like_neighbour(int frame) const;
  int nearest_of_clip(int frame) const;

  path_pattern pattern_;
  missing_rule rule_;
  std::vector<int> there_;  // frames on disk
  std::optional<std::string> loaded_;
  bool black_ = false;
  hostkit::image picture_, prepared_, black_picture_;
  bool prepared_ready_ = false;
  host_form form_;            // of prepared_
  frame_cache other_frames_;  // as the host sees them
  bool looked_elsewhere_ = false;
};

/// Feeds by input slot; empty where an input has no layer.
using input_feeds = std::vector<std::optional<input_feed>>;

/// Paths of `[NAME=]IMAGE` texts by input of `g`: named ones first, the rest in order. Throws command_line_error
/// for an input that the effect does not have, or that is fed twice.
std::vector<std::optional<std::string>> input_paths(const std::vector<std::string>& texts, const genotype& g);
/// The images behind them. Throws work_error besides, for a sequence of which nothing is there.
input_feeds bind_inputs(const std::vector<std::string>& texts, const genotype& g, missing_rule rule);

}  // namespace tessaron::console
