// Helper programs of the desktop, run without a shell: each argument arrives as it is.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tessaron::platform {

/// Whether a desktop is there to show things on.
bool has_display();

/// Path of a program in an absolute directory of PATH; empty when it is in none.
std::string find_program(const std::string& name);

/// A running program.
class program {
 public:
  /// What becomes of its two output streams. Collected ones are read while wait() waits, so that it never stands
  /// before a full pipe; one that may be left running says nothing.
  enum class output { collected, dropped };

  /// 0, or the system's error number. Standard input is empty.
  int start(const std::string& path, const std::vector<std::string>& arguments, output streams,
            const std::string& working_dir = "");
  ~program();
  program() = default;
  program(const program&) = delete;
  program& operator=(const program&) = delete;

  /// Waits for its end; false: it is still running after that time.
  bool wait(int milliseconds);
  /// Lets it run on by itself when this goes; otherwise it is ended then.
  void leave() { left_ = true; }

  pid_t id() const { return id_; }
  /// What status() gives besides exit statuses. A host that waits for all its children itself, or has the system
  /// forget them, leaves nobody who knows.
  enum : int { BY_SIGNAL = -1, UNKNOWN = -2 };
  int status() const { return status_; }
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  bool ended();
  void read_streams();

  pid_t id_ = 0;
  bool running_ = false, left_ = false;
  int status_ = UNKNOWN;
  int out_pipe_ = -1, err_pipe_ = -1;
  std::string out_, err_;
};

}  // namespace tessaron::platform
