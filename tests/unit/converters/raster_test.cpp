// Converters on rasters: spans, what lies outside, alpha modes, repeated columns, refusals.
#include <gtest/gtest.h>

#include "evaluator/workers.h"
#include "host/configuration.h"
#include "host/converters.h"
#include "reference.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

constexpr std::uint32_t SEED = 4096;
constexpr fix UNTOUCHED = 0x77777777;

TEST(FormatNames, the_list_and_what_is_outside_it) {
  EXPECT_EQ(native_format_name(0), "   ?");
  EXPECT_EQ(native_format_name(1), "a8");
  EXPECT_EQ(native_format_name(4), "rgba8");
  EXPECT_EQ(native_format_name(9), "bgra16");
  EXPECT_EQ(native_format_name(10), "argb16");
  EXPECT_EQ(native_format_name(14), "rgba16z");
  EXPECT_EQ(native_format_name(17), "lf");
  EXPECT_EQ(native_format_name(20), "laf");
  EXPECT_EQ(native_format_name(21), "15??");
  EXPECT_EQ(native_format_name(-1), "ffffffff??");
}

TEST(RowSpan, a_request_inside_has_no_outside) {
  test_raster r(FORMATS[0], 10, 4, 100, 50, 6);
  const auto span = row_span(r.info, 102, 105, 51);
  EXPECT_EQ(span.n, 4);
  EXPECT_EQ(span.left, 0);
  EXPECT_EQ(span.right, 0);
  EXPECT_EQ(span.offset, 1 * (10 * 4 + 6) + 2 * 4);
}

TEST(RowSpan, padding_of_deep_rows_counts_fields) {
  test_raster r(FORMATS[3], 10, 4, 0, 0, 3);
  EXPECT_EQ(row_span(r.info, 1, 1, 2).offset, 2 * (10 * 8 + 3 * 2) + 8);
}

TEST(RowSpan, a_request_over_both_sides_is_split) {
  test_raster r(FORMATS[0], 10, 4, 100, 50, 0);
  const auto span = row_span(r.info, 97, 114, 50);
  EXPECT_EQ(span.left, 3);
  EXPECT_EQ(span.n, 10);
  EXPECT_EQ(span.right, 5);
  EXPECT_EQ(span.offset, 0);
}

TEST(RowSpan, a_row_wholly_outside_is_all_left) {
  test_raster r(FORMATS[0], 10, 4, 100, 50, 0);
  for (const auto& [x0, x1, y] : {std::array{100, 109, 49}, {100, 109, 54}, {80, 99, 51}, {110, 119, 51}}) {
    const auto span = row_span(r.info, x0, x1, y);
    EXPECT_EQ(span.n, 0);
    EXPECT_EQ(span.left, x1 - x0 + 1);
    EXPECT_EQ(span.right, 0);
  }
}

TEST(RowSpan, the_last_row_and_column_are_inside) {
  test_raster r(FORMATS[0], 10, 4, 100, 50, 0);
  EXPECT_EQ(row_span(r.info, 109, 112, 53).n, 1);
  EXPECT_EQ(row_span(r.info, 109, 112, 53).right, 3);
  EXPECT_EQ(row_span(r.info, 90, 100, 53).left, 10);
}

TEST(SourceReader, stretches_anywhere_around_a_raster_read_zero_outside) {
  std::mt19937 random{SEED};
  for (const format_rule& f : FORMATS)
    for (const int pad : {0, 1, 5}) {
      test_raster r(f, 7, 3, -2, 4, pad);
      r.fill_random(random);
      const source_reader read = choose_source_reader(f.format, false, false);
      ASSERT_NE(read, nullptr);
      for (int y = 2; y <= 8; ++y)
        for (int x0 = -12; x0 <= 8; ++x0)
          for (const int width : {1, 2, 5, 9, 20})
            for (const int n_elements : {1, 3, 4}) {
              test_rows rows(width + 1, UNTOUCHED);
              read(r.info, y, x0, x0 + width - 1, rows.out, n_elements, 0);
              for (int e = 0; e < 4; ++e)
                for (int i = 0; i <= width; ++i) {
                  fix expected = UNTOUCHED;
                  if (i < width && e < n_elements)
                    expected =
                        r.holds(x0 + i, y) ? read_pixel(f, r.pixel(x0 + i, y), n_elements, false, nullptr)[e] : 0;
                  ASSERT_EQ(rows.row[e][i], expected) << f.name << " x " << x0 + i << " y " << y << " element " << e;
                }
            }
    }
}

