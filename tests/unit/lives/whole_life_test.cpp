// Every make of host plays a plug-in from setup to set-down, and is shown what it should be.
#include <gtest/gtest.h>

#include "host/configuration.h"
#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

struct whole_life : ::testing::TestWithParam<host_kind> {
  fake_plugin plugin = sample_plugin();
  scripted_host host{GetParam()};
  int app = GetParam().host_app;

  bool shows_groups() const { return app == HOST_AFTER_EFFECTS || app == HOST_PIE_FX; }
  bool hides_borders() const { return app == HOST_FINAL_CUT || app == HOST_FUSION; }
  void set_up() { ASSERT_EQ(host.setup(plugin.get()), 0) << (host.messages.empty() ? "" : host.messages.back()); }
  void set_down() {
    host.setdown(plugin.get());
    EXPECT_EQ(host.left_behind(), "");
    EXPECT_EQ(host_state.n_global_setups, 0);
    EXPECT_EQ(host_state.host_app, HOST_UNDETECTED);
  }
};

INSTANTIATE_TEST_SUITE_P(hosts, whole_life, ::testing::ValuesIn(host_kinds()), [](const auto& info) {
  std::string name = info.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST_P(whole_life, runs_without_an_error_and_leaves_nothing) {
  const life played = host.play(plugin.get());
  for (const auto& [command, error] : played.steps) EXPECT_EQ(error, 0) << "command " << command;
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD)) << int(host.output.fields[0]);
  EXPECT_EQ(host.messages, std::vector<std::string>{});
  EXPECT_EQ(host.left_behind(), "");
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST_P(whole_life, knows_the_host_it_is_in) {
  set_up();
  EXPECT_EQ(host_state.host_app, app);
  EXPECT_EQ(host_state.interface_generation, app != HOST_AFTER_EFFECTS ? 0 : GetParam().version_minor < 11 ? 1 : 2);
  EXPECT_EQ(host_state.batch_mode, 0);
  EXPECT_EQ(host_state.background_render, 0);
  set_down();
}

TEST_P(whole_life, says_who_it_is) {
  plugin.record.out_flags = 0x1000;
  plugin.record.out_flags2 = 0x20;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host.out_data.my_version, 0x88000u);
  EXPECT_STREQ(host.out_data.name, "Test");
  EXPECT_EQ(host.out_data.out_flags, 0x1000u);
  const bool above_12_9 =
      host.in_data.version_major > 12 || (host.in_data.version_major == 12 && host.in_data.version_minor > 9);
  EXPECT_EQ(host.out_data.out_flags2, above_12_9 ? 0x20u : 0u);
  EXPECT_EQ(host.in_data.sequence_data, nullptr);
  set_down();
}

struct shown {
  const char* name;
  int type, id;
};

