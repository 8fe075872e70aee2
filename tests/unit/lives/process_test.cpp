// What hangs on the process: the command line of a render node, and how long the engine's library stays.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

// --- render nodes --------------------------------------------------------------------------------------

constexpr const char* CHILD_MARK = "TESSARON_TEST_RENDER_NODE";

/// What a render node makes of its process's command line: 40, and 1 more in the background.
int node_status() {
  scripted_host host({"Combustion node", 2, appl_id("CbNL")});
  fake_plugin plugin = sample_plugin();
  const int error = host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP);
  const bool node = !error && host_state.host_app == HOST_COMBUSTION && host_state.batch_mode == 1;
  return node ? 40 + host_state.background_render : 1;
}

/// node_status() in a process of its own, with one more word in its command line.
int status_with_argument(const std::string& argument) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv(CHILD_MARK, "1", 1);
    ::execl("/proc/self/exe", "test_lives", "--gtest_brief=1",
            "--gtest_filter=render_node.is_in_the_background_when_its_command_line_says_so", argument.c_str(),
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(render_node, is_in_the_background_when_its_command_line_says_so) {
  if (::getenv(CHILD_MARK)) ::_exit(node_status());
  EXPECT_EQ(status_with_argument("plain"), 40);
  for (const char* argument : {"/opt/combustion/NetRenderer", "netrenderer.exe", "-ShellRenderer", "SHELLRENDERER",
                               "the Render Queue of today"})
    EXPECT_EQ(status_with_argument(argument), 41) << argument;
  EXPECT_EQ(status_with_argument("render-queue"), 40);
}

TEST(render_node, other_nodes_look_at_no_command_line) {
  for (const char* id : {"DFRN", "NRFD"}) {
    scripted_host host({"Fusion node", 6, appl_id(id)});
    fake_plugin plugin = sample_plugin();
    EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(host_state.host_app, HOST_FUSION);
    EXPECT_EQ(host_state.batch_mode, 1);
    EXPECT_EQ(host_state.background_render, 0);
    host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
    EXPECT_EQ(host_state.batch_mode, 0);
  }
}

// --- the library -----------------------------------------------------------------------------------------

/// Whether the engine's library is still loaded after a host of a kind has used and unloaded it.
bool stays_loaded_after(std::uint32_t appl) {
  const std::string path = TESSARON_BINARY_DIR "/libtessaron.so.1";
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(library, nullptr) << ::dlerror();
  if (!library) return false;
  const auto entry = reinterpret_cast<tessaron_main_fn>(::dlsym(library, "tessaron_main"));
  scripted_host host({"any", 0, appl});
  fake_plugin plugin = sample_plugin();
  pf_out_data out_data = {};
  EXPECT_EQ(entry(plugin.get(), PF_Cmd_GLOBAL_SETUP, &host.in_data, &out_data, nullptr, nullptr, nullptr), 0);
  host.in_data.global_data = out_data.global_data;
  EXPECT_EQ(entry(plugin.get(), PF_Cmd_GLOBAL_SETDOWN, &host.in_data, &out_data, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(host.left_behind(), "");
  ::dlclose(library);
  void* const again = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (again) ::dlclose(again);
  return again != nullptr;
}

TEST(library, premiere_can_not_unload_it) {
  EXPECT_FALSE(stays_loaded_after(appl_id("MOTN")));
  EXPECT_TRUE(stays_loaded_after(appl_id("PrMr")));
}

/// A plug-in out of a library that is loaded late, so that the library's statics end before the host's.
struct late_plugin {
  scripted_host host{{"any", 11, appl_id("ODD.")}};
  fake_plugin plugin{{"(define Late (Source) () dest = (+ (gamma Source 1.5) (get_prev_dest Source)))"}};
  tessaron_main_fn entry = nullptr;

  int call(int command, pf_world* output = nullptr) {
    pf_out_data out_data = {};
    out_data.global_data = host.in_data.global_data;
    out_data.sequence_data = host.in_data.sequence_data;
    std::vector<pf_param_def*> params = {&host.layer};
    if (!host.params.empty()) params.clear();
    for (pf_param_def& p : host.params) params.push_back(&p);
    const int error = entry(plugin.get(), command, &host.in_data, &out_data, params.data(), output, nullptr);
    host.in_data.global_data = out_data.global_data;
    host.in_data.sequence_data = out_data.sequence_data;
    return error;
  }
};
late_plugin* late = nullptr;
constexpr int SET_DOWN = 42;

[[noreturn]] void end_process_with_a_live_plugin() {
  late = new late_plugin;
  std::atexit([] {
    const int error = late->call(PF_Cmd_SEQUENCE_SETDOWN) | late->call(PF_Cmd_GLOBAL_SETDOWN);
    ::_exit(error == 0 && late->host.left_behind().empty() ? SET_DOWN : 1);
  });
  void* const library = ::dlopen(TESSARON_BINARY_DIR "/libtessaron.so.1", RTLD_NOW | RTLD_LOCAL);
  if (!library) ::_exit(2);
  late->entry = reinterpret_cast<tessaron_main_fn>(::dlsym(library, "tessaron_main"));
  for (const int command : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP})
    if (late->call(command) != 0) ::_exit(3);
  late->host.place_values();
  host_picture output(12, 8, 0);
  late->host.in_data.extent_hint = {0, 0, 12, 8};
  if (late->call(PF_Cmd_RENDER, &output.world) != 0) ::_exit(4);
  std::exit(0);
}

TEST(library, is_set_down_while_the_process_ends) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(end_process_with_a_live_plugin(), ::testing::ExitedWithCode(SET_DOWN), "");
}

}  // namespace
}  // namespace tessaron
