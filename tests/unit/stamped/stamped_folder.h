// A configuration directory with customs, and the plug-ins that the built installer stamped from it.
//
// The programs of this folder hold no engine: the plug-ins bring it into the process, as they do in a host.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>

#include "hostkit/plugin_library.h"
#include "support/command.h"

namespace tessaron::stamped {

using hostkit::frame_request;
using hostkit::frame_result;
using hostkit::image;
using hostkit::instance;
using hostkit::pixel_format;
using hostkit::plugin_library;

inline const std::string LONGEST_NAME = "A_name_of_thirty_characters___";
inline const std::string BUILT_TEMPLATE = TESSARON_BINARY_DIR "/CustomAE.tmpl";

struct custom {
  std::string name, text;
};
inline std::ostream& operator<<(std::ostream& out, const custom& c) { return out << c.name; }

/// In the order in which they stand in t_config.text.
inline const std::vector<custom>& customs() {
  static const std::vector<custom> all = {
      {"Edge_Tint",
       "(define Edge_Tint (Source) (rgba_ok)\n"
       "  Amount = 0.5 (min 0 max 1) Tint = [1 0.5 0.25] (color)\n"
       "  dest = (interp Source (* Source Tint) Amount))"},
      {"A", "(define A (Source) () dest = (- 1 Source))"},
      {LONGEST_NAME, "(define " + LONGEST_NAME + " (Source) () dest = (* Source 0.5))"},
      {"Two_Plates",
       "(define Two_Plates (Front Back_Plate) () Mix = 30 (percent)\n"
       "  dest = (interp Front Back_Plate Mix))"},
      {"Looks",
       "(define Looks (Source) ()\n"
       "  Amount = 10 (page Main min 0 max 100 slider_range 0 50 step 0.1)\n"
       "  Mode = 1 (popup Fast Best \"Very best\")\n"
       "  Gain = 0.75 (page Second min 0 max 2)\n"
       "  Tint = [1 0.7 0.4] (color group_start Look)\n"
       "  Turn = 45 (angle group_end Look)\n"
       "  wave = (nsin (+ (* x Amount) (/ Turn 360)))\n"
       "  dest = (* Gain (if> Mode 0.5 (* Tint wave) Source)))"}};
  return all;
}

/// Made once for the program, since an engine reads its configuration directory's name once.
class stamped_folder {
 public:
  static const stamped_folder& get() {
    static const stamped_folder folder;
    return folder;
  }
  /// Of the custom; `copy` 0 or 1 chooses one of the two directories that were installed into.
  std::string plugin(const std::string& name, int copy = 0) const {
    return folder_.file(DIRECTORIES[copy]) + "/" + name + ".aex";
  }
  std::string config() const { return folder_.file(CONFIG); }
  std::string config_file() const { return config() + "/t_config.text"; }

 private:
  // With blanks, quotes and letters beyond ASCII, as users' folders have.
  static constexpr const char* CONFIG = "Réglages d'essai";
  static constexpr const char* DIRECTORIES[2] = {"plug-ins", "Mes plug-ins é"};

  stamped_folder() {
    namespace fs = std::filesystem;
    std::string texts = "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n", directories;
    for (const custom& c : customs()) texts += c.text + "\n";
    fs::create_directory(config());
    for (const char* directory : DIRECTORIES) {
      fs::create_directory(folder_.file(directory));
      directories += folder_.file(directory) + "\n";
    }
    folder_.write(std::string(CONFIG) + "/t_config.text", texts);
    folder_.write(std::string(CONFIG) + "/install_dirs.txt", directories);
    fs::copy(BUILT_TEMPLATE, config() + "/CustomAE.tmpl");
    setenv("TESSARON_CONFIG_DIR", config().c_str(), 1);
    const auto run = testing::run_command(TESSARON_BINARY_DIR "/install_custom_plugins", {});
    if (run.status != 0) throw std::runtime_error("install_custom_plugins: " + run.err);
  }
  testing::scratch_folder folder_;
};

/// A plug-in file with one instance of its effect.
struct loaded_plugin {
  plugin_library library;
  instance effect;

  explicit loaded_plugin(const std::string& path, pixel_format format = pixel_format::rgba8)
      : library(path), effect(library.entry(), library.descriptor(), identity_for(format)) {}

  static hostkit::host_identity identity_for(pixel_format format) {
    hostkit::host_identity identity;
    identity.offers_bgra = format == pixel_format::bgra8 || format == pixel_format::bgra16;
    return identity;
  }
};

/// All bytes of a picture differ from their neighbours'.
inline image test_picture(int width, int height, pixel_format format, int seed) {
  image picture = image::make(width, height, format);
  const bool half = format == pixel_format::rgba16;  // full scale is 32768
  for (std::size_t i = 0; i < picture.data.size(); ++i) {
    picture.data[i] = std::uint8_t(i * 37 + i / 11 + std::size_t(seed));
    if (half && i % 2 == 1) picture.data[i] &= 0x7f;
  }
  return picture;
}

inline frame_result render(instance& effect, const std::vector<const image*>& inputs) {
  frame_request request;
  request.inputs = inputs;
  request.format = inputs.at(0)->format;
  return effect.render(request);
}

}  // namespace tessaron::stamped
