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
/// What the system is called, for texts: "Linux".
std::string system_name();
std::string os_version();
/// Version of the system's core as numbers. `raw` is the system's own packed form.
struct os_version_numbers { int major = 0, minor = 0, raw = 0; };
os_version_numbers os_numbers();
/// Whether this is a 32-bit process on a 64-bit Windows; false where that cannot be.
bool is_wow64_process();
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
/// The pitch is what the system offers: here the bell of the terminal.
void alert_sound(int hertz, int milliseconds);
/// A notice that the host did not take. Without a display it goes to standard error.
void show_message(const std::string& title, const std::string& text, int close_after_ms);

/// Opens a document or a web address with the desktop's application. A number above 31: done; others are the
/// error numbers of the system's shell: 0 out of resources, 2 no such file, 3 no such path, 5 access denied,
/// 8 not enough memory, 11 a broken program, 26 a sharing violation, 27 a broken association, 31 no application.
int open_document(const std::string& path, const std::string& working_dir);
inline constexpr int LAST_SHELL_ERROR = 31;

/// A button; `&` stands in front of the letter of its key.
struct dialog_button { int id; std::string label; };
/// A window of one text and some buttons, shown until one is pressed.
struct dialog_window {
  std::string title, text;
  dialog_button ok, cancel;
  std::vector<dialog_button> more;
  bool placed = false;  // where its corner shall be, when there is a place for it
  int x = 0, y = 0;
};
enum class dialog_outcome {
  unavailable,  // no display, or nothing on it that shows windows
  failed,       // what shows windows broke down; last_error_text() says more
  pressed,      // by the user
};
struct dialog_answer {
  dialog_outcome outcome = dialog_outcome::unavailable;
  int id = 0;           // of the button that was pressed
  bool placed = false;  // whether the system told where the corner was last
  int x = 0, y = 0;
};
/// Shows a window and waits for its end. One at a time.
dialog_answer show_dialog(const dialog_window& window);
/// Brings the window that is up to the front, from any thread; nothing happens without one.
void raise_dialog();

}  // namespace tessaron::platform
