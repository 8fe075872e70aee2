// The process and its system: clock, command line, environment, modules, last error.
#include <dlfcn.h>
#include <link.h>
#include <sys/resource.h>
#include <sys/utsname.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/platform.h"

namespace tessaron::platform {

std::string last_error_text() { return std::strerror(errno); }

std::int64_t tick_ms() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

double seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

std::string command_line() {
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  while (!text.empty() && text.back() == '\0') text.pop_back();
  for (char& c : text)
    if (c == '\0') c = ' ';
  return text;
}

std::string system_name() {
  utsname names{};
  return uname(&names) == 0 ? names.sysname : "Unix";
}

os_version_numbers os_numbers() {
  utsname names{};
  os_version_numbers numbers;
  int patch = 0;
  if (uname(&names) != 0 || std::sscanf(names.release, "%d.%d.%d", &numbers.major, &numbers.minor, &patch) < 2)
    return numbers;
  // The way in which the kernel's own headers pack it: a byte for each of the lower two.
  numbers.raw =
      std::clamp(numbers.major, 0, 0x7fff) << 16 | std::clamp(numbers.minor, 0, 255) << 8 | std::clamp(patch, 0, 255);
  return numbers;
}

bool is_wow64_process() { return false; }

std::string os_version() {
  utsname names{};
  if (uname(&names) != 0) return {};
  return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

std::int64_t peak_resident_bytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return std::int64_t(usage.ru_maxrss) * 1024;  // the system counts in KiB
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

namespace {

/// Name under which the loader knows the module of `address`; empty for the program itself.
bool loader_name(const void* address, std::string& name) {
  Dl_info info{};
  link_map* map = nullptr;
  if (!dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) || !map) return false;
  name = map->l_name ? map->l_name : "";
  return true;
}

}  // namespace

std::string module_path(const void* address) {
  std::string name;
  if (!loader_name(address, name)) return {};
  std::error_code failed;
  const std::filesystem::path file = std::filesystem::canonical(name.empty() ? "/proc/self/exe" : name, failed);
  return failed ? name : file.string();
}

void* load_library(const std::string& path, std::string& error) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    const char* text = dlerror();
    error = text ? text : "unknown error";
  }
  return library;
}

void* library_symbol(void* library, const char* name) { return dlsym(library, name); }

void unload_library(void* library) {
  if (library) dlclose(library);
}

void pin_module(const void* address) {
  std::string name;
  // The program itself is never unloaded. The handle is dropped on purpose: its mark stays.
  if (!loader_name(address, name) || name.empty()) return;
  if (void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE)) dlclose(library);
}

}  // namespace tessaron::platform
