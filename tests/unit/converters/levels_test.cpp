// Every loop of every instruction-set level against the plain rules.
#include <gtest/gtest.h>

#include <algorithm>

#include "host/configuration.h"
#include "host/converters/row_converters.h"
#include "reference.h"

namespace tessaron::testing {

table_set set_random_tables(std::mt19937& random) {
  table_set tables;
  for (fix& v : input_lut8) tables.in8.push_back(v = fix(random() % 4096));
  for (fix& v : input_lut12) tables.in12.push_back(v = fix(random() % 4096));
  for (auto& v : output_lut8) tables.out8.push_back(v = std::uint8_t(random()));
  for (fix& v : output_lut12) tables.out12.push_back(v = fix(random() % 4096));
  return tables;
}

namespace {

constexpr std::uint32_t SEED = 20070108;
constexpr int MAX_WIDTH = 70;
constexpr std::uint8_t GUARD = 0xa5;
constexpr fix GUARD_SAMPLE = 0x5a5a5a5a;

class ConverterLevels : public ::testing::TestWithParam<cpu_level> {
 protected:
  std::mt19937 random{SEED};
  table_set tables = set_random_tables(random);
  row_converters loops = make_row_converters(GetParam());
};

TEST_P(ConverterLevels, every_read_loop_follows_the_rules_at_all_widths) {
  for (const format_rule& f : FORMATS)
    for (const int n_elements : {1, 3, 4})
      for (const bool mix : {false, true})
        for (const bool lut : {false, true})
          for (int width = 1; width <= MAX_WIDTH; ++width) {
            // An odd start: host rows have any alignment.
            std::vector<std::uint8_t> memory(std::size_t(width) * 8 + 1);
            for (auto& b : memory) b = std::uint8_t(random());
            const std::uint8_t* pixels = memory.data() + 1;
            test_rows rows(width + 1, GUARD_SAMPLE);
            loops.read[host_format_slot(f.format)][read_count_slot(n_elements)][mix][lut](pixels, rows.out, width);
            for (int i = 0; i < width; ++i) {
              const auto expected = read_pixel(f, pixels + i * f.bits / 2, n_elements, mix, lut ? &tables : nullptr);
              for (int e = 0; e < n_elements; ++e)
                ASSERT_EQ(rows.row[e][i], expected[e])
                    << f.name << " to " << n_elements << " mix " << mix << " lut " << lut << " width " << width
                    << " pixel " << i << " element " << e;
            }
            for (int e = 0; e < 4; ++e)
              for (int i = e < n_elements ? width : 0; i <= width; ++i) ASSERT_EQ(rows.row[e][i], GUARD_SAMPLE);
          }
}

TEST_P(ConverterLevels, every_texel_loop_gives_what_the_read_loops_give_held_and_interleaved) {
  constexpr std::int16_t GUARD_TEXEL = 0x5a5a;
  for (const format_rule& f : FORMATS)
    for (const int n_elements : {3, 4})
      for (const bool mix : {false, true})
        for (const bool lut : {false, true})
          for (int width = 1; width <= MAX_WIDTH; ++width) {
            std::vector<std::uint8_t> memory(std::size_t(width) * 8 + 1);
            for (auto& b : memory) b = std::uint8_t(random());
            // Above white times above white leaves the range of texels.
            if (width % 3 == 0) std::fill(memory.begin(), memory.end(), std::uint8_t(0xff));
            const std::uint8_t* pixels = memory.data() + 1;
            std::vector<std::int16_t> texels(std::size_t(width) * n_elements + 8, GUARD_TEXEL);
            loops.read_texels[host_format_slot(f.format)][n_elements - 3][mix][lut](pixels, texels.data(), width);
            for (int i = 0; i < width; ++i) {
              const auto expected = read_pixel(f, pixels + i * f.bits / 2, n_elements, mix, lut ? &tables : nullptr);
              for (int e = 0; e < n_elements; ++e)
                ASSERT_EQ(texels[std::size_t(i * n_elements + e)], std::min(expected[e], 8191))
                    << f.name << " to " << n_elements << " mix " << mix << " lut " << lut << " width " << width
                    << " pixel " << i << " element " << e;
            }
            for (std::size_t i = std::size_t(width) * n_elements; i < texels.size(); ++i)
              ASSERT_EQ(texels[i], GUARD_TEXEL);
          }
}

TEST_P(ConverterLevels, every_write_loop_follows_the_rules_at_all_widths) {
  for (const format_rule& f : FORMATS)
    for (int n_elements = 1; n_elements <= 4; ++n_elements)
      for (const bool lut : {false, true})
        for (const int mode : {1, 2})
          for (int width = 1; width <= MAX_WIDTH; ++width) {
            test_rows rows(width);
            rows.fill_random(random);
            std::vector<std::uint8_t> memory(std::size_t(width) * f.bits / 2 + 17, GUARD);
            for (std::size_t i = 1; i + 16 < memory.size(); ++i) memory[i] = std::uint8_t(random());
            std::vector<std::uint8_t> expected = memory;
            for (int i = 0; i < width; ++i)
              write_pixel(f, expected.data() + 1 + i * f.bits / 2, rows.at(i), n_elements, mode,
                          lut ? &tables : nullptr);
            loops.write[host_format_slot(f.format)][n_elements - 1][lut][mode == 2](memory.data() + 1, rows.in, width);
            ASSERT_EQ(memory, expected) << n_elements << " to " << f.name << " mode " << mode << " lut " << lut
                                        << " width " << width;
          }
}

TEST_P(ConverterLevels, alpha_loops_change_alpha_fields_alone) {
  for (const format_rule& f : FORMATS)
    for (int width = 1; width <= MAX_WIDTH; ++width) {
      test_rows rows(width);
      rows.fill_random(random);
      std::vector<std::uint8_t> memory(std::size_t(width) * f.bits / 2);
      for (auto& b : memory) b = std::uint8_t(random());
      std::vector<std::uint8_t> expected = memory;
      for (int i = 0; i < width; ++i)
        put_field(f, expected.data() + i * f.bits / 2, 3, fix_to_field(f, rows.row[0][i]));
      loops.write_alpha[host_format_slot(f.format)](memory.data(), rows.in[0], width);
      ASSERT_EQ(memory, expected) << f.name << " width " << width;
    }
}

TEST_P(ConverterLevels, postdiv_divides_like_whole_numbers) {
  for (int width = 1; width <= MAX_WIDTH; ++width) {
    test_rows rows(width), result(width);
    rows.fill_random(random);
    for (fix& a : rows.row[1]) a = random() % 3 ? fix(random() % 4200) - 50 : a;
    loops.postdiv(rows.in[0], result.out[0], rows.in[1], width);
    for (int i = 0; i < width; ++i) {
      const fix c = rows.row[0][i], a = rows.row[1][i];
      const std::int64_t shifted = std::int32_t(std::uint32_t(c) << 12);
      const std::int64_t expected = a <= 0 ? 0 : a >= 4095 ? c : shifted / a;
      ASSERT_EQ(result.row[0][i], expected) << "colour " << c << " alpha " << a;
    }
    loops.postdiv(rows.in[0], rows.out[0], rows.in[1], width);
    EXPECT_EQ(rows.row[0], result.row[0]) << "in place";
  }
}

TEST_P(ConverterLevels, plane_samples_keep_their_sign) {
  std::vector<std::int16_t> samples;
  for (int v = -32767; v <= 32767; v += 13) samples.push_back(std::int16_t(v));
  std::vector<fix> wide(samples.size());
  loops.widen(samples.data(), wide.data(), int(samples.size()));
  for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_EQ(wide[i], samples[i]);
}

TEST_P(ConverterLevels, every_8_bit_value_returns_as_itself) {
  std::vector<std::uint8_t> pixels(256 * 4), back(256 * 4);
  for (int v = 0; v < 256; ++v)
    for (int c = 0; c < 4; ++c) pixels[v * 4 + c] = std::uint8_t(v + 64 * c);
  for (const int format : {NATIVE_RGBA8, NATIVE_BGRA8}) {
    test_rows rows(256);
    loops.read[host_format_slot(format)][read_count_slot(4)][0][0](pixels.data(), rows.out, 256);
    loops.write[host_format_slot(format)][3][0][0](back.data(), rows.in, 256);
    EXPECT_EQ(back, pixels);
  }
}

TEST_P(ConverterLevels, every_16_bit_value_returns_with_the_bits_that_fix_holds) {
  std::vector<std::uint16_t> pixels(65536 * 4), back(65536 * 4);
  for (int v = 0; v < 65536; ++v)
    for (int c = 0; c < 4; ++c) pixels[v * 4 + c] = std::uint16_t(v);
  const auto bytes = [](auto& v) { return reinterpret_cast<std::uint8_t*>(v.data()); };
  for (const int format : {NATIVE_RGBA16, NATIVE_BGRA16}) {
    test_rows rows(65536);
    loops.read[host_format_slot(format)][read_count_slot(4)][0][0](bytes(pixels), rows.out, 65536);
    loops.write[host_format_slot(format)][3][0][0](bytes(back), rows.in, 65536);
    for (int v = 0; v < 65536; ++v) {
      const int expected = format == NATIVE_BGRA16 ? (v / 16) * 16 + v / 4096 : v > 32768 ? 32768 : v / 8 * 8;
      for (int c = 0; c < 4; ++c) ASSERT_EQ(back[v * 4 + c], expected) << v;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(all, ConverterLevels, ::testing::ValuesIn(usable_cpu_levels()),
                         [](const auto& info) { return std::string(cpu_level_name(info.param)); });

TEST(ConverterLevelTables, levels_have_loops_of_their_own) {
  const row_converters generic = make_row_converters(cpu_level::generic);
  for (const cpu_level level : usable_cpu_levels()) {
    if (level == cpu_level::generic) continue;
    const row_converters other = make_row_converters(level);
    EXPECT_NE(generic.read[0][0][0][0], other.read[0][0][0][0]);
    EXPECT_NE(generic.write[0][0][0][0], other.write[0][0][0][0]);
    EXPECT_NE(generic.postdiv, other.postdiv);
  }
}

}  // namespace
}  // namespace tessaron::testing
