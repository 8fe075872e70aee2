// film_effect and jpeg_damage over 1920x1080 pixels, in frame passes.
#include <cstdlib>

#include "bench/frame_passes.h"

using namespace tessaron;
using namespace tessaron::bench;

namespace {

/// A picture between black and white without a pattern.
fix picture(int x, int y, int e) {
  const unsigned hash = unsigned(x + WIDTH * y) * 2654435761u;
  return fix((x * 3 + y * 5 + e * 700 + int(hash >> 24)) % 4000);
}

/// Arguments of film_effect: films fields blur, gammas, exposures, levels, glow, soft focus, glow width, grain,
/// peaks, grain blur, cadence and seed.
std::string film(const char* films, const char* levels, const char* soft, const char* grain, const char* grain_blur) {
  return std::string("(film_effect (gamma Source 0.9) ") + films + " [1 1 1 0] 0 [0 0 0] " + levels + " [0 0 0] " +
         soft + " [0.2 0.2 0.2] " + grain + " [0.5 0.5 0.5 0] " + grain_blur + " [0 0 0.1 0.1])";
}

void add_cases() {
  constexpr const char *FILMS = "[1 1 0 0]", *FULL = "[0 1]", *NONE = "[0 0 0]", *GRAIN = "[1 1 1]";
  const auto add = [](const char* name, const std::string& dest) { add_operator(name, "film_effect", dest, picture); };
  add("film tables", film(FILMS, FULL, "0", NONE, NONE));
  add("film tables and grain", film(FILMS, FULL, "0", GRAIN, NONE));
  add("film tables, grain and levels", film(FILMS, "[0.05 0.95]", "0", GRAIN, NONE));
  add("film tables and blurred grain", film(FILMS, FULL, "0", GRAIN, "[0.006 0.006 0.008]"));
  add("film tables, soft focus, grain and levels", film(FILMS, "[0.05 0.95]", "0.2", GRAIN, NONE));
  add("film tables, blended fields", film("[1 1 3 0]", FULL, "0", NONE, NONE));
  const auto add_jpeg = [](const char* name, const char* arguments) {
    add_operator(name, "jpeg_damage", std::string("(jpeg_damage (gamma Source 0.9) ") + arguments + ")", picture);
  };
  add_jpeg("jpeg quality 20", "20 [1 1 1] [1 1] [1 1] 0 0 0 0 0 [1 1]");
  add_jpeg("jpeg quality 20, errors", "20 [1 1 1] [1 1] [1 1] 0.02 0.5 0.5 0.5 0 [1 1]");
  add_jpeg("jpeg quality 20, a quarter of the size", "20 [1 1 1] [1 1] [1 1] 0 0 0 0 0 [4 4]");
}

}  // namespace

int main(int argc, char** argv) {
  setenv("TESSARON_CONFIG_DIR", TESSARON_CONFIG, 1);
  return run_passes(argc, argv, add_cases);
}
