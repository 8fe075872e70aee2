// Two threads of a host call at once. The host's memory here is unguarded: were two calls in the engine at the
// same time, a thread sanitizer would see them meet in it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "evaluator/pixel_loop.h"
#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

/// Calls of the host that are under way, and the most that there were.
struct meeting_point {
  std::atomic<int> inside{0}, most{0};
  void visit() {
    const int n = ++inside;
    if (n > most) most = n;
    std::this_thread::yield();
    --inside;
  }
};

TEST(two_threads, live_whole_lives_one_call_at_a_time) {
  constexpr int LIVES = 25;
  scripted_host hosts[2] = {scripted_host(kind_of_host("Motion")), scripted_host(kind_of_host("unknown"))};
  fake_plugin plugins[2] = {sample_plugin(), sample_plugin()};
  meeting_point meeting;
  std::atomic<int> errors{0}, wrong_pictures{0};
  const auto work = [&](int i) {
    scripted_host& host = hosts[i];
    host.on_checkout = [&](int, pf_param_def&) { meeting.visit(); };
    host.on_abort = [&] { return meeting.visit(), 0; };
    const tessaron_plugin* plugin = plugins[i].get();
    for (int k = 0; k < LIVES; ++k) {
      errors += host.setup(plugin) != 0;
      for (int frame = 0; frame < 2; ++frame) {
        errors += host.frame(plugin) != 0;
        wrong_pictures += !filled_with(host.output, SAMPLE_FIELD);
      }
      host.setdown(plugin);
    }
  };
  std::thread first(work, 0), second(work, 1);
  first.join();
  second.join();
  EXPECT_EQ(errors, 0);
  EXPECT_EQ(wrong_pictures, 0);
  EXPECT_EQ(meeting.most, 1);
  EXPECT_EQ(hosts[0].left_behind(), "");
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST(two_threads, share_the_instances_of_one_plugin) {
  constexpr int FRAMES = 40;
  scripted_host host(kind_of_host("unknown"));
  fake_plugin plugin = sample_plugin();
  const tessaron_plugin* const record = plugin.get();
  ASSERT_EQ(host.setup(record), 0);
  host.place_values();
  std::atomic<int> errors{0}, wrong_pictures{0};
  const auto work = [&] {
    pf_in_data in_data = host.in_data;
    in_data.sequence_data = nullptr;
    std::vector<pf_param_def> values = host.params;
    std::vector<pf_param_def*> pointers;
    for (pf_param_def& p : values) pointers.push_back(&p);
    const auto call = [&](int number, pf_world* output = nullptr) {
      pf_out_data out_data = {};
      out_data.sequence_data = in_data.sequence_data;
      errors += tessaron_main(record, number, &in_data, &out_data, pointers.data(), output, nullptr) != 0;
      in_data.sequence_data = out_data.sequence_data;
    };
    in_data.num_params = std::int32_t(values.size());
    in_data.extent_hint = {0, 0, in_data.width, in_data.height};
    call(PF_Cmd_SEQUENCE_SETUP);
    for (int i = 0; i < FRAMES; ++i) {
      host_picture output(in_data.width, in_data.height, 7);
      call(PF_Cmd_FRAME_SETUP);
      call(PF_Cmd_RENDER, &output.world);
      wrong_pictures += !filled_with(output, SAMPLE_FIELD);
    }
    call(PF_Cmd_SEQUENCE_SETDOWN);
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(errors, 0);
  EXPECT_EQ(wrong_pictures, 0);
  host.setdown(record);
  EXPECT_EQ(host.left_behind(), "");
}

// A call waits in steps of 200 ms; this one needs three of them.
TEST(two_threads, a_call_waits_as_long_as_another_takes) {
  scripted_host slow(kind_of_host("unknown")), waiting(kind_of_host("unknown"));
  fake_plugin plugin = sample_plugin();
  const tessaron_plugin* const record = plugin.get();
  ASSERT_EQ(slow.setup(record), 0);
  std::atomic<bool> in_render{false}, done{false};
  slow.on_abort = [&] {
    if (!in_render.exchange(true)) std::this_thread::sleep_for(std::chrono::milliseconds(450));
    EXPECT_FALSE(done) << "the other call came in between";
    return 0;
  };
  std::thread other([&] {
    while (!in_render) std::this_thread::yield();
    waiting.call(record, PF_Cmd_ABOUT);  // before its setup: the plain text
    done = true;
  });
  EXPECT_EQ(slow.frame(record), 0);
  other.join();
  EXPECT_STREQ(waiting.out_data.return_msg, "Tessaron Plug-ins, version 1.10");
  EXPECT_TRUE(filled_with(slow.output, SAMPLE_FIELD));
  slow.setdown(record);
  EXPECT_EQ(slow.left_behind(), "");
}

}  // namespace
}  // namespace tessaron
