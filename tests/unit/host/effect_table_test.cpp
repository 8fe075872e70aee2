// The grid of a plug-in's effects: columns, rows, checks, and the choice at render time.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "genotype/genotype_reader.h"
#include "host/effect_table.h"
#include "support/report_capture.h"
#include "tessaron/host_interface.h"

namespace tessaron {
namespace {

using testing::report_capture;

/// A current record with effects read from texts.
class loaded_effects {
 public:
  explicit loaded_effects(const std::vector<std::string>& definitions, const char* plugin_name = "Plug") {
    set_tables_and_globals();
    init_globals(record_);
    record_.plugin_name = plugin_name;
    Globals = &record_;
    for (const std::string& text : definitions)
      record_.genotypes[record_.n_effects++] = load_effect_from_string(text.c_str());
  }
  ~loaded_effects() {
    for (genotype* g : record_.genotypes) free_genotype(g);
    unref_effect_table(record_.effect_table);
    Globals = before_;
  }
  globals_record* operator->() { return &record_; }

 private:
  globals_record* before_ = Globals;
  globals_record record_ = {};
};

/// A table of its own, with one call for each effect.
struct hand_made_table {
  effect_table* table = new effect_table{};
  int entered = 0;
  explicit hand_made_table(const char* name = "Plug") { table->plugin_name = name; }
  ~hand_made_table() { unref_effect_table(table); }
  int add(const char* name, const std::vector<std::string>& inputs) {
    char names[MAX_INPUTS][MAX_INPUT_NAME_LEN + 1] = {};
    for (std::size_t i = 0; i < inputs.size() && i < MAX_INPUTS; ++i) std::strcpy(names[i], inputs[i].c_str());
    return add_effect_to_table(*table, entered++, name, names, int(inputs.size()));
  }
};

TEST(effect_table, one_genotype_is_one_column_of_one_member_without_a_popup) {
  hand_made_table t;
  EXPECT_EQ(t.table->ref_count, 1);
  EXPECT_EQ(t.table->n_popup_names, -1);
  EXPECT_EQ(t.add("Only", {"Source"}), 2);
  ASSERT_EQ(t.table->columns.size(), 1u);
  EXPECT_EQ(t.table->columns[0].input_mask, 1u);
  ASSERT_EQ(t.table->columns[0].members.size(), 1u);
  EXPECT_EQ(t.table->columns[0].members[0].effect_i, 0);
  EXPECT_EQ(count_table_popup(*t.table), 1);
  EXPECT_EQ(t.table->n_popup_names, 1);
  EXPECT_EQ(count_table_inputs(*t.table), 1);
}

TEST(effect_table, effects_go_to_the_column_of_the_inputs_they_name) {
  hand_made_table t;
  t.add("A", {"Source"});
  t.add("A", {"Source", "Matte"});
  t.add("B", {"Source"});
  t.add("B", {"Source", "Matte"});
  ASSERT_EQ(t.table->columns.size(), 2u);
  EXPECT_EQ(t.table->columns[0].input_mask, 1u);
  EXPECT_EQ(t.table->columns[1].input_mask, 3u);
  EXPECT_EQ(t.table->columns[1].members[1].effect_i, 3);
  EXPECT_EQ(t.table->columns[1].members[1].popup_name, t.table->popup_names[1]);
  report_capture reports;
  check_effect_grid(*t.table);
  EXPECT_TRUE(reports.empty()) << reports.all();
  EXPECT_EQ(get_first_effect_from_table(*t.table, 1), 2);
}

TEST(effect_table, the_same_combination_twice_is_reported_and_refused) {
  hand_made_table t;
  report_capture reports;
  t.add("A", {"Source"});
  EXPECT_EQ(t.add("A", {"Source"}), 1);
  EXPECT_TRUE(reports.has("Effect A: some version already in table!\n"));
}

TEST(effect_table, forty_one_names_are_one_too_many) {
  hand_made_table t("Big");
  report_capture reports;
  for (int i = 1; i <= 40; ++i) EXPECT_EQ(t.add(("Effect" + std::to_string(i)).c_str(), {}), 2);
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(t.add("Effect41", {}), 2);
  EXPECT_TRUE(reports.has("Big: too many effects in single plug-in\n"));
  EXPECT_EQ(t.table->columns[0].members[40].popup_name, nullptr);
  EXPECT_EQ(count_table_popup(*t.table), 40);
  check_effect_grid(*t.table);  // a member without a name is passed over unharmed
}

TEST(effect_table, a_fifth_input_name_stops_the_loop) {
  hand_made_table t("Plug");
  report_capture reports;
  t.add("A", {"One", "Two", "Three", "Four"});
  EXPECT_EQ(t.add("B", {"Two", "Five", "Three"}), 2);
  EXPECT_TRUE(reports.has("Plug: Too many input names"));
  ASSERT_EQ(t.table->columns.size(), 2u);
  EXPECT_EQ(t.table->columns[1].input_mask, 2u) << "entered under the name before the fifth";
}

TEST(effect_table, an_empty_input_name_is_reported_and_passed_over) {
  hand_made_table t;
  report_capture reports;
  t.add("A", {"", "Two"});
  EXPECT_TRUE(reports.has("Null name in effect table for A input 0\n"));
  EXPECT_EQ(t.table->columns[0].input_mask, 1u);
  EXPECT_STREQ(t.table->input_names[0], "Two");
}

TEST(effect_table, uneven_columns_are_reported) {
  hand_made_table t;
  t.add("A", {"Source"});
  t.add("B", {"Source"});
  t.add("B", {"Source", "Matte"});
  report_capture reports;
  check_effect_grid(*t.table);
  EXPECT_TRUE(reports.has("Plug: Column 1 has 1 effects, prev column had 2.")) << reports.all();
  EXPECT_TRUE(reports.has("Plug: 3 total effects, but 2 columns of 1 members."));
  EXPECT_TRUE(
      reports.has("Plug: effect B with mask 3 out of order.  Since it's 0 down in its effect table column, I "
                  "expected it to be A."));
  for (const auto& entry : reports.entries()) EXPECT_EQ(entry.severity, REPORT_ERROR);
}

TEST(effect_table, two_effects_of_one_name_and_input_end_the_load) {
  report_capture reports;
  loaded_effects effects({"(define Twin (Source) dest = Source)", "(define Twin (Source) dest = Source)"});
  EXPECT_THROW(make_effect_table(), TessaronAbortException);
  EXPECT_EQ(reports.severity_of("Twin: effect already in effect table.  Probably duplicated in def file."),
            REPORT_FATAL);
}

TEST(effect_table, names_lead_back_to_popup_indices) {
  loaded_effects effects({"(define A_One () dest = x)", "(define B_Two () dest = y)"});
  effects->effect_table = make_effect_table();
  EXPECT_EQ(get_effect_index_from_genotype("A One"), 0);
  EXPECT_EQ(get_effect_index_from_genotype("B Two"), 1);
  report_capture reports;
  EXPECT_EQ(get_effect_index_from_genotype("C"), -1);
  EXPECT_TRUE(reports.has("get_effect_index_from_genotype: genotype C not found in table.\n"));
  EXPECT_EQ(get_first_effect_from_table(*effects->effect_table, 2), -1);
  EXPECT_TRUE(reports.has("get_first_effect_from_table: effect (popup) index 2 not found in table.\n"));
  EXPECT_FALSE(reports.has("effect table: bad plugin name"));
}

TEST(effect_table, a_table_without_a_plugin_name_is_reported) {
  loaded_effects effects({"(define A () dest = x)"}, "");
  effects->effect_table = make_effect_table();
  report_capture reports;
  get_effect_index_from_genotype("A");
  EXPECT_TRUE(reports.has("effect table: bad plugin name"));
}

TEST(effect_table, a_table_with_no_plugin_name_at_all_is_reported_too) {
  loaded_effects effects({"(define A () dest = x)"}, nullptr);
  effects->effect_table = make_effect_table();
  report_capture reports;
  get_effect_index_from_genotype("A");
  EXPECT_TRUE(reports.has("effect table: bad plugin name"));
}

TEST(effect_table, a_member_out_of_place_is_named_with_the_one_expected_there) {
  hand_made_table t;
  t.add("A", {"Source"});
  t.add("B", {"Source"});
  t.add("B", {"Source", "Matte"});
  t.add("A", {"Source", "Matte"});
  report_capture reports;
  check_effect_grid(*t.table);
  EXPECT_EQ(reports.count(), 2u) << reports.all();
  EXPECT_TRUE(
      reports.has("Plug: effect B with mask 3 out of order.  Since it's 0 down in its effect table column, I expected "
                  "it to be A."));
  EXPECT_TRUE(
      reports.has("Plug: effect A with mask 3 out of order.  Since it's 1 down in its effect table column, I expected "
                  "it to be B."));
}

TEST(effect_table, a_name_more_in_a_column_than_in_the_popup_is_expected_to_be_nothing) {
  hand_made_table t;
  t.add("A", {"Source"});
  t.table->columns[0].members.push_back({t.table->popup_names[0], 1});
  report_capture reports;
  check_effect_grid(*t.table);
  EXPECT_TRUE(
      reports.has("Plug: effect A with mask 1 out of order.  Since it's 1 down in its effect table column, I expected "
                  "it to be ."))
      << reports.all();
}

TEST(effect_table, a_table_is_freed_with_its_last_reference) {
  hand_made_table t;
  t.add("A", {"Source"});
  ++t.table->ref_count;
  unref_effect_table(t.table);
  EXPECT_EQ(t.table->ref_count, 1);
  unref_effect_table(nullptr);
}

// --- the choice at render time ---------------------------------------------------------------------

struct two_columns : ::testing::Test {
  loaded_effects effects{{"(define A (Source) dest = Source)",
                          "(define A (Source Matte) (default_input_self 1) dest = (+ Source Matte))",
                          "(define B (Source) dest = Source)",
                          "(define B (Source Matte) (default_input_self 1) dest = (* Source Matte))"}};
  int pixels[2] = {};
  void SetUp() override {
    effects->effect_table = make_effect_table();
    // The first genotype says which inputs are optional.
    effects->genotypes[0]->default_self_inputs = 2;
  }
};
using input_columns = two_columns;

TEST_F(input_columns, an_optional_input_counts_when_it_is_connected) {
  const void* two_layers[] = {&pixels[0], &pixels[1], nullptr, nullptr};
  EXPECT_EQ(connected_input_mask(0b11, two_layers), 3u);
  EXPECT_EQ(connected_input_mask(0b01, two_layers), 1u);
}

TEST_F(input_columns, the_first_input_always_counts) {
  const void* none[4] = {};
  EXPECT_EQ(connected_input_mask(0, none), 1u);
}

TEST_F(input_columns, an_input_that_repeats_the_first_is_no_connection) {
  const void* same[] = {&pixels[0], &pixels[0], nullptr, nullptr};
  EXPECT_EQ(connected_input_mask(0b11, same), 1u);
}

TEST_F(input_columns, a_repeated_input_counts_where_no_column_can_do_without_it) {
  for (effect_column& column : effects->effect_table->columns) column.input_mask = 3;
  const void* same[] = {&pixels[0], &pixels[0], nullptr, nullptr};
  EXPECT_EQ(connected_input_mask(0b11, same), 3u);
}

TEST_F(input_columns, an_input_that_must_be_there_counts_even_without_a_layer) {
  effects->genotypes[0]->default_self_inputs = 0;
  const void* none[4] = {};
  EXPECT_EQ(connected_input_mask(0b01, none), 3u);
}

TEST_F(input_columns, column_and_row_lead_to_the_effect) {
  EXPECT_EQ(find_effect(1, 0), 0);
  EXPECT_EQ(find_effect(3, 0), 1);
  EXPECT_EQ(find_effect(1, 1), 2);
  EXPECT_EQ(find_effect(3, 1), 3);
  report_capture reports;
  EXPECT_EQ(find_effect(2, 1), -1);
  EXPECT_TRUE(reports.has("Internal error: name B not found in table for Plug\n"));
}

TEST_F(input_columns, the_popup_is_numbered_from_1) {
  pf_param_def popup = {};
  pf_param_def* params[] = {nullptr, nullptr, &popup};
  effects->popup_param_index = 2;
  popup.u.popup.value = 2;
  EXPECT_EQ(popup_index_for_params(params), 1);
  popup.u.popup.value = 0;
  EXPECT_EQ(popup_index_for_params(params), -1) << "no entry of the popup";
  popup.u.popup.value = -2147483647 - 1;
  EXPECT_EQ(popup_index_for_params(params), -1);
  effects->effect_table->n_popup_names = 1;
  popup.u.popup.value = 2;
  EXPECT_EQ(popup_index_for_params(params), 0);
}

TEST_F(input_columns, a_host_that_gives_no_popup_gets_the_first_row) {
  pf_in_data in_data = {};
  pf_param_def popup = {};
  popup.u.popup.value = 2;
  pf_param_def* params[] = {nullptr, nullptr, &popup};
  effects->in_data = &in_data;
  effects->popup_param_index = 2;
  in_data.num_params = 2;  // fewer than were declared
  EXPECT_EQ(popup_index_for_params(params), 0);
  in_data.num_params = 3;
  EXPECT_EQ(popup_index_for_params(params), 1);
  params[2] = nullptr;
  EXPECT_EQ(popup_index_for_params(params), 0);
  EXPECT_EQ(popup_index_for_params(nullptr), 0);
  effects->popup_param_index = 0;  // never declared
  EXPECT_EQ(popup_index_for_params(params), 0);
}

// Written from the rule: slot 0 counts; absent and optional does not; present, optional, and the first input's own
// layer does not, if a column exists without it; all else does.
TEST_F(input_columns, every_connection_of_four_inputs_follows_the_rule) {
  loaded_effects four({"(define A (Source One Two Three) dest = (+ (+ Source One) (+ Two Three)))"});
  four->effect_table = make_effect_table();
  int layers[4] = {};
  for (int optional = 0; optional < 16; ++optional)
    for (int present = 0; present < 16; ++present)
      for (int same = 0; same < 16; ++same)
        for (const std::uint32_t other_column : {0xfu, 0x1u, 0xdu}) {
          four->genotypes[0]->default_self_inputs = std::uint8_t(optional);
          four->effect_table->columns = {{0xf, {}}, {other_column, {}}};
          const void* data[4] = {};
          std::uint32_t expected = 1;
          for (int i = 0; i < 4; ++i) {
            const bool is_present = present >> i & 1, is_optional = optional >> i & 1, repeats = same >> i & 1;
            if (is_present) data[i] = repeats ? &layers[0] : &layers[i];
            if (i == 0) continue;
            bool counts = true;
            if (!is_present && is_optional) counts = false;
            if (is_present && is_optional && data[i] == data[0] && !(other_column >> i & 1)) counts = false;
            if (counts) expected |= 1u << i;
          }
          ASSERT_EQ(connected_input_mask(std::uint32_t(present), data), expected)
              << "optional " << optional << " present " << present << " same " << same << " column " << other_column;
        }
}

// --- select_effect_i -------------------------------------------------------------------------------

TEST(select_effect, an_index_above_39_leaves_the_effect_as_it_was) {
  loaded_effects effects({"(define A (Source) dest = Source)"});
  select_effect_i(0, 0);
  genotype* const selected = effects->effect_genotype;
  ASSERT_NE(selected, nullptr);
  select_effect_i(40, 0);
  EXPECT_EQ(effects->effect_genotype, selected);
  EXPECT_EQ(message_buffer(), "select_effect_i: 40 > MAX_EFFECTS_PER_PLUGIN.");
  select_effect_i(-1, 0);
  EXPECT_EQ(effects->effect_genotype, selected);
  clear_message();
}

TEST(select_effect, a_place_without_an_effect_is_noted) {
  loaded_effects effects({"(define A (Source) dest = Source)"});
  select_effect_i(5, 0);
  EXPECT_EQ(message_buffer(), "select_effect_i: no effect at 5.");
  clear_message();
}

TEST(select_effect, binding_marks_the_effect_as_selected) {
  loaded_effects effects({"(define A (Source) a = 2 dest = (* Source a))", "(define B () dest = (get_percent_time))"});
  select_effect_i(0, 1);
  EXPECT_EQ(effects->n_inputs, 1);
  EXPECT_TRUE(effects->state_flags & STATE_EFFECT_SELECTED);
  EXPECT_FALSE(effects->state_flags & STATE_USES_PERCENT_TIME);
  const param& a = *effects->genotypes[0]->params[0];
  ASSERT_NE(a.param_node, nullptr);
  EXPECT_STREQ(a.param_node->name, "a");
  select_effect_i(1, 0);
  EXPECT_EQ(effects->current_effect_i, 1);
  EXPECT_FALSE(effects->state_flags & STATE_EFFECT_SELECTED);
  EXPECT_TRUE(effects->state_flags & STATE_USES_PERCENT_TIME);
}

TEST(select_effect, the_plugins_own_record_keeps_step) {
  loaded_effects plugin({"(define A () dest = x)", "(define B () dest = y)"});
  globals_record instance = *plugin.operator->();
  instance.global_globals = plugin.operator->();
  Globals = &instance;
  select_effect_i(1, 0);
  EXPECT_EQ(plugin->current_effect_i, 1);
  EXPECT_EQ(plugin->effect_genotype, plugin->genotypes[1]);
  Globals = plugin.operator->();
}

}  // namespace
}  // namespace tessaron
