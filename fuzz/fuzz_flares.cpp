// Reads any bytes as a file of lens flares and as one of glares, and draws the first entries of it.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "base/report.h"
#include "operators/flare_shape.h"

using namespace tessaron;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  set_report_sink([](int, const char*) {});
  char path[] = "/tmp/tessaron-fuzz-XXXXXX";
  const int file = mkstemp(path);
  if (file < 0) return 0;
  const bool written = write(file, data, size) == ssize_t(size);
  close(file);
  for (const bool has_center : {true, false}) {
    lens_flare_def* table[LENS_FLARE_MAX_NUMBER] = {};
    const int count = written ? load_lens_flares_from_file(path, table, LENS_FLARE_MAX_NUMBER, "", has_center) : 0;
    for (int i = 0; i < count; ++i) {
      flare_look look;
      look.pixels_per_unit = 100;
      flare_shape shape;
      shape.build(*table[i], look);
      const flare_light light = {3, 4, 5, 6, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};
      placed_spot spot;
      for (int k = 0; k < shape.n_spots(); ++k) shape.place_spot(k, light, spot);
      placed_rays rays;
      for (int k = 0; k < shape.n_rays(); ++k) shape.place_rays(k, light, rays);
      free_lens_flare(table[i]);
    }
  }
  unlink(path);
  return 0;
}
