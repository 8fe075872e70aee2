// Params setup: what a plug-in loads, what the host is told, custom plug-ins, faults on the way.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "genotype/globals.h"
#include "host/configuration.h"
#include "host/effect_table.h"
#include "host/host_state.h"
#include "host/named_lists.h"
#include "installer/custom_listing.h"
#include "support/fake_host.h"
#include "support/scratch_folder.h"

namespace tessaron {
namespace {

using testing::appl_id;
using testing::fake_host;
using testing::fake_plugin;

constexpr const char* PLAIN = "(define Plain_Copy (Source) (rgba_ok) dest = Source)";
constexpr const char* TEMPLATE_NAME = "TessaronCustomPlugin___________";

globals_record* record_of(pf_handle handle) { return static_cast<globals_record*>(*handle); }

struct params_setup_command : ::testing::Test {
  fake_host host;
  int set_up(fake_plugin& plugin) {
    host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP);
    return host.call(plugin.get(), PF_Cmd_PARAMS_SETUP);
  }
  void set_down(fake_plugin& plugin) {
    host.setdown(plugin.get());
    EXPECT_EQ(host.handles, 0);
    EXPECT_EQ(host.locks, 0);
    EXPECT_EQ(host_state.n_global_setups, 0);
    for (const auto& [name, count] : host.held) EXPECT_EQ(count, 0) << name;
  }
  globals_record& record() { return *record_of(host.in_data.global_data); }
};

TEST_F(params_setup_command, the_record_takes_what_the_descriptor_says) {
  fake_plugin plugin({PLAIN});
  plugin.record.n_inputs_declared = 3;
  plugin.record.descriptor_a = 7;
  plugin.record.descriptor_b = 9;
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_STREQ(record().plugin_name, "Test");
  EXPECT_STREQ(record().doc_name, "test_doc");
  EXPECT_EQ(record().n_effects, 1);
  EXPECT_EQ(record().descriptor_a, 7);
  EXPECT_EQ(record().descriptor_b, 9);
  EXPECT_EQ(record().owned_names_mask, 0u);
  EXPECT_EQ(record().effect_names[0], plugin.effects[0].c_str()) << "the pointer itself is kept";
  EXPECT_EQ(record().first_param_index, 1);
  EXPECT_EQ(record().popup_param_index, 0);
  EXPECT_EQ(record().input_param_index, 1);
  EXPECT_EQ(host.out_data.num_params, 1);
  EXPECT_EQ(host.registered, 3u);
  set_down(plugin);
}

TEST_F(params_setup_command, a_suffix_makes_a_heap_copy) {
  fake_plugin plugin({"(define A () dest = x)", "(define B () dest = y)"});
  plugin.suffixes = {"", " "};
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_EQ(record().owned_names_mask, 2u);
  EXPECT_STREQ(record().effect_names[1], "(define B () dest = y) ");
  set_down(plugin);
}

TEST_F(params_setup_command, extra_inputs_and_the_popup_come_before_the_parameters) {
  fake_plugin plugin({"(define A_One (Source) p_1 = 1 (shared) dest = (* Source p_1))",
                      "(define A_One (Source Matte_In) p_1 = 1 (shared) dest = (* Source (* Matte_In p_1)))",
                      "(define B_Two (Source) (effect_popup_name The_Second) p_1 = 1 (shared) dest = (+ Source p_1))",
                      "(define B_Two (Source Matte_In) p_1 = 1 (shared) dest = (+ Source (+ Matte_In p_1)))"});
  ASSERT_EQ(set_up(plugin), 0) << (host.messages.empty() ? "" : host.messages.back());
  ASSERT_EQ(host.params.size(), 4u);
  EXPECT_EQ(host.params[1].param_type, PF_Param_LAYER);
  EXPECT_STREQ(host.params[1].name, "Matte In");
  EXPECT_EQ(host.params[2].param_type, PF_Param_POPUP);
  EXPECT_EQ(host.popup_texts[2], "A One|The Second");
  EXPECT_EQ(host.params[2].u.popup.default_value, 1);
  EXPECT_EQ(host.params[2].u.popup.n_choices, 2);
  EXPECT_STREQ(host.params[3].name, "P 1");
  EXPECT_EQ(record().input_param_index, 1);
  EXPECT_EQ(record().popup_param_index, 2);
  EXPECT_EQ(record().first_param_index, 3);
  EXPECT_EQ(host.out_data.num_params, 4);
  EXPECT_EQ(record().genotypes[3]->params[0]->host_index, 3) << "one record for all four effects";
  set_down(plugin);
}

TEST_F(params_setup_command, a_descriptor_without_effects_is_reported) {
  fake_plugin plugin;
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("load_effects_from_strings: Globals->n_effects <= 0."));
  set_down(plugin);
}

