// Alpha apart from colours, and whole planes into the output.
#include <gtest/gtest.h>

#include <algorithm>

#include "evaluator/workers.h"
#include "host/converters.h"
#include "reference.h"
#include "support/report_capture.h"

namespace tessaron::testing {
namespace {

constexpr std::uint32_t SEED = 65535;

fix straightened(fix colour, fix alpha) {
  test_rows rows(1, colour), result(1);
  postdiv(rows.in, result.out, &alpha, 1, 1);
  return result.row[0][0];
}

TEST(Postdiv, keeps_at_4095_divides_at_4094_and_clears_at_0) {
  EXPECT_EQ(straightened(2000, 4095), 2000);
  EXPECT_EQ(straightened(2000, 5000), 2000);
  EXPECT_EQ(straightened(2000, 4094), 2000 * 4096 / 4094);
  EXPECT_EQ(straightened(2000, 1), 2000 * 4096);
  EXPECT_EQ(straightened(2000, 0), 0);
  EXPECT_EQ(straightened(2000, -7), 0);
  EXPECT_EQ(straightened(-2001, 2048), -4002);
  EXPECT_EQ(straightened(-5, 3000), -6) << "-20480 / 3000 is cut towards zero";
}

TEST(Postdiv, four_elements_carry_their_alpha) {
  test_rows rows(2), result(2);
  rows.row[0] = {100, 100};
  rows.row[1] = {200, 200};
  rows.row[2] = {300, 300};
  rows.row[3] = {2048, 0};
  postdiv(rows.in, result.out, nullptr, 4, 2);
  EXPECT_EQ(result.row[0], (std::vector<fix>{200, 0}));
  EXPECT_EQ(result.row[1], (std::vector<fix>{400, 0}));
  EXPECT_EQ(result.row[2], (std::vector<fix>{600, 0}));
  EXPECT_EQ(result.row[3], (std::vector<fix>{2048, 0}));
}

TEST(Postdiv, an_alpha_in_hand_wins_and_the_fourth_element_stays) {
  test_rows rows(1, 1000);
  const fix alpha = 2048;
  postdiv(rows.in, rows.out, &alpha, 4, 1);
  EXPECT_EQ(rows.row[0][0], 2000);
  EXPECT_EQ(rows.row[3][0], 1000);
}

TEST(Postdiv, works_in_place_for_one_two_and_three_elements) {
  const fix alpha = 1024;
  for (const int n : {1, 3}) {
    test_rows rows(1, 50);
    postdiv(rows.in, rows.out, &alpha, n, 1);
    for (int e = 0; e < 4; ++e) EXPECT_EQ(rows.row[e][0], e < n ? 200 : 50);
  }
  test_rows grey(1, 1024);
  postdiv(grey.in, grey.out, nullptr, 2, 1);
  EXPECT_EQ(grey.row[0][0], 4096);
  EXPECT_EQ(grey.row[1][0], 1024) << "alpha of grey and alpha";
}

TEST(Postdiv, other_element_counts_are_reported) {
  for (const int n : {0, 5}) {
    test_rows rows(1, 1000);
    report_capture reports;
    postdiv(rows.in, rows.out, nullptr, n, 1);
    EXPECT_TRUE(reports.has("Invalid output veclen " + std::to_string(n) + " in postdiv.")) << reports.all();
    EXPECT_EQ(rows.row[0][0], 1000);
  }
}

TEST(AlphaConstant, deep_formats_share_the_scale_of_32768) {
  struct {
    int format;
    float a;
    int field;
  } static constexpr CASES[] = {{0, 1.0f, 255},   {0, 0.5f, 127},   {0, 0.0f, 0},     {1, 1.0f, 255},
                                {1, 0.25f, 63},   {2, 1.0f, 32768}, {2, 0.5f, 16384}, {3, 1.0f, 32768},
                                {3, 0.5f, 16384}, {3, 0.0f, 0},     {0, 2.0f, 255},   {2, -1.0f, 0}};
  std::mt19937 random{SEED};
  for (const auto& c : CASES) {
    const format_rule& f = FORMATS[c.format];
    test_raster r(f, 5, 3, 10, 20, 2), expected(f, 5, 3, 10, 20, 2);
    r.fill_random(random);
    expected.bytes = r.bytes;
    for (int x = 11; x <= 14; ++x) put_field(f, expected.pixel(x, 21), 3, c.field);
    alpha_copy_constant(r.info, 21, 11, 40, c.a);  // columns past the right side are left out
    EXPECT_EQ(r.bytes, expected.bytes) << f.name << " alpha " << c.a;
  }
}

TEST(AlphaCopy, all_pairs_go_through_fix) {
  std::mt19937 random{SEED};
  constexpr int WIDTH = 700;  // more than two blocks
  for (const format_rule& from_rule : FORMATS)
    for (const format_rule& to_rule : FORMATS) {
      test_raster from(from_rule, WIDTH, 2, 0, 0, 1), to(to_rule, WIDTH, 2, 0, 0, 3),
          expected(to_rule, WIDTH, 2, 0, 0, 3);
      from.fill_random(random);
      to.fill_random(random);
      expected.bytes = to.bytes;
      for (int x = 3; x < WIDTH; ++x) {
        const int alpha = field_to_fix(from_rule, get_field(from_rule, from.pixel(x, 1), 3));
        put_field(to_rule, expected.pixel(x, 1), 3, fix_to_field(to_rule, alpha));
      }
      ASSERT_TRUE(alpha_copy(to.info, from.info, 1, 3, WIDTH + 50));
      EXPECT_EQ(to.bytes, expected.bytes) << from_rule.name << " to " << to_rule.name;
    }
}

TEST(AlphaCopy, is_clear_where_the_source_has_no_pixel) {
  test_raster from(FORMATS[0], 2, 1, 1, 0, 0), to(FORMATS[0], 4, 1, 0, 0, 0);
  std::fill(from.bytes.begin(), from.bytes.end(), 200);
  std::fill(to.bytes.begin(), to.bytes.end(), 99);
  ASSERT_TRUE(alpha_copy(to.info, from.info, 0, 0, 3));
  const int alpha[] = {0, 200, 200, 0};
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(get_field(to.rule, to.pixel(x, 0), 3), alpha[x]);
    EXPECT_EQ(get_field(to.rule, to.pixel(x, 0), 0), 99);
  }
}

TEST(AlphaCopy, pairs_without_a_rule_are_reported) {
  for (const format_rule& f : FORMATS) {
    test_raster from(f, 1, 1, 0, 0, 0), to(f, 1, 1, 0, 0, 0);
    to.info.format = 12;
    report_capture reports;
    EXPECT_FALSE(alpha_copy(to.info, from.info, 0, 0, 0));
    EXPECT_TRUE(reports.has(std::string("No alpha-copy func defined for ") + f.name + " to type 12")) << reports.all();
  }
  test_raster from(FORMATS[0], 1, 1, 0, 0, 0), to(FORMATS[0], 1, 1, 0, 0, 0);
  from.info.format = 13;
  report_capture reports;
  EXPECT_FALSE(alpha_copy(to.info, from.info, 0, 0, 0));
  alpha_copy_constant(from.info, 0, 0, 0, 1.0f);
  EXPECT_EQ(reports.count_part("No alpha-copy func defined for type 13"), 2) << reports.all();
}

/// An output, a view and planes of random samples for it.
class PlanesToDest : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    multi_process_enable = 1;
    set_processor_override(GetParam());
    start_fork_workers();
  }
  void TearDown() override {
    stop_fork_workers();
    set_processor_override(0);
    dest_raster_info = {};
    temp_raster_info = {};
    render_info = {};
    pixel_io = {};
    field_globals = {};
  }
  void set_up_view(test_raster& out, int x0, int y0, int width, int height) {
    dest_raster_info = out.info;
    temp_raster_info = {};
    temp_raster_info.width = width;
    temp_raster_info.height = height;
    temp_raster_info.x0 = x0;
    temp_raster_info.y0 = y0;
    temp_raster_info.x1 = x0 + width - 1;
    temp_raster_info.y1 = y0 + height - 1;
    render_info.render_x0 = x0;
    render_info.render_y0 = y0;
    render_info.render_x1 = x0 + width - 1;
    render_info.render_y1 = y0 + height - 1;
    pixel_io.write_dest = choose_dest_writer(out.info.format, false);
    for (int e = 0; e < 4; ++e) {
      samples[e].resize(std::size_t(width) * height);
      for (auto& v : samples[e]) v = std::int16_t(int(random() % 5000) - 400);
      planes[e] = samples[e].data();
    }
  }
  std::array<int, 4> sample(int i) const { return {samples[0][i], samples[1][i], samples[2][i], samples[3][i]}; }

  std::mt19937 random{SEED};
  std::vector<std::int16_t> samples[4];
  const std::int16_t* planes[4];
};

