// The entry: setup and set-down of a plug-in, version check, faults on the way, one call at a time.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "host/configuration.h"
#include "host/host_handles.h"
#include "host/host_state.h"
#include "host/inspect.h"
#include "operators/film_types.h"
#include "operators/lens_flares.h"
#include "support/fake_host.h"
#include "support/scratch_folder.h"

namespace tessaron {
namespace {

using testing::appl_id;
using testing::fake_host;
using testing::fake_plugin;

constexpr const char* PLAIN = "(define Plain_Copy (Source) (rgba_ok) dest = Source)";

globals_record* record_of(pf_handle handle) { return static_cast<globals_record*>(*handle); }

TEST(entry, an_unknown_command_returns_0_with_nothing_done) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(host.call(plugin.get(), 2), 0);
  EXPECT_EQ(host.call(plugin.get(), 999), 0);
  EXPECT_EQ(host.allocations, 0);
}

TEST(entry, a_call_without_plugin_or_in_data_is_a_bad_request) {
  fake_plugin plugin({PLAIN});
  pf_in_data in_data = {};
  EXPECT_EQ(tessaron_main(nullptr, PF_Cmd_ABOUT, &in_data, nullptr, nullptr, nullptr, nullptr), PF_Err_BAD_REQUEST);
  EXPECT_EQ(tessaron_main(plugin.get(), PF_Cmd_ABOUT, nullptr, nullptr, nullptr, nullptr, nullptr), PF_Err_BAD_REQUEST);
}

TEST(entry, about_before_any_setup_gives_the_plain_version_text) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_ABOUT), 0);
  EXPECT_STREQ(host.out_data.return_msg, "Tessaron Plug-ins, version 1.10");
}

TEST(entry, global_setup_fills_out_data_and_the_record) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  plugin.record.out_flags = 0x1234;
  plugin.record.out_flags2 = 0x77;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host.out_data.my_version, 0x88000u);
  EXPECT_STREQ(host.out_data.name, "Test");
  EXPECT_EQ(host.out_data.out_flags, 0x1234u);
  EXPECT_EQ(host.out_data.out_flags2, 0x77u);
  const globals_record& record = *record_of(host.in_data.global_data);
  EXPECT_EQ(record.flat_marker, 0u);
  EXPECT_EQ(record.n_image_channels, 4);
  EXPECT_EQ(record.temp_sets[0].last_time, -1000000);
  EXPECT_EQ(record.temp_sets[1].last_time, -1000000);
  EXPECT_EQ(record.temp_set, &record.temp_sets[0]);
  EXPECT_EQ(record.n_inputs, -1);
  EXPECT_EQ(record.descriptor_a, -1);
  EXPECT_EQ(record.effect_arg_a, -1);
  EXPECT_EQ(record.effect_arg_b, 0);
  EXPECT_EQ(record.last_effect_i, -1);
  EXPECT_EQ(record.host_flags, HOST_IS_HANDLE_RECORD);
  EXPECT_EQ(record.session_stamp, host_state.session_stamp);
  EXPECT_EQ(host.locks, 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
  EXPECT_EQ(host.in_data.global_data, nullptr);
  EXPECT_EQ(host.handles, 0);
}

TEST(entry, the_second_flag_word_is_given_only_above_interface_12_9) {
  const struct {
    int major, minor;
    std::uint32_t expected;
  } ROWS[] = {{12, 9, 0}, {12, 10, 0x77}, {13, 0, 0x77}, {11, 20, 0}};
  for (const auto& row : ROWS) {
    fake_host host;
    host.in_data.version_major = row.major;
    host.in_data.version_minor = row.minor;
    fake_plugin plugin({PLAIN});
    plugin.record.out_flags2 = 0x77;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(host.out_data.out_flags2, row.expected) << row.major << "." << row.minor;
    host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  }
}

TEST(entry, a_custom_plugin_has_version_1) {
  fake_host host;
  fake_plugin plugin;
  plugin.record.is_custom = 1;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host.out_data.my_version, 1u);
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
}

TEST(entry, a_stub_of_1_1005_passes_the_version_check) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  plugin.record.plugin_version = 1.1005f;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
}

