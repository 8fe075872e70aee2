// Host controls back into the numbers of a definition: -p with them gives the same controls.
#include "console/param_numbers.h"

#include "param_kit.h"

namespace tessaron::console {
namespace {

class ParamNumbers : public ::testing::Test {
 protected:
  void SetUp() override {
    effect_ = bound(
        "(define Sample ()\n"
        "  Amount = 0.5 (min -40000 max 40000)\n"
        "  Share = 50 (percent)\n"
        "  Turn = 30 (angle)\n"
        "  Pair = [1 2]\n"
        "  Corner = [360 243] (screen)\n"
        "  Middle = [0 0] (screen_center)\n"
        "  Norm = [360 243] (normalize)\n"
        "  Tint = [1 0.7 0.4] (color)\n"
        "  Mode = 1 (popup Fast Best \"Very best\")\n"
        "  Flip = 0 (boolean)\n"
        "  Count = 3 (int)\n"
        "  dest = (+ (+ (* (* Tint Amount) (+ Mode (+ Flip Share))) (+ Turn Count))\n"
        "            (element_of (+ (+ Pair Corner) (+ Middle Norm)) 0)))\n");
    ASSERT_TRUE(effect_);
    own_ = inspect_host_params(*effect_);
  }
  param& named(const std::string& name) {
    for (int k = 0; k < effect_->n_params; ++k)
      if (name == effect_->params[k]->name) return *effect_->params[k];
    throw std::out_of_range(name);
  }
  std::vector<pf_param_def> controls(const std::string& name) {
    const std::size_t begin = std::size_t(named(name).host_index) - 1;
    const std::size_t count = control_count(named(name), own_, begin);
    return {own_.begin() + std::ptrdiff_t(begin), own_.begin() + std::ptrdiff_t(begin + count)};
  }
  std::string text(const std::string& name, const std::vector<pf_param_def>& held) {
    return param_text(*effect_, named(name), held);
  }
  /// What is declared for a parameter once -p has set it.
  std::vector<pf_param_def> set_by(const std::string& argument) {
    const param_setting setting = parse_param(argument, *effect_);
    apply_params({setting}, 0, *effect_);
    own_ = inspect_host_params(*effect_);
    return controls(setting.name);
  }
  genotype_ptr effect_;
  std::vector<pf_param_def> own_;
};

TEST_F(ParamNumbers, every_kind_has_its_own_number_of_controls) {
  for (const char* one : {"Amount", "Share", "Turn", "Corner", "Middle", "Norm", "Tint", "Mode", "Flip", "Count"})
    EXPECT_EQ(controls(one).size(), 1u) << one;
  EXPECT_EQ(controls("Pair").size(), 2u);
}

TEST_F(ParamNumbers, a_slider_is_its_number) {
  auto held = controls("Amount");
  held[0].u.slider.value = 65536 / 4;
  EXPECT_EQ(text("Amount", held), "Amount=0.25");
  held[0].u.slider.value = -7 * 65536;
  EXPECT_EQ(text("Amount", held), "Amount=-7");
  held[0].u.slider.value = 0;
  EXPECT_EQ(text("Amount", held), "Amount=0");
  held = controls("Share");
  held[0].u.slider.value = 80 * 65536;
  EXPECT_EQ(text("Share", held), "Share=80");
}

TEST_F(ParamNumbers, a_vector_has_a_number_for_each_control) {
  auto held = controls("Pair");
  held[0].u.slider.value = 3 * 65536;
  held[1].u.slider.value = -65536 / 2;
  EXPECT_EQ(text("Pair", held), "Pair=3,-0.5");
}

TEST_F(ParamNumbers, a_point_is_in_pixels_of_the_frame_of_definitions) {
  auto held = controls("Corner");
  held[0].u.point.x = 25 * 65536;  // percent
  held[0].u.point.y = 10 * 65536;  // from the top; the definition counts from the bottom
  EXPECT_EQ(text("Corner", held), "Corner=180,437.4");
  held = controls("Middle");
  held[0].u.point.x = 25 * 65536;
  held[0].u.point.y = 10 * 65536;
  EXPECT_EQ(text("Middle", held), "Middle=-180,194.4");
}

TEST_F(ParamNumbers, a_colour_comes_back_as_its_bytes) {
  for (int byte = 0; byte < 256; ++byte) {
    auto held = controls("Tint");
    held[0].u.color.value = {255, std::uint8_t(byte), std::uint8_t(255 - byte), 77};
    const pf_color back = set_by(text("Tint", held))[0].u.color.default_value;
    ASSERT_EQ(back.red, byte);
    ASSERT_EQ(back.green, 255 - byte);
    ASSERT_EQ(back.blue, 77);
  }
}

TEST_F(ParamNumbers, entries_and_switches_are_whole_numbers) {
  auto held = controls("Mode");
  held[0].u.popup.value = 3;  // from 1
  EXPECT_EQ(text("Mode", held), "Mode=2");
  EXPECT_EQ(set_by("Mode=2")[0].u.popup.default_value, 3);
  held = controls("Flip");
  held[0].u.checkbox.value = 1;
  EXPECT_EQ(text("Flip", held), "Flip=1");
  held = controls("Count");
  held[0].u.slider.value = 12 * 65536;
  EXPECT_EQ(text("Count", held), "Count=12");
}

TEST_F(ParamNumbers, what_is_printed_sets_the_same_controls) {
  std::uint32_t state = 12345;
  const auto random = [&](int bits) {
    state = state * 1664525u + 1013904223u;
    return std::int32_t(state) >> (32 - bits);
  };
  for (int i = 0; i < 100; ++i) {
    auto held = controls("Amount");
    const std::int32_t value = held[0].u.slider.value = random(24);  // as much as single precision holds
    EXPECT_EQ(set_by(text("Amount", held))[0].u.slider.default_value, value);
    held = controls("Turn");
    if (held[0].param_type == PF_Param_FIX_SLIDER) {
      held[0].u.slider.value = value;
      EXPECT_EQ(set_by(text("Turn", held))[0].u.slider.default_value, value);
    }
    for (const char* name : {"Corner", "Middle", "Norm"}) {
      held = controls(name);
      const std::int32_t x = held[0].u.point.x = random(24), y = held[0].u.point.y = random(24);  // up to 128 percent
      const auto back = set_by(text(name, held))[0].u.point;
      // A definition's pixel is 9102 or 13485 of these, and single precision has 1 / 16384 of a pixel at least.
      EXPECT_NEAR(back.default_x, x, 1) << name;
      EXPECT_NEAR(back.default_y, y, 1) << name;
    }
  }
}

TEST_F(ParamNumbers, a_number_that_single_precision_lacks_gives_the_nearest) {
  auto held = controls("Amount");
  held[0].u.slider.value = 30000 * 65536 + 1;
  EXPECT_NEAR(set_by(text("Amount", held))[0].u.slider.default_value, 30000 * 65536, 65536 / 500);
}

TEST_F(ParamNumbers, asking_changes_nothing) {
  auto held = controls("Corner");
  held[0].u.point.x = 0;
  text("Corner", held);
  EXPECT_EQ(named("Corner").default_value[0], 360);
  EXPECT_EQ(inspect_host_params(*effect_).size(), own_.size());
}

}  // namespace
}  // namespace tessaron::console
