#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <new>

#include "console/errors.h"
#include "console/output_file.h"
#include "console/pictures/pictures.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

[[noreturn]] void cannot_write(const std::string& path, const std::string& why) {
  throw work_error("cannot write image " + path + ": " + tidy(why));
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

void pictures::write(const std::string& path, const image& picture, const std::optional<picture_window>& window) {
  try {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) cannot_write(path, OIIO::geterror());
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
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& fault) {
    cannot_write(path, fault.what());
  }
}

std::string pictures::output_format_fault(const std::string& path) {
  if (OIIO::ImageOutput::create(path)) return "";
  return "no image format that can be written has this extension (" + tidy(OIIO::geterror()) + ")";
}

}  // namespace tessaron::console
