// Arguments that operators take as one value for the whole image, and lines that field rendering leaves out.
#include <gtest/gtest.h>

#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

using rows = std::vector<std::vector<fix>>;

fix scattered(int x, int y, int e) { return fix((x * 2654435761u ^ y * 40503u ^ e * 977u) >> 7 & 0xfff); }

rows rendered(const std::string& call, const test_frame& f = {.width = 41, .height = 31, .source_channels = 3}) {
  definition_renderer r("(define A (Source) () dest = " + call + ")", f);
  r.set_source(0, scattered);
  EXPECT_TRUE(r.render()) << call;
  return r.result();
}

/// "blur_0": a test's name, from a call and its number.
std::string function_of(const std::string& call, std::size_t number) {
  return call.substr(1, call.find(' ') - 1) + "_" + std::to_string(number);
}

struct call_pair {
  const char* varying;
  const char* constant;
};
class one_value : public ::testing::TestWithParam<call_pair> {};

TEST_P(one_value, counts_with_what_a_varying_argument_has_in_the_middle_and_says_so) {
  report_capture reports;
  EXPECT_EQ(rendered(GetParam().varying), rendered(GetParam().constant));
  EXPECT_NE(reports.all().find("takes one value for the whole image, but is given one for each pixel"),
            std::string::npos)
      << reports.all();
}

// (if> (* x x) 0.25 ...) differs at the sides only.
INSTANTIATE_TEST_SUITE_P(operators, one_value,
                         ::testing::Values(call_pair{"(blur Source (v2 (if> (* x x) 0.25 9 0.5) 0.5) 2 1 1)",
                                                     "(blur Source [0.5 0.5] 2 1 1)"},
                                           call_pair{"(sharpen Source (if> (* x x) 0.25 -1 1) 0.25)",
                                                     "(sharpen Source 1 0.25)"},
                                           call_pair{"(glow Source 0.25 [1 1] (if> (* x x) 0.25 2 0.25) 1 1 1)",
                                                     "(glow Source 0.25 [1 1] 0.25 1 1 1)"},
                                           call_pair{"(defocus Source (v2 (if> (* x x) 0.25 2 0.25) 0.25) 2 1 1 0)",
                                                     "(defocus Source [0.25 0.25] 2 1 1 0)"}),
                         [](const auto& info) { return function_of(info.param.constant, info.index); });

TEST(one_value, is_told_of_once_however_many_vary_and_for_however_many_frames) {
  report_capture reports;
  definition_renderer r("(define A (Source) () dest = (glow Source (+ x 0.25) [1 1] (+ y 1) (+ x 1) 1 1))",
                        {.width = 41, .height = 31, .source_channels = 3});
  r.set_source(0, scattered);
  for (int frame = 0; frame < 3; ++frame) ASSERT_TRUE(r.render());
  const std::string all = reports.all();
  int told = 0;
  for (std::size_t at = 0; (at = all.find("takes one value", at)) != std::string::npos; ++at) ++told;
  EXPECT_EQ(told, 3) << all;
}

// --- fields -----------------------------------------------------------------------------------------------

/// What a field render leaves in a frame: the lines that were computed.
rows field_render(const std::string& call, int field, fix other_lines) {
  definition_renderer r("(define A (Source) () dest = " + call + ")",
                        {.width = 24, .height = 20, .source_channels = 3});
  // A frame in which the planes are filled, all of it with one value: what a field render finds in memory.
  r.set_source(0, [=](int, int, int) { return other_lines; });
  EXPECT_TRUE(r.render());
  r.set_source(0, scattered);
  field_globals.field_number = field;
  for (int i = 0; i < r.effect().n_nodes; ++i) r.effect().nodes[i].node_flags &= std::uint8_t(~NODE_IMAGES_VALID);
  EXPECT_TRUE(r.render());
  field_globals = {};
  rows lines = r.result();
  for (std::vector<fix>& plane : lines)
    for (int y = field - 1; y < 20; y += 2)
      for (int x = 0; x < 24; ++x) plane[std::size_t(y) * 24 + std::size_t(x)] = 0;
  return lines;
}

class field_render_of : public ::testing::TestWithParam<const char*> {};

TEST_P(field_render_of, an_operator_does_not_depend_on_what_stood_in_the_lines_of_the_other_field) {
  for (const int field : {1, 2})
    EXPECT_EQ(field_render(GetParam(), field, 0), field_render(GetParam(), field, 4000)) << "field " << field;
}

INSTANTIATE_TEST_SUITE_P(operators, field_render_of,
                         ::testing::Values("(blur Source [1 1] 2 1 0)", "(glow Source 0.1 [1 1] 1 1 1 0)",
                                           "(sharpen Source 1 0.5)", "(edge_detect Source 0.25 1 1)",
                                           "(blur (gamma (blur Source [0.5 0.5] 2 1 0) (+ x 2)) [1 1] 2 1 0)",
                                           "(defocus Source [1 1] 2 1 0 0)", "(masked_blur Source (* x x) [1 1] 2 0)"),
                         [](const auto& info) { return function_of(info.param, info.index); });

TEST(field_render, blurs_down_through_lines_made_from_the_field_itself) {
  // Even lines 1000, odd ones 3000. Field 2 computes the even lines: the other field is made from them.
  definition_renderer r("(define A (Source) () dest = (blur Source [1 1] 2 1 0))",
                        {.width = 24, .height = 20, .source_channels = 3});
  r.set_source(0, [](int, int y, int) { return y % 2 ? 3000 : 1000; });
  field_globals.field_number = 2;
  EXPECT_TRUE(r.render());
  field_globals = {};
  for (int y = 0; y < 20; y += 2)
    for (int x = 0; x < 24; ++x) EXPECT_EQ(r.at(0, x, y), 1000) << x << ", " << y;
}

}  // namespace
}  // namespace tessaron::testing
