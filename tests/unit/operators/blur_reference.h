// The blur family the slow way: each function written from its rule over plain planes.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "gradient_kit.h"
#include "tests/support/plain_arithmetic.h"
#include "tests/support/plain_blur.h"

namespace tessaron::testing {

using plain_planes = std::vector<plain_plane>;

/// The planes of an image of `elnum` elements over the sources that random_picture() makes; see image_text().
inline plain_planes image_planes(const test_frame& f, int elnum, const definition_renderer::pixel_function& source) {
  plain_planes planes;
  for (int e = 0; e < elnum; ++e)
    planes.emplace_back(f.width, f.height, [&](int x, int y) {
      const fix v = elnum == 2 && e == 1 ? fix_mul(source(x, y, 0), -3072) : source(x, y, e);
      return std::clamp(v, -0x7fff, 0x7fff);
    });
  return planes;
}
/// How a definition says it: four elements take a source with alpha.
inline std::string image_text(int elnum) {
  return elnum == 1 ? "(element_of Source 0)" : elnum == 2 ? "(* (element_of Source 0) [1 -0.75])" : "Source";
}

/// Fix values as a definition writes them, exactly.
inline std::string value_text(const std::vector<fix>& values) {
  std::ostringstream text;
  text.precision(12);
  if (values.size() > 1) text << "[";
  for (std::size_t e = 0; e < values.size(); ++e) text << (e ? " " : "") << values[e] / 4096.0;
  if (values.size() > 1) text << "]";
  return text.str();
}
/// Element e; a shorter value repeats its last one, and rgb is opaque.
inline fix element(const std::vector<fix>& values, int e) {
  if (e < int(values.size())) return values[std::size_t(e)];
  return values.size() == 3 ? 4096 : values.back();
}

inline fix plain_pixels(const test_frame& f, fix amount) {
  return fix(std::floor(double(std::min(amount, 64 * 4096)) * f.width / 8));
}
inline plain_blur_settings settings_of(const test_frame& f, fix x, fix y, int edge_mode, int passes, bool subpixel) {
  return {.x_amount = x,
          .y_amount = y,
          .edge_mode = edge_mode,
          .passes = passes,
          .subpixel = subpixel,
          .pixel_aspect_on = f.pixel_aspect != 1,
          .y_scale = 1 / f.pixel_aspect};
}
/// By pixels in both directions; by none the plane is only scaled.
inline plain_plane blurred_by(const plain_plane& plane, const plain_blur_settings& s, fix scale = 4096) {
  if (scale == 0) return plain_plane(plane.width, plane.height);
  return s.x_amount <= 0 && s.y_amount <= 0 ? plain_scale(plane, scale) : plain_blurred(plane, s, scale);
}
inline int plain_passes(fix filter_shape) { return std::clamp((filter_shape >> 12) + 1, 1, 3); }

struct blur_arguments {
  std::vector<fix> amount{4096 / 8};
  fix filter_shape = 2 * 4096;
  std::vector<fix> scale{4096};
  fix subpixel = 0;
  std::vector<fix> channel_amount{4096, 4096, 4096};  // of blur_channels
};

inline plain_planes plain_blur_function(const test_frame& f, const plain_planes& image, const blur_arguments& a) {
  plain_planes result;
  for (int c = 0; c < int(image.size()); ++c) {
    fix scale = element(a.scale, c);
    if (c == 3 && a.scale.size() < 4) scale = 4096;
    if (image.size() == 2 && c == 1 && a.scale.size() == 1) scale = 4096;
    result.push_back(
        blurred_by(image[std::size_t(c)],
                   settings_of(f, plain_pixels(f, element(a.amount, 0)), plain_pixels(f, element(a.amount, 1)), 1,
                               plain_passes(a.filter_shape), a.subpixel > 0),
                   scale));
  }
  return result;
}

inline plain_planes plain_blur_channels(const test_frame& f, plain_planes image, int elnum, const blur_arguments& a) {
  while (int(image.size()) < elnum) image.push_back(image.back());
  plain_planes result;
  for (int c = 0; c < elnum; ++c) {
    const auto part = [&](int direction) {
      const float total = float(plain_pixels(f, element(a.amount, direction)));
      return fix(std::abs(std::lround(total * float(element(a.channel_amount, c)) / 4096.0f)));
    };
    fix scale = element(a.scale, c);
    if (c == 3 && a.channel_amount.size() < 4) scale = 4096;
    if (elnum == 2 && c == 1) scale = 4096;
    result.push_back(blurred_by(image[std::size_t(c)],
                                settings_of(f, part(0), part(1), 1, plain_passes(a.filter_shape), a.subpixel > 0),
                                scale));
  }
  return result;
}

inline fix stored(std::int64_t v) { return fix(std::clamp<std::int64_t>(v, -0x7fff, 0x7fff)); }

inline plain_planes plain_masked_blur(const test_frame& f, const plain_planes& image, const plain_plane& mask,
                                      const blur_arguments& a) {
  const plain_blur_settings s =
      settings_of(f, plain_pixels(f, element(a.amount, 0)), plain_pixels(f, element(a.amount, 1)), 0,
                  plain_passes(a.filter_shape), a.subpixel > 0);
  const plain_plane blurred_mask = blurred_by(mask, s);
  plain_planes result = image;
  for (plain_plane& plane : result) {
    plain_plane work = plane;
    for (std::size_t i = 0; i < work.samples.size(); ++i) {
      const fix m = mask.samples[i];
      if (m < 4095) work.samples[i] = std::int16_t(m < 1 ? 0 : work.samples[i] * m >> 12);
    }
    work = blurred_by(work, s);
    for (std::size_t i = 0; i < work.samples.size(); ++i) {
      const fix m = mask.samples[i], b = blurred_mask.samples[i], p = plane.samples[i];
      if (m <= 0) continue;
      std::int64_t v = work.samples[i];
      if (b > 0 && b < 4095) v = (v * 4096) / b;
      plane.samples[i] = std::int16_t(stored(m < 4095 ? p + fix_mul(wrap_sub(fix(v), p), m) : v));
    }
  }
  return result;
}

inline plain_planes plain_sharpen(const test_frame& f, const plain_planes& image, fix scale, fix granularity) {
  const fix g = plain_pixels(f, granularity);
  plain_planes result = image;
  if (g <= 0 || scale == 0) return result;
  for (plain_plane& plane : result) {
    const plain_plane soft = blurred_by(plane, settings_of(f, g, g, 1, 3, false));
    for (std::size_t i = 0; i < plane.samples.size(); ++i) {
      const std::int64_t p = plane.samples[i], difference = (p - soft.samples[i]) * scale;
      plane.samples[i] = std::int16_t(std::uint16_t(p + (std::int32_t(std::uint32_t(difference)) >> 12)));
    }
  }
  return result;
}

inline plain_planes plain_band_pass(const test_frame& f, const plain_planes& image, const std::vector<fix>& amount1,
                                    const std::vector<fix>& amount2, fix scale) {
  const auto settings = [&](const std::vector<fix>& amount) {
    return settings_of(f, plain_pixels(f, element(amount, 0)), plain_pixels(f, element(amount, 1)), 1, 3, false);
  };
  plain_planes result = image;
  for (plain_plane& plane : result) {
    const plain_plane softer = blurred_by(plane, settings(amount2));
    plane = blurred_by(plane, settings(amount1));
    for (std::size_t i = 0; i < plane.samples.size(); ++i) {
      const int difference = plane.samples[i] - softer.samples[i];
      plane.samples[i] = 2 * scale == 4096
                             ? std::int16_t(std::uint16_t(difference + 2048))
                             : std::int16_t(stored((wrap_mul(difference, wrap_mul(2, scale)) >> 12) + 2048));
    }
  }
  return result;
}

struct z_blur_arguments {
  fix z_near = 0, z_far = 4096;
  std::vector<fix> blur_near{0}, blur_far{4096 / 4};
  fix n_layers = 4 * 4096;
  fix combine = 0;

