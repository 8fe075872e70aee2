#include "console/param_args.h"

#include "param_kit.h"

namespace tessaron::console {
namespace {

/// An effect with a parameter of each kind.
class ParamArgs : public testing::Test {
 protected:
  void SetUp() override {
    effect_ = bound(
        "(define Sample ()\n"
        "  Amount = 0.5\n"
        "  Tint = [1 0.7 0.4] (color)\n"
        "  Center = [360 243] (screen)\n"
        "  Mode = 1 (popup Fast Best \"Very best\")\n"
        "  Flip = 0 (boolean)\n"
        "  Long_Name = 2\n"
        "  dest = (* (* (* Tint Amount) (+ Mode Flip)) (* (element_of Center 0) Long_Name)))\n");
    ASSERT_TRUE(effect_);
  }
  param_setting parse(const std::string& text) const { return parse_param(text, *effect_); }
  std::string fault(const std::string& text) const { return fault_of(text, *effect_); }
  genotype_ptr effect_;
};

using values = std::vector<float>;

TEST_F(ParamArgs, a_plain_value_holds_at_every_frame) {
  const param_setting setting = parse("Amount=0.25");
  EXPECT_FALSE(setting.keyed());
  EXPECT_EQ(setting.at(0), (values{0.25f}));
  EXPECT_EQ(setting.at(-1000), (values{0.25f}));
}

TEST_F(ParamArgs, the_shown_form_of_a_name_will_do) { EXPECT_EQ(parse("Long Name=3").name, "Long_Name"); }

TEST_F(ParamArgs, a_color_takes_three_numbers_from_0_to_1) {
  EXPECT_EQ(parse("Tint=1,0.5,0").at(0), (values{1, 0.5f, 0}));
  EXPECT_NE(fault("Tint=1,0.5").find("3 numbers"), std::string::npos);
  EXPECT_NE(fault("Tint=1,0,0,0").find("3 numbers"), std::string::npos);
  EXPECT_NE(fault("Tint=1,0,1.5").find("0 to 1"), std::string::npos);
  EXPECT_NE(fault("Tint=0.5").find("3 numbers"), std::string::npos);
}

TEST_F(ParamArgs, a_popup_takes_a_text_or_an_index_from_0) {
  EXPECT_EQ(parse("Mode=Fast").at(0), (values{0}));
  EXPECT_EQ(parse("Mode=Very best").at(0), (values{2}));
  EXPECT_EQ(parse("Mode=Very_best").at(0), (values{2}));
  EXPECT_EQ(parse("Mode=1").at(0), (values{1}));
  EXPECT_NE(fault("Mode=3").find("Fast, Best, Very best"), std::string::npos);
  EXPECT_NE(fault("Mode=-1").find("no entry"), std::string::npos);
  EXPECT_NE(fault("Mode=fest").find("Did you mean"), std::string::npos);
}

TEST_F(ParamArgs, a_toggle_is_0_or_1) {
  EXPECT_EQ(parse("Flip=1").at(0), (values{1}));
  EXPECT_NE(fault("Flip=2").find("0 or 1"), std::string::npos);
  EXPECT_NE(fault("Flip=yes").find("not a number"), std::string::npos);
}

TEST_F(ParamArgs, keys_are_linear_between_and_held_outside) {
  const param_setting setting = parse("Tint=1,0,0@1 0,0,1@5");
  EXPECT_TRUE(setting.keyed());
  EXPECT_EQ(setting.at(0), (values{1, 0, 0}));
  EXPECT_EQ(setting.at(1), (values{1, 0, 0}));
  EXPECT_EQ(setting.at(2), (values{0.75f, 0, 0.25f}));
  EXPECT_EQ(setting.at(3.5), (values{0.375f, 0, 0.625f}));
  EXPECT_EQ(setting.at(5), (values{0, 0, 1}));
  EXPECT_EQ(setting.at(99), (values{0, 0, 1}));
}

TEST_F(ParamArgs, keys_may_stand_in_any_order_and_at_negative_frames) {
  const param_setting setting = parse("Amount=1@10 0@-10");
  EXPECT_EQ(setting.at(-11), (values{0}));
  EXPECT_EQ(setting.at(0), (values{0.5f}));
  EXPECT_EQ(setting.at(11), (values{1}));
}

TEST_F(ParamArgs, a_popup_text_with_a_blank_may_be_keyed) {
  const param_setting setting = parse("Mode=Fast@0 Very best@2");
  EXPECT_EQ(setting.at(0), (values{0}));
  EXPECT_EQ(setting.at(2), (values{2}));
}

TEST_F(ParamArgs, key_faults_are_named) {
  EXPECT_NE(fault("Amount=1@").find("frame number"), std::string::npos);
  EXPECT_NE(fault("Amount=1@x").find("frame number"), std::string::npos);
  EXPECT_NE(fault("Amount=1@1.5").find("frame number"), std::string::npos);
  EXPECT_NE(fault("Amount=1@1 2").find("VALUE@FRAME"), std::string::npos);
  EXPECT_NE(fault("Amount=1@1 2@1").find("two keys"), std::string::npos);
  EXPECT_NE(fault("Amount=@1").find("missing"), std::string::npos);
}

TEST_F(ParamArgs, numbers_are_whole_words) {
  for (const char* text : {"Amount=", "Amount=5abc", "Amount=1.2.3", "Amount=0x10", "Amount=nan", "Amount=inf",
                           "Amount=1e999", "Amount=1 2", "Amount=--1"})
    EXPECT_FALSE(fault(text).empty()) << text;
  EXPECT_EQ(parse("Amount=+2").at(0), (values{2}));
  EXPECT_EQ(parse("Amount=-1.5e1").at(0), (values{-15}));
  EXPECT_EQ(parse("Amount=.5").at(0), (values{0.5f}));
}

TEST_F(ParamArgs, a_number_is_read_as_the_definition_reads_it) {
  // Digit by digit in single precision: 0.7 is 7 * (1.0f * 0.1f).
  const volatile float tenth = 1.0f * 0.1f;
  EXPECT_EQ(parse("Amount=0.7").at(0), (values{7 * tenth}));
}

TEST_F(ParamArgs, an_unknown_name_lists_what_there_is) {
  const std::string text = fault("Amout=1");
  EXPECT_NE(text.find("Sample has no such parameter; it has Amount, Tint, Center, Mode, Flip, Long_Name."),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Did you mean Amount?"), std::string::npos) << text;
}

TEST_F(ParamArgs, a_parameter_is_set_once_and_has_a_value) {
  EXPECT_THROW(parse_params({"Amount=1", "Amount=2"}, *effect_), command_line_error);
  EXPECT_NE(fault("Amount").find("NAME=VALUE"), std::string::npos);
  EXPECT_NE(fault("=1").find("NAME=VALUE"), std::string::npos);
}

TEST_F(ParamArgs, applied_values_are_the_defaults) {
  apply_params(parse_params({"Tint=0,1,0.5", "Amount=0@0 1@4"}, *effect_), 1, *effect_);
  EXPECT_EQ(effect_->params[0]->default_value[0], 0.25f);
  EXPECT_EQ(effect_->params[1]->default_value[1], 1.0f);
  EXPECT_EQ(effect_->params[1]->default_value[2], 0.5f);
}

TEST_F(ParamArgs, host_values_are_declared_for_the_applied_numbers) {
  apply_params(parse_params({"Tint=0,1,0.5", "Amount=0.25", "Mode=Very best", "Flip=1", "Center=72,243"}, *effect_), 0,
               *effect_);
  const std::vector<pf_param_def> declared = inspect_host_params(*effect_);
  ASSERT_EQ(declared.size(), 6u);
  EXPECT_EQ(declared[0].u.slider.default_value, 65536 / 4);
  EXPECT_EQ(declared[1].u.color.default_value.green, 255);  // trunc(1 * 255.99)
  EXPECT_EQ(declared[1].u.color.default_value.blue, 127);   // trunc(0.5 * 255.99)
  EXPECT_EQ(declared[2].u.point.default_x, 10 * 65536);     // 72 of 720, in percent
  EXPECT_EQ(declared[2].u.point.default_y, 50 * 65536);
  EXPECT_EQ(declared[3].u.popup.default_value, 3);  // counted from 1
  EXPECT_EQ(declared[4].u.checkbox.default_value, 1);
}

}  // namespace
}  // namespace tessaron::console