TEST_F(params_setup_command, a_definition_that_does_not_read_fails_the_command) {
  fake_plugin plugin({PLAIN, "(define Broken () dest = (no_such_function 1))"});
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("unknown function 'no_such_function'"));
  EXPECT_TRUE(host.has_message("Failed loading effect from string."));
  set_down(plugin);
}

TEST_F(params_setup_command, after_a_failure_the_next_plugin_loads) {
  fake_plugin broken({"(define Broken () dest = \"never closed"});
  EXPECT_EQ(set_up(broken), PF_Err_INTERNAL);
  set_down(broken);
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(set_up(plugin), 0);
  set_down(plugin);
}

TEST_F(params_setup_command, duplicates_end_the_load) {
  fake_plugin plugin({PLAIN, PLAIN});
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("Plain Copy: effect already in effect table.  Probably duplicated in def file."));
  set_down(plugin);
}

TEST_F(params_setup_command, forty_effects_fit_and_the_forty_first_is_reported) {
  fake_plugin plugin;
  for (int i = 1; i <= 41; ++i) plugin.effects.push_back("(define E" + std::to_string(i) + " () dest = x)");
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_TRUE(host.has_message("Test: too many effects in single plug-in"));
  EXPECT_EQ(record().n_effects, 40);
  set_down(plugin);
}

TEST_F(params_setup_command, a_second_params_setup_starts_afresh) {
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(set_up(plugin), 0);
  host.params.clear();
  host.popup_texts.clear();
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(record().effect_table->ref_count, 1);
  set_down(plugin);
}

TEST_F(params_setup_command, a_host_without_add_parameter_is_told_so) {
  host.in_data.inter.add_param = nullptr;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(
      host.has_message("Host error: missing API function.  Please restart the application as soon as possible."));
  set_down(plugin);
}

TEST_F(params_setup_command, final_cut_has_its_own_words_for_the_missing_call) {
  host.in_data.appl_id = appl_id("KeyG");
  host.in_data.inter.add_param = nullptr;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message(
      "Missing API function. This is a Final Cut Pro bug.  If this happened due to pressing the About button while the "
      "plugin was disabled, just avoid doing that.  Please restart Final Cut as soon as possible."));
  set_down(plugin);
}

TEST_F(params_setup_command, the_hosts_error_from_add_parameter_ends_it) {
  fake_plugin plugin({"(define A () a = 1 (ignore) b = 2 (ignore) dest = x)"});
  host.add_error_at = 2;
  EXPECT_EQ(set_up(plugin), 77);
  EXPECT_EQ(host.params.size(), 2u);
  set_down(plugin);
}

TEST_F(params_setup_command, the_registration_gives_the_result) {
  host.register_error = 31;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(set_up(plugin), 31);
  set_down(plugin);
}

TEST_F(params_setup_command, a_host_that_takes_lines_gets_the_about_lines) {
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(set_up(plugin), 0);
  ASSERT_EQ(host.about.size(), 2u);
  EXPECT_EQ(host.about[0].rfind("Tessaron Plug-ins for ", 0), 0u) << host.about[0];
  set_down(plugin);
}

TEST_F(params_setup_command, named_lists_that_nothing_reads_fail_with_their_name) {
  const list_loader before = set_named_list_loader(named_list::lens_flares, nullptr);
  fake_plugin plugin({"(define Flare () Type = 1 (lens_flare_names ignore) dest = x)"});
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("Flare: the list of lens flares for parameter Type is not built yet."));
  set_down(plugin);
  set_named_list_loader(named_list::lens_flares, before);
}