  int layers() const { return std::max(2, n_layers >> 12); }
  /// Blur of layer i in fix pixels.
  fix pixels(const test_frame& f, int i, int direction) const {
    const float at = float(i) / float(layers() - 1);
    const float far = float(plain_pixels(f, element(blur_far, direction)));
    const float near = float(plain_pixels(f, element(blur_near, direction)));
    return std::abs(fix(far + (near - far) * at));
  }
  plain_blur_settings settings(const test_frame& f, int i, int edge_mode) const {
    return settings_of(f, pixels(f, i, 0), pixels(f, i, 1), edge_mode, 3, false);
  }
};

inline plain_planes plain_crossfade(const test_frame& f, const plain_planes& image, const plain_plane& z,
                                    const z_blur_arguments& a) {
  const int layers = a.layers();
  const double difference = (double(a.z_far) - a.z_near) / 4096;
  const fix slope = fix(std::nearbyint(4096.0 * (layers - 1) / (difference == 0 ? 1 : difference)));
  plain_planes result;
  for (const plain_plane& plane : image) {
    plain_plane faded = blurred_by(plane, a.settings(f, 0, 1));
    for (int i = 1; i < layers; ++i) {
      const plain_plane nearer = blurred_by(plane, a.settings(f, i, 1));
      const double at = float(i) / float(layers - 1);
      const fix depth = fix(std::nearbyint(a.z_far + at * (double(a.z_near) - a.z_far)));
      for (std::size_t k = 0; k < faded.samples.size(); ++k) {
        const fix w = fix_mul(z.samples[k] - depth, slope);
        const fix front = nearer.samples[k], behind = faded.samples[k];
        if (w < 1)
          faded.samples[k] = std::int16_t(front);
        else if (w <= 4096)
          faded.samples[k] = std::int16_t(front + fix_mul(w, behind - front));
      }
    }
    result.push_back(faded);
  }
  return result;
}

inline plain_planes plain_layers(const test_frame& f, const plain_planes& image, const plain_plane& z,
                                 const z_blur_arguments& a) {
  const int layers = a.layers();
  const bool negate = a.z_near > a.z_far;
  const fix near = negate ? -a.z_near : a.z_near, far = negate ? -a.z_far : a.z_far;
  const fix k = far == near ? 0 : wrap_shl((layers - 2) * 4096, 12) / (far - near);
  plain_image<std::int32_t> index(z.width, z.height);
  for (std::size_t i = 0; i < index.samples.size(); ++i) {
    const fix depth = negate ? -z.samples[i] : z.samples[i];
    index.samples[i] = depth < near ? layers - 1 : depth >= far ? 0 : (wrap_mul(far - depth, k) >> 24) + 1;
  }
  const auto cut = [&](const plain_plane& plane, int layer) {
    plain_plane part = plane;
    for (std::size_t i = 0; i < part.samples.size(); ++i)
      if (index.samples[i] != layer) part.samples[i] = 0;
    return part;
  };
  plain_planes result = image;
  plain_plane total(z.width, z.height);
  for (int layer = 0; layer < layers; ++layer) {
    const plain_blur_settings s = a.settings(f, layer, 0);
    const plain_plane coverage = blurred_by(cut(plain_plane(z.width, z.height, 4096), layer), s);
    for (std::size_t i = 0; i < total.samples.size(); ++i)
      total.samples[i] = std::int16_t(
          layer == 0 ? coverage.samples[i] : total.samples[i] + fix_mul(coverage.samples[i], 4096 - total.samples[i]));
    for (std::size_t c = 0; c < image.size(); ++c) {
      const plain_plane part = blurred_by(cut(image[c], layer), s);
      for (std::size_t i = 0; i < part.samples.size(); ++i) {
        std::int16_t& sample = result[c].samples[i];
        const fix m = coverage.samples[i];
        if (layer == 0)
          sample = part.samples[i];
        else if (m > 0)
          sample = std::int16_t(stored((m < 4096 ? fix_mul(sample, 4096 - m) : 0) + part.samples[i]));
      }
    }
  }
  for (plain_plane& plane : result)
    for (std::size_t i = 0; i < plane.samples.size(); ++i)
      if (total.samples[i] > 0) plane.samples[i] = std::int16_t(stored(plane.samples[i] * 4096 / total.samples[i]));
  return result;
}

inline planes_of_result as_result(const plain_planes& planes) {
  planes_of_result result;
  for (const plain_plane& plane : planes) result.emplace_back(plane.samples.begin(), plane.samples.end());
  return result;
}

}  // namespace tessaron::testing
