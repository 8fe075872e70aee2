// A desktop that a test makes up: programs in a scratch folder that is all of PATH, and a store of settings.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/configuration.h"
#include "installer/custom_listing.h"
#include "support/command.h"
#include "support/scratch_folder.h"

namespace tessaron::testing {

/// Changes environment variables and puts them back.
class changed_environment {
 public:
  ~changed_environment() {
    for (const auto& [name, value] : before_) value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }
  changed_environment() = default;
  changed_environment(const changed_environment&) = delete;
  changed_environment& operator=(const changed_environment&) = delete;

  void set(const std::string& name, const std::string& value) {
    remember(name);
    setenv(name.c_str(), value.c_str(), 1);
  }
  void unset(const std::string& name) {
    remember(name);
    unsetenv(name.c_str());
  }

 private:
  void remember(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    before_.emplace(name, value ? std::optional<std::string>(value) : std::nullopt);
  }
  std::map<std::string, std::optional<std::string>> before_;
};

/// Without a display and without programs until a test asks for them. The configuration directory is an empty
/// folder of the test.
class fake_desktop : public ::testing::Test {
 protected:
  fake_desktop() {
    std::filesystem::create_directory(folder.file("bin"));
    std::filesystem::create_directory(folder.file("config"));
    environment.set("PATH", folder.file("bin"));
    environment.set("XDG_CONFIG_HOME", folder.file("settings"));
    environment.set("XDG_CONFIG_DIRS", folder.file("no-settings"));
    environment.set("TESSARON_CONFIG_DIR", config());
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "TESSARON_DEBUG"}) environment.unset(name);
    reset_custom_listing();
    reset_config();
  }
  ~fake_desktop() override {
    environment.unset("TESSARON_CONFIG_DIR");
    reset_custom_listing();
    reset_config();
  }

  std::string config() const { return folder.file("config"); }
  void show_a_display() { environment.set("DISPLAY", ":99"); }

  /// A program that keeps its arguments and then runs `script` (of a shell without other programs).
  void add_program(const std::string& name, const std::string& script) {
    const std::string path = folder.write("bin/" + name,
                                          "#!/bin/sh\n"
                                          ": >\"$0.argv\"\n"
                                          "for word in \"$@\"; do printf '%s\\n--\\n' \"$word\" >>\"$0.argv\"; done\n" +
                                              script + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
  bool was_run(const std::string& name) const { return std::filesystem::exists(folder.file("bin/" + name + ".argv")); }
  /// The arguments of its last run.
  std::vector<std::string> arguments_of(const std::string& name) const {
    static const std::string END = "\n--\n";
    const std::string text = folder.read("bin/" + name + ".argv");
    std::vector<std::string> words;
    for (std::size_t at = 0, end; (end = text.find(END, at)) != std::string::npos; at = end + END.size())
      words.push_back(text.substr(at, end - at));
    return words;
  }

  scratch_folder folder;
  changed_environment environment;
};

/// Waits for what a program that runs by itself will do; gives up after half a minute.
inline void wait_until(const std::function<bool()>& done) {
  for (int i = 0; i < 3000 && !done(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

inline bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
}  // namespace tessaron::testing
