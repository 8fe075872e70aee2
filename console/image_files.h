// Image files, and what else wants the libraries for pictures. These are loaded when one of the functions first needs
// them; where that fails it throws work_error, which names the file that they should have come by.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "hostkit/host_kit.h"

namespace tessaron::console {

/// Largest side that a host image may have.
inline constexpr int MAX_IMAGE_SIDE = 30000;

/// Reads an image with its samples unchanged: 8-bit files as rgba8, deeper ones as bgra16 (float samples
/// are limited to 0..1). Grey goes to all three colours; without alpha the image is opaque. Throws work_error.
hostkit::image read_image_file(const std::string& path);

/// Where a picture lies in the frame that it belongs to: the frame's size, and the place of its top left corner in the
/// picture. A picture that is the frame has none.
struct picture_window {
  int frame_width, frame_height;
  int frame_x, frame_y;
};

/// Writes an image in the format of the name's extension: 8-bit host formats as 8-bit samples, 16-bit
/// ones as 16-bit samples where the file format has them. Alpha is left out where it has none. The file
/// appears whole or not at all. Formats that have a data window and a display window take the window's; others hold
/// the picture alone. Throws work_error.
void write_image_file(const std::string& path, const hostkit::image& picture,
                      const std::optional<picture_window>& window = {});

/// Why an image cannot be written under this name, or empty: the extension decides.
std::string output_format_fault(const std::string& path);

/// The picture scaled to `width` by `height`, filtered; colours do not bleed out of what is transparent. A picture
/// that has this size already is copied. Throws work_error.
hostkit::image resized(const hostkit::image& from, int width, int height);

/// Lays over the picture what `draw` draws; it is called once, with the callbacks of a window of the picture's size.
/// Throws host_error.
void draw_over(hostkit::image& picture, const std::function<void(const pf_draw_callbacks&)>& draw);

/// Lets the image library use at most this many threads.
void limit_image_threads(int count);

/// Name of the image library, and the version that the program was built with.
std::string image_library_name();

}  // namespace tessaron::console