TEST_P(PlanesToDest, every_format_count_and_mode_fills_the_render_rectangle) {
  for (const format_rule& f : FORMATS)
    for (int n_elements = 1; n_elements <= 4; ++n_elements)
      for (int mode = 1; mode <= (n_elements % 2 ? 3 : 1); ++mode) {
        test_raster out(f, 600, 9, -5, 3, 1), expected(f, 600, 9, -5, 3, 1);
        out.fill_random(random);
        expected.bytes = out.bytes;
        set_up_view(out, 0, 4, 590, 7);
        for (int y = 4; y <= 10; ++y)
          for (int x = 0; x < 590; ++x)
            write_pixel(f, expected.pixel(x, y), sample((y - 4) * 590 + x), n_elements, mode, nullptr);
        write_planes_to_dest(planes, n_elements, mode);
        ASSERT_EQ(out.bytes, expected.bytes) << f.name << " elements " << n_elements << " mode " << mode;
      }
}

TEST_P(PlanesToDest, a_view_larger_than_the_output_is_cut) {
  const format_rule& f = FORMATS[0];
  test_raster out(f, 4, 3, 0, 0, 0), expected(f, 4, 3, 0, 0, 0);
  set_up_view(out, -2, -1, 10, 6);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) write_pixel(f, expected.pixel(x, y), sample((y + 1) * 10 + x + 2), 4, 1, nullptr);
  write_planes_to_dest(planes, 4, 1);
  EXPECT_EQ(out.bytes, expected.bytes);
}

