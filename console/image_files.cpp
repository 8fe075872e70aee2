#include "console/image_files.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <filesystem>

#include "console/deep_pnm.h"
#include "console/errors.h"
#include "console/output_file.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

std::string tidy(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  return text;
}

[[noreturn]] void cannot_read(const std::string& path, const std::string& why) {
  throw work_error("cannot read image " + path + ": " + tidy(why));
}
[[noreturn]] void cannot_write(const std::string& path, const std::string& why) {
  throw work_error("cannot write image " + path + ": " + tidy(why));
}

/// File channel that each field of a pixel comes from; -1 is an opaque alpha.
field_order channels_of(const OIIO::ImageSpec& spec) {
  const int n = spec.nchannels;
  int alpha = spec.alpha_channel >= 0 && spec.alpha_channel < n ? spec.alpha_channel : -1;
  if (n < 3) return {{0, 0, 0, n == 2 ? (alpha < 0 ? 1 : alpha) : -1}};
  if (alpha < 0 && n == 4) alpha = 3;
  return {{0, 1, 2, alpha}};
}

/// Interleaved file samples into a host image of the same depth.
template <class Sample>
void fill_image(image& picture, const std::vector<Sample>& samples, const OIIO::ImageSpec& spec) {
  const field_order from = channels_of(spec), to = order_of(picture.format);
  const auto opaque = Sample(full_scale(picture.format));
  const Sample* source = samples.data();
  for (int y = 0; y < picture.height; ++y) {
    auto* dest = reinterpret_cast<Sample*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, source += spec.nchannels, dest += 4)
      for (int k = 0; k < 4; ++k) dest[to.field[k]] = from.field[k] < 0 ? opaque : source[from.field[k]];
  }
}

template <class Sample>
void read_samples(OIIO::ImageInput& in, const std::string& path, image& picture, OIIO::TypeDesc type) {
  const OIIO::ImageSpec& spec = in.spec();
  std::vector<Sample> samples(std::size_t(spec.width) * std::size_t(spec.height) * std::size_t(spec.nchannels));
  if (!in.read_image(0, 0, 0, spec.nchannels, type, samples.data())) cannot_read(path, in.geterror());
  fill_image(picture, samples, spec);
}

/// A host image of canonical layout as interleaved red, green, blue and maybe alpha.
template <class Sample>
std::vector<Sample> interleaved(const image& picture, int channels) {
  const field_order order = order_of(picture.format);
  std::vector<Sample> samples;
  samples.reserve(std::size_t(picture.width) * std::size_t(picture.height) * std::size_t(channels));
  for (int y = 0; y < picture.height; ++y) {
    const auto* source = reinterpret_cast<const Sample*>(picture.row(y));
    for (int x = 0; x < picture.width; ++x, source += 4)
      for (int k = 0; k < channels; ++k) samples.push_back(source[order.field[k]]);
  }
  return samples;
}

void write_samples(OIIO::ImageOutput& out, const std::string& name, const std::string& path,
                   const OIIO::ImageSpec& spec, const image& picture) {
  if (!out.open(name, spec)) cannot_write(path, out.geterror());
  const bool written =
      is_deep(picture.format)
          ? out.write_image(OIIO::TypeDesc::UINT16, interleaved<std::uint16_t>(picture, spec.nchannels).data())
          : out.write_image(OIIO::TypeDesc::UINT8, interleaved<std::uint8_t>(picture, spec.nchannels).data());
  // The close comes first: a file that is open cannot be judged.
  const bool closed = out.close();
  if (!written || !closed) cannot_write(path, out.geterror());
}

/// Formats whose writers tell every fault of theirs, and hand over their bytes.
bool writer_is_candid(OIIO::ImageOutput& out) {
  static constexpr const char* NAMES[] = {"png", "jpeg", "openexr", "tiff", "pnm", "bmp", "targa"};
  const std::string name = out.format_name();
  return out.supports("ioproxy") && std::find(std::begin(NAMES), std::end(NAMES), name) != std::end(NAMES);
}

/// Other writers keep silent about a full disk or an encoder that gave up: only a file that reads back
/// is whole.
void check_readable(const std::string& name, const std::string& path, const image& picture) {
  auto in = OIIO::ImageInput::open(name);
  if (!in) cannot_write(path, OIIO::geterror());
  const OIIO::ImageSpec spec = in->spec();
  std::vector<std::uint8_t> samples(std::size_t(picture.width) * std::size_t(picture.height) *
                                    std::size_t(spec.nchannels));
  if (spec.width != picture.width || spec.height != picture.height ||
      !in->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::UINT8, samples.data()))
    cannot_write(path, "the file did not come out whole: " + in->geterror());
}

}  // namespace

