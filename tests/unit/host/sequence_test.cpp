// Effect instances: private copies, flat form, stale data, and what is left when they are gone.
#include <gtest/gtest.h>

#include <cstring>

#include "evaluator/temp_images.h"
#include "genotype/genotype_reader.h"
#include "host/effect_table.h"
#include "host/host_state.h"
#include "support/fake_host.h"

namespace tessaron {
namespace {

using testing::fake_host;
using testing::fake_plugin;

constexpr const char* FIRST = "(define First (Source) (rgba_ok) Amount = 0.5 (shared) dest = (* Source Amount))";
constexpr const char* SECOND = "(define Second (Source) (rgba_ok) Amount = 0.5 (shared) dest = (+ Source Amount))";

globals_record* record_of(pf_handle handle) { return static_cast<globals_record*>(*handle); }

struct sequence : ::testing::Test {
  fake_host host;
  fake_plugin plugin{{FIRST, SECOND}};
  void SetUp() override { ASSERT_EQ(host.setup(plugin.get()), 0); }
  void TearDown() override {
    host.setdown(plugin.get());
    EXPECT_EQ(host.handles, 0);
    EXPECT_EQ(host.locks, 0);
    EXPECT_EQ(host_state.n_global_setups, 0);
  }
  globals_record& global() { return *record_of(host.in_data.global_data); }
  globals_record& instance() { return *record_of(host.in_data.sequence_data); }
};

TEST_F(sequence, an_instance_has_private_genotypes) {
  EXPECT_EQ(instance().flat_marker, 0u);
  EXPECT_EQ(instance().global_globals, &global());
  EXPECT_EQ(instance().session_stamp, host_state.session_stamp);
  EXPECT_TRUE(instance().host_flags & HOST_IS_HANDLE_RECORD);
  EXPECT_FALSE(instance().param_flags & PARAM_MAY_CHECKOUT);
  EXPECT_EQ(instance().temp_set, &instance().temp_sets[0]);
  for (int i = 0; i < 2; ++i) {
    const genotype &copy = *instance().genotypes[i], &original = *global().genotypes[i];
    EXPECT_NE(&copy, &original);
    EXPECT_NE(copy.nodes, original.nodes);
    EXPECT_NE(copy.params[0], original.params[0]);
    EXPECT_EQ(copy.params[0]->host_index, original.params[0]->host_index);
    EXPECT_EQ(copy.nodes[0].args[0], &copy.nodes[copy.nodes[0].arg_indices[0]]);
  }
}

TEST_F(sequence, shared_parameters_are_merged_again_among_the_copies) {
  EXPECT_EQ(instance().genotypes[0]->params[0], instance().genotypes[1]->params[0]);
  EXPECT_EQ(instance().genotypes[0]->params[0]->ref_count, 2);
  EXPECT_EQ(global().genotypes[0]->params[0]->ref_count, 2);
}

TEST_F(sequence, plugin_and_instance_share_the_effect_table) {
  EXPECT_EQ(instance().effect_table, global().effect_table);
  EXPECT_EQ(global().effect_table->ref_count, 2);
  EXPECT_EQ(instance().current_effect_i, 0);
  EXPECT_EQ(global().effect_genotype, global().genotypes[0]);
}

TEST_F(sequence, setup_of_an_instance_that_is_there_keeps_it) {
  const pf_handle before = host.in_data.sequence_data;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  EXPECT_EQ(host.in_data.sequence_data, before);
}

TEST_F(sequence, a_valid_record_is_kept_by_resetup) {
  const pf_handle before = host.in_data.sequence_data;
  genotype* const g = instance().genotypes[0];
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(host.in_data.sequence_data, before);
  EXPECT_EQ(instance().genotypes[0], g);
}

TEST_F(sequence, the_flat_form_is_twelve_bytes) {
  const int handles = host.handles;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(host.out_data.flat_sdata_size, 12);
  EXPECT_EQ(host.handles, handles) << "the record is gone, the flat form is there";
  const std::uint32_t expected[3] = {0x77777777u, 1, 0};
  ASSERT_NE(host.in_data.sequence_data, nullptr);
  EXPECT_EQ(std::memcmp(*host.in_data.sequence_data, expected, sizeof expected), 0);
  EXPECT_EQ(global().effect_table->ref_count, 1);
}

TEST_F(sequence, a_flat_form_stays_as_it_is_when_flattened_again) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
  const pf_handle flat = host.in_data.sequence_data;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(host.in_data.sequence_data, flat);
  EXPECT_EQ(host.out_data.flat_sdata_size, 12);
}

TEST_F(sequence, a_flat_form_is_built_up_again) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(instance().flat_marker, 0u);
  EXPECT_NE(instance().genotypes[0], nullptr);
}