TEST(entry, a_stub_of_1_102_fails_the_version_check) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  plugin.record.plugin_version = 1.102f;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), PF_Err_INTERNAL);
  const std::string printed = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(printed.find("Plug-in version mismatch: plug-in is 1.102, DLL is 1.1.  Please reinstall Tessaron "
                         "Plug-ins."),
            std::string::npos)
      << printed;
  EXPECT_EQ(host.in_data.global_data, nullptr);
  EXPECT_EQ(host_state.n_global_setups, 0) << "a plug-in that was refused is not alive";
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
}

TEST(entry, global_setup_without_memory_fails_and_leaves_a_clean_process) {
  fake_host host;
  host.fail_allocation = 0;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), PF_Err_INTERNAL);
  EXPECT_EQ(host_state.n_global_setups, 0);
  EXPECT_EQ(host_state.host_app, HOST_UNDETECTED);
}

TEST(entry, the_last_set_down_leaves_a_clean_process) {
  fake_plugin plugin({PLAIN});
  {
    fake_host host(appl_id("DFRN"));
    ASSERT_EQ(host.setup(plugin.get()), 0);
    EXPECT_EQ(host_state.host_app, HOST_FUSION);
    EXPECT_EQ(host_state.batch_mode, 1);
    EXPECT_EQ(host_state.pixel_scale, -1);
    host.setdown(plugin.get());
    EXPECT_EQ(host.handles, 0);
    EXPECT_EQ(host.locks, 0);
  }
  EXPECT_EQ(host_state.host_app, HOST_UNDETECTED);
  EXPECT_EQ(host_state.batch_mode, 0);
  EXPECT_EQ(host_state.pixel_scale, 1);
  EXPECT_EQ(host_state.angle_sign, -1);
  EXPECT_FALSE(host_state.shared_data_ready);
  const std::int32_t first_stamp = host_state.session_stamp;
  fake_host host;
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
  EXPECT_NE(host_state.session_stamp, first_stamp) << "two sessions never share a stamp";
  host.setdown(plugin.get());
}

TEST(entry, data_files_are_read_anew_after_the_last_set_down) {
  testing::scratch_folder folder;
  const struct used_folder {
    explicit used_folder(const std::string& path) { inspect_use_config_dir(path); }
    ~used_folder() {
      ::unsetenv("TESSARON_CONFIG_DIR");
      reset_config();
    }
  } use(folder.path());
  fake_plugin plugin({PLAIN});
  for (const char* name : {"First", "Second"}) {
    const std::string begin = std::string("begin ") + name + "\n";
    folder.write("t_lensflares.text", begin + "spot center 0 radii 0 0.05 colors 1 1 1 0 0 0\nend\n");
    folder.write("t_glares.text", begin + "spot radii 0 0.05 colors 1 1 1 0 0 0\nend\n");
    folder.write("t_filmtypes.text", begin + "grain 1\nend " + name + "\n");
    fake_host host;
    ASSERT_EQ(host.setup(plugin.get()), 0);
    ASSERT_EQ(get_lens_flares().count, 1);
    EXPECT_EQ(get_lens_flares().entries[0]->name, name);
    ASSERT_EQ(get_glares().count, 1);
    EXPECT_EQ(get_glares().entries[0]->name, name);
    ASSERT_EQ(negative_film_names().size(), 2u);
    EXPECT_EQ(negative_film_names()[1], std::string("Neg: ") + name);
    host.setdown(plugin.get());
  }
}

TEST(entry, process_work_waits_for_the_last_plugin) {
  fake_host host, other;
  fake_plugin plugin({PLAIN}), second({PLAIN});
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  ASSERT_EQ(other.call(second.get(), PF_Cmd_GLOBAL_SETUP), 0);
  EXPECT_EQ(host_state.n_global_setups, 2);
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_EQ(host_state.host_app, HOST_UNKNOWN);
  other.call(second.get(), PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST(entry, a_set_down_without_a_record_changes_nothing) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST(entry, setups_without_a_global_record_are_internal_failures) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), PF_Err_INTERNAL);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), PF_Err_INTERNAL);
}

TEST(entry, a_render_without_an_instance_returns_0) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  pf_world output = {};
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_RENDER, nullptr, &output), 0);
}

