#include <OpenImageIO/imageio.h>

#include <new>

#include "console/errors.h"
#include "console/pictures/pictures.h"
#include "console/pixels.h"

namespace tessaron::console {
namespace {

using hostkit::image;
using hostkit::pixel_format;

[[noreturn]] void cannot_read(const std::string& path, const std::string& why) {
  throw work_error("cannot read image " + path + ": " + tidy(why));
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

}  // namespace

image pictures::read(const std::string& path) {
  try {
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
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& fault) {
    cannot_read(path, fault.what());
  }
}

}  // namespace tessaron::console