TEST_F(sequence, flat_data_is_no_instance_to_render) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
  pf_world output = {};
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_RENDER, nullptr, &output), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
}

TEST_F(sequence, a_set_down_of_a_flat_form_disposes_of_it) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(host.in_data.sequence_data, nullptr);
  EXPECT_EQ(host.handles, 1);
}

/// What an earlier run of the host left in a project: a record whose pointers lead nowhere.
void put_stale_record(fake_host& host, void (*spoil)(globals_record&)) {
  const pf_handle handle = host.utils.host_new_handle(sizeof(globals_record));
  auto& record = *static_cast<globals_record*>(*handle);
  std::memset(static_cast<void*>(&record), 0x5a, sizeof record);
  record.flat_marker = 0;
  record.session_stamp = host_state.session_stamp;
  record.n_effects = 1;
  record.plugin_name = "Test";
  record.effect_names[0] = "text";
  spoil(record);
  host.in_data.sequence_data = handle;
}

TEST_F(sequence, invalid_records_are_rebuilt_from_the_plugins) {
  void (*const SPOILS[])(globals_record&) = {
      [](globals_record& r) { r.session_stamp -= 1; },
      [](globals_record& r) { r.flat_marker = 0x777777u; },
      [](globals_record& r) { r.flat_marker = 0x77777700u; },
      [](globals_record& r) { r.n_effects = 0; },
      [](globals_record& r) { r.n_effects = 41; },
      [](globals_record& r) { r.plugin_name = nullptr; },
      [](globals_record& r) { r.plugin_name = ""; },
      [](globals_record& r) { r.effect_names[0] = nullptr; },
      [](globals_record& r) { r.effect_names[0] = ""; },
  };
  for (const auto& spoil : SPOILS) {
    host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
    put_stale_record(host, spoil);
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
    EXPECT_EQ(instance().global_globals, &global());
    EXPECT_EQ(instance().n_effects, 2);
  }
}

TEST_F(sequence, stale_data_is_disposed_of_without_a_look_inside) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  put_stale_record(host, [](globals_record& r) { r.session_stamp -= 1; });
  pf_world output = {};
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_RENDER, nullptr, &output), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  put_stale_record(host, [](globals_record& r) { r.session_stamp -= 1; });
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(host.out_data.flat_sdata_size, 12);
}

TEST_F(sequence, data_that_the_host_has_not_kept_is_built_anew) {
  const pf_handle before = host.in_data.sequence_data;
  host.in_data.sequence_data = nullptr;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  const pf_handle built = host.in_data.sequence_data;
  EXPECT_NE(built, nullptr);
  host.in_data.sequence_data = before;
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  host.in_data.sequence_data = built;
}

TEST_F(sequence, a_setup_without_memory_fails_and_leaves_nothing) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  host.fail_allocation = host.allocations;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), PF_Err_INTERNAL);
  EXPECT_EQ(host.in_data.sequence_data, nullptr);
  EXPECT_EQ(host.handles, 1);
  host.fail_allocation = -1;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
}

TEST_F(sequence, a_flatten_without_memory_fails_and_leaves_nothing) {
  host.fail_allocation = host.allocations;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), PF_Err_INTERNAL);
  EXPECT_EQ(host.in_data.sequence_data, nullptr);
  host.fail_allocation = -1;
}

TEST_F(sequence, a_null_plane_of_a_held_set_is_reported_and_the_rest_released) {
  const int handles = host.handles, locks = host.locks;
  for (temp_set_record& set : instance().temp_sets) {
    set.image_count = 2;
    set.handles[0] = nullptr;
    set.handles[1] = new_temp_handle(16);
  }
  EXPECT_EQ(host.handles, handles + 2);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_TRUE(host.has_message("Attempt to free null temp image handle"));
  EXPECT_EQ(host.in_data.sequence_data, nullptr);
  EXPECT_EQ(host.handles, 1) << "the plug-in's record alone";
  EXPECT_EQ(host.locks, locks);
}

TEST_F(sequence, a_thousand_instances_leave_nothing_behind) {
  const int handles = host.handles;
  const pf_handle kept = host.in_data.sequence_data;
  for (int i = 0; i < 1000; ++i) {
    host.in_data.sequence_data = nullptr;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  }
  host.in_data.sequence_data = kept;
  EXPECT_EQ(host.handles, handles);
  EXPECT_EQ(global().effect_table->ref_count, 2);
}

TEST_F(sequence, setups_and_set_downs_in_a_row_leave_nothing_behind) {
  host.setdown(plugin.get());
  for (int i = 0; i < 50; ++i) {
    host.params.clear();
    ASSERT_EQ(host.setup(plugin.get()), 0);
    host.setdown(plugin.get());
    ASSERT_EQ(host.handles, 0);
  }
}

}  // namespace
}  // namespace tessaron