// --- pixel formats -----------------------------------------------------------------------------------

struct pixel_format_negotiation : params_setup_command {
  fake_plugin plugin{{PLAIN}};
  void SetUp() override { host.offered.insert("Image Format Negotiation Suite"); }
  void TearDown() override { set_down(plugin); }
  bool native_ok() { return record().host_flags & HOST_NATIVE_FORMATS_OK; }
};

TEST_F(pixel_format_negotiation, bgra_at_65535_is_taken) {
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}, {PF_PixelOrder_ARGB, 32768, 0}};
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_TRUE(native_ok());
  ASSERT_EQ(host.accepted.size(), 1u);
  EXPECT_EQ(host.accepted[0].order, PF_PixelOrder_BGRA);
}

TEST_F(pixel_format_negotiation, argb_at_32768_leaves_the_hosts_own_layout) {
  host.formats = {{PF_PixelOrder_ARGB, 32768, 0}};
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_FALSE(native_ok());
  EXPECT_EQ(host.accepted.size(), 1u);
}

TEST_F(pixel_format_negotiation, premultiplied_and_unknown_layouts_are_passed_over) {
  host.formats = {{PF_PixelOrder_BGRA, 65535, 1}, {PF_PixelOrder_BGRA, 255, 0}, {PF_PixelOrder_BGRA, 65535, 0}};
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_TRUE(native_ok());
  EXPECT_FALSE(record().host_flags & HOST_PREMULTIPLIED_NATIVE);
}

TEST_F(pixel_format_negotiation, a_refused_acceptance_clears_both_marks) {
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}};
  host.accept_error = 1;
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_FALSE(native_ok());
}

TEST_F(pixel_format_negotiation, nothing_is_negotiated_with_final_cut) {
  host.in_data.appl_id = appl_id("KeyG");
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}};
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_FALSE(native_ok());
  EXPECT_TRUE(host.accepted.empty());
}

TEST_F(pixel_format_negotiation, nothing_is_negotiated_when_the_configuration_forbids_it) {
  host.formats = {{PF_PixelOrder_BGRA, 65535, 0}};
  config.allow_native_image_formats = 0;
  ASSERT_EQ(set_up(plugin), 0);
  config.allow_native_image_formats = 1;
  EXPECT_FALSE(native_ok());
  EXPECT_TRUE(host.accepted.empty());
}

// --- Combustion --------------------------------------------------------------------------------------

TEST_F(params_setup_command, combustions_suite_is_held_while_a_plugin_lives) {
  host.in_data.appl_id = appl_id("Cbst");
  host.offered.insert("Combustion Basic Suite");
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(set_up(plugin), 0);
  EXPECT_EQ(host.held["Combustion Basic Suite"], 1);
  EXPECT_NE(host_state.combustion_suite, nullptr);
  set_down(plugin);
  EXPECT_EQ(host_state.combustion_suite, nullptr);
}

// --- custom plug-ins -----------------------------------------------------------------------------------

struct custom_plugins : params_setup_command {
  testing::scratch_folder scratch;
  std::filesystem::path folder = scratch.path();
  void SetUp() override {
    std::ofstream(folder / "t_config.text") << "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n"
                                               "(define First_One (Source) dest = Source)\n"
                                               "(define Second_One (Source Matte) dest = (* Source Matte))\n";
    ::setenv("TESSARON_CONFIG_DIR", folder.c_str(), 1);
    reset_custom_listing();
    reset_config();
  }
  void TearDown() override {
    ::unsetenv("TESSARON_CONFIG_DIR");
    reset_custom_listing();
    reset_config();
  }
  static fake_plugin custom(const std::string& name) {
    fake_plugin plugin;
    plugin.name = name;
    plugin.record.is_custom = 1;
    return plugin;
  }
};

