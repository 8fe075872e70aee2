// What the tests of stylising operators share: pictures, and renders on every instruction-set level and with several
// numbers of workers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "evaluator/workers.h"
#include "tests/support/kernel_harness.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"

namespace tessaron::testing {

using picture = definition_renderer::pixel_function;
using result_planes = std::vector<std::vector<fix>>;

/// Random samples from `low` to `high`, the same for every call.
inline picture noise_picture(int width, fix low, fix high, unsigned seed = 3) {
  return [=](int x, int y, int e) {
    std::minstd_rand random(seed + unsigned(x + width * y) * 4u + unsigned(e));
    random.discard(3);
    return low + fix(random() % unsigned(high - low + 1));
  };
}

/// Hills and a bar with hard edges, by position in the frame, so that a picture of another size shows the same.
inline picture hills_picture(int width, int height) {
  return [=](int px, int py, int e) {
    const double x = (px + 0.5) / width * 2 - 1, y = (py + 0.5) / height * 2 - 1;
    const double hills = 0.5 + 0.3 * std::sin(5 * x + e) * std::cos(4 * y - e);
    return fix(std::lrint(4096 * (hills + (x > 0.2 && x < 0.5 && y > -0.6 && y < 0.4 ? 0.2 : 0))));
  };
}

inline picture flat_picture(fix value) {
  return [=](int, int, int e) { return e == 3 ? FIX_ONE : value; };
}

/// Puts the bodies that were compiled for `level` into the image operators of a tree that was rendered before.
inline void use_level(definition_renderer& r, cpu_level level) {
  for (int i = 0; i < r.effect().n_nodes; ++i) {
    node& n = r.effect().nodes[i];
    if (n.kind != KIND_FUNCTION || !n.image_fun) continue;
    for (int c = 0; c < n.fun->arg_type_combo_number; ++c)
      if (n.fun->kernels[c] == n.image_fun) {
        n.image_fun = level_catalogue(level).find(n.fun->name)->kernels[c];
        break;
      }
  }
}

/// As many workers as asked for, while it lives.
class worker_count {
 public:
  explicit worker_count(int count) {
    stop_fork_workers();
    set_processor_override(count);
    start_fork_workers();
  }
  ~worker_count() {
    stop_fork_workers();
    set_processor_override(0);
  }
  worker_count(const worker_count&) = delete;
  worker_count& operator=(const worker_count&) = delete;
};

inline result_planes rendered(definition_renderer& r) {
  if (!r.render()) ADD_FAILURE() << "the frame was refused";
  result_planes result = r.result();
  result.resize(std::size_t(r.elnum()));
  return result;
}
/// One frame of a definition with source 0. Only one renderer lives at a time.
inline result_planes rendered(const std::string& text, const test_frame& frame, const picture& source) {
  definition_renderer r(text, frame);
  r.set_source(0, source);
  return rendered(r);
}

/// The first sample in which two results differ, as text; empty when none does.
inline std::string first_difference(const result_planes& got, const result_planes& wanted) {
  if (got.size() != wanted.size()) return "other element count";
  for (std::size_t e = 0; e < got.size(); ++e)
    for (std::size_t i = 0; i < got[e].size(); ++i)
      if (got[e][i] != wanted[e][i])
        return std::to_string(got[e][i]) + " instead of " + std::to_string(wanted[e][i]) + " in element " +
               std::to_string(e) + ", sample " + std::to_string(i);
  return "";
}

/// Asserts the same samples from every level and from 1, 2, 3 and 7 workers; the samples.
inline result_planes same_everywhere(definition_renderer& r) {
  const result_planes first = rendered(r);
  const cpu_level best = usable_levels().back();
  for (const cpu_level level : usable_levels()) {
    use_level(r, level);
    EXPECT_EQ(first_difference(rendered(r), first), "") << "level " << cpu_level_name(level);
  }
  use_level(r, best);
  for (const int count : {1, 2, 3, 7}) {
    const worker_count workers(count);
    EXPECT_EQ(first_difference(rendered(r), first), "") << count << " workers";
  }
  return first;
}

inline fix largest_difference(const result_planes& a, const result_planes& b) {
  fix largest = 0;
  for (std::size_t e = 0; e < a.size(); ++e)
    for (std::size_t i = 0; i < a[e].size(); ++i) largest = std::max(largest, std::abs(a[e][i] - b[e][i]));
  return largest;
}
inline double mean_difference(const result_planes& a, const result_planes& b) {
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
  result_planes before;
  for (int i = 0; i <= STEPS; ++i) {
    std::vector<float> value;
    for (std::size_t e = 0; e < from.size(); ++e) value.push_back(from[e] + (to[e] - from[e]) * float(i) / STEPS);
    r.set_param(param, value);
    const result_planes now = rendered(r);
    if (i) {
      steps.largest = std::max(steps.largest, largest_difference(before, now));
      steps.mean = std::max(steps.mean, mean_difference(before, now));
    }
    before = now;
  }
  return steps;
}

/// Aborts a render at each question to the host in turn, until one is finished without: it must end, each time.
inline void abort_at_every_question(definition_renderer& r) {
  static int questions_left;
  static std::int64_t now;
  set_abort_clock([]() -> std::int64_t { return now += 1000; });
  int ended = 0;
  for (int at = 0; at < 4000; at += 1 + at / 4) {
    questions_left = at;
    set_abort_query([]() -> int { return questions_left-- <= 0; });
    if (r.render()) break;
    ++ended;
  }
  set_abort_query(nullptr);
  set_abort_clock(nullptr);
  EXPECT_GT(ended, 1);
  EXPECT_TRUE(r.render());
}

}  // namespace tessaron::testing