TEST(SourceReader, mode_and_table_are_those_of_the_choice) {
  for (int v = 0; v < 256; ++v) input_lut8[v] = 4095 - v;
  test_raster r(FORMATS[0], 1, 1, 0, 0, 0);
  for (int c = 0; c < 4; ++c) put_field(r.rule, r.pixel(0, 0), c, 128);  // reads as 2056
  const auto red = [&](bool mix, bool lut) {
    test_rows rows(1);
    choose_source_reader(NATIVE_RGBA8, mix, lut)(r.info, 0, 0, 0, rows.out, 4, 0);
    EXPECT_EQ(rows.row[3][0], 2056) << "alpha takes neither";
    return rows.row[0][0];
  };
  EXPECT_EQ(red(false, false), 2056);
  EXPECT_EQ(red(true, false), 2056 * 2056 / 4096);
  EXPECT_EQ(red(false, true), 3967);
  EXPECT_EQ(red(true, true), 3967 * 2056 / 4096) << "the table comes first";
}

TEST(SourceReader, white_of_the_32768_scale_reads_the_last_table_entry) {
  for (int i = 0; i < 4096; ++i) input_lut12[i] = i / 2;
  test_raster r(FORMATS[2], 2, 1, 0, 0, 0);
  for (int x = 0; x < 2; ++x)
    for (int c = 0; c < 4; ++c) put_field(r.rule, r.pixel(x, 0), c, x == 0 ? 32768 : 65535);
  test_rows rows(2);
  choose_source_reader(NATIVE_RGBA16, false, true)(r.info, 0, 0, 1, rows.out, 4, 0);
  EXPECT_EQ(rows.row[0][0], 2047);
  EXPECT_EQ(rows.row[0][1], 2047);
  EXPECT_EQ(rows.row[3][0], 4096);
}

TEST(SourceReader, premultiply_by_4095_is_not_corrected) {
  test_raster r(FORMATS[3], 1, 1, 0, 0, 0);
  put_field(r.rule, r.pixel(0, 0), 0, 1000 * 16);
  put_field(r.rule, r.pixel(0, 0), 3, 65535);
  test_rows rows(1);
  choose_source_reader(NATIVE_BGRA16, true, false)(r.info, 0, 0, 0, rows.out, 4, 0);
  EXPECT_EQ(rows.row[0][0], 999);
}

TEST(SourceReader, an_image_without_memory_reads_zero) {
  raster_info nothing{};
  nothing.width = nothing.height = 4;
  nothing.x1 = nothing.y1 = 3;
  test_rows rows(4, UNTOUCHED);
  choose_source_reader(NATIVE_RGBA8, false, false)(nothing, 1, 0, 3, rows.out, 3, 0);
  for (int e = 0; e < 3; ++e) EXPECT_EQ(rows.row[e], std::vector<fix>(4, 0));
}

TEST(SourceReader, two_elements_are_no_source_shape) {
  for (const format_rule& f : FORMATS) {
    test_raster r(f, 1, 1, 0, 0, 0);
    test_rows rows(1);
    report_capture reports;
    choose_source_reader(f.format, false, false)(r.info, 0, 0, 0, rows.out, 2, 0);
    EXPECT_EQ(reports.severity_of(std::string("No native->fix line conv for ") + f.name + " to 2"), 8) << reports.all();
  }
}

TEST(SourceReader, other_formats_are_reported) {
  report_capture reports;
  EXPECT_EQ(choose_source_reader(1, false, false), nullptr);
  EXPECT_TRUE(reports.has("No native->fix line conv for ptype 1 = a8")) << reports.all();
}

