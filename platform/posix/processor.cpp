// Processors of this process: their number, their pairing on cores, their instruction sets.
#include <dirent.h>
#include <sched.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace tessaron::platform {
namespace {

/// A processor mask of any size; the kernel refuses one that is smaller than its own.
class affinity_mask {
 public:
  static affinity_mask of_this_process() {
    for (int room = CPU_SETSIZE; room <= 1 << 20; room *= 2) {
      affinity_mask mask(room);
      if (sched_getaffinity(0, mask.bytes(), mask.bits()) == 0) return mask;
      if (errno != EINVAL) break;
    }
    return affinity_mask(CPU_SETSIZE);
  }

  int count() const { return CPU_COUNT_S(bytes(), bits()); }
  bool has(int processor) const { return CPU_ISSET_S(processor, bytes(), bits()); }
  int room() const { return room_; }
  void keep_first(int wanted) {
    for (int p = 0; p < room_; ++p)
      if (has(p) && wanted-- <= 0) CPU_CLR_S(p, bytes(), bits());
  }
  std::size_t bytes() const { return CPU_ALLOC_SIZE(room_); }
  cpu_set_t* bits() const { return set_.get(); }

 private:
  struct release {
    void operator()(cpu_set_t* set) const { CPU_FREE(set); }
  };
  explicit affinity_mask(int room) : room_(room), set_(CPU_ALLOC(room)) {
    if (!set_) throw std::bad_alloc();
    CPU_ZERO_S(bytes(), bits());
  }
  int room_;
  std::unique_ptr<cpu_set_t, release> set_;
};

}  // namespace

int affinity_count() {
  const int count = affinity_mask::of_this_process().count();
  return count > 0 ? count : 1;
}

bool limit_affinity(int count) {
  if (count < 1) {
    errno = EINVAL;
    return false;
  }
  affinity_mask mask = affinity_mask::of_this_process();
  mask.keep_first(count);
  // A mask belongs to a thread here: every thread of the process gets it, new ones inherit it.
  DIR* tasks = opendir("/proc/self/task");
  if (!tasks) return sched_setaffinity(0, mask.bytes(), mask.bits()) == 0;
  bool accepted = true;
  while (const dirent* entry = readdir(tasks)) {
    const int task = std::atoi(entry->d_name);
    if (task > 0 && sched_setaffinity(task, mask.bytes(), mask.bits()) != 0 && errno != ESRCH) accepted = false;
  }
  closedir(tasks);
  return accepted;
}

bool processors_share_cores() {
  const affinity_mask mask = affinity_mask::of_this_process();
  std::vector<std::string> cores;
  for (int p = 0; p < mask.room(); ++p) {
    if (!mask.has(p)) continue;
    std::ifstream file("/sys/devices/system/cpu/cpu" + std::to_string(p) + "/topology/thread_siblings_list");
    std::string siblings;
    if (!std::getline(file, siblings)) return false;
    for (const std::string& seen : cores)
      if (seen == siblings) return true;
    cores.push_back(siblings);
  }
  return false;
}

#if defined(__x86_64__) || defined(__i386__)
bool cpu_has_sse41() {
  return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("sse4.2");
}
bool cpu_has_avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2"); }
bool cpu_has_avx512() {
  return cpu_has_avx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
}
#else
bool cpu_has_sse41() { return false; }
bool cpu_has_avx2() { return false; }
bool cpu_has_avx512() { return false; }
#endif

}  // namespace tessaron::platform