TEST_P(PlanesToDest, a_field_leaves_the_other_fields_rows) {
  const format_rule& f = FORMATS[0];
  for (const int field : {1, 2}) {
    test_raster out(f, 3, 4, 0, 0, 0), expected(f, 3, 4, 0, 0, 0);
    set_up_view(out, 0, 0, 3, 4);
    field_globals.field_number = field;
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 3 && y % 2 != field - 1; ++x)
        write_pixel(f, expected.pixel(x, y), sample(y * 3 + x), 3, 1, nullptr);
    write_planes_to_dest(planes, 3, 1);
    EXPECT_EQ(out.bytes, expected.bytes) << "field " << field;
  }
}

TEST_P(PlanesToDest, the_tap_sees_samples_before_they_are_limited) {
  test_raster out(FORMATS[0], 300, 1, 0, 0, 0);
  set_up_view(out, 0, 0, 300, 1);
  std::vector<fix> seen(300);
  pixel_io.tap_user = &seen;
  pixel_io.tap = [](void* user, int, int x0, int n, int, const fix* const* rows) {
    std::copy_n(rows[0], n, static_cast<std::vector<fix>*>(user)->begin() + x0);
  };
  write_planes_to_dest(planes, 1, 1);
  EXPECT_TRUE(std::equal(seen.begin(), seen.end(), samples[0].begin()));
}

TEST_P(PlanesToDest, refusals_use_the_image_converters_words) {
  for (const format_rule& f : FORMATS) {
    test_raster out(f, 2, 2, 0, 0, 0);
    const auto before = out.bytes;
    set_up_view(out, 0, 0, 2, 2);
    report_capture reports;
    for (int n_elements = 1; n_elements <= 4; ++n_elements) write_planes_to_dest(planes, n_elements, 7);
    for (int n_elements = 1; n_elements <= 4; ++n_elements)
      EXPECT_EQ(reports.severity_of("dest img converter: invalid alpha mode 7 for " + std::to_string(n_elements) +
                                    " -> " + f.name),
                8)
          << reports.all();
    write_planes_to_dest(planes, 5, 1);
    EXPECT_TRUE(reports.has(std::string("No fix->native conv for 4 to ") + f.name)) << reports.all();
    EXPECT_EQ(out.bytes, before);
  }
  dest_raster_info.format = 3;
  report_capture reports;
  write_planes_to_dest(planes, 4, 1);
  EXPECT_TRUE(reports.has("No fix->native converters for pixel type 3 = bgr8")) << reports.all();
}

INSTANTIATE_TEST_SUITE_P(threads, PlanesToDest, ::testing::Values(1, 3));

}  // namespace
}  // namespace tessaron::testing
