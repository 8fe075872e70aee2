// Random trees, frame after frame with changing parameters, against the plain reference: whatever the
// plan shares, keeps between frames or puts into the same planes, the picture is that of the tree.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "base/text.h"
#include "tests/support/reference_frame.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {
namespace {

fix source_pixel(int x, int y, int e) { return (x * 977 + y * 1361 + e * 523) % 5000 - 300; }

/// Definitions over scalars: variables used several times, `gamma` as image operator, `if` functions
/// with parameters as conditions, parts that read no source.
class tree_writer {
 public:
  explicit tree_writer(unsigned seed) : random_(seed) {}

  std::string definition() {
    std::ostringstream text;
    text << "(define Random (Source) ()\n";
    for (int i = 0; i < N_PARAMS; ++i) text << "  p" << i << " = " << (below(5) - 2) * 0.5 << "\n";
    const int n_variables = 2 + below(6);
    for (int i = 0; i < n_variables; ++i) {
      text << "  v" << i << " = " << call(2) << "\n";
      variables_ = i + 1;
    }
    text << "  dest = (+ " << call(3) << " (* ";
    // Every variable is used, so that none is dropped.
    std::string all = "0.25";
    for (int i = 0; i < variables_; ++i) all = "(- v" + std::to_string(i) + " " + all + ")";
    text << all << " " << expression(1) << ")))";
    return text.str();
  }

  static constexpr int N_PARAMS = 3;
  int below(int n) { return int(random_() % unsigned(n)); }

 private:
  std::string expression(int depth) {
    switch (below(depth > 0 ? 10 : 6)) {
      case 0:
        return "x";
      case 1:
        return "y";
      case 2:
        return format_text("(element_of Source %d)", below(3));
      case 3:
        return format_text("p%d", below(N_PARAMS));
      case 4:
      case 5:
        return variables_ ? format_text("v%d", below(variables_)) : "x";
      default:
        return call(depth);
    }
  }
  std::string call(int depth) {
    const auto arg = [&] { return std::string(" ").append(expression(depth - 1)); };
    static const char* const BINARY[] = {"+", "-", "*", "min", "max", "screen"};
    switch (below(10)) {
      case 0:
      case 1:
      case 2:
        return "(gamma" + arg() + " " + std::to_string(0.5 + below(4) * 0.5) + ")";
      case 3:
        return "(gamma" + arg() + arg() + ")";
      case 4:
        return "(if+ p" + std::to_string(below(N_PARAMS)) + arg() + arg() + ")";
      case 5:
        return "(copy" + arg() + ")";
      case 6:
        return "(interp" + arg() + arg() + arg() + ")";
      default:
        return std::string("(") + BINARY[below(6)] + arg() + arg() + ")";
    }
  }

  std::mt19937 random_;
  int variables_ = 0;
};

void render_frames_of(unsigned seed) {
  tree_writer writer(seed);
  const std::string text = writer.definition();
  SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
  report_capture reports;
  definition_renderer r(text, {.width = 9, .height = 5});
  r.set_source(0, source_pixel);
  for (int frame = 0; frame < 6; ++frame) {
    const std::string param = format_text("p%d", writer.below(tree_writer::N_PARAMS));
    if (frame > 0 && writer.below(3) > 0) r.set_param(param.c_str(), {float(writer.below(5) - 2) * 0.5f});
    ASSERT_TRUE(r.render()) << reports.all();
    ASSERT_EQ(first_difference(r, source_pixel), "") << "frame " << frame;
  }
}

constexpr unsigned N_TREES = 200;

TEST(random_trees, render_as_the_plain_reference_in_every_frame) {
  for (unsigned seed = 1; seed <= N_TREES && !HasFatalFailure(); ++seed) render_frames_of(seed);
}

}  // namespace
}  // namespace tessaron::testing
