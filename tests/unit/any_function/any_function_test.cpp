// Every function of the catalogue, in every combination of element counts, with numbers that break arithmetic and on
// frames that leave no room: a defined picture or a report, the same one each time, with every number of workers and at
// every level, and nothing that a sanitizer sees.
#include <gtest/gtest.h>

#include "evaluator/pixel_loop.h"
#include "host/host_state.h"
#include "tests/support/render_definition.h"
#include "tests/support/report_capture.h"
#include "tests/support/worker_count.h"
#include "tests/unit/any_function/call_text.h"

namespace tessaron::testing {
namespace {

struct outcome {
  bool rendered;
  std::vector<std::vector<fix>> rows;
  bool operator==(const outcome&) const = default;
};

outcome outcome_of(definition_renderer& r) {
  outcome o = {r.render(), {}};
  if (o.rendered) o.rows = r.result();
  return o;
}

fix scattered(int x, int y, int e) { return fix((x * 2654435761u ^ y * 40503u ^ e * 977u) >> 7 & 0x3fff) - 4096; }

/// Keeps the previous output from frame to frame, so that two renders of it differ.
bool has_memory(const fun_info& fun) { return std::string(fun.name) == "get_prev_dest"; }

/// What a sequence set-down of a host gives back beside the planes: the output that was kept for the next frame.
struct with_kept_output {
  void operator()(definition_renderer* r) const {
    free_temp_sets(r->record());
    delete r;
  }
};
using renderer_ptr = std::unique_ptr<definition_renderer, with_kept_output>;

class any_function : public ::testing::TestWithParam<std::string> {
 protected:
  const fun_info& fun() const { return *level_catalogue(chosen_cpu_level()).find(GetParam().c_str()); }

  std::string definition(int combo, const std::vector<std::string>& numbers, bool all_vary) {
    return "(define A (Source) () dest = " + call_text(fun(), combo, numbers, random_, all_vary) + ")";
  }
  /// Null where the language refuses the text: what the functions do is another matter.
  renderer_ptr renderer(const std::string& text, const test_frame& frame) {
    try {
      renderer_ptr r(new definition_renderer(text, frame));
      r->set_source(0, scattered);
      return r;
    } catch (const std::runtime_error&) {
      return nullptr;
    }
  }

  std::mt19937 random_{std::mt19937(20)};
};

TEST_P(any_function, gives_the_same_defined_picture_or_a_report_for_hostile_numbers) {
  report_capture reports;
  for (int combo = 0; combo < fun().arg_type_combo_number; ++combo)
    for (const auto& [width, height] : {std::pair(1, 1), {1, 9}, {9, 1}, {2, 2}, {33, 17}})
      for (const bool all_vary : {false, false, true}) {
        const std::string text = definition(combo, hostile_numbers(), all_vary);
        SCOPED_TRACE(text);
        const auto r = renderer(text, {.width = width, .height = height, .source_channels = 4});
        if (!r) continue;
        const outcome first = outcome_of(*r);
        EXPECT_TRUE(has_memory(fun()) || outcome_of(*r) == first);
        EXPECT_TRUE(first.rendered || !reports.all().empty());
      }
}

TEST_P(any_function, gives_the_same_bytes_with_every_number_of_workers) {
  report_capture reports;
  for (int combo = 0; combo < fun().arg_type_combo_number; ++combo) {
    const std::string text = definition(combo, sane_numbers(), combo % 2 == 1);
    SCOPED_TRACE(text);
    outcome expected = {};
    for (const int workers : {1, 2, 3, 7}) {
      const worker_count w(workers);
      const auto r = renderer(text, {.width = 61, .height = 43, .source_channels = 4});
      if (!r) break;
      const outcome got = outcome_of(*r);
      if (workers == 1) expected = got;
      EXPECT_EQ(got, expected) << workers << " workers";
    }
  }
}

/// Samples that a row is computed in at once, as long as this lives.
struct stretch_of {
  explicit stretch_of(int samples) { set_stretch_override(samples); }
  ~stretch_of() { set_stretch_override(0); }
};

TEST_P(any_function, gives_the_same_bytes_however_rows_are_cut) {
  report_capture reports;
  for (int combo = 0; combo < fun().arg_type_combo_number; ++combo)
    for (const test_frame& frame : {test_frame{.width = 61, .height = 23, .source_channels = 4},
                                    {.width = 61, .height = 23, .x0 = 7, .x1 = 52, .source_channels = 4}}) {
      const std::string text = definition(combo, sane_numbers(), true);
      SCOPED_TRACE(text);
      std::vector<outcome> expected;
      for (const int samples : {1000, 16, 3}) {
        const stretch_of stretch(samples);
        const auto r = renderer(text, frame);
        if (!r) break;
        const std::vector<outcome> got = {outcome_of(*r), outcome_of(*r)};
        if (samples == 1000) expected = got;
        EXPECT_EQ(got, expected) << "stretches of " << samples << " from column " << frame.x0;
      }
    }
}

/// The engine's own table, for a while at another level.
class catalogue_at {
 public:
  explicit catalogue_at(cpu_level level) { build_catalogue(catalogue, level); }
  ~catalogue_at() { build_catalogue(catalogue, chosen_cpu_level()); }
};

TEST_P(any_function, gives_the_same_bytes_at_every_instruction_set_level) {
  report_capture reports;
  for (int combo = 0; combo < fun().arg_type_combo_number; ++combo)
    for (const bool hostile : {false, true}) {
      const std::string text = definition(combo, hostile ? hostile_numbers() : sane_numbers(), combo % 2 == 1);
      SCOPED_TRACE(text);
      outcome expected = {};
      for (const cpu_level level : usable_levels()) {
        const catalogue_at at(level);
        const auto r = renderer(text, {.width = 67, .height = 21, .source_channels = 4});
        if (!r) break;
        const outcome got = outcome_of(*r);
        if (level == cpu_level::generic) expected = got;
        EXPECT_EQ(got, expected) << cpu_level_name(level);
      }
    }
}

// The query stands for the host; each ask falls on another stage of the render.
int asked, last_answer_of_no;

TEST_P(any_function, renders_the_whole_picture_after_an_abort_at_any_stage) {
  report_capture reports;
  set_abort_clock([] {
    static std::int64_t ticks;
    return ticks += 1000;
  });
  const int combo = fun().arg_type_combo_number - 1;
  const std::string text = definition(combo, sane_numbers(), false);
  SCOPED_TRACE(text);
  if (const auto r = renderer(text, {.width = 40, .height = 36, .source_channels = 4}); r && !has_memory(fun())) {
    const outcome whole = outcome_of(*r);
    const auto render_until = [&](int asks) {
      asked = 0;
      last_answer_of_no = asks;
      set_abort_query([] { return ++asked > last_answer_of_no ? 1 : 0; });
      const bool done = r->render();
      set_abort_query(nullptr);
      abort_requested = 0;
      return done;
    };
    for (int asks = 0; asks < 60 && !render_until(asks); ++asks) {
      // As the render path does it: nothing half-made is kept.
      for (int i = 0; i < r->effect().n_nodes; ++i) r->effect().nodes[i].node_flags &= std::uint8_t(~NODE_IMAGES_VALID);
      EXPECT_EQ(outcome_of(*r), whole) << "after an abort at ask " << asks;
    }
  }
  set_abort_clock(nullptr);
}

INSTANTIATE_TEST_SUITE_P(catalogue, any_function, ::testing::ValuesIn(function_names()), [](const auto& info) {
  std::string name = info.param;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name + "_" + std::to_string(info.index);
});

}  // namespace
}  // namespace tessaron::testing