// The layer, the second input and the popup of the effects come first. Every channel takes a number, also
// those of a parameter that is shown as one control; a parameter that is not shown takes none.
TEST_P(whole_life, declares_its_parameters_in_order) {
  set_up();
  std::vector<shown> expected = {{"", PF_Param_LAYER, 0},
                                 {"Other", PF_Param_LAYER, 1},
                                 {"Effect", PF_Param_POPUP, 2},
                                 {"Amount", PF_Param_FIX_SLIDER, 3}};
  if (shows_groups()) expected.push_back({"Numbers", PF_Param_GROUP_START, 4 + 250});
  expected.push_back({"Count", PF_Param_FIX_SLIDER, 4});
  expected.push_back({"Turn", app == HOST_FUSION ? PF_Param_ANGLE : PF_Param_FIX_SLIDER, 5});
  if (shows_groups()) expected.push_back({"", PF_Param_GROUP_END, 7 + 250});
  expected.push_back({"Place XY", PF_Param_POINT, 6});
  expected.push_back({"Tint", PF_Param_COLOR, 8});
  expected.push_back({"Size X", PF_Param_FIX_SLIDER, 11});
  expected.push_back({"Size Y", PF_Param_FIX_SLIDER, 12});
  expected.push_back({"Mode", PF_Param_POPUP, 13});
  expected.push_back({"On", PF_Param_CHECKBOX, 14});
  int id = 15;
  if (app != HOST_FINAL_CUT) expected.push_back({"Hold", PF_Param_CHECKBOX, id++});
  if (!hides_borders()) expected.push_back({"Expand Borders", PF_Param_CHECKBOX, id++});
  expected.push_back({"Last", PF_Param_FIX_SLIDER, id});

  ASSERT_EQ(host.params.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_STREQ(host.params[i].name, expected[i].name) << i;
    EXPECT_EQ(host.params[i].param_type, expected[i].type) << host.params[i].name;
    EXPECT_EQ(host.params[i].id, expected[i].id) << host.params[i].name;
  }
  EXPECT_EQ(host.popup_texts[2], "Mix|Mix Back");
  EXPECT_EQ(host.params[2].u.popup.n_choices, 2);
  const globals_record& record = record_of(host.in_data.sequence_data);
  EXPECT_EQ(record.input_param_index, 1);
  EXPECT_EQ(record.popup_param_index, 2);
  EXPECT_EQ(record.first_param_index, 3);
  set_down();
}

TEST_P(whole_life, counts_its_parameters_for_the_host) {
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(host.out_data.num_params, int(host.params.size()));
  EXPECT_EQ(host.registered, 3u) << "layer and composition windows";
  set_down();
}

TEST_P(whole_life, gives_controls_the_hosts_own_habits) {
  set_up();
  const pf_param_def &amount = *host.param("Amount"), &count = *host.param("Count"), &turn = *host.param("Turn");
  EXPECT_EQ(amount.u.slider.display_flags, app == HOST_COMBUSTION ? 0u : 1u);
  // These hosts have one range for both: the larger one.
  const bool one_range = app == HOST_FINAL_CUT || app == HOST_QUANTEL;
  EXPECT_EQ(count.u.slider.slider_min, (one_range ? 0 : 1) * 65536);
  EXPECT_EQ(count.u.slider.slider_max, (one_range ? 9 : 5) * 65536);
  EXPECT_EQ(count.u.slider.precision, 0);
  // Digital Fusion's dials point up at 90 degrees.
  EXPECT_EQ(app == HOST_FUSION ? turn.u.angle.default_value : turn.u.slider.default_value,
            (app == HOST_FUSION ? 120 : 30) * 65536);
  EXPECT_EQ(host_state.pixel_scale, app == HOST_FUSION ? -1 : 1);
  EXPECT_EQ(host_state.angle_sign, app == HOST_FUSION ? 1 : -1);
  const pf_param_def* hold = host.param("Hold");
  EXPECT_EQ(hold != nullptr, app != HOST_FINAL_CUT);
  EXPECT_EQ(hold ? hold->flags : 0u, !hold || shows_groups() ? 0u : 0x46u);
  EXPECT_EQ(host.param("Expand Borders") != nullptr, !hides_borders());
  set_down();
}

TEST_P(whole_life, agrees_on_a_pixel_layout_where_there_is_a_suite_for_it) {
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}};
  set_up();
  const bool negotiates = GetParam().has_suites && app != HOST_FINAL_CUT;
  EXPECT_EQ(host.accepted.size(), negotiates ? 1u : 0u);
  const std::uint8_t flags = record_of(host.in_data.sequence_data).host_flags;
  EXPECT_EQ(bool(flags & HOST_NATIVE_FORMATS_OK), negotiates);
  EXPECT_FALSE(flags & HOST_PREMULTIPLIED_NATIVE);
  set_down();
}

