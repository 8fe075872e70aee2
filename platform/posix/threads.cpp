// Threads, semaphores and the stepped mutex, over the standard library.
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include "platform/platform.h"

namespace tessaron::platform {
namespace {

class counting_semaphore final : public semaphore {
 public:
  counting_semaphore(int initial, int maximum) : count_(initial), maximum_(maximum) {}

  void wait() override {
    std::unique_lock lock(guard_);
    raised_.wait(lock, [this] { return count_ > 0; });
    --count_;
  }

  bool release() override {
    // Notified under the lock: whoever wakes may destroy the semaphore as soon as it owns the count.
    std::lock_guard lock(guard_);
    if (count_ >= maximum_) {
      errno = EOVERFLOW;
      return false;
    }
    ++count_;
    raised_.notify_one();
    return true;
  }

 private:
  std::mutex guard_;
  std::condition_variable raised_;
  int count_;
  const int maximum_;
};

class system_thread final : public thread {
 public:
  system_thread(void (*body)(int), int argument, std::string name)
      : running_([body, argument, name = std::move(name)] {
          pthread_setname_np(pthread_self(), name.substr(0, MAX_SYSTEM_NAME).c_str());
          body(argument);
        }) {}
  ~system_thread() override {
    if (running_.joinable()) running_.detach();
  }
  void join() override {
    if (running_.joinable()) running_.join();
  }

 private:
  static constexpr std::size_t MAX_SYSTEM_NAME = 15;  // the system refuses longer ones
  std::thread running_;
};

class stepped_mutex final : public mutex {
 public:
  bool wait(int milliseconds) override {
    const std::uint32_t self = current_thread_id();
    std::unique_lock lock(guard_);
    const auto mine_or_free = [this, self] { return depth_ == 0 || owner_ == self; };
    if (!freed_.wait_for(lock, std::chrono::milliseconds(milliseconds), mine_or_free)) return false;
    owner_ = self;
    ++depth_;
    return true;
  }

  void release() override {
    std::lock_guard lock(guard_);
    if (depth_ == 0 || owner_ != current_thread_id()) return;
    if (--depth_ == 0) freed_.notify_one();
  }

 private:
  std::mutex guard_;
  std::condition_variable freed_;
  std::uint32_t owner_ = 0;
  int depth_ = 0;
};

}  // namespace

semaphore* semaphore::create(int initial, int maximum) {
  if (maximum < 1 || initial < 0 || initial > maximum) {
    errno = EINVAL;
    return nullptr;
  }
  return new (std::nothrow) counting_semaphore(initial, maximum);
}

thread* thread::start(void (*body)(int), int argument, const char* name) {
  try {
    return new (std::nothrow) system_thread(body, argument, name ? name : "");
  } catch (const std::system_error& refused) {
    errno = refused.code().value();
    return nullptr;
  }
}

std::uint32_t current_thread_id() {
  // Numbered by first use: small, never 0, never given twice.
  static std::atomic<std::uint32_t> last{0};
  thread_local const std::uint32_t id = ++last;
  return id;
}

mutex* mutex::create() { return new (std::nothrow) stepped_mutex; }

}  // namespace tessaron::platform