/// Columns -3 to 12 of row y of a raster of columns 2 to 8.
TEST(TexelReader, takes_what_lies_outside_a_raster_as_0) {
  std::mt19937 random{SEED};
  for (const format_rule& f : FORMATS)
    for (const int n_elements : {3, 4})
      for (const int y : {9, 10, 12, 13}) {
        test_raster r(f, 7, 3, 2, 10, 5);
        r.fill_random(random);
        constexpr int FIRST = -3, LAST = 12;
        std::vector<std::int16_t> texels(std::size_t(LAST - FIRST + 1) * n_elements, -1);
        choose_texel_reader(f.format, false, false)(r.info, y, FIRST, LAST, texels.data(), n_elements);
        for (int x = FIRST; x <= LAST; ++x) {
          const auto inside =
              r.holds(x, y) ? read_pixel(f, r.pixel(x, y), n_elements, false, nullptr) : std::array<int, 4>{};
          for (int e = 0; e < n_elements; ++e)
            ASSERT_EQ(texels[std::size_t((x - FIRST) * n_elements + e)], inside[e]) << f.name << " " << x << " " << y;
        }
      }
}

TEST(TexelReader, of_a_raster_without_memory_gives_0) {
  raster_info nothing = {};
  nothing.width = 4;
  nothing.height = 2;
  nothing.x1 = 3;
  nothing.y1 = 1;
  nothing.bytes_per_pixel = 8;
  nothing.bits = 16;
  std::vector<std::int16_t> texels(16, -1);
  choose_texel_reader(NATIVE_RGBA16, false, false)(nothing, 1, 0, 3, texels.data(), 4);
  EXPECT_EQ(texels, std::vector<std::int16_t>(16, 0));
}

TEST(TexelReader, is_there_for_the_formats_of_hosts_alone) {
  EXPECT_EQ(choose_texel_reader(1, false, false), nullptr);
  for (const format_rule& f : FORMATS) EXPECT_NE(choose_texel_reader(f.format, true, true), nullptr);
}

TEST(DestWriter, worked_values) {
  struct {
    int format, value, field;
  } static constexpr CASES[] = {{0, 2056, 128},   {0, -5, 0},       {0, 4096, 255},   {0, 4095, 255},   {1, 15, 0},
                                {1, 16, 1},       {2, 4096, 32768}, {2, 4097, 32768}, {2, 4095, 32760}, {2, -1, 0},
                                {3, 4095, 65535}, {3, 4096, 65535}, {3, 1, 16},       {3, 256, 4097},   {3, -4096, 0}};
  for (const auto& c : CASES) {
    const format_rule& f = FORMATS[c.format];
    test_raster r(f, 1, 1, 0, 0, 0);
    test_rows rows(1, c.value);
    ASSERT_TRUE(choose_dest_writer(f.format, false)(r.info, 0, 0, 1, 1, rows.in, 4, 1));
    for (int channel = 0; channel < 4; ++channel)
      EXPECT_EQ(get_field(f, r.pixel(0, 0), channel), c.field) << f.name << " of " << c.value;
  }
}

TEST(DestWriter, tables_end_below_full_scale_in_the_32768_format) {
  for (int i = 0; i < 4096; ++i) output_lut12[i] = i, output_lut8[i] = std::uint8_t(i / 16);
  test_rows rows(1, 5000);
  const int expected[] = {255, 255, 32767, 65535};
  for (int i = 0; i < 4; ++i) {
    test_raster r(FORMATS[i], 1, 1, 0, 0, 0);
    ASSERT_TRUE(choose_dest_writer(FORMATS[i].format, true)(r.info, 0, 0, 1, 1, rows.in, 4, 1));
    EXPECT_EQ(get_field(FORMATS[i], r.pixel(0, 0), 0), expected[i]);
    EXPECT_EQ(get_field(FORMATS[i], r.pixel(0, 0), 3), FORMATS[i].full_scale) << "alpha takes no table";
  }
}

TEST(DestWriter, all_modes_and_stretches_and_nothing_but_the_stretch) {
  std::mt19937 random{SEED};
  for (const format_rule& f : FORMATS)
    for (int n_elements = 1; n_elements <= 4; ++n_elements)
      for (int mode = 1; mode <= (n_elements % 2 ? 3 : 1); ++mode)
        for (const int pad : {0, 3})
          for (int x0 = -6; x0 <= 6; x0 += 3)
            for (const int width : {1, 4, 13})
              for (const int step : {1, 2, 3, 7}) {
                test_raster r(f, 8, 2, -1, 10, pad), expected(f, 8, 2, -1, 10, pad);
                r.fill_random(random);
                expected.bytes = r.bytes;
                test_rows rows(width);
                rows.fill_random(random);
                for (int i = 0; i < width; ++i)
                  if (expected.holds(x0 + i, 11))
                    write_pixel(f, expected.pixel(x0 + i, 11), rows.at(i / step), n_elements, mode, nullptr);
                ASSERT_TRUE(
                    choose_dest_writer(f.format, false)(r.info, 11, x0, width, step, rows.in, n_elements, mode));
                ASSERT_EQ(r.bytes, expected.bytes) << f.name << " elements " << n_elements << " mode " << mode << " x0 "
                                                   << x0 << " width " << width << " step " << step;
              }
}