TEST_P(whole_life, gives_the_about_lines_to_a_host_that_takes_text) {
  set_up();
  ASSERT_EQ(host.about.size(), GetParam().has_suites ? 2u : 0u);
  if (!host.about.empty()) {
    const std::string line = std::string("Tessaron Plug-ins for ") + host_app_name(app) + ": v1.10";
    EXPECT_EQ(host.about[0].compare(0, line.size(), line), 0) << host.about[0];
  }
  set_down();
}

TEST_P(whole_life, holds_combustions_suite_and_no_other) {
  set_up();
  for (const auto& [name, count] : host.held)
    EXPECT_EQ(count, app == HOST_COMBUSTION && name == "Combustion Basic Suite" ? 1 : 0) << name;
  set_down();
}

TEST_P(whole_life, takes_the_second_entry_of_the_popup) {
  set_up();
  host.place_values();
  host.params[2].u.popup.default_value = 2;
  host.param("Amount");
  for (pf_param_def& p : host.params)
    if (std::string(p.name) == "Amount") p.u.slider.value = 25 * 65536;
  ASSERT_EQ(host.frame(plugin.get()), 0);
  // A quarter of the way from 128 to 64: 112.
  EXPECT_EQ(int(host.output.fields[0]), 112);
  EXPECT_EQ(record_of(host.in_data.sequence_data).current_effect_i, 1);
  EXPECT_EQ(record_of(host.in_data.global_data).current_effect_i, 1) << "the plug-in's own record keeps step";
  set_down();
}

TEST_P(whole_life, goes_on_after_a_project_was_saved_and_loaded_many_times) {
  set_up();
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(host.save_and_load(plugin.get()), 0);
    ASSERT_EQ(host.frame(plugin.get()), 0);
    EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  }
  set_down();
}

TEST_P(whole_life, may_be_lived_twice_in_one_process) {
  host.play(plugin.get());
  const std::int32_t stamp = host_state.session_stamp;
  EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
  EXPECT_NE(host_state.session_stamp, stamp);
  EXPECT_EQ(host.left_behind(), "");
}

// --- what only some hosts have --------------------------------------------------------------------

struct settings : ::testing::Test {
  void TearDown() override { reset_config(); }
};

TEST_F(settings, dials_of_the_second_generation_bring_hidden_sliders) {
  for (const char* generation : {"After Effects 1", "After Effects 2"}) {
    config.use_dials_for_angles_ae = 1;
    scripted_host host(kind_of_host(generation));
    fake_plugin plugin = sample_plugin();
    ASSERT_EQ(host.setup(plugin.get()), 0);
    const pf_param_def& dial = *host.param("Turn");
    EXPECT_EQ(dial.param_type, PF_Param_ANGLE);
    EXPECT_EQ(dial.id, 5);
    const pf_param_def& behind = (&dial)[1];
    const bool second = std::string(generation) == "After Effects 2";
    EXPECT_EQ(behind.param_type, second ? PF_Param_FIX_SLIDER : PF_Param_GROUP_END);
    if (second) {
      EXPECT_EQ(behind.id, 5 + 250);
      EXPECT_EQ(behind.ui_flags, 8u);
    }
    EXPECT_EQ(host.frame(plugin.get()), 0);
    host.setdown(plugin.get());
    EXPECT_EQ(host.left_behind(), "");
  }
}

TEST_F(settings, native_layouts_can_be_forbidden) {
  config.allow_native_image_formats = 0;
  scripted_host host(kind_of_host("Pie FX"));
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}};
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_TRUE(host.accepted.empty());
  host.setdown(plugin.get());
}

// No identifier leads to Liberty; a host that is one shows a single range, like Final Cut.
TEST_F(settings, liberty_has_one_range_for_both) {
  scripted_host host(kind_of_host("unknown"));
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  host_state.host_app = HOST_LIBERTY;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(host.param("Count")->u.slider.slider_max, 9 * 65536);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  EXPECT_EQ(host.frame(plugin.get()), 0);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

}  // namespace
}  // namespace tessaron
