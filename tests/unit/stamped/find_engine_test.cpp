// How a stamped plug-in finds the engine's library, each time in a process that holds none.
#include <dlfcn.h>

#include <cstring>

#include "stamped_folder.h"

namespace tessaron::stamped {
namespace {

namespace fs = std::filesystem;

const std::string BUILT_ENGINE = TESSARON_BINARY_DIR "/libtessaron.so.1";

/// A copy of a stamped plug-in whose run path leads nowhere.
class Lost : public ::testing::Test {
 protected:
  void SetUp() override {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";  // the child starts anew
    fs::copy(stamped_folder::get().plugin("A"), plugin);
    std::string bytes = folder.read("A.aex");
    const std::size_t run_path = bytes.find(TESSARON_BINARY_DIR "//");
    ASSERT_NE(run_path, std::string::npos);
    bytes.replace(run_path, 2, "/\1");
    folder.write("A.aex", bytes);
  }
  /// What a first call of the plug-in says; empty when an engine took it.
  static std::string first_call(const std::string& path) {
    const plugin_library library(path);
    pf_in_data in = {};
    pf_out_data out = {};
    const int error = library.entry()(&library.descriptor(), PF_Cmd_ABOUT, &in, &out, nullptr, nullptr, nullptr);
    return error == PF_Err_INTERNAL ? out.return_msg : "";
  }
  static bool engine_loaded() { return dlopen("libtessaron.so.1", RTLD_NOW | RTLD_NOLOAD) != nullptr; }
  [[noreturn]] static void end(bool good, const std::string& said = "") {
    std::fputs(said.c_str(), stderr);
    std::exit(good ? 0 : 1);
  }

  testing::scratch_folder folder;
  const std::string plugin = folder.file("A.aex");
};

using FindEngine = Lost;

TEST_F(FindEngine, run_path_of_the_template_leads_to_it) {
  EXPECT_EXIT(end(!engine_loaded() && first_call(stamped_folder::get().plugin("A")).empty() && engine_loaded()),
              ::testing::ExitedWithCode(0), "");
}

TEST_F(FindEngine, without_one_the_host_gets_an_error_and_a_message) {
  EXPECT_EXIT(
      {
        const std::string said = first_call(plugin);
        end(!engine_loaded() && said.find("The Tessaron engine can't be loaded: libtessaron.so.1: ") == 0, said);
      },
      ::testing::ExitedWithCode(0), "The Tessaron engine can't be loaded");
}

TEST_F(FindEngine, a_host_kits_error_has_the_message) {
  const auto refused = [](const std::string& path) {
    try {
      const loaded_plugin loaded(path);
      end(false);
    } catch (const hostkit::host_error& fault) {
      end(true, fault.what());
    }
  };
  EXPECT_EXIT(refused(plugin), ::testing::ExitedWithCode(0),
              "Global setup failed with error 512\nThe Tessaron engine can't be loaded: libtessaron.so.1: ");
}

TEST_F(FindEngine, one_that_the_host_has_loaded_is_taken) {
  EXPECT_EXIT(end(dlopen(BUILT_ENGINE.c_str(), RTLD_NOW | RTLD_LOCAL) && first_call(plugin).empty()),
              ::testing::ExitedWithCode(0), "");
}

TEST_F(FindEngine, configuration_directory_leads_to_the_installed_one) {
  const std::string config = folder.file("préfixe d'essai/share/tessaron");
  fs::create_directories(config);
  fs::create_directories(folder.file("préfixe d'essai/lib"));
  fs::create_symlink(BUILT_ENGINE, folder.file("préfixe d'essai/lib/libtessaron.so.1"));
  EXPECT_EXIT(
      {
        setenv("TESSARON_CONFIG_DIR", config.c_str(), 1);
        end(first_call(plugin).empty() && engine_loaded());
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(FindEngine, one_that_is_there_at_a_later_call_is_taken) {
  EXPECT_EXIT(
      {
        const bool lost = !first_call(plugin).empty();
        end(lost && dlopen(BUILT_ENGINE.c_str(), RTLD_NOW | RTLD_LOCAL) && first_call(plugin).empty());
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tessaron::stamped