TEST(DestWriter, repeated_columns_of_a_long_row) {
  constexpr int WIDTH = 1000, STEP = 3;  // more than one block, groups across its ends
  test_raster r(FORMATS[1], WIDTH, 1, 0, 0, 0);
  test_rows rows((WIDTH + STEP - 1) / STEP);
  for (int i = 0; i < int(rows.row[0].size()); ++i) rows.row[0][i] = i * 16 % 4096;
  ASSERT_TRUE(choose_dest_writer(NATIVE_BGRA8, false)(r.info, 0, 0, WIDTH, STEP, rows.in, 1, 1));
  for (int x = 0; x < WIDTH; ++x) ASSERT_EQ(get_field(r.rule, r.pixel(x, 0), 1), x / STEP % 256) << x;
}

TEST(DestWriter, three_columns_a_sample_over_ten_columns) {
  test_raster r(FORMATS[0], 10, 1, 0, 0, 0);
  test_rows rows(4);
  for (int i = 0; i < 4; ++i) rows.row[0][i] = (i + 1) * 160;  // fields 10, 20, 30, 40
  ASSERT_TRUE(choose_dest_writer(NATIVE_RGBA8, false)(r.info, 0, 0, 10, 3, rows.in, 1, 1));
  const int expected[] = {10, 10, 10, 20, 20, 20, 30, 30, 30, 40};
  for (int x = 0; x < 10; ++x) EXPECT_EQ(get_field(r.rule, r.pixel(x, 0), 0), expected[x]);
}

TEST(DestWriter, illegal_modes_are_refused_in_sixteen_texts) {
  for (const format_rule& f : FORMATS)
    for (int n_elements = 1; n_elements <= 4; ++n_elements)
      for (const int mode : {-1, 0, 2, 3, 4}) {
        if (n_elements % 2 && (mode == 2 || mode == 3)) continue;
        test_raster r(f, 2, 1, 0, 0, 0);
        const auto before = r.bytes;
        test_rows rows(2, 4095);
        report_capture reports;
        EXPECT_FALSE(choose_dest_writer(f.format, false)(r.info, 0, 0, 2, 1, rows.in, n_elements, mode));
        const std::string text = "dest converter: invalid alpha mode " + std::to_string(mode) + " for " +
                                 std::to_string(n_elements) + " -> " + f.name;
        EXPECT_EQ(reports.severity_of(text), 8) << reports.all();
        EXPECT_EQ(r.bytes, before);
      }
}

TEST(DestWriter, no_columns_only_check_the_combination) {
  test_raster r(FORMATS[0], 2, 1, 0, 0, 0);
  const auto before = r.bytes;
  test_rows rows(1, 4095);
  report_capture reports;
  EXPECT_TRUE(choose_dest_writer(NATIVE_RGBA8, false)(r.info, 0, 0, 0, 1, rows.in, 3, 2));
  EXPECT_TRUE(reports.empty());
  EXPECT_FALSE(choose_dest_writer(NATIVE_RGBA8, false)(r.info, 0, 0, 0, 1, rows.in, 2, 2));
  EXPECT_EQ(r.bytes, before);
}

TEST(DestWriter, element_counts_outside_one_to_four_are_refused) {
  test_raster r(FORMATS[0], 2, 1, 0, 0, 0);
  test_rows rows(2);
  report_capture reports;
  EXPECT_FALSE(choose_dest_writer(NATIVE_RGBA8, false)(r.info, 0, 0, 2, 1, rows.in, 5, 1));
  EXPECT_TRUE(reports.has("No fix->native conv for 5 to rgba8")) << reports.all();
}

TEST(DestWriter, other_formats_are_reported) {
  report_capture reports;
  EXPECT_EQ(choose_dest_writer(15, false), nullptr);
  EXPECT_EQ(reports.severity_of("No fix->native converters for pixel type 15 = l8"), 8) << reports.all();
}

}  // namespace
}  // namespace tessaron::testing
