#include "genotype/globals.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr std::int32_t NEVER_RENDERED = -1000000;

struct default_record : globals_record {
  default_record() : globals_record{} { init_globals(*this); }
} process_record;

}  // namespace

globals_record* Globals = &process_record;

void init_globals(globals_record& record) {
  static constexpr std::uint8_t CHANNELS[7] = {1, 1, 2, 3, 3, 3, 3};
  static constexpr std::uint8_t DEPENDENCY[7] = {0, 0, 0, 1, 1, 1, 1};
  std::copy(std::begin(CHANNELS), std::end(CHANNELS), record.image_channels);
  std::copy(std::begin(DEPENDENCY), std::end(DEPENDENCY), record.default_image_channels);
  record.n_image_channels = 4;
  record.last_effect_i = -1;
  record.n_inputs = -1;
  record.descriptor_a = -1;
  record.effect_arg_a = -1;
  record.effect_arg_b = 0;
  for (temp_set_record& set : record.temp_sets) set.last_time = NEVER_RENDERED;
  record.temp_set = &record.temp_sets[0];
  record.image_total = -1;
}

}  // namespace tessaron
