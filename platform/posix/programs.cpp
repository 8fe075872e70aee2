#include "platform/posix/programs.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "platform/platform.h"

extern char** environ;

namespace tessaron::platform {
namespace {

constexpr int TICK_MS = 30;
constexpr std::size_t MAX_COLLECTED = 1 << 16;  // of a stream; what comes after is read and dropped

/// Programs that were left running. They are asked after now and then, so that none stays as a dead entry of the
/// process table.
class left_programs {
 public:
  void add(pid_t id) {
    const std::lock_guard lock(guard_);
    ids_.push_back(id);
  }
  void collect() {
    const std::lock_guard lock(guard_);
    std::erase_if(ids_, [](pid_t id) { return waitpid(id, nullptr, WNOHANG) != 0; });
  }

 private:
  std::mutex guard_;
  std::vector<pid_t> ids_;
};
left_programs& left_running() {
  static left_programs list;
  return list;
}

/// What posix_spawn is told, freed in the end.
struct spawn_plan {
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  spawn_plan() {
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
  }
  ~spawn_plan() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  spawn_plan(const spawn_plan&) = delete;
  spawn_plan& operator=(const spawn_plan&) = delete;

  /// A host may hold signals back or ignore them; its helpers take them as usual.
  void usual_signals() {
    sigset_t none, usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) sigaddset(&usual, signal);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
};

struct pipe_ends {
  int read = -1, write = -1;
  pipe_ends() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    read = ends[0];
    write = ends[1];
    fcntl(read, F_SETFL, O_NONBLOCK);
  }
  ~pipe_ends() {
    if (read >= 0) close(read);
    if (write >= 0) close(write);
  }
  int take_read() { return std::exchange(read, -1); }
};

void read_all(int pipe, std::string& text) {
  char block[4096];
  for (ssize_t n; pipe >= 0 && ((n = read(pipe, block, sizeof block)) > 0 || (n < 0 && errno == EINTR));)
    if (n > 0) text.append(block, std::min(std::size_t(n), MAX_COLLECTED - text.size()));
}

}  // namespace

bool has_display() { return !environment("DISPLAY").empty() || !environment("WAYLAND_DISPLAY").empty(); }

std::string find_program(const std::string& name) {
  std::string path = environment("PATH");
  if (path.empty()) path = "/usr/local/bin:/usr/bin:/bin";
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find(':', begin), path.size());
    const std::string folder = path.substr(begin, end - begin);
    begin = end + 1;
    // Not from the directory in which the host happens to stand.
    if (folder.empty() || folder[0] != '/') continue;
    const std::string file = folder + "/" + name;
    struct stat info {};
    if (stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(file.c_str(), X_OK) == 0) return file;
  }
  return "";
}

int program::start(const std::string& path, const std::vector<std::string>& arguments, output streams,
                   const std::string& working_dir) {
  left_running().collect();
  std::vector<char*> words{const_cast<char*>(path.c_str())};
  for (const std::string& a : arguments) words.push_back(const_cast<char*>(a.c_str()));
  words.push_back(nullptr);
  spawn_plan plan;
  plan.usual_signals();
  posix_spawn_file_actions_addopen(&plan.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  std::optional<pipe_ends> out, err;
  if (streams == output::collected) {
    out.emplace();
    err.emplace();
    if (out->write < 0 || err->write < 0) return errno;
    posix_spawn_file_actions_adddup2(&plan.files, out->write, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&plan.files, err->write, STDERR_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&plan.files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&plan.files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  }
  if (!working_dir.empty()) posix_spawn_file_actions_addchdir_np(&plan.files, working_dir.c_str());
  if (const int error = posix_spawn(&id_, path.c_str(), &plan.files, &plan.attributes, words.data(), environ))
    return error;
  if (out) out_pipe_ = out->take_read();
  if (err) err_pipe_ = err->take_read();
  running_ = true;
  return 0;
}

program::~program() {
  if (running_ && !ended()) {
    if (!left_) kill(id_, SIGTERM);
    left_running().add(id_);
  }
  if (out_pipe_ >= 0) close(out_pipe_);
  if (err_pipe_ >= 0) close(err_pipe_);
}

void program::read_streams() {
  read_all(out_pipe_, out_);
  read_all(err_pipe_, err_);
}

bool program::ended() {
  read_streams();
  int status = 0;
  const pid_t answer = waitpid(id_, &status, WNOHANG);
  if (answer == 0 || (answer < 0 && errno == EINTR)) return false;
  running_ = false;
  status_ = answer != id_ ? UNKNOWN : WIFEXITED(status) ? WEXITSTATUS(status) : BY_SIGNAL;
  read_streams();
  return true;
}

bool program::wait(int milliseconds) {
  const std::int64_t until = tick_ms() + milliseconds;
  while (running_ && !ended()) {
    if (tick_ms() >= until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(TICK_MS));
  }
  return true;
}

}  // namespace tessaron::platform
