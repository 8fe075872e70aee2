// Parameters shared by the effects of a plug-in: what is checked, what is merged, who owns it then.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "genotype/genotype_reader.h"
#include "host/effect_table.h"
#include "support/report_capture.h"

namespace tessaron {
namespace {

using testing::report_capture;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class shared_params : public ::testing::Test {
 protected:
  /// Reads the definitions, sets them out in a table, and runs the merge; returns what was printed.
  std::string merge(const std::vector<std::string>& definitions) {
    set_tables_and_globals();
    init_globals(record);
    record.plugin_name = "Plug";
    Globals = &record;
    {
      report_capture reading;  // parameters that no node reads are warned of
      for (const std::string& text : definitions)
        record.genotypes[record.n_effects++] = load_effect_from_string(text.c_str());
    }
    record.effect_table = make_effect_table();
    CaptureStderr();
    check_shared_params();
    return GetCapturedStderr();
  }
  void TearDown() override {
    for (genotype* g : record.genotypes) free_genotype(g);
    unref_effect_table(record.effect_table);
    Globals = before;
  }
  param& at(int effect, int k) { return *record.genotypes[effect]->params[k]; }

  globals_record record = {};

 private:
  globals_record* before = Globals;
};

TEST_F(shared_params, a_merged_parameter_is_owned_by_all_effects_that_use_it) {
  EXPECT_EQ(merge({"(define A () a = 1 (shared ignore) b = 2 (ignore) dest = x)",
                   "(define B () a = 1 (shared ignore) dest = x)",
                   "(define C () b = 2 (ignore) a = 1 (shared ignore) dest = x)"}),
            "");
  EXPECT_EQ(&at(0, 0), &at(1, 0));
  EXPECT_EQ(&at(0, 0), &at(2, 1));
  EXPECT_EQ(at(0, 0).ref_count, 3);
  EXPECT_NE(&at(0, 1), &at(2, 0)) << "b is not shared";
  EXPECT_EQ(at(0, 1).ref_count, 1);
}

TEST_F(shared_params, a_name_shared_by_one_effect_is_shared_by_all_that_have_it) {
  merge({"(define A () a = 1 (ignore) dest = x)", "(define B () a = 1 (shared ignore) dest = x)"});
  EXPECT_EQ(&at(0, 0), &at(1, 0));
  EXPECT_EQ(at(0, 0).ref_count, 2);
  EXPECT_TRUE(at(0, 0).flags[0] & PARAM0_SHARED);
}

TEST_F(shared_params, share_all_of_one_effect_shares_all_of_all) {
  merge({"(define A () a = 1 (ignore) dest = x)", "(define B () (share_all) a = 1 (ignore) dest = x)"});
  EXPECT_EQ(&at(0, 0), &at(1, 0));
  EXPECT_TRUE(record.genotypes[0]->flags[0] & GENO0_SHARE_ALL);
}

TEST_F(shared_params, shape_differences_are_printed_and_passed_by) {
  const std::string printed =
      merge({"(define A () a = 1 (shared ignore) dest = x)", "(define B () a = [1 2] (shared ignore int) dest = x)"});
  EXPECT_EQ(printed.substr(0, printed.find("pg 0.\n  new")),
            "ERROR: checking B: mismatch in shared param \"a\" (button-type doesn't match):\n  old: 1 ch (type 1), ");
  EXPECT_NE(printed.find("  new: 2 ch (type 2), pg 0.\n"), std::string::npos) << printed;
  EXPECT_EQ(&at(0, 0), &at(1, 0));
}

TEST_F(shared_params, a_count_that_differs_alone_is_named_nchannels) {
  const std::string printed =
      merge({"(define A () a = 1 (shared ignore) dest = x)", "(define B () a = [1 2] (shared ignore) dest = x)"});
  EXPECT_NE(printed.find("(nchannels doesn't match)"), std::string::npos) << printed;
}

TEST_F(shared_params, the_first_limit_that_differs_is_printed) {
  EXPECT_EQ(merge({"(define A () a = 1 (shared ignore min 0 max 10) dest = x)",
                   "(define B () a = 2 (shared ignore min 0 max 20) dest = x)"}),
            "ERROR: B vals: mismatch in shared param a:\n  old max bound: 10\n  new max bound: 20\n");
}

TEST_F(shared_params, slider_limits_are_compared_when_the_bounds_agree) {
  EXPECT_EQ(merge({"(define A () a = 1 (shared ignore max 10 slider_max 4) dest = x)",
                   "(define B () a = 2 (shared ignore max 10 slider_max 5) dest = x)"}),
            "ERROR: B vals: mismatch in shared param a:\n  old slider max: 4\n  new slider max: 5\n");
}

TEST_F(shared_params, every_default_that_differs_is_printed) {
  EXPECT_EQ(
      merge(
          {"(define A () a = [1 2 3] (shared ignore) dest = x)", "(define B () a = [1 5 6] (shared ignore) dest = x)"}),
      "ERROR: B: checking vals: mismatch in shared param default val, channel 1:\n  old a: default[1]=2\n  new a: "
      "default[1]=5\n"
      "ERROR: B: checking vals: mismatch in shared param default val, channel 2:\n  old a: default[2]=3\n  new a: "
      "default[2]=6\n");
}

TEST_F(shared_params, widgets_are_gathered_on_the_owner_with_the_entries_they_came_from) {
  merge({"(define A () a = [1 2] (shared ignore widget cross.center) dest = x)",
         "(define B () a = [1 2] (shared ignore widget cross.center widget star8.offset) dest = x)"});
  std::vector<std::pair<std::string, std::uint64_t>> found;
  for (const widget_entry* w = at(0, 0).widgets; w; w = w->next) found.emplace_back(w->widget_type, w->effect_mask);
  const std::vector<std::pair<std::string, std::uint64_t>> expected = {{"cross", 0b11}, {"star8", 0b10}};
  EXPECT_EQ(found, expected);
}

TEST_F(shared_params, effects_of_one_row_share_their_parameters_place_by_place) {
  report_capture reports;
  merge({"(define A (Source) a = 1 (ignore) b = 2 (ignore) dest = x)",
         "(define A (Source Matte) a = 1 (ignore) c = 2 (ignore) dest = x)"});
  EXPECT_TRUE(
      reports.has("Plug(A): param 1 name mismatch in effects which should only differ in optional inputs: c in "
                  "effect 1 vs b in 0"))
      << reports.all();
  EXPECT_EQ(&at(0, 0), &at(1, 0));
  EXPECT_EQ(&at(0, 1), &at(1, 1));
  EXPECT_EQ(at(0, 0).ref_count, 2);
}

TEST_F(shared_params, a_row_with_fewer_parameters_is_reported_and_kept) {
  report_capture reports;
  merge({"(define A (Source) a = 1 (ignore) dest = x)",
         "(define A (Source Matte) a = 1 (ignore) c = 2 (ignore) dest = x)"});
  EXPECT_TRUE(reports.has_part("c in effect 1 vs (none) in 0")) << reports.all();
  EXPECT_STREQ(at(1, 1).name, "c");
}

TEST_F(shared_params, the_hundred_and_first_name_is_reported_and_stored_all_the_same) {
  std::vector<std::string> definitions;
  for (int effect = 0; effect < 3; ++effect) {
    const int count = effect < 2 ? 40 : 21;
    std::string text = "(define E" + std::to_string(effect) + " ()";
    for (int k = 0; k < count; ++k) text += " p" + std::to_string(effect * 40 + k + 1) + " = 1 (shared ignore)";
    definitions.push_back(text + " dest = x)");
  }
  report_capture reports;
  merge(definitions);
  EXPECT_TRUE(reports.has("Too many shared params in Plug (p101=101)\n")) << reports.all();
  EXPECT_EQ(reports.count(), 1u);
}

}  // namespace
}  // namespace tessaron
