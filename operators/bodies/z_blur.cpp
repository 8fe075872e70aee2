// z_blur: depth of field. The blur grows with depth; pictures blurred for some depths are faded into each other, or
// what lies at each depth is blurred by itself and laid over what is behind it.
#include <atomic>
#include <cmath>

#include "operators/bodies/blur_parts.h"

namespace tessaron::TESSARON_LEVEL {
namespace {

constexpr int IMAGE = 0, ZBUFFER = 1, Z_NEAR = 2, Z_FAR = 3, BLUR_NEAR = 4, BLUR_FAR = 5, N_LAYERS = 6, COMBINE = 7;
constexpr int PASSES = 3;
constexpr int MIN_LAYERS = 2;
constexpr int LARGEST_SAMPLE = 32767;

/// The layers of a scene, from the farthest, 0, to the nearest.
struct layer_set {
  int count;
  fix z_near, z_far;
  blur_radii near_radii, far_radii;

  bool any_blur() const { return near_radii.x || near_radii.y || far_radii.x || far_radii.y; }
  float nearness(int i) const { return float(i) / float(count - 1); }
  blur_radii radii(int i) const {
    const float f = nearness(i);
    const auto between = [f](fix far, fix near) {
      constexpr float LARGEST = 2147483520.0f;  // the largest float that a fix holds
      return fix(std::fmin(std::fabs(float(far) + (float(near) - float(far)) * f), LARGEST));
    };
    return {between(far_radii.x, near_radii.x), between(far_radii.y, near_radii.y)};
  }
  fix depth(int i) const {
    return fix_from_double((double(z_far) + double(nearness(i)) * (double(z_near) - double(z_far))) / 4096.0);
  }
};

layer_set layers_of(const node& n) {
  return {fix_max(MIN_LAYERS, n.args[N_LAYERS]->const_vals[0] >> FIX_BITS), n.args[Z_NEAR]->const_vals[0],
          n.args[Z_FAR]->const_vals[0], blur_radii_of(*n.args[BLUR_NEAR]), blur_radii_of(*n.args[BLUR_FAR])};
}

// --- crossfade -------------------------------------------------------------------------------------------

/// How fast one layer gives way to the next: fix per fix of depth.
fix crossfade_slope(const layer_set& layers) {
  const double difference = (double(layers.z_far) - double(layers.z_near)) / 4096.0;
  return fix_from_double((layers.count - 1) / (difference == 0 ? 1.0 : difference));
}

/// The nearer layer over what was faded together from those behind it.
void fade_in(std::int16_t* faded, const std::int16_t* nearer, const std::int16_t* z, fix depth, fix slope) {
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t i = first; i < end; ++i) {
      const fix w = fix_mul(wrap_sub(z[i], depth), slope);
      const fix behind = faded[i], front = nearer[i];
      const fix mixed = front + fix_mul(fix_clamp(w, 0, FIX_ONE), behind - front);
      faded[i] = std::int16_t(w > FIX_ONE ? behind : mixed);
    }
  });
}

void crossfade(node& n, const layer_set& layers) {
  const blur_manner manner = {blur_edge_mode, PASSES, false};
  std::int16_t* const nearer = n.images[n.elnum];
  std::int16_t* const faded = n.images[n.elnum + 1];
  std::int16_t* z = n.images[2 * n.elnum + 3];
  fetch_image_arg(n, IMAGE, n.images);
  fetch_image_arg(n, ZBUFFER, &z);
  if (!layers.any_blur()) return;
  const fix slope = crossfade_slope(layers);
  for (int c = 0; c < n.elnum; ++c) {
    blur_to_plane(faded, n.images[c], layers.radii(0), FIX_ONE, manner);
    for (int i = 1; i < layers.count && !abort_pending(); ++i) {
      blur_to_plane(nearer, n.images[c], layers.radii(i), FIX_ONE, manner);
      if (!abort_pending()) fade_in(faded, nearer, z, layers.depth(i), slope);
    }
    if (abort_pending()) return;
    copy_plane(n.images[c], faded);
  }
}

// --- layered ---------------------------------------------------------------------------------------------

/// Depths become layer numbers.
void number_layers(std::int16_t* z, const layer_set& layers) {
  const bool negate = layers.z_near > layers.z_far;
  const fix near = negate ? wrap_neg(layers.z_near) : layers.z_near;
  const fix far = negate ? wrap_neg(layers.z_far) : layers.z_far;
  const fix scale = far == near ? 0 : wrap_div(wrap_shl(layers.count - 2, 2 * FIX_BITS), wrap_sub(far, near));
  const fix nearest = layers.count - 1;
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t i = first; i < end; ++i) {
      const fix depth = negate ? -z[i] : z[i];
      const fix between = (wrap_mul(wrap_sub(far, depth), scale) >> (2 * FIX_BITS)) + 1;
      z[i] = plane_sample(depth < near ? nearest : depth >= far ? 0 : between);
    }
  });
}