TEST(entry, a_command_without_what_it_needs_is_a_bad_request) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_RENDER), PF_Err_BAD_REQUEST);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_USER_CHANGED_PARAM), PF_Err_BAD_REQUEST);
  host.setdown(plugin.get());
}

TEST(entry, a_call_during_a_render_returns_0_and_changes_nothing) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  const std::uint32_t stamp = host_state.call_stamp;
  host_state.in_render = true;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  host_state.in_render = false;
  EXPECT_EQ(host_state.call_stamp, stamp);
  EXPECT_EQ(host_state.n_global_setups, 0);
  EXPECT_EQ(host.allocations, 0);
}

TEST(entry, the_current_record_is_put_back_after_a_call) {
  globals_record* const before = Globals;
  fake_host host;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_EQ(Globals, before);
  host.setdown(plugin.get());
  EXPECT_EQ(Globals, before);
}

TEST(entry, each_dispatch_counts_the_call_stamp) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  const std::uint32_t stamp = host_state.call_stamp;
  host.call(plugin.get(), PF_Cmd_ABOUT);
  host.call(plugin.get(), 12);
  EXPECT_EQ(host_state.call_stamp, stamp + 2);
}

// Two threads change what only the mutex protects; a lost count or a torn record would show.
TEST(entry, two_threads_are_serialised) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  const tessaron_plugin* const record = plugin.get();
  const std::uint32_t stamp = host_state.call_stamp;
  constexpr int CALLS = 2000;
  std::atomic<int> errors{0};
  const auto work = [&] {
    pf_in_data in_data = host.in_data;
    for (int i = 0; i < CALLS; ++i) {
      pf_out_data out_data = {};
      pf_param_def layer = {};
      pf_param_def* params[] = {&layer};
      errors += tessaron_main(record, PF_Cmd_QUERY_DYNAMIC_FLAGS, &in_data, &out_data, params, nullptr, nullptr) != 0;
    }
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(errors, 0);
  EXPECT_EQ(host_state.call_stamp, stamp + 2 * CALLS);
  host.setdown(plugin.get());
}

TEST(entry, dynamic_flags_follow_what_the_functions_of_the_effect_read) {
  const struct {
    std::uint8_t genotype_flags;
    std::uint32_t expected;
  } ROWS[] = {
      {0, 0},
      {GENO0_READS_CLIPS, PF_OutFlag_USES_TIME},
      {GENO0_PREV_OUTPUT, PF_OutFlag_WIDE_TIME},
      {GENO0_FRAME_DEPENDENT, PF_OutFlag_WIDE_TIME},
      {GENO0_READS_CLIPS | GENO0_FRAME_DEPENDENT, PF_OutFlag_USES_TIME | PF_OutFlag_WIDE_TIME},
  };
  fake_host host;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  for (const auto& row : ROWS) {
    std::uint8_t& flags = record_of(host.in_data.sequence_data)->effect_genotype->flags[0];
    const std::uint8_t before = flags;
    flags = row.genotype_flags;
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
    EXPECT_EQ(host.out_data.out_flags, row.expected);
    flags = before;
  }
  host.setdown(plugin.get());
}

TEST(entry, an_event_of_an_instance_without_handles_is_ignored) {
  fake_host host;
  fake_plugin plugin({PLAIN});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_EVENT), 0);
  host.setdown(plugin.get());
}

TEST(abort, the_hosts_answer_is_kept_and_asked_for_once) {
  fake_host host;
  globals_record record = {};
  init_globals(record);
  record.in_data = &host.in_data;
  globals_record* const before = Globals;
  Globals = &record;
  int asked = 0, answer = 0;
  host.on_abort = [&] { return ++asked, answer; };
  EXPECT_EQ(ae_check_abort(), 0);
  answer = 42;
  EXPECT_EQ(ae_check_abort(), 1);
  EXPECT_EQ(host_state.host_abort_err, 42);
  EXPECT_EQ(ae_check_abort(), 1);
  EXPECT_EQ(asked, 2);
  abort_requested = 0;
  // Combustion holds the question back by its suite.
  host_state.host_app = HOST_COMBUSTION;
  host_state.combustion_suite = &record;
  EXPECT_EQ(ae_check_abort(), 0);
  EXPECT_EQ(asked, 2);
  host_state = {};
  Globals = before;
}

}  // namespace
}  // namespace tessaron
