// What hosts do to sequence data: forget it, throw it away, copy it, cut it, fill it with something else. The
// engine believes no block that it has not made, and gets back what was lost with it.
#include <gtest/gtest.h>

#include <cstring>

#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

using bytes = std::vector<std::uint8_t>;

bytes words(std::initializer_list<std::uint32_t> values) {
  bytes all(values.size() * 4);
  std::memcpy(all.data(), std::data(values), all.size());
  return all;
}
const bytes FLAT_FORM = words({0x77777777, 1, 0});

struct lost_data : ::testing::Test {
  scripted_host host{kind_of_host("unknown")};
  fake_plugin plugin = sample_plugin();
  strict_memory& memory = strict_memory::get();

  void SetUp() override { ASSERT_EQ(host.setup(plugin.get()), 0); }
  void TearDown() override {
    host.setdown(plugin.get());
    EXPECT_EQ(host.left_behind(), "");
    EXPECT_EQ(host_state.n_global_setups, 0);
  }
  pf_handle& data() { return host.in_data.sequence_data; }
  void give(const bytes& content) { data() = memory.make_of(content); }
  bool renders() { return host.frame(plugin.get()) == 0 && filled_with(host.output, SAMPLE_FIELD); }
  /// Forgets the instance and starts another.
  void forget_and_set_up() {
    data() = nullptr;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  }
};

// --- forgotten and thrown away ---------------------------------------------------------------------

TEST_F(lost_data, a_forgotten_instance_ends_with_its_plugin) {
  const pf_handle forgotten = data();
  forget_and_set_up();
  EXPECT_TRUE(renders());
  host.setdown(plugin.get());
  EXPECT_EQ(memory.live(), 1) << "the host's own block";
  // It comes back too late: there is nothing in it any more.
  data() = forgotten;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(data(), nullptr);
}

TEST_F(lost_data, an_instance_that_was_thrown_away_is_not_touched) {
  memory.drop(data());
  data() = nullptr;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(lost_data, a_handle_that_the_host_gives_out_again_is_a_new_instance) {
  const pf_handle thrown_away = data();
  memory.drop(data());
  forget_and_set_up();
  EXPECT_EQ(data(), thrown_away) << "the strict memory hands out the last handle first";
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, a_thrown_away_handle_under_the_hosts_own_data_is_no_instance) {
  const pf_handle thrown_away = data();
  memory.drop(data());
  give(bytes(3000, 0));
  ASSERT_EQ(data(), thrown_away);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, a_plugin_that_was_thrown_away_ends_when_its_handle_is_given_out_again) {
  memory.drop(data());
  memory.drop(host.in_data.global_data);
  data() = host.in_data.global_data = nullptr;
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_EQ(host_state.n_global_setups, 1);
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, planes_of_a_thrown_away_instance_are_given_back) {
  globals_record& record = record_of(data());
  record.temp_sets[0].image_count = 2;
  for (int i = 0; i < 2; ++i) {
    const pf_handle plane = host.utils.host_new_handle(100);
    host.utils.host_lock_handle(plane);
    record.temp_sets[0].handles[i] = plane;
  }
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);  // any command takes note
  memory.drop(data());
  data() = nullptr;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(lost_data, instances_of_other_plugins_stay) {
  scripted_host other(kind_of_host("unknown"));
  fake_plugin second = sample_plugin();
  ASSERT_EQ(other.setup(second.get()), 0);
  memory.drop(data());
  data() = nullptr;
  host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN);
  EXPECT_EQ(other.frame(second.get()), 0);
  EXPECT_TRUE(filled_with(other.output, SAMPLE_FIELD));
  other.setdown(second.get());
}

// --- nothing, and what is not an instance ----------------------------------------------------------

TEST_F(lost_data, no_sequence_data_is_no_record) {
  const pf_handle kept = data();
  data() = nullptr;
  host.place_values();
  std::int32_t index = 3;
  for (const int number : {PF_Cmd_RENDER, PF_Cmd_FRAME_SETUP, PF_Cmd_USER_CHANGED_PARAM, PF_Cmd_EVENT,
                           PF_Cmd_QUERY_DYNAMIC_FLAGS, PF_Cmd_SEQUENCE_SETDOWN}) {
    host.output.resize(12, 8, 7);
    EXPECT_EQ(host.call(plugin.get(), number, &index, &host.output.world), 0) << number;
    EXPECT_EQ(data(), nullptr) << number;
    EXPECT_TRUE(filled_with(host.output, 7)) << number;
  }
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(memory.bytes_of(data()), FLAT_FORM);
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  data() = kept;
}

