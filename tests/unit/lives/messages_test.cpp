// The words of setups and set-downs, each provoked by a host.
#include <gtest/gtest.h>

#include <list>

#include "host/configuration.h"
#include "installer/custom_listing.h"
#include "sample_plugin.h"
#include "support/scratch_folder.h"

namespace tessaron {
namespace {

using namespace testing;

constexpr const char* TEMPLATE_NAME = "TessaronCustomPlugin___________";
constexpr const char* NO_CUSTOM = "NoCustom";  // the black effect that stands in

/// Custom plug-ins of a definitions file, alive side by side.
struct customs : ::testing::Test {
  struct custom {
    fake_plugin plugin;
    scripted_host host{kind_of_host("unknown")};
    int result = 0;
  };
  scratch_folder folder;
  std::list<custom> all;
  std::string path;
  std::string settings_before;

  void SetUp() override { use("(define First_One (Source) dest = Source)\n(define Second_One () dest = x)\n"); }
  void TearDown() override {
    for (custom& c : all) c.host.setdown(c.plugin.get());
    EXPECT_EQ(strict_memory::get().live(), 0);
    EXPECT_EQ(host_state.n_global_setups, 0);
    ::setenv("TESSARON_CONFIG_DIR", settings_before.c_str(), 1);
    reset_custom_listing();
    reset_config();
  }
  void use(const std::string& definitions) {
    if (settings_before.empty()) settings_before = ::getenv("TESSARON_CONFIG_DIR");
    path = folder.write("t_config.text", "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n" + definitions);
    ::setenv("TESSARON_CONFIG_DIR", folder.path().c_str(), 1);
    reset_custom_listing();
    reset_config();
  }
  custom& add(const std::string& name) {
    custom& c = all.emplace_back();
    c.plugin.name = name;
    c.plugin.record.is_custom = 1;
    c.result = c.host.call(c.plugin.get(), PF_Cmd_GLOBAL_SETUP);
    if (!c.result) c.result = c.host.call(c.plugin.get(), PF_Cmd_PARAMS_SETUP);
    return c;
  }
  static std::string effect_of(custom& c) { return record_of(c.host.in_data.global_data).plugin_name; }
};

// 11th to 13th, and 111th to 113th, go by their last two digits.
std::string ordinal(int n) {
  const int last_two = n % 100;
  const int digit = last_two > 20 ? last_two % 10 : last_two;
  return std::to_string(n) + (digit == 1 ? "st" : digit == 2 ? "nd" : digit == 3 ? "rd" : "th");
}

TEST_F(customs, each_that_is_too_many_is_told_its_number) {
  for (int n = 1; n <= 125; ++n) {
    custom& c = add(TEMPLATE_NAME);
    ASSERT_EQ(c.result, 0) << n;
    if (n <= 2) {
      EXPECT_EQ(effect_of(c), n == 1 ? "First One" : "Second One");
      continue;
    }
    ASSERT_EQ(c.host.messages.size(), 1u);
    EXPECT_EQ(c.host.messages[0], "Tessaron Plug-ins Warning|Warning: \nYou have tried to load the " + ordinal(n) +
                                      " custom effect from\n" + path +
                                      ",\nbut there are not that many custom effects defined in that file.\nPerhaps "
                                      "there's a syntax error in the custom effect?");
    EXPECT_EQ(effect_of(c), NO_CUSTOM);
  }
}

TEST_F(customs, a_syntax_error_gives_the_effect_that_stands_in) {
  use("(define Broken () dest = (no_such_function 1))\n");
  custom& c = add(TEMPLATE_NAME);
  EXPECT_EQ(c.result, 0);
  EXPECT_TRUE(c.host.has_message("unknown function 'no_such_function'"));
  EXPECT_TRUE(c.host.has_message("You have tried to load the 1st custom effect from"));
  ASSERT_EQ(c.host.call(c.plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  EXPECT_EQ(c.host.frame(c.plugin.get()), 0);
  EXPECT_EQ(c.host.output.fields[1], 0) << "black";
}

TEST_F(customs, a_missing_file_gives_the_effect_that_stands_in) {
  std::remove(path.c_str());
  custom& c = add(TEMPLATE_NAME);
  EXPECT_EQ(c.result, 0);
  EXPECT_TRUE(c.host.has_message("Open of " + path + " failed: "));
  EXPECT_EQ(effect_of(c), NO_CUSTOM);
}

TEST_F(customs, a_missing_file_fails_a_custom_by_name) {
  std::remove(path.c_str());
  custom& c = add("First_One");
  EXPECT_EQ(c.result, PF_Err_INTERNAL);
  EXPECT_TRUE(c.host.has_message("Failed loading from " + path + "."));
}

TEST_F(customs, a_name_that_is_not_there_fails) {
  custom& c = add("Third_One");
  EXPECT_EQ(c.result, PF_Err_INTERNAL);
  ASSERT_EQ(c.host.messages.size(), 2u);
  EXPECT_EQ(c.host.messages[0],
            "Tessaron Plug-ins Error|Error: The effect named 'Third_One' was not found in file " + path + ".");
  EXPECT_EQ(c.host.messages[1], "Tessaron Plug-ins Error|Error: Failed loading from " + path + ".");
  c.host.call(c.plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_EQ(c.host.left_behind(), "");
}

TEST_F(customs, an_empty_name_is_a_name) {
  EXPECT_EQ(add("").result, PF_Err_INTERNAL);
  EXPECT_TRUE(all.back().host.has_message("The effect named '' was not found in file "));
  EXPECT_EQ(add(TEMPLATE_NAME).result, PF_Err_BAD_REQUEST);
}

TEST_F(customs, one_way_of_reading_rules_the_process) {
  EXPECT_EQ(add(TEMPLATE_NAME).result, 0);
  EXPECT_EQ(add(TEMPLATE_NAME).result, 0);
  custom& named = add("First_One");
  EXPECT_EQ(named.result, PF_Err_BAD_REQUEST);
  EXPECT_EQ(
      named.host.messages,
      std::vector<std::string>{"Tessaron Plug-ins Error|Error: Can't mix reading custom plugins by index (2) and "
                               "by name (First_One).\nMake sure all your customs have been properly configured."});
  // The one that was refused has changed nothing: the next by index is the third.
  EXPECT_TRUE(add(TEMPLATE_NAME).host.has_message("the 3rd custom effect"));
}

TEST_F(customs, parameters_set_up_again_find_the_same_definition) {
  custom& first = add(TEMPLATE_NAME);
  custom& second = add(TEMPLATE_NAME);
  first.host.params.clear();
  first.host.popup_texts.clear();
  EXPECT_EQ(first.host.call(first.plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(effect_of(first), "First One");
  EXPECT_EQ(effect_of(second), "Second One");
}

TEST_F(customs, a_custom_goes_through_a_whole_life) {
  fake_plugin plugin;
  plugin.name = "First_One";
  plugin.record.is_custom = 1;
  for (const host_kind& kind : host_kinds()) {
    scripted_host host(kind);
    EXPECT_EQ(host.play(plugin.get()).first_error(), 0) << kind;
    EXPECT_TRUE(filled_with(host.output, host.first_value)) << kind;
    EXPECT_EQ(host.left_behind(), "") << kind;
  }
}

// --- plug-ins with texts of their own ----------------------------------------------------------------

struct setup_messages : ::testing::Test {
  scripted_host host{kind_of_host("unknown")};
  int set_up_and_down(fake_plugin& plugin) {
    int error = host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP);
    if (!error) error = host.call(plugin.get(), PF_Cmd_PARAMS_SETUP);
    host.setdown(plugin.get());
    EXPECT_EQ(host.left_behind(), "");
    return error;
  }
};

TEST_F(setup_messages, no_effects) {
  fake_plugin plugin;
  EXPECT_EQ(set_up_and_down(plugin), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("Error|Error: load_effects_from_strings: Globals->n_effects <= 0."));
}

TEST_F(setup_messages, a_text_that_does_not_read) {
  fake_plugin plugin({"(define A () dest = x)", "(define B () dest = [1 2"});
  EXPECT_EQ(set_up_and_down(plugin), PF_Err_INTERNAL);
  EXPECT_EQ(host.messages.back(), "Tessaron Plug-ins Error|Error: Failed loading effect from string.");
}

TEST_F(setup_messages, a_text_without_a_definition) {
  for (const char* text : {"", "no definition here", "(", ")))", "(define"}) {
    fake_plugin plugin({text});
    host.messages.clear();
    EXPECT_EQ(set_up_and_down(plugin), PF_Err_INTERNAL) << text;
    EXPECT_EQ(host.messages.back(), "Tessaron Plug-ins Error|Error: Failed loading effect from string.") << text;
  }
}

TEST_F(setup_messages, a_stub_of_another_version) {
  fake_plugin plugin = sample_plugin();
  plugin.record.plugin_version = 1.2f;
  ::testing::internal::CaptureStderr();  // there is no record yet to tell the host by
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), PF_Err_INTERNAL);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find(
                "Plug-in version mismatch: plug-in is 1.2, DLL is 1.1.  Please reinstall Tessaron Plug-ins."),
            std::string::npos);
  EXPECT_EQ(host.in_data.global_data, nullptr);
  // Only the first plug-in of a process is asked.
  fake_plugin first = sample_plugin();
  ASSERT_EQ(host.setup(first.get()), 0);
  scripted_host other(kind_of_host("unknown"));
  EXPECT_EQ(other.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  other.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  host.setdown(first.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(setup_messages, an_add_parameter_call_that_is_missing) {
  fake_plugin plugin = sample_plugin();
  host.in_data.inter.add_param = nullptr;
  EXPECT_EQ(set_up_and_down(plugin), PF_Err_INTERNAL);
  EXPECT_EQ(host.messages.back(),
            "Tessaron Plug-ins Error|Error: Host error: missing API function.  Please restart the application as soon "
            "as possible.");
}

TEST_F(setup_messages, a_frame_before_the_parameters) {
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_FRAME_SETUP), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("A frame was asked for before the parameters were set up."));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), PF_Err_INTERNAL);
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(setup_messages, a_record_that_the_host_has_no_block_for) {
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  host.calls.fail(host_call::new_block, host.calls.made(host_call::new_block));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("Out of memory: the host gave no block of " + std::to_string(sizeof(globals_record))));
  host.setdown(plugin.get());
}

TEST_F(setup_messages, planes_that_the_host_has_no_block_for) {
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.setup(plugin.get()), 0);
  host.place_values();
  host.calls.fail(host_call::new_block, host.calls.made(host_call::new_block));
  EXPECT_EQ(host.frame(plugin.get()), PF_Err_INTERNAL);
  EXPECT_TRUE(host.has_message("Out of memory allocating temp image handle of"));
  EXPECT_EQ(host.frame(plugin.get()), 0);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(setup_messages, a_null_plane_among_those_that_an_instance_holds) {
  fake_plugin plugin = sample_plugin();
  ASSERT_EQ(host.setup(plugin.get()), 0);
  record_of(host.in_data.sequence_data).temp_sets[1].image_count = 1;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(host.messages.back(), "Tessaron Plug-ins Error|Error: Attempt to free null temp image handle");
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

}  // namespace
}  // namespace tessaron
