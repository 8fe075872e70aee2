// What the tests of gradients, emboss and edge_dist share: pictures, sizes, and renders of one definition on every
// instruction-set level and with several numbers of workers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/kernel_harness.h"
#include "tests/support/render_definition.h"
#include "tests/support/worker_count.h"

namespace tessaron::testing {

struct picture_size {
  int width, height;
};
inline constexpr picture_size SIZES[] = {{1, 1}, {1, 9}, {9, 1},   {2, 2},   {2, 3},  {3, 2},
                                         {4, 5}, {5, 4}, {16, 17}, {67, 31}, {64, 3}, {333, 77}};

/// Random samples from `low` to `high`, the same for every call with the same seed.
inline definition_renderer::pixel_function random_picture(int width, fix low, fix high, unsigned seed = 3) {
  return [=](int x, int y, int e) {
    std::minstd_rand random(seed + unsigned(x + width * y) * 4u + unsigned(e));
    random.discard(3);
    return low + fix(random() % unsigned(high - low + 1));
  };
}

/// Hills and a hard-edged bar, by position in the frame: -1..1 in both directions.
inline fix landscape(double x, double y, int e) {
  const double hills = 0.5 + 0.3 * std::sin(5 * x + e) * std::cos(4 * y - e);
  return fix(std::lrint(4096 * (hills + (x > 0.2 && x < 0.5 && y > -0.6 && y < 0.4 ? 0.2 : 0))));
}
inline definition_renderer::pixel_function landscape_picture(picture_size size) {
  return [size](int x, int y, int e) {
    return landscape((x + 0.5) / size.width * 2 - 1, (y + 0.5) / size.height * 2 - 1, e);
  };
}

using planes_of_result = std::vector<std::vector<fix>>;

/// Puts the bodies that were compiled for `level` into the image operators of a tree that was rendered before.
inline void use_level(definition_renderer& r, cpu_level level) {
  for (int i = 0; i < r.effect().n_nodes; ++i) {
    node& n = r.effect().nodes[i];
    if (n.kind != KIND_FUNCTION || !n.image_fun) continue;
    const fun_info& of_level = *level_catalogue(level).find(n.fun->name);
    for (int c = 0; c < n.fun->arg_type_combo_number; ++c)
      if (n.fun->kernels[c] == n.image_fun) {
        n.image_fun = of_level.kernels[c];
        break;
      }
  }
}

inline planes_of_result rendered(definition_renderer& r) {
  if (!r.render()) ADD_FAILURE() << "the frame was refused";
  planes_of_result result = r.result();
  result.resize(std::size_t(r.elnum()));
  return result;
}

/// The first sample in which two results differ, as text; empty when none does.
inline std::string first_difference(const planes_of_result& got, const planes_of_result& wanted) {
  if (got.size() != wanted.size()) return "other element count";
  for (std::size_t e = 0; e < got.size(); ++e)
    for (std::size_t i = 0; i < got[e].size(); ++i)
      if (got[e][i] != wanted[e][i])
        return std::to_string(got[e][i]) + " instead of " + std::to_string(wanted[e][i]) + " in element " +
               std::to_string(e) + ", sample " + std::to_string(i);
  return "";
}

/// One frame of a definition. Only one renderer lives at a time.
inline planes_of_result rendered(const std::string& text, const test_frame& frame,
                                 const definition_renderer::pixel_function& source) {
  definition_renderer r(text, frame);
  r.set_source(0, source);
  return rendered(r);
}

/// Asserts the same samples from every level and from 1, 2, 3 and 7 workers; the samples.
inline planes_of_result same_everywhere(definition_renderer& r) {
  const planes_of_result first = rendered(r);
  for (const cpu_level level : usable_levels()) {
    use_level(r, level);
    EXPECT_EQ(first_difference(rendered(r), first), "") << "level " << cpu_level_name(level);
  }
  for (const int count : {1, 2, 3, 7}) {
    const worker_count workers(count);
    EXPECT_EQ(first_difference(rendered(r), first), "") << count << " workers";
  }
  return first;
}

/// Largest difference between two results.
inline fix largest_difference(const planes_of_result& a, const planes_of_result& b) {
  fix largest = 0;
  for (std::size_t e = 0; e < a.size(); ++e)
    for (std::size_t i = 0; i < a[e].size(); ++i) largest = std::max(largest, std::abs(a[e][i] - b[e][i]));
  return largest;
}

/// Mean difference of all samples.
inline double mean_difference(const planes_of_result& a, const planes_of_result& b) {
  double sum = 0, count = 0;
  for (std::size_t e = 0; e < a.size(); ++e)
    for (std::size_t i = 0; i < a[e].size(); ++i, ++count) sum += std::abs(a[e][i] - b[e][i]);
  return sum / count;
}

/// A parameter goes from `from` to `to` in 60 small steps: the largest change of a sample in one step, and of the
/// picture's mean.
struct sweep_steps {
  fix largest = 0;
  double mean = 0;
};
inline sweep_steps sweep(definition_renderer& r, const char* param, const std::vector<float>& from,
                         const std::vector<float>& to) {
  constexpr int STEPS = 60;
  sweep_steps steps;
  planes_of_result before;
  for (int i = 0; i <= STEPS; ++i) {
    std::vector<float> value;
    for (std::size_t e = 0; e < from.size(); ++e) value.push_back(from[e] + (to[e] - from[e]) * float(i) / STEPS);
    r.set_param(param, value);
    const planes_of_result now = rendered(r);
    if (i) {
      steps.largest = std::max(steps.largest, largest_difference(before, now));
      steps.mean = std::max(steps.mean, mean_difference(before, now));
    }
    before = now;
  }
  return steps;
}

/// The largest change of a sample alone.
inline fix largest_step(definition_renderer& r, const char* param, const std::vector<float>& from,
                        const std::vector<float>& to) {
  return sweep(r, param, from, to).largest;
}

}  // namespace tessaron::testing