/// Every command but the resetup, on data that is no instance: nothing is read beyond its bytes.
void go_through_commands(lost_data& test, const bytes& content) {
  std::int32_t index = 3;
  for (const int number : {PF_Cmd_RENDER, PF_Cmd_USER_CHANGED_PARAM, PF_Cmd_EVENT, PF_Cmd_QUERY_DYNAMIC_FLAGS}) {
    test.host.output.resize(12, 8, 7);
    EXPECT_EQ(test.host.call(test.plugin.get(), number, &index, &test.host.output.world), 0) << number;
    EXPECT_TRUE(filled_with(test.host.output, 7));
    EXPECT_EQ(test.memory.bytes_of(test.data()), content);
  }
}

std::vector<bytes> contents_that_are_no_instance() {
  std::vector<bytes> all;
  for (const int size : {0, 1, 3, 4, 8, 11, 12, 13, 100, 3000}) {
    for (const int fill : {0, 1, 0x77, 0xff}) all.emplace_back(bytes(std::size_t(size), std::uint8_t(fill)));
    bytes flat = FLAT_FORM;
    flat.resize(std::size_t(size), 0xab);  // cut off, or with garbage behind
    all.push_back(flat);
  }
  all.push_back(words({0x77777777, 2, 5}));
  all.push_back(words({0x77777777, 0xffffffff, 0xffffffff}));
  all.push_back(words({0x777777, 1, 0}));
  all.push_back(words({0x77777700, 1, 0}));
  return all;
}

TEST_F(lost_data, foreign_data_of_any_size_is_replaced_by_a_resetup) {
  for (const bool sizes : {true, false}) {
    host.utils = strict_memory::calls(sizes);
    for (const bytes& content : contents_that_are_no_instance()) {
      host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
      give(content);
      host.place_values();
      go_through_commands(*this, content);
      EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
      ASSERT_TRUE(renders()) << content.size() << " bytes";
    }
  }
}

TEST_F(lost_data, foreign_data_of_any_size_is_replaced_by_a_setup) {
  for (const bytes& content : contents_that_are_no_instance()) {
    host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
    give(content);
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
    ASSERT_TRUE(renders()) << content.size() << " bytes";
  }
}

TEST_F(lost_data, foreign_data_of_any_size_is_set_down) {
  for (const bytes& content : contents_that_are_no_instance()) {
    host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
    give(content);
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
    EXPECT_EQ(data(), nullptr);
    EXPECT_EQ(memory.live(), 1);
  }
}

TEST_F(lost_data, foreign_data_of_any_size_becomes_the_flat_form) {
  for (const bytes& content : contents_that_are_no_instance()) {
    host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
    give(content);
    const bool is_flat = content.size() >= 4 && std::memcmp(content.data(), FLAT_FORM.data(), 4) == 0;
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
    EXPECT_EQ(host.out_data.flat_sdata_size, 12);
    EXPECT_EQ(memory.bytes_of(data()), is_flat ? content : FLAT_FORM);
  }
}

TEST_F(lost_data, a_frame_of_foreign_data_takes_the_plugins_own_record) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  give(bytes(8, 0));
  host.place_values();
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_FRAME_SETUP), 0);
  EXPECT_EQ(host.out_data.width, host.in_data.width);
}

// --- data of other times -----------------------------------------------------------------------------

TEST_F(lost_data, a_record_of_an_earlier_session_is_built_anew) {
  const bytes record = memory.bytes_of(data());
  host.setdown(plugin.get());
  ASSERT_EQ(host_state.n_global_setups, 0);
  host.params.clear();
  host.popup_texts.clear();
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP), 0);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
  give(record);
  host.place_values();
  go_through_commands(*this, record);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(record_of(data()).session_stamp, host_state.session_stamp);
  EXPECT_TRUE(renders());
}

// A host that duplicates a layer byte by byte: two records with one set of genotypes would free them twice.
TEST_F(lost_data, a_copy_of_a_live_record_gets_genotypes_of_its_own) {
  const pf_handle original = data();
  give(memory.bytes_of(original));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_NE(record_of(data()).genotypes[0], record_of(original).genotypes[0]);
  EXPECT_TRUE(renders());
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  data() = original;
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, one_project_loaded_twice_gives_two_instances) {
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  const bytes saved = memory.bytes_of(data());
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  const pf_handle first = data();
  give(saved);
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_NE(data(), first);
  EXPECT_TRUE(renders());
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  data() = first;
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, the_flat_form_may_be_flattened_and_set_up_again_and_again) {
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
    const pf_handle flat = data();
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
    EXPECT_EQ(data(), flat);
    EXPECT_EQ(memory.bytes_of(flat), FLAT_FORM);
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
    EXPECT_TRUE(renders());
  }
}

// --- a live block with something else in it ----------------------------------------------------------

TEST_F(lost_data, the_flat_form_written_over_a_live_record) {
  for (const int command : {PF_Cmd_SEQUENCE_RESETUP, PF_Cmd_SEQUENCE_SETUP}) {
    std::memcpy(*data(), FLAT_FORM.data(), FLAT_FORM.size());
    EXPECT_EQ(host.call(plugin.get(), command), 0);
    EXPECT_TRUE(renders());
  }
  std::memcpy(*data(), FLAT_FORM.data(), FLAT_FORM.size());
  memory.cut(data(), 12);
  const pf_handle flat = data();
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  EXPECT_EQ(data(), flat);
}

