// Noises over frames of 1920x1080 pixels, in frame passes. Of `noise` the operator alone is measured, of the noises at
// coordinates a pixel loop with all that computes their coordinates; "coordinates alone" is that part of it.
#include "bench/frame_passes.h"

using namespace tessaron;
using namespace tessaron::bench;

namespace {

const std::string TURNED = "(rotate xy 0.07 [0 0])";

/// One call of an operator that has no image argument.
void add_noise(const char* name, const char* function, const std::string& call) {
  add_body(name, function, "(+ Source (element_of " + call + " 0))", nullptr);
}

void add_cases() {
  add_noise("noise frequency 4, 6 octaves", "noise", "(noise 4 6 [0 0] 1)");
  add_noise("noise frequency 16, 6 octaves", "noise", "(noise 16 6 [0 0] 1)");
  add_noise("noise frequency 100, 6 octaves", "noise", "(noise 100 6 [0 0] 1)");
  add_noise("noise frequency 500, 1 octave", "noise", "(noise 500 1 [0 0] 1)");
  add_noise("noise3 frequency 4, 6 octaves", "noise3", "(noise3 4 6 [0 0] 1)");

  add_loop("coordinates alone", "(coerce_to_v3 (element_of " + TURNED + " 0))");
  add_loop("warp_noise frequency 4, 6 octaves", "(coerce_to_v3 (warp_noise " + TURNED + " 4 6 1))");
  add_loop("warp_noise frequency 60, 6 octaves", "(coerce_to_v3 (warp_noise " + TURNED + " 60 6 1))");
  add_loop("warp_noise at scattered places, 6 octaves", "(coerce_to_v3 (warp_noise (* (static2) 1) 60 6 1))");
  add_loop("warp_noise2 frequency 4, 6 octaves", "(coerce_to_v3 (element_of (warp_noise2 " + TURNED + " 4 6 1 1) 0))");
  add_loop("warp_noise3 frequency 4, 6 octaves", "(warp_noise3 " + TURNED + " 4 6 1)");
  add_loop("spots frequency 40", "(coerce_to_v3 (spots " + TURNED + " 40 1 1))");
  add_loop("voronoi frequency 40", "(coerce_to_v3 (voronoi " + TURNED + " 40 0.1 1))");
  add_loop("hex_tiles frequency 40", "(coerce_to_v3 (hex_tiles " + TURNED + " 40 0.1))");
}

}  // namespace

int main(int argc, char** argv) { return run_passes(argc, argv, add_cases); }
