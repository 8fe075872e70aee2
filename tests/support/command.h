// Runs a program with arguments and collects what it says.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/scratch_folder.h"

namespace tessaron::testing {

struct command_result {
  int status;  // exit status; 128 and more: ended by a signal
  std::string out, err;
};

inline std::string shell_quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) c == '\'' ? quoted += "'\\''" : quoted += c;
  return quoted + "'";
}

/// `environment`: assignments in front of the command, such as "A=b ".
inline command_result run_command(const std::string& program, const std::vector<std::string>& arguments,
                                  const std::string& environment = "") {
  const scratch_folder folder;
  std::string line = environment + shell_quoted(program);
  for (const std::string& argument : arguments) line.append(" ").append(shell_quoted(argument));
  line += " >" + shell_quoted(folder.file("out")) + " 2>" + shell_quoted(folder.file("err")) + " </dev/null";
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), folder.read("out"), folder.read("err")};
}

}  // namespace tessaron::testing
