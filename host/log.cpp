#include "host/log.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/text.h"
#include "evaluator/frame.h"
#include "genotype/globals.h"
#include "host/configuration.h"
#include "host/host_state.h"
#include "installer/custom_listing.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

namespace fs = std::filesystem;

#ifdef NDEBUG
constexpr const char* BUILD_NOTES = "";
#else
constexpr const char* BUILD_NOTES = " (assertions on)";
#endif

constexpr std::size_t FIRST_ROOM = 1024;  // characters

/// Files of the configuration directory that are copied into the log.
constexpr const char* COPIED_FILES[] = {"t_config.text"};

log_buffer current;

char printable(std::uint32_t character) {
  return std::isprint(static_cast<unsigned char>(character)) ? char(character) : '?';
}

// --- files ---------------------------------------------------------------------------------------

/// Reading or writing anything else could wait for ever: a pipe, a device.
int why_no_plain_file(const std::string& path) {
  std::error_code failed;
  const fs::file_status status = fs::status(path, failed);
  if (status.type() == fs::file_type::directory) return EISDIR;
  if (status.type() == fs::file_type::not_found) return ENOENT;
  return status.type() == fs::file_type::regular ? 0 : failed ? failed.value() : EINVAL;
}

/// The whole file, or the reason why there is none in its place.
std::string file_text(const std::string& path) {
  int error = why_no_plain_file(path);
  if (error == 0) {
    std::ifstream file(path, std::ios::binary);
    if (file) return {std::istreambuf_iterator<char>(file), {}};
    error = errno;
  }
  return format_text("Open of %s failed: %s\n", path.c_str(), std::strerror(error));
}

/// Writes a text in one go; false with the reason in `why`.
bool write_text(const std::string& path, std::string_view text, std::string& why) {
  int error = why_no_plain_file(path);
  std::FILE* file = error == 0 || error == ENOENT ? std::fopen(path.c_str(), "wb") : nullptr;
  if (!file) {
    if (error == 0 || error == ENOENT) error = errno;
    why = format_text("Write of %s failed at open: %s\n", path.c_str(), std::strerror(error));
    return false;
  }
  std::setvbuf(file, nullptr, _IONBF, 0);
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

// --- entries -------------------------------------------------------------------------------------

void log_time() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char text[32];  // asctime_r wants 26
  if (localtime_r(&now, &local) && asctime_r(&local, text)) log_printf("Tessaron AE Log: %s\n", text);
}

void log_product() {
  const pf_in_data* in_data = Globals->in_data;
  const std::uint32_t appl_id = in_data ? in_data->appl_id : 0;
  const std::int32_t serial = in_data ? in_data->serial_num : 0;
  log_printf("Tessaron version %s (%g)%s for %s\nhost info: %c%c%c%c, ser# 0x%x (%d)\n", ENGINE_VERSION_TEXT,
             double(ENGINE_VERSION), BUILD_NOTES, platform::system_name().c_str(), printable(appl_id >> 24),
             printable(appl_id >> 16 & 0xff), printable(appl_id >> 8 & 0xff), printable(appl_id & 0xff),
             unsigned(serial), serial);
}

void log_system() {
  const platform::os_version_numbers os = platform::os_numbers();
  log_printf("OS ver: %d.%d (=%d)\n", os.major, os.minor, os.raw);
  log_printf("Windows 64?: %d\n", platform::is_wow64_process());
  log_printf("cmd: '%s'\n", platform::command_line().c_str());
}

void log_host() {
  log_printf("host: %s(%d)%s(%s)\n", host_app_name(host_state.host_app), host_state.host_app,
             host_state.batch_mode ? "-batch" : "", host_state.background_render ? "-bg" : "");
}

void log_first_render() {
  if (dest_raster_info.width <= 0 || dest_raster_info.height <= 0) return;
  const double scale = render_info.scale_x;
  const int divisor = scale > 0 ? int(std::lround(std::min(1 / scale, 1e6))) : 1;
  log_printf("dest size %d x %d, res %d, pixscale %g, asp %g\n", dest_raster_info.width, dest_raster_info.height,
             divisor, scale, double(display_dims.pixel_aspect));
}

void log_files() {
  for (const char* name : COPIED_FILES) {
    const std::string path = data_file_path(name);
    log_printf("=== Contents of %s:\n", path.c_str());
    current.append(file_text(path));
    log_printf("=== End of %s.\n", path.c_str());
  }
}

void write_entries() {
  current = {};
  log_time();
  log_product();
  log_printf(" config dir: %s\n", get_config_dir());
  log_system();
  log_host();
  log_first_render();
  log_files();
  log_printf("### end of log file ###\n");
  std::string why;
  if (!write_text(log_path(), current.text(), why)) platform::debug_output(why);
  current = {};
}

}  // namespace

// --- log_buffer ----------------------------------------------------------------------------------

void log_buffer::make_room(std::size_t more) {
  std::size_t size = std::max(room_.size(), FIRST_ROOM);
  while (size - used_ < more) size *= 2;
  room_.resize(size);
}

void log_buffer::append(std::string_view text) {
  make_room(text.size());
  std::copy(text.begin(), text.end(), room_.begin() + std::ptrdiff_t(used_));
  used_ += text.size();
}

void log_buffer::print_list(const char* format, va_list arguments) {
  for (;;) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(room_.data() + used_, room_.size() - used_, format, again);
    va_end(again);
    if (length < 0) return;
    if (std::size_t(length) < room_.size() - used_) {
      used_ += std::size_t(length);
      return;
    }
    make_room(std::size_t(length) + 1);  // and its terminator
  }
}

void log_buffer::print(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print_list(format, arguments);
  va_end(arguments);
}

void log_printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  current.print_list(format, arguments);
  va_end(arguments);
}

// --- the log -------------------------------------------------------------------------------------

std::string log_path() { return data_file_path("t_log.text"); }

void write_diagnostics_log() {
  if (!host_state.log_pending) return;
  host_state.log_pending = false;
  try {
    write_entries();
  } catch (const std::exception&) {  // no memory for a log is no reason to lose a frame
    current = {};
  }
}

}  // namespace tessaron