TEST_F(lost_data, a_live_record_that_was_cut_short) {
  memory.cut(data(), 8);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_QUERY_DYNAMIC_FLAGS), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
  memory.cut(data(), 0);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(memory.live(), 1);
}

TEST_F(lost_data, a_live_record_of_another_stamp) {
  record_of(data()).session_stamp -= 1;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, a_live_record_without_a_name_or_with_too_many_effects_is_built_anew) {
  void (*const SPOILS[])(globals_record&) = {
      [](globals_record& r) { r.n_effects = 0; },
      [](globals_record& r) { r.n_effects = 41; },
      [](globals_record& r) { r.plugin_name = nullptr; },
      [](globals_record& r) { r.plugin_name = ""; },
      [](globals_record& r) { r.effect_names[0] = nullptr; },
      [](globals_record& r) { r.effect_names[0] = ""; },
  };
  for (const auto spoil : SPOILS) {
    spoil(record_of(data()));
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
    EXPECT_EQ(record_of(data()).n_effects, 2);
    EXPECT_STREQ(record_of(data()).plugin_name, "Test");
    EXPECT_TRUE(renders());
  }
}

TEST_F(lost_data, a_plugin_without_a_name_renders_all_the_same) {
  host.setdown(plugin.get());
  plugin.name.clear();
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_TRUE(renders());
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
}

// --- commands out of their order ---------------------------------------------------------------------

TEST_F(lost_data, set_downs_may_come_twice) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
    EXPECT_EQ(data(), nullptr);
  }
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(host.in_data.global_data, nullptr);
    EXPECT_EQ(host_state.n_global_setups, 0);
  }
}

TEST_F(lost_data, a_plugin_handle_that_is_gone_is_not_touched) {
  const pf_handle gone = host.in_data.global_data;
  host.setdown(plugin.get());
  host.in_data.global_data = gone;
  for (const int number : {PF_Cmd_GLOBAL_SETDOWN, PF_Cmd_FRAME_SETUP, PF_Cmd_QUERY_DYNAMIC_FLAGS}) {
    host.in_data.global_data = gone;
    EXPECT_EQ(host.call(plugin.get(), number), 0);
  }
  for (const int number : {PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_RESETUP})
    EXPECT_EQ(host.call(plugin.get(), number), PF_Err_INTERNAL);
  EXPECT_EQ(memory.faults, std::vector<std::string>{});
  host.in_data.global_data = nullptr;
}

TEST_F(lost_data, a_resetup_may_come_without_a_setup) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, a_resetup_that_fails_leaves_no_handle_behind) {
  host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
  host.calls.fail(host_call::new_block, host.calls.made(host_call::new_block));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), PF_Err_INTERNAL);
  EXPECT_EQ(data(), nullptr);
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_TRUE(renders());
}

TEST_F(lost_data, a_flatten_that_fails_has_no_bytes) {
  host.calls.fail(host_call::new_block, host.calls.made(host_call::new_block));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), PF_Err_INTERNAL);
  EXPECT_EQ(host.out_data.flat_sdata_size, 0);
  EXPECT_EQ(data(), nullptr);
}

TEST_F(lost_data, sequence_data_of_a_project_waits_for_a_plugin) {
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0);
  const pf_handle flat = data(), global = host.in_data.global_data;
  host.in_data.global_data = nullptr;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), PF_Err_INTERNAL);
  EXPECT_EQ(data(), flat) << "a setup that can't begin takes nothing";
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), PF_Err_INTERNAL);
  EXPECT_EQ(data(), nullptr);
  host.in_data.global_data = global;
}

// Instances share texts with their plug-in, whatever becomes of it.
TEST_F(lost_data, parameters_set_up_again_leave_live_instances_whole) {
  const pf_handle first = data();
  for (int i = 0; i < 3; ++i) {
    host.params.clear();
    host.popup_texts.clear();
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_PARAMS_SETUP), 0);
    EXPECT_TRUE(renders());
    forget_and_set_up();
    EXPECT_TRUE(renders());
    host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
    data() = first;
  }
  EXPECT_TRUE(renders());
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0);
  EXPECT_EQ(data(), first);
}

TEST_F(lost_data, the_plugin_may_go_before_its_instances) {
  const pf_handle instance = data();
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_GLOBAL_SETDOWN), 0);
  data() = instance;
  host.place_values();
  go_through_commands(*this, memory.bytes_of(instance));
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(lost_data, a_host_may_leave_its_plugin_out_of_a_frame) {
  const pf_handle global = host.in_data.global_data;
  host.place_values();
  ASSERT_EQ(host.frame(plugin.get()), 0);
  host.in_data.global_data = nullptr;
  EXPECT_TRUE(renders());
  host.in_data.global_data = global;
}

}  // namespace
}  // namespace tessaron
