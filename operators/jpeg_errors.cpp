#include "operators/jpeg_errors.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "evaluator/tables.h"

namespace tessaron {
namespace {

constexpr float CODED_DC = 1024;      // from mid grey to white, as the cosine transform scales it
constexpr float WAVE = 400;           // amplitude of a garbage coefficient at strength 1.0
constexpr int MOST_QUANTISED = 1023;  // what the stream's code tables hold
constexpr int LONGEST_RUN_ROWS = 2;   // of macroblocks, at full coherence
constexpr int LONGEST_LIFE = 8;       // seeds for which an error stays, at full coherence
constexpr int WAVES = 6;              // garbage coefficients a block, at most

std::uint32_t hashed(std::uint32_t a, std::uint32_t b) { return hash4(b + hash4(a)); }
/// 0 to 1.
float unit(std::uint32_t hash) { return float(hash & 0xffff) / 65536.0f; }
/// -1 to 1.
float signed_unit(std::uint32_t hash) { return unit(hash) * 2 - 1; }

enum class damage { shift, waves, shift_and_waves, repeat, slip };
constexpr damage KINDS[8] = {damage::shift, damage::shift,           damage::shift,  damage::waves,
                             damage::waves, damage::shift_and_waves, damage::repeat, damage::slip};

struct run {
  int left = 0;  // macroblocks
  std::uint32_t key = 0;
  damage kind = damage::shift;
  int source_column = 0;  // repeat
  int slip = 0;           // macroblocks to the left
  float shift[3] = {};    // of the components' means, at strength 1.0
};

class picture_damage {
 public:
  picture_damage(jpeg_decompress_struct& picture, jvirt_barray_ptr* coefficients, const jpeg_error_settings& settings,
                 int strip)
      : picture_(picture), coefficients_(coefficients), settings_(settings), strip_(std::uint32_t(strip)) {
    const int across = 8 * picture.max_h_samp_factor, down = 8 * picture.max_v_samp_factor;
    columns_ = (int(picture.image_width) + across - 1) / across;
    rows_ = (int(picture.image_height) + down - 1) / down;
    life_ = 1 + int(settings.coherence * float(LONGEST_LIFE - 1));
  }

  void run_over() {
    for (int row = 0; row < rows_; ++row) {
      take_row(row);
      for (int column = 0; column < columns_; ++column) visit(row * columns_ + column, column);
    }
  }

 private:
  /// The blocks of a row of macroblocks, by component.
  void take_row(int row) {
    for (int c = 0; c < picture_.num_components; ++c) {
      const jpeg_component_info& component = picture_.comp_info[c];
      blocks_[c] = picture_.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&picture_), coefficients_[c],
                                                    JDIMENSION(row * component.v_samp_factor),
                                                    JDIMENSION(component.v_samp_factor), TRUE);
    }
  }

  void visit(int place, int column) {
    if (const std::uint32_t key = key_of(place); unit(hashed(key, 1)) < settings_.rate) begin(key, column);
    if (run_.left <= 0) return;
    --run_.left;
    if (unit(hashed(run_.key, 100u + std::uint32_t(place))) < settings_.density) apply(place, column);
  }

  /// Errors of different places begin and end at different seeds.
  std::uint32_t key_of(int place) const {
    const std::uint32_t here = hashed(strip_ * 7919u + 17u, std::uint32_t(place));
    const std::int64_t moved = std::int64_t(settings_.seed) + std::int64_t(here % std::uint32_t(life_));
    const std::int64_t cell = moved >= 0 ? moved / life_ : -((life_ - 1 - moved) / life_);
    return hashed(here, std::uint32_t(cell));
  }

  void begin(std::uint32_t key, int column) {
    const float length = unit(hashed(key, 2));
    run_.key = key;
    run_.left = 1 + int(settings_.coherence * length * length * float(LONGEST_RUN_ROWS * columns_));
    run_.kind = KINDS[hashed(key, 3) >> 5 & 7];
    run_.source_column = column;
    run_.slip = 1 + int(unit(hashed(key, 4)) * std::min(1.0f, settings_.amp) * float(columns_) / 8);
    for (std::uint32_t c = 0; c < 3; ++c) run_.shift[c] = signed_unit(hashed(key, 5 + c)) * (c == 0 ? 1.0f : 0.7f);
  }

  void apply(int place, int column) {
    switch (run_.kind) {
      case damage::shift:
        return shift(column);
      case damage::waves:
        return add_waves(place, column);
      case damage::shift_and_waves:
        shift(column);
        return add_waves(place, column);
      case damage::repeat:
        return copy_from(run_.source_column, column);
      case damage::slip:
        return copy_from(std::max(column - run_.slip, 0), column);
    }
  }

  template <class Change>
  void each_block(int column, Change change) {
    for (int c = 0; c < picture_.num_components; ++c) {
      const jpeg_component_info& component = picture_.comp_info[c];
      for (int v = 0; v < component.v_samp_factor; ++v)
        for (int h = 0; h < component.h_samp_factor; ++h)
          change(c, v * component.h_samp_factor + h, blocks_[c][v][column * component.h_samp_factor + h]);
    }
  }

  void add(JBLOCK& block, int component, int coefficient, float amount) {
    const float step = float(picture_.comp_info[component].quant_table->quantval[coefficient]);
    const float value = float(block[coefficient]) + std::nearbyint(amount * settings_.amp / step);
    block[coefficient] = JCOEF(std::clamp(value, -float(MOST_QUANTISED), float(MOST_QUANTISED)));
  }

  void shift(int column) {
    each_block(column, [this](int c, int, JBLOCK& block) { add(block, c, 0, run_.shift[c] * CODED_DC); });
  }

  void add_waves(int place, int column) {
    each_block(column, [&](int c, int b, JBLOCK& block) {
      const std::uint32_t key = hashed(run_.key ^ std::uint32_t(place), std::uint32_t(1000 + 10 * c + b));
      const int count = 1 + int(key >> 4) % WAVES;
      for (int i = 0; i < count; ++i) {
        // Mostly long waves.
        const std::uint32_t wave = hashed(key, std::uint32_t(i));
        const int u = int(unit(wave) * unit(wave >> 7) * 8), v = int(unit(wave >> 3) * unit(wave >> 11) * 8);
        if (u + v > 0) add(block, c, 8 * v + u, signed_unit(hashed(wave, 1)) * WAVE);
      }
    });
  }

  /// A run that goes on in the next row repeats that row's block of the same column.
  void copy_from(int from, int column) {
    if (from == column || unit(hashed(run_.key, 9)) > settings_.amp) return;
    each_block(column, [&](int c, int b, JBLOCK& block) {
      const jpeg_component_info& component = picture_.comp_info[c];
      const int v = b / component.h_samp_factor, h = b % component.h_samp_factor;
      std::memcpy(block, blocks_[c][v][from * component.h_samp_factor + h], sizeof block);
    });
  }

  jpeg_decompress_struct& picture_;
  jvirt_barray_ptr* coefficients_;
  const jpeg_error_settings& settings_;
  const std::uint32_t strip_;
  int columns_ = 0, rows_ = 0, life_ = 1;
  JBLOCKARRAY blocks_[MAX_COMPONENTS] = {};
  run run_;
};

}  // namespace

void damage_coefficients(jpeg_decompress_struct& picture, jvirt_barray_ptr* coefficients,
                         const jpeg_error_settings& settings, int strip) {
  picture_damage(picture, coefficients, settings, strip).run_over();
}

}  // namespace tessaron
