#include "console/image_files.h"

#include <OpenImageIO/oiioversion.h>
#include <dlfcn.h>

#include <filesystem>
#include <new>

#include "console/errors.h"
#include "console/output_file.h"
#include "console/pictures/picture_library.h"
#include "console/pixels.h"
#include "console/pnm.h"
#include "console/stock_folder.h"
#include "hostkit/shared_object.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

constexpr const char* MODULE = TESSARON_LIBDIR "/tessaron/pictures.so";

int thread_limit = 0;  // 0: none

[[noreturn]] void cannot_load(const std::string& file, const std::string& why) {
  throw work_error("the picture module cannot be loaded from " + file + ": " + why);
}

[[noreturn]] void cannot_read(const std::string& path, const char* why) {
  throw work_error("cannot read image " + path + ": " + why);
}

picture_library& load() {
  const std::string file = installed_path(MODULE);
  if (file.empty()) cannot_load(MODULE, "no such file in the installation of this program");
  if (const std::string fault = hostkit::shared_object_fault(file); !fault.empty()) cannot_load(file, fault);
  void* const module = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
  if (!module) cannot_load(file, dlerror());
  const auto get = reinterpret_cast<picture_library_fn*>(dlsym(module, PICTURE_LIBRARY_FUNCTION));
  if (!get) cannot_load(file, std::string("it has no ") + PICTURE_LIBRARY_FUNCTION);
  picture_library& pictures = *get();
  if (thread_limit) pictures.limit_threads(thread_limit);
  return pictures;
}

picture_library& library() {
  static picture_library& loaded = load();
  return loaded;
}

}  // namespace

image read_image_file(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) cannot_read(path, "is a directory");
  if (!fs::exists(path, ignored)) cannot_read(path, "no such file");
  if (fs::is_regular_file(path, ignored) && fs::file_size(path, ignored) == 0) cannot_read(path, "is an empty file");
  try {
    if (std::optional<image> picture = read_pnm(path)) return std::move(*picture);
    return library().read(path);
  } catch (const std::bad_alloc&) {  // maybe for a header that lies
    cannot_read(path, "not enough memory");
  }
}

void write_image_file(const std::string& path, const image& from, const std::optional<picture_window>& window) {
  try {
    const image picture = convert(from, is_deep(from.format) ? pixel_format::bgra16 : pixel_format::rgba8);
    if (!is_pnm_name(path)) return library().write(path, picture, window);
    const std::string bytes = pnm_bytes(picture);
    write_whole_file(path, bytes.data(), bytes.size());
  } catch (const std::bad_alloc&) {
    throw work_error("cannot write image " + path + ": not enough memory");
  }
}

std::string output_format_fault(const std::string& path) {
  return is_pnm_name(path) ? "" : library().output_format_fault(path);
}

image resized(const image& from, int width, int height) {
  if (from.width == width && from.height == height) return from;
  return library().resized(from, width, height);
}

void draw_over(image& picture, const std::function<void(const pf_draw_callbacks&)>& draw) {
  library().draw_over(picture, draw);
}

void limit_image_threads(int count) { thread_limit = count; }

std::string image_library_name() { return "OpenImageIO " OIIO_VERSION_STRING; }

}  // namespace tessaron::console