/// The source where it lies in layer i, 0 elsewhere.
void cut_out(std::int16_t* dest, const std::int16_t* source, const std::int16_t* numbers, int i) {
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t k = first; k < end; ++k) dest[k] = numbers[k] == i ? source[k] : std::int16_t(0);
  });
}

/// 1.0 where the source lies in layer i, 0 elsewhere; whether any of it does.
bool find_coverage(std::int16_t* dest, const std::int16_t* numbers, int i) {
  std::atomic<bool> any = false;
  for_plane_slices([=, &any](std::int64_t first, std::int64_t end) {
    std::int16_t found = 0;
    for (std::int64_t k = first; k < end; ++k) found |= dest[k] = std::int16_t(numbers[k] == i ? FIX_ONE : 0);
    if (found) any.store(true, std::memory_order_relaxed);
  });
  return any;
}

/// Adds a layer's coverage to that of the layers behind it.
void add_coverage(std::int16_t* total, const std::int16_t* coverage) {
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t k = first; k < end; ++k)
      total[k] = plane_sample(total[k] + fix_mul(coverage[k], FIX_ONE - total[k]));
  });
}

/// A premultiplied layer over those behind it.
void lay_over(std::int16_t* result, const std::int16_t* layer, const std::int16_t* coverage) {
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t k = first; k < end; ++k) {
      const fix m = coverage[k], behind = result[k];
      const fix seen = m < FIX_ONE ? fix_mul(behind, FIX_ONE - m) : 0;
      result[k] = m > 0 ? plane_sample(seen + layer[k]) : std::int16_t(behind);
    }
  });
}

void remove_premultiplication(std::int16_t* plane, const std::int16_t* coverage) {
  for_plane_slices([=](std::int64_t first, std::int64_t end) {
    for (std::int64_t k = first; k < end; ++k) {
      const fix c = coverage[k], v = plane[k];
      plane[k] = c > 0 ? plane_sample(truncated_quotient(v * FIX_ONE, c > 0 ? c : 1)) : std::int16_t(v);
    }
  });
}

void layered(node& n, const layer_set& layers) {
  const blur_manner manner = {ZERO_EDGES, PASSES, false};
  std::int16_t* const* const source = n.images + n.elnum;
  std::int16_t* const* const temporaries = n.images + 2 * n.elnum;
  std::int16_t *const coverage = temporaries[0], *const layer = temporaries[1], *const total = temporaries[2];
  std::int16_t* z = temporaries[3];
  fetch_image_arg(n, IMAGE, source);
  fetch_image_arg(n, ZBUFFER, &z);
  if (!layers.any_blur()) {
    for (int c = 0; c < n.elnum; ++c) copy_plane(n.images[c], source[c]);
    return;
  }
  number_layers(z, layers);
  const int last = fix_min(layers.count - 1, LARGEST_SAMPLE);  // of those that a plane can number
  for (int i = 0; i <= last && !abort_pending(); ++i) {
    const blur_radii radii = layers.radii(i);
    if (!find_coverage(coverage, z, i) && i > 0) continue;  // an empty layer covers nothing
    blur_to_plane(coverage, coverage, radii, FIX_ONE, manner);
    if (i == 0)
      copy_plane(total, coverage);
    else
      add_coverage(total, coverage);
    for (int c = 0; c < n.elnum && !abort_pending(); ++c) {
      cut_out(layer, source[c], z, i);
      blur_to_plane(i == 0 ? n.images[c] : layer, layer, radii, FIX_ONE, manner);
      if (i > 0 && !abort_pending()) lay_over(n.images[c], layer, coverage);
    }
  }
  for (int c = 0; c < n.elnum && !abort_pending(); ++c) remove_premultiplication(n.images[c], total);
}

}  // namespace

void z_blur(node& n) {
  check_image_planes(n, 2 * n.elnum + 4);
  settle_args(n, {Z_NEAR, Z_FAR, BLUR_NEAR, BLUR_FAR, N_LAYERS, COMBINE});
  const layer_set layers = layers_of(n);
  if (n.args[COMBINE]->const_vals[0] >= FIX_ONE)
    crossfade(n, layers);
  else
    layered(n, layers);
}

}  // namespace tessaron::TESSARON_LEVEL
