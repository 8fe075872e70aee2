// The seam to the operating system: what the engine needs of it and nothing else.
//
// platform/posix/ implements it here. Nothing outside platform/ calls the system for these.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaron::platform {

// --- registry ------------------------------------------------------------------------------------
enum class registry_root { local_machine, current_user };
/// Text value of a key, false when the key or the value is missing. On a system without a registry:
/// the environment variable TESSARON_CONFIG_DIR answers for "ConfigDir", then small stores, per user
/// before system-wide.
bool read_registry_text(registry_root root, const std::string& key, const std::string& value, std::string& out);
bool read_registry_number(registry_root root, const std::string& key, const std::string& value, std::int32_t& out);
bool write_registry_number(registry_root root, const std::string& key, const std::string& value, std::int32_t number);

// --- threads -------------------------------------------------------------------------------------
/// A counting semaphore with a maximum. Not copyable; release() is false past the maximum.
class semaphore {
 public:
  static semaphore* create(int initial, int maximum);  // null when the system refuses
  virtual ~semaphore() = default;
  virtual void wait() = 0;
  virtual bool release() = 0;
};
class thread {
 public:
  static thread* start(void (*body)(int), int argument, const char* name);  // null when the system refuses
  virtual ~thread() = default;  // the thread must have ended or been joined
  virtual void join() = 0;
};
std::uint32_t current_thread_id();
/// A recursive process-wide mutex, waited for in steps.
class mutex {
 public:
  static mutex* create();
  virtual ~mutex() = default;
  virtual bool wait(int milliseconds) = 0;  // true: owned
  virtual void release() = 0;
};
/// Processors in this process's affinity mask.
int affinity_count();
/// Restricts the process to its first `count` processors; false when the system refuses.
bool limit_affinity(int count);
/// Whether two logical processors share a core.
bool processors_share_cores();
/// Text of the system's last error.
std::string last_error_text();

// --- clock, process ------------------------------------------------------------------------------
/// Milliseconds of a steady clock.
std::int64_t tick_ms();
double seconds();
std::string command_line();
std::string os_version();
/// Largest resident size of this process so far, in bytes.
std::int64_t peak_resident_bytes();
std::string environment(const char* name);  // empty when unset
/// File name of the module (library or program) that holds `address`.
std::string module_path(const void* address);
/// Loads a library; null with `error` set on failure.
void* load_library(const std::string& path, std::string& error);
void* library_symbol(void* library, const char* name);
void unload_library(void* library);
/// Keeps the library that holds `address` loaded until the process ends.
void pin_module(const void* address);

// --- processor -----------------------------------------------------------------------------------
bool cpu_has_sse41();
bool cpu_has_avx2();
bool cpu_has_avx512();  // F, BW, DQ, VL

// --- user ----------------------------------------------------------------------------------------
void debug_output(const std::string& text);
void alert_sound();
/// A notice that the host did not take. Without a display it goes to standard error.
void show_message(const std::string& title, const std::string& text, int close_after_ms);
/// Opens a document with the desktop's application; 0 or an error number as the system's shell gives.
int open_document(const std::string& path, const std::string& working_dir);

}  // namespace tessaron::platform
