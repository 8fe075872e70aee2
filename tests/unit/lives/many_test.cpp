// Many instances, many plug-ins, many effects in one process.
#include <gtest/gtest.h>

#include <memory>

#include "failing_heap.h"
#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

constexpr std::int64_t NOISE = 64 * 1024;  // buffers of the library, tables that grow in steps

struct many : ::testing::Test {
  scripted_host host{kind_of_host("unknown")};
  fake_plugin plugin = sample_plugin();

  /// Runs `once` ten times to warm up, then a thousand times; growth of the heap.
  template <class Body>
  std::int64_t growth_over_a_thousand(Body once) {
    for (int i = 0; i < 10; ++i) once();
    forget_history();
    const std::int64_t before = heap_in_use();
    for (int i = 0; i < 1000; ++i) once();
    forget_history();
    return heap_in_use() - before;
  }
  /// What the host has written down of the calls that it answered.
  void forget_history() {
    std::vector<std::string>().swap(host.asked);
    std::vector<int>().swap(host.checked_out_times);
  }
};

TEST_F(many, a_thousand_instances_leave_memory_flat) {
  ASSERT_EQ(host.setup(plugin.get()), 0);
  const int blocks = strict_memory::get().live();
  EXPECT_LT(growth_over_a_thousand([&] {
              ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
              ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
            }),
            NOISE);
  EXPECT_EQ(strict_memory::get().live(), blocks);
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(many, a_thousand_saves_and_frames_leave_memory_flat) {
  ASSERT_EQ(host.setup(plugin.get()), 0);
  EXPECT_LT(growth_over_a_thousand([&] {
              ASSERT_EQ(host.save_and_load(plugin.get()), 0);
              ASSERT_EQ(host.frame(plugin.get()), 0);
            }),
            NOISE);
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(many, a_thousand_instances_at_once_go_with_their_set_downs) {
  ASSERT_EQ(host.setup(plugin.get()), 0);
  const std::int64_t before = heap_in_use();
  const pf_handle first = host.in_data.sequence_data;
  std::vector<pf_handle> handles;
  for (int i = 0; i < 1000; ++i) {
    host.in_data.sequence_data = nullptr;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
    handles.push_back(host.in_data.sequence_data);
  }
  for (const std::size_t i : {0u, 500u, 999u}) {
    host.in_data.sequence_data = handles[i];
    ASSERT_EQ(host.frame(plugin.get()), 0);
    EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  }
  for (const pf_handle handle : handles) {
    host.in_data.sequence_data = handle;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN), 0);
  }
  host.in_data.sequence_data = first;
  EXPECT_LT(heap_in_use() - before, 4 * NOISE);  // the strict memory keeps its thousand handles
  host.setdown(plugin.get());
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(many, a_thousand_forgotten_instances_go_with_their_plugin) {
  host.play(plugin.get());
  const std::int64_t before = heap_in_use();
  ASSERT_EQ(host.setup(plugin.get()), 0);
  for (int i = 0; i < 1000; ++i) {
    strict_memory::get().drop(host.in_data.sequence_data);
    host.in_data.sequence_data = nullptr;
    ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  }
  host.setdown(plugin.get());
  EXPECT_LT(heap_in_use() - before, 4 * NOISE);
  EXPECT_EQ(host.left_behind(), "");
}

TEST_F(many, a_thousand_lives_leave_memory_flat) {
  EXPECT_LT(growth_over_a_thousand([&] {
              ASSERT_EQ(host.setup(plugin.get()), 0);
              host.setdown(plugin.get());
            }),
            NOISE);
  EXPECT_EQ(host.left_behind(), "");
}

// --- many plug-ins -----------------------------------------------------------------------------------

/// `n` effects; number i of them, from 1, leaves i / 64 of the picture.
fake_plugin scales(int n) {
  fake_plugin plugin;
  for (int i = 1; i <= n; ++i)
    plugin.effects.push_back("(define Scale_" + std::to_string(i) + " (Source) (rgba_ok share_all)\n Number = " +
                             "64 (max 64) dest = (* Source (/ " + std::to_string(i) + " Number)))");
  return plugin;
}

struct scaling_plugin {
  fake_plugin plugin = scales(40);
  scripted_host host{kind_of_host("unknown")};
};

int scaled_field(scaling_plugin& p, int popup) {
  p.host.place_values();
  p.host.params[1].u.popup.default_value = popup;
  EXPECT_EQ(p.host.frame(p.plugin.get()), 0);
  EXPECT_TRUE(filled_with(p.host.output, p.host.output.fields[0]));
  return p.host.output.fields[0];
}

TEST(many_plugins, sixteen_of_forty_effects_each_live_side_by_side) {
  std::vector<std::unique_ptr<scaling_plugin>> all;
  for (int i = 0; i < 16; ++i) {
    all.push_back(std::make_unique<scaling_plugin>());
    scaling_plugin& p = *all.back();
    p.host.first_value = 128;
    p.host.set_size(4, 4);
    p.plugin.name = "Scales " + std::to_string(i);
    ASSERT_EQ(p.host.setup(p.plugin.get()), 0);
    EXPECT_EQ(p.host.messages, std::vector<std::string>{});
    EXPECT_EQ(p.host.params[1].u.popup.n_choices, 40);
    EXPECT_EQ(host_state.n_global_setups, i + 1);
  }
  // 128 is 2056 in fix; n / 64 of it, back to 8 bits, is 2 n to the nearest.
  for (int i = 0; i < 16; ++i)
    for (const int popup : {1, i + 2, 40}) EXPECT_NEAR(scaled_field(*all[std::size_t(i)], popup), 2 * popup, 1);
  // Every second one goes; the others stay as they are.
  for (int i = 0; i < 16; i += 2) all[std::size_t(i)]->host.setdown(all[std::size_t(i)]->plugin.get());
  for (int i = 1; i < 16; i += 2) EXPECT_NEAR(scaled_field(*all[std::size_t(i)], 33), 66, 1);
  for (int i = 1; i < 16; i += 2) all[std::size_t(i)]->host.setdown(all[std::size_t(i)]->plugin.get());
  EXPECT_EQ(all[0]->host.left_behind(), "");
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST(many_plugins, the_forty_first_effect_is_reported_and_left_out) {
  for (const int n : {40, 41, 200}) {
    scaling_plugin p;
    p.plugin = scales(n);
    ASSERT_EQ(p.host.setup(p.plugin.get()), 0);
    EXPECT_EQ(p.host.has_message("Test: too many effects in single plug-in"), n > 40);
    EXPECT_EQ(p.host.messages.size(), n > 40 ? 1u : 0u);
    EXPECT_EQ(p.host.params[1].u.popup.n_choices, 40);
    EXPECT_EQ(record_of(p.host.in_data.global_data).n_effects, 40);
    p.host.first_value = 128;
    p.host.set_size(4, 4);
    EXPECT_NEAR(scaled_field(p, 40), 80, 1);
    p.host.setdown(p.plugin.get());
    EXPECT_EQ(p.host.left_behind(), "");
  }
}

// The byte that counts the effects and the list of their names may differ: what both have is loaded.
TEST(many_plugins, the_count_and_the_list_of_effects_may_differ) {
  for (const int said : {1, 5, 255}) {
    scaling_plugin p;
    p.plugin = scales(5);
    tessaron_plugin record = *p.plugin.get();
    record.n_effects = std::uint8_t(said);
    ASSERT_EQ(p.host.setup(&record), 0);
    EXPECT_EQ(record_of(p.host.in_data.global_data).n_effects, std::min(said, 5));
    p.host.setdown(&record);
    EXPECT_EQ(p.host.left_behind(), "");
  }
}

// More names with a suffix than a 16-bit mask has bits: all copies are freed.
TEST(many_plugins, forty_suffixes_make_forty_copies) {
  scaling_plugin p;
  p.plugin.suffixes.assign(40, " // of a family");
  ASSERT_EQ(p.host.setup(p.plugin.get()), 0);
  EXPECT_EQ(record_of(p.host.in_data.global_data).owned_names_mask, (std::uint64_t(1) << 40) - 1);
  EXPECT_EQ(record_of(p.host.in_data.sequence_data).owned_names_mask, 0u);
  p.host.setdown(p.plugin.get());
  EXPECT_EQ(p.host.left_behind(), "");
}

}  // namespace
}  // namespace tessaron
