// Lightning and grids over a frame of 1920x1080 pixels, in frame passes. Measured is the operator alone, its image in
// place.
#include "bench/frame_passes.h"

using namespace tessaron;
using namespace tessaron::bench;

namespace {

/// A disc and a bar, white on black.
std::int16_t object(int x, int y) {
  const int dx = x - 1300, dy = y - 420;
  return dx * dx + dy * dy < 180 * 180 || (x > 300 && x < 700 && y > 700 && y < 850) ? FIX_ONE : 0;
}

/// The image argument, where there is one, is another operator: its planes get the object.
void put_object(testing::definition_renderer& r) {
  for (node* n : r.calls_of("gamma"))
    for (int y = 0; y < HEIGHT; ++y)
      for (int x = 0; x < WIDTH; ++x) n->images[0][y * WIDTH + x] = object(x, y);
}

void add_cases() {
  const auto add = [](const char* name, const char* function, const std::string& arguments) {
    add_body(name, function, "(" + std::string(function) + " " + arguments + ")", nullptr, put_object);
  };
  // In this order: width_vary, end_pointiness, start_len, wrinkle_curve, branchiness, branch_ang_len, seed_phase.
  const std::string image = "(gamma (element_of Source 0) 0.9) ", ends = "[-0.9 0.5] [0.9 -0.5] ";
  const std::string shape = " [0.1 0.4] 0.4 [0 1] [0.5 0.5] ", seed = " [0.5 0.4] [3 0.2] ";
  add("zap, 40 bolts with branches", "zap", ends + "0.8 40" + shape + "1" + seed);
  add("zap, 40 bolts with branches, half as long", "zap", "[-0.45 0.3] [0.45 -0.2] 0.4 40" + shape + "0.5" + seed);
  add("zap, 40 wide bolts with branches", "zap", ends + "0.8 40 [1 0.4] 0.4 [0 1] [0.5 0.5] 1" + seed);
  add("zap, 40 bare bolts", "zap", ends + "0.8 40" + shape + "0" + seed);
  add("zap, 3 bolts with branches", "zap", ends + "0.8 3" + shape + "1" + seed);
  add("zap_to, 12 bolts", "zap_to", image + "[-0.7 0.4] 0.1 [12 4] [0.1 0.4] 0.4 [0 1] 0.5 1" + seed + "[0.5 0]");
  add("zap_from, 120 bolts", "zap_from", image + "[0.3 0.5] 0.3 120" + shape + "0.5" + seed + "[0.5 0]");
  add("draw_grid, 40 x 40 boxes in perspective", "draw_grid",
      "[40 40] [0.05 0.05] [0 0] [8 8] 0.2 0.21 0.02 0 0.4 5 2");
}

}  // namespace

int main(int argc, char** argv) { return run_passes(argc, argv, add_cases); }