TEST_F(custom_plugins, a_stamped_name_finds_its_definition) {
  fake_plugin plugin = custom("Second_One");
  ASSERT_EQ(set_up(plugin), 0) << (host.messages.empty() ? "" : host.messages.back());
  EXPECT_STREQ(record().plugin_name, "Second One");
  EXPECT_EQ(record().n_effects, 1);
  EXPECT_EQ(record().n_inputs_declared, 2);
  EXPECT_EQ(record().descriptor_a, 0);
  EXPECT_EQ(record().descriptor_b, 10);
  EXPECT_STREQ(record().doc_name, "Custom Plug-in (no documentation)");
  EXPECT_TRUE(record().host_flags & HOST_IS_CUSTOM);
  EXPECT_TRUE(record().host_flags & HOST_NAMES_ARE_HEAP);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  const pf_handle before = host.in_data.sequence_data;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(host.in_data.sequence_data, before) << "a custom instance is valid as it is";
  set_down(plugin);
}

TEST_F(custom_plugins, a_missing_name_fails_with_its_words) {
  fake_plugin plugin = custom("No_Such");
  EXPECT_EQ(set_up(plugin), PF_Err_INTERNAL);
  const std::string path = folder.string() + "/t_config.text";
  EXPECT_TRUE(host.has_message("The effect named 'No_Such' was not found in file " + path + "."));
  EXPECT_TRUE(host.has_message("Failed loading from " + path + "."));
  set_down(plugin);
}

TEST_F(custom_plugins, unstamped_copies_take_the_definitions_in_order) {
  fake_plugin first = custom(TEMPLATE_NAME), second = custom(TEMPLATE_NAME), third = custom(TEMPLATE_NAME);
  fake_host other, last;
  ASSERT_EQ(set_up(first), 0);
  EXPECT_STREQ(record().plugin_name, "First One");
  other.call(second.get(), PF_Cmd_GLOBAL_SETUP);
  ASSERT_EQ(other.call(second.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_STREQ(record_of(other.in_data.global_data)->plugin_name, "Second One");
  last.call(third.get(), PF_Cmd_GLOBAL_SETUP);
  ASSERT_EQ(last.call(third.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_TRUE(last.has_message("You have tried to load the 3rd custom effect from"));
  EXPECT_STREQ(record_of(last.in_data.global_data)->plugin_name, "NoCustom");
  last.setdown(third.get());
  other.setdown(second.get());
  set_down(first);
}

TEST_F(custom_plugins, by_name_after_by_index_is_refused) {
  fake_plugin first = custom(TEMPLATE_NAME), second = custom("Second_One");
  fake_host other;
  ASSERT_EQ(set_up(first), 0);
  other.call(second.get(), PF_Cmd_GLOBAL_SETUP);
  EXPECT_EQ(other.call(second.get(), PF_Cmd_PARAMS_SETUP), PF_Err_BAD_REQUEST);
  EXPECT_TRUE(
      other.has_message("Can't mix reading custom plugins by index (1) and by name (Second_One).\nMake sure all "
                        "your customs have been properly configured."));
  other.setdown(second.get());
  set_down(first);
}

TEST_F(custom_plugins, by_index_after_by_name_is_refused) {
  fake_plugin first = custom("First_One"), second = custom(TEMPLATE_NAME);
  fake_host other;
  ASSERT_EQ(set_up(first), 0);
  other.call(second.get(), PF_Cmd_GLOBAL_SETUP);
  EXPECT_EQ(other.call(second.get(), PF_Cmd_PARAMS_SETUP), PF_Err_BAD_REQUEST);
  EXPECT_TRUE(other.has_message("Can't mix reading custom plugins by index (0)"));
  other.setdown(second.get());
  set_down(first);
}

TEST_F(custom_plugins, the_reading_mode_ends_with_the_last_plugin) {
  fake_plugin first = custom(TEMPLATE_NAME);
  ASSERT_EQ(set_up(first), 0);
  set_down(first);
  fake_plugin second = custom("Second_One");
  host.params.clear();
  host.popup_texts.clear();
  EXPECT_EQ(set_up(second), 0);
  set_down(second);
}

}  // namespace
}  // namespace tessaron
