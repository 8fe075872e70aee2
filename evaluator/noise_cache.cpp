// The cell cache of coordinate noise nodes.
#include <cstring>

#include "evaluator/pixel_loop.h"

namespace tessaron {
namespace {

constexpr int HEADER_WORDS = 10;
constexpr int CELL_WORDS = 5;
constexpr int N_CELLS = 128;
constexpr std::int32_t NO_CELL = -32000;  // a cell number that no coordinate has
static_assert((HEADER_WORDS + CELL_WORDS * N_CELLS) * sizeof(std::int32_t) == NOISE_CACHE_BYTES);

}  // namespace

void clear_noise_cache(void* cache) {
  std::memset(cache, 0, NOISE_CACHE_BYTES);
  std::int32_t* words = static_cast<std::int32_t*>(cache);
  words[0] = words[1] = NO_CELL;
  words[9] = 1;
  for (int i = 0; i < N_CELLS; ++i) {
    std::int32_t* cell = words + HEADER_WORDS + i * CELL_WORDS;
    cell[0] = cell[1] = NO_CELL;
  }
}

}  // namespace tessaron
