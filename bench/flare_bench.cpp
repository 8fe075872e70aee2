// Lens flares and glares over 1920x1080 pixels, in frame passes.
#include <filesystem>
#include <fstream>

#include "bench/frame_passes.h"
#include "host/inspect.h"

using namespace tessaron;
using namespace tessaron::bench;

namespace {

/// Thirty elements over a third of the frame: glows, ghosts, rings and hexagons along the axis, and a burst.
std::string flare_of_thirty() {
  std::string text = "begin Thirty\n";
  const auto number = [](double v) { return std::to_string(v) + " "; };
  for (int i = 0; i < 29; ++i) {
    const double center = 1 - 0.06 * i, r = i % 5 == 0 ? 0.4 : 0.05 + 0.02 * (i % 7);
    if (i % 4 == 3)
      text += "hexagon center " + number(center) + "radii 0 " + number(r * 0.9) + number(r) +
              "colors 0.1 0.1 0.1 0.2 0.1 0.1 0.1 0.1 0.1\n";
    else if (i % 4 == 2)
      text += "ring center " + number(center) + "radii " + number(r * 0.8) + number(r * 0.9) + number(r) +
              "colors 0 0 0 0.2 0.1 0.1 0 0 0\n";
    else
      text += "spot center " + number(center) + "radii 0 " + number(r * 0.1) + number(r * 0.3) + number(r * 0.6) +
              number(r) + "colors 0.5 0.4 0.3 0.2 0.2 0.1 0.1 0.1 0.1 0.02 0.02 0.02 0 0 0\n";
  }
  return text +
         "rays center 1 color 0.5 0.5 0.5 ray_number 60 jitter_angles 1 start_angle 0 radius_range 0.1 0.4 ray_width "
         "0.01 rand_seed 1\nend\n";
}
const char* const STAR =
    "begin Star\nspot radii 0 0.01 0.03 colors 1 1 1 0.5 0.5 0.5 0 0 0\nrays color 1 1 1 ray_number 8 jitter_angles 0 "
    "start_angle 0 radius_range 0.2 0.2 ray_width 0.008 rand_seed 1\nend\n"
    "begin Halo\nspot radii 0 0.02 0.05 colors 1 1 1 0.2 0.2 0.2 0 0 0\nend\n";

/// Dark, with some hundred bright points.
fix sparks(int x, int y, int) { return (x / 3 * 131 + y / 3 * 197) % 8009 == 0 ? 2 * FIX_ONE : 600; }
fix dark(int x, int y, int) { return (x + y) % 300; }

void add_cases() {
  const std::string colors = " [1 1 1] [1 1 1] [1 1 1]";
  add_body("flare of 30 elements", "lens_flare", "(lens_flare 0 [-0.4 0.2] [0 0] 1 1 1 0" + colors + ")", dark);
  add_body("flare of 30 elements, half as large", "lens_flare",
           "(lens_flare 0 [-0.4 0.2] [0 0] 1 1 0.5 0" + colors + ")", dark);
  add_body("flare on the brightest place", "lens_flare_auto",
           "(lens_flare_auto (element_of Source 0) 0.05 0 [0 0] 1 1 [1 1] 0" + colors + " [0 0])", sparks);
  add_body("glare, star on each spark", "glare", "(glare Source 0.5 0 [1 1] 5 1 0 0 0 0)", sparks);
  add_body("glare, star convolved", "glare", "(glare Source 0.5 0 [1 1] 1 1 0 2 0 0)", sparks);
  add_body("glare, star convolved at a quarter", "glare", "(glare Source 0.5 0 [1 1] 1 1 0 2 0 2)", sparks);
  add_body("glare, halo convolved", "glare", "(glare Source 0.5 0 [1 1] 1 1 1 2 0 0)", sparks);
}

}  // namespace

int main(int argc, char** argv) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tessaron-flare-bench";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "t_lensflares.text") << flare_of_thirty();
  std::ofstream(folder / "t_glares.text") << STAR;
  inspect_use_config_dir(folder.string());
  const int result = run_passes(argc, argv, add_cases);
  std::filesystem::remove_all(folder);
  return result;
}