image read_image_file(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) cannot_read(path, "is a directory");
  if (!std::filesystem::exists(path, ignored)) cannot_read(path, "no such file");
  try {
    if (std::optional<image> picture = read_deep_pnm(path)) return std::move(*picture);
    OIIO::ImageSpec as_stored;
    as_stored.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &as_stored);
    if (!in) {
      const std::string why = OIIO::geterror();
      cannot_read(path, why.empty() ? "not an image" : why);
    }
    const OIIO::ImageSpec& spec = in->spec();
    if (spec.deep) cannot_read(path, "holds deep samples, which have no single value a pixel");
    if (spec.depth > 1) cannot_read(path, "is a volume");
    if (spec.width < 1 || spec.height < 1 || spec.nchannels < 1) cannot_read(path, "is empty");
    if (spec.width > MAX_IMAGE_SIDE || spec.height > MAX_IMAGE_SIDE)
      cannot_read(path, "is " + std::to_string(spec.width) + "x" + std::to_string(spec.height) + ", larger than " +
                            std::to_string(MAX_IMAGE_SIDE) + " on a side");
    const bool deep = spec.format.basesize() > 1;
    image picture = image::make(spec.width, spec.height, deep ? pixel_format::bgra16 : pixel_format::rgba8);
    if (deep)
      read_samples<std::uint16_t>(*in, path, picture, OIIO::TypeDesc::UINT16);
    else
      read_samples<std::uint8_t>(*in, path, picture, OIIO::TypeDesc::UINT8);
    in->close();
    return picture;
  } catch (const work_error&) {
    throw;
  } catch (const std::exception& fault) {  // std::bad_alloc for a header that lies, or the library's own
    cannot_read(path, fault.what());
  }
}

void write_image_file(const std::string& path, const image& from, const std::optional<picture_window>& window) {
  try {
    const image picture = convert(from, is_deep(from.format) ? pixel_format::bgra16 : pixel_format::rgba8);
    auto out = OIIO::ImageOutput::create(path);
    if (!out) cannot_write(path, OIIO::geterror());
    if (is_deep(picture.format) && std::string(out->format_name()) == "pnm") {
      const std::string bytes = deep_pnm_bytes(picture);
      return write_whole_file(path, bytes.data(), bytes.size());
    }
    const bool float_file = std::string(out->format_name()) == "openexr";
    const OIIO::TypeDesc type = float_file                ? OIIO::TypeDesc::FLOAT
                                : is_deep(picture.format) ? OIIO::TypeDesc::UINT16
                                                          : OIIO::TypeDesc::UINT8;
    OIIO::ImageSpec spec(picture.width, picture.height, out->supports("alpha") ? 4 : 3, type);
    spec.attribute("oiio:UnassociatedAlpha", 1);
    if (window && out->supports("displaywindow")) {
      spec.x = -window->frame_x;
      spec.y = -window->frame_y;
      spec.full_width = window->frame_width;
      spec.full_height = window->frame_height;
    }
    if (writer_is_candid(*out)) {
      OIIO::Filesystem::IOVecOutput bytes;
      out->set_ioproxy(&bytes);
      write_samples(*out, path, path, spec, picture);
      out.reset();
      write_whole_file(path, bytes.buffer().data(), bytes.buffer().size());
    } else {
      unfinished_file file(path);
      write_samples(*out, file.name(), path, spec, picture);
      out.reset();
      check_readable(file.name(), path, picture);
      file.publish();
    }
  } catch (const work_error&) {
    throw;
  } catch (const std::exception& fault) {
    cannot_write(path, fault.what());
  }
}

std::string output_format_fault(const std::string& path) {
  if (OIIO::ImageOutput::create(path)) return "";
  return "no image format that can be written has this extension (" + tidy(OIIO::geterror()) + ")";
}

void limit_image_threads(int count) { OIIO::attribute("threads", count); }

std::string image_library_name() {
  const int version = OIIO::openimageio_version();
  return "OpenImageIO " + std::to_string(version / 10000) + "." + std::to_string(version / 100 % 100) + "." +
         std::to_string(version % 100);
}

}  // namespace tessaron::console
