// Parameters with a meaning of their own, and which inputs are taken with alpha.
#include <limits>

#include "host/alpha_modes.h"
#include "unit/host/parameter_fixture.h"

namespace tessaron {
namespace {

class mix_params : public testing::parameter_test {
 protected:
  void SetUp() override {
    parameter_test::SetUp();
    mix_globals = {};
  }
  void TearDown() override {
    mix_globals = {};
    for (raster_info& r : source_raster_info) r = {};
    parameter_test::TearDown();
  }
  /// Reads the mix of an effect with these parameters at their defaults.
  mix_globals_record mix(const std::string& declarations) {
    declare(declarations);
    ++host_state.call_stamp;
    read_mix_params(*record.genotypes[0]);
    return mix_globals;
  }
};

TEST_F(mix_params, without_any_nothing_is_mixed) {
  mix_globals = {0, 3, true, true, 7};  // of another render
  const mix_globals_record m = mix("a = 1 (ignore)");
  EXPECT_EQ(m.opacity_mode, 2);
  EXPECT_EQ(m.alpha_source_mode, 0);
  EXPECT_FALSE(m.mix_input);
  EXPECT_FALSE(m.mix_output);
  EXPECT_EQ(m.borders_on, 0);
}

TEST_F(mix_params, opacity_by_either_name_is_rounded) {
  const struct {
    const char* value;
    int mode, alpha;
    bool mixed;
  } ROWS[] = {{"0", 0, 3, false},     {"0.4", 0, 3, false}, {"0.6", 1, 0, true}, {"1", 1, 0, true},
              {"1.4999", 1, 0, true}, {"2", 2, 0, false},   {"3", 3, 0, false}};
  for (const char* name : {"opacity", "input_opacity"})
    for (const auto& row : ROWS) {
      const mix_globals_record m = mix(std::string(name) + " = " + row.value + " (min * ignore)");
      EXPECT_EQ(m.opacity_mode, row.mode) << name << row.value;
      EXPECT_EQ(m.alpha_source_mode, row.alpha) << name << row.value;
      EXPECT_EQ(m.mix_input, row.mixed) << name << row.value;
      EXPECT_EQ(m.mix_output, row.mixed) << name << row.value;
    }
}

TEST_F(mix_params, premultiplied_images_are_not_mixed_again) {
  record.host_flags |= HOST_PREMULTIPLIED_NATIVE;
  const mix_globals_record m = mix("opacity = 1 (ignore)");
  EXPECT_EQ(m.opacity_mode, 1);
  EXPECT_FALSE(m.mix_input);
  EXPECT_FALSE(m.mix_output);
}

TEST_F(mix_params, output_opacity_ends_the_mix_of_the_output) {
  mix_globals_record m = mix("opacity = 1 (ignore) output_opacity = 1 (ignore)");
  EXPECT_TRUE(m.mix_input);
  EXPECT_FALSE(m.mix_output);
  EXPECT_EQ(m.alpha_source_mode, 0);
  m = mix("opacity = 0 (ignore) output_opacity = 1 (ignore)");
  EXPECT_EQ(m.alpha_source_mode, 0) << "the later parameter has the last word";
  m = mix("opacity = 1 (ignore) output_opacity = 0 (ignore)");
  EXPECT_EQ(m.alpha_source_mode, 3);
  EXPECT_FALSE(m.mix_output);
  m = mix("output_opacity = 1 (ignore) opacity = 1 (ignore)");
  EXPECT_TRUE(m.mix_output);
}

TEST_F(mix_params, borders_are_switched_by_either_name) {
  for (const char* name : {"soft_borders", "expand_borders"}) {
    EXPECT_EQ(mix(std::string(name) + " = 1 (ignore)").borders_on, 1) << name;
    EXPECT_EQ(mix(std::string(name) + " = 0.4 (ignore)").borders_on, 0) << name;
    EXPECT_EQ(mix(std::string(name) + " = 2 (ignore)").borders_on, 2) << name;
  }
}

TEST_F(mix_params, hosts_that_hide_the_border_switch_have_no_borders) {
  for (const int app : {HOST_FINAL_CUT, HOST_FUSION}) {
    host_state.host_app = app;
    EXPECT_EQ(mix("expand_borders = 1 (ignore) soft_borders = 1 (ignore)").borders_on, 0) << app;
  }
}

TEST_F(mix_params, a_value_beyond_whole_numbers_stops_at_their_end) {
  declare("opacity = 1 (ignore)");
  engine().host_index = -100;  // what the host does not show keeps its number
  for (const float v : {1e30f, std::numeric_limits<float>::infinity()}) {
    engine().value[0] = v;
    read_mix_params(*record.genotypes[0]);
    EXPECT_EQ(mix_globals.opacity_mode, std::numeric_limits<std::int32_t>::max());
  }
}

TEST_F(mix_params, are_read_anew_in_each_call_and_once_in_a_call) {
  mix("opacity = 2 (ignore)");
  shown().u.slider.value = 0;
  read_mix_params(*record.genotypes[0]);
  EXPECT_EQ(mix_globals.opacity_mode, 2);
  ++host_state.call_stamp;
  read_mix_params(*record.genotypes[0]);
  EXPECT_EQ(mix_globals.opacity_mode, 0);
}

// --- alpha of the inputs -----------------------------------------------------------------------------------

TEST_F(mix_params, an_input_has_alpha_where_the_effect_asks_for_it) {
  int pixels = 0;
  pf_world layer = {4, 4, 16, 0, &pixels};
  for (int rgba_mode = 1; rgba_mode <= 4; ++rgba_mode)
    for (int mask = 0; mask < 4; ++mask)
      for (int kind = 0; kind < 3; ++kind)
        for (int opacity = 0; opacity < 3; ++opacity)
          for (const bool colour_mattes : {false, true})
            for (const bool matte : {false, true}) {
              genotype g = {};
              g.rgba_mode = std::int8_t(rgba_mode);
              g.rgba_ok_inputs = std::uint8_t(mask);
              if (colour_mattes) g.flags[1] |= GENO1_MASK_COLOR;
              effect_inputs inputs;
              inputs.count = 2;
              inputs.layer[0] = &layer;  // and input 1 has no layer
              inputs.matte[1] = matte;
              source_raster_info[0].kind = kind;
              source_raster_info[1].kind = 0;
              mix_globals.opacity_mode = opacity;
              choose_alpha_modes(g, inputs);
              for (int i = 0; i < 2; ++i) {
                const bool asked = rgba_mode == 1 || (mask >> i & 1);
                const bool kind_fits = i == 1 || kind == 0 || kind == 2;
                const bool without = i == 1 && colour_mattes && matte;
                const int expected = asked && kind_fits && opacity != 0 && !without ? 4 : 3;
                EXPECT_EQ(record.image_channels[3 + i], expected)
                    << "mode " << rgba_mode << " mask " << mask << " kind " << kind << " opacity " << opacity
                    << " input " << i;
              }
              EXPECT_EQ(record.n_image_channels, opacity == 0 ? 3 : 4);
            }
}

TEST_F(mix_params, inputs_named_matte_and_mask_are_mattes) {
  record.genotypes[0] =
      load_effect_from_string("(define A (Source Matte Mask Mask2) dest = (+ Source (+ Matte (+ Mask Mask2))))");
  record.n_effects = 1;
  record.effect_table = make_effect_table();
  host.in_data.inter.checkout_param = nullptr;
  pf_param_def* none[] = {&host.layer};
  const checked_out_inputs nothing(host.in_data, none);
  const effect_inputs fed = feed_inputs(*record.genotypes[0], *record.effect_table, nothing);
  EXPECT_EQ(fed.count, 4);
  EXPECT_FALSE(fed.matte[0]);
  EXPECT_TRUE(fed.matte[1]);
  EXPECT_TRUE(fed.matte[2]);
  EXPECT_FALSE(fed.matte[3]);
  unref_effect_table(record.effect_table);
}

}  // namespace
}  // namespace tessaron
