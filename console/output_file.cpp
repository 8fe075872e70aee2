#include "console/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "console/errors.h"

namespace tessaron::console {
namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  throw work_error("cannot write " + path + ": " + std::strerror(error));
}

/// A file descriptor that is closed at the latest when it leaves its scope.
class descriptor {
 public:
  explicit descriptor(int number) : number_(number) {}
  ~descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;
  int number() const { return number_; }
  /// Some systems report a full disk only here.
  bool close() {
    const int number = number_;
    number_ = -1;
    return ::close(number) == 0;
  }

 private:
  int number_;
};

}  // namespace

std::string temporary_name(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || dot <= start) dot = path.size();
  return path.substr(0, start) + ".unfinished-" + std::to_string(::getpid()) + "-" +
         path.substr(start, dot - start).substr(0, 100) + path.substr(dot);
}

unfinished_file::~unfinished_file() {
  if (!published_) std::remove(temporary_.c_str());
}

void unfinished_file::publish() {
  {
    descriptor file(::open(temporary_.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0 || ::fsync(file.number()) != 0) fail(path_, errno);
  }
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) fail(path_, errno);
  published_ = true;
}

void write_whole_file(const std::string& path, const void* data, std::size_t size) {
  unfinished_file file(path);
  descriptor out(::open(file.name().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (out.number() < 0) fail(path, errno);
  const char* at = static_cast<const char*>(data);
  for (std::size_t left = size; left > 0;) {
    const ssize_t written = ::write(out.number(), at, left);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(path, errno);
    at += written;
    left -= std::size_t(written);
  }
  if (!out.close()) fail(path, errno);
  file.publish();
}

}  // namespace tessaron::console
