// The built installer, run in a scratch folder of its own.
#pragma once

#include <gtest/gtest.h>

#include "support/command.h"

namespace tessaron::installer {

using testing::command_result;
using testing::scratch_folder;

inline const std::string PROGRAM = TESSARON_BINARY_DIR "/install_custom_plugins";
inline const std::string PLACEHOLDER = "TessaronCustomPlugin___________";

/// A configuration directory with two customs and a template of one plain placeholder, and a directory to
/// install into.
class InstallerRun : public ::testing::Test {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    fs::create_directory(config);
    fs::create_directory(target);
    write_config("t_config.text", "(define One (Source) () dest = Source)\n(def_effect Two (A B) () dest = A)\n");
    write_config("install_dirs.txt", target + "\n");
    write_config("CustomAE.tmpl", "<" + PLACEHOLDER + ">");
  }
  void write_config(const std::string& name, const std::string& content) const {
    folder.write("config/" + name, content);
  }
  command_result run(const std::vector<std::string>& arguments = {}) const {
    return testing::run_command(PROGRAM, arguments, "TESSARON_CONFIG_DIR=" + testing::shell_quoted(config) + " ");
  }
  std::string installed(const std::string& name) const { return folder.read("plugins/" + name + ".aex"); }
  bool is_installed(const std::string& name) const { return std::filesystem::exists(target + "/" + name + ".aex"); }

  scratch_folder folder;
  const std::string config = folder.file("config"), target = folder.file("plugins");
};

}  // namespace tessaron::installer
