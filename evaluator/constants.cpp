#include "evaluator/constants.h"

#include <cmath>
#include <cstring>

#include "base/report.h"
#include "evaluator/pixel_loop.h"
#include "genotype/genotype_reader.h"

namespace tessaron {
namespace {

constexpr fix HALF = 0x800;

/// Value of element e of a constant argument; a missing alpha of rgb counts as 1.0.
fix constant_element(const node& arg, int e) { return e == 3 && arg.elnum == 3 ? FIX_ONE : arg.const_vals[e]; }

// Products and quotients of constants are worked out in floating point, so that large values keep what
// the kernel's wrap-around would lose.

/// Product of two fix values, halves away from zero.
fix constant_product(fix a, fix b) {
  return fix(std::uint32_t(std::int64_t(std::round(float(a) * float(b) * 0.00024414062f))));
}

fix constant_quotient(fix a, fix b) { return fix_from_double(float(a) / float(b == 0 ? 1 : b)); }

template <class F>
void fold_elements(node& n, F&& of) {
  fix result[4];
  for (int e = 0; e < n.elnum; ++e) result[e] = of(constant_element(*n.args[0], e), constant_element(*n.args[1], e));
  for (int e = 0; e < n.elnum; ++e) n.const_vals[e] = result[e];
}

void set_all(node& n, fix value) {
  for (fix& v : n.const_vals) v = value;
}

void fold_image_operator(node& n) {
  if (n.fun->fun_class == CLASS_GRADIENT) {
    set_all(n, 0);
  } else if (std::strcmp(n.fun->name, "band_pass") == 0) {
    set_all(n, HALF);
  } else {
    if (n.fun->image_arg_index < 0) fatal("set_genotype_constant_vals: image_arg_index < 0");
    const node& image = *n.args[n.fun->image_arg_index];
    for (int e = 0; e < 4; ++e) n.const_vals[e] = image.const_vals[e];
  }
}

void fold_by_kernel(node& n) {
  alignas(16) std::byte cache[NOISE_CACHE_BYTES];
  const bool noise = n.fun->fun_class == CLASS_COORD_NOISE;
  if (noise) {
    clear_noise_cache(cache);
    n.misc_ptr = cache;
  }
  n.own_kernel(n);
  if (noise) n.misc_ptr = nullptr;
}

}  // namespace

void set_genotype_constant_vals(node& n) {
  if (n.fun->is_image_fun)
    fold_image_operator(n);
  else if (std::strcmp(n.fun->name, "*") == 0)
    fold_elements(n, constant_product);
  else if (std::strcmp(n.fun->name, "/") == 0)
    fold_elements(n, constant_quotient);
  else
    fold_by_kernel(n);
}

}  // namespace tessaron
