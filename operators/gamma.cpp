// gamma: brightens or darkens the middle of an image's range and leaves black and white where they are.
// Each sample's magnitude is raised to a power, one power for the image or one for each element.
#include <algorithm>
#include <memory>

#include "base/libm.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/temp_images.h"
#include "evaluator/workers.h"
#include "genotype/genotype.h"
#include "operators/operators.h"

namespace tessaron {
namespace {

constexpr int POWER_ARG = 1;
constexpr int TABLE_SIZE = 0x8000;  // magnitudes of a plane's samples, 0 to 0x7fff

/// |base| to the power, as a plane stores it.
std::int16_t gamma_sample(fix base, fix power) {
  return plane_sample(fix_from_double(libm_pow(fix_to_float(wrap_abs(base)), fix_to_float(power))));
}

// --- one power for a whole plane -----------------------------------------------------------------------

struct {
  std::int16_t* plane;
  std::int64_t n_samples;
  const std::int16_t* table;
  std::int16_t* table_to_fill;
  fix power;
} job;

void forked_fill_table() {
  int first = 0, count = 0;
  split_rows(TABLE_SIZE, &first, &count);
  for (int i = first; i < first + count; ++i) job.table_to_fill[i] = gamma_sample(i, job.power);
}

void forked_apply_table() {
  constexpr int GRAIN = 1024;  // samples
  int first = 0, count = 0;
  split_rows(int((job.n_samples + GRAIN - 1) / GRAIN), &first, &count);
  const std::int64_t end = std::min(job.n_samples, std::int64_t(first + count) * GRAIN);
  for (std::int64_t i = std::int64_t(first) * GRAIN; i < end; ++i) job.plane[i] = job.table[std::abs(job.plane[i])];
}

void apply_power(node& n) {
  const auto table = std::make_unique<std::int16_t[]>(TABLE_SIZE);
  const node& power = *n.args[POWER_ARG];
  for (int e = 0; e < n.elnum && !abort_pending(); ++e) {
    const fix p = power.const_vals[std::min<int>(e, power.elnum - 1)];
    job = {n.images[e], short_image_size / std::int64_t(sizeof(std::int16_t)), table.get(), table.get(), p};
    if (e == 0 || power.elnum > 1) fork_processes(forked_fill_table);
    fork_processes(forked_apply_table);
  }
}

// --- a power for each pixel ------------------------------------------------------------------------------

node* gamma_node;

void power_sink(node& root, std::int64_t offset, int width) {
  const node& power = *root.args[POWER_ARG];
  const bool uniform = root.uniform_args >> POWER_ARG & 1;
  for (int e = 0; e < root.elnum; ++e) {
    const fix* powers = root.arg_rows[POWER_ARG][std::min<int>(e, power.elnum - 1)];
    std::int16_t* plane = gamma_node->images[e] + offset;
    for (int i = 0; i < width; ++i) plane[i] = gamma_sample(plane[i], powers[uniform ? 0 : i]);
  }
}

}  // namespace

void gamma_image(node& n) {
  check_image_planes(n, n.elnum);
  // An image of one element gives every element of the result its base.
  for (int e = fetch_image_arg(n, 0, n.images); e < n.elnum; ++e) copy_plane(n.images[e], n.images[e - 1]);
  if (n.args[POWER_ARG]->node_flags & NODE_CONSTANT) {
    apply_power(n);
  } else {
    gamma_node = &n;
    eval_node_tree_pixel_loop(&n, power_sink, 1, 1);
  }
}

}  // namespace tessaron
