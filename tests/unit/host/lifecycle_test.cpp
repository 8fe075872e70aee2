// Whole lives of a plug-in: renders between setups, failing memory, calls out of callbacks, all hosts.
#include <gtest/gtest.h>

#include <vector>

#include "host/host_state.h"
#include "support/fake_host.h"

namespace tessaron {
namespace {

using testing::appl_id;
using testing::fake_host;
using testing::fake_plugin;

constexpr const char* TWO_INPUTS =
    "(define Mix (Source Other) (rgba_ok) Amount = 0.5 Place = [0 0] (screen) On = 1 (boolean) Turn = 30 (angle)\n"
    " Tint = [1 0.5 0] (color) Mode = 0 (popup A B) expand_borders = 1 (boolean)\n"
    " dest = (+ (interp Source Other Amount) (* 0 (+ (dot Place [1 1]) (+ On (+ Turn (+ (dot Tint [1 1 1]) (+ Mode "
    "expand_borders))))))))";

/// 8 by 4 pixels of 8 bits.
struct small_world {
  std::vector<std::uint8_t> pixels;
  pf_world world;
  explicit small_world(std::uint8_t fill) : pixels(8 * 4 * 4, fill), world{8, 4, 8 * 4, 0, pixels.data()} {}
};

struct lifecycle : ::testing::Test {
  fake_plugin plugin{{TWO_INPUTS}};
  small_world source{64}, other{128}, output{0};

  void place_layers(fake_host& host) {
    host.in_data.width = 8;
    host.in_data.height = 4;
    host.in_data.extent_hint = {0, 0, 8, 4};
    for (pf_param_def& p : host.params) switch (p.param_type) {
        case PF_Param_LAYER:
          p.u.layer = &p == &host.params[0] ? source.world : other.world;
          break;
        case PF_Param_POPUP:
          p.u.popup.value = p.u.popup.default_value;
          break;
        default:
          break;
      }
  }
  int render(fake_host& host) {
    place_layers(host);
    if (const int error = host.call(plugin.get(), PF_Cmd_FRAME_SETUP)) return error;
    return host.call(plugin.get(), PF_Cmd_RENDER, nullptr, &output.world);
  }
};

TEST_F(lifecycle, a_frame_comes_out_of_a_whole_life) {
  fake_host host;
  ASSERT_EQ(host.setup(plugin.get()), 0) << (host.messages.empty() ? "" : host.messages.back());
  EXPECT_EQ(render(host), 0) << (host.messages.empty() ? "" : host.messages.back());
  // Half of 64 and half of 128: (1028 + 2056) / 2 = 1542 in fix, which is 96 in 8 bits.
  EXPECT_EQ(output.pixels[0], 96);
  EXPECT_EQ(output.pixels.back(), 96);
  host.setdown(plugin.get());
  EXPECT_EQ(host.handles, 0);
}

TEST_F(lifecycle, every_kind_of_host_goes_through_a_life_with_save_and_reload) {
  for (const char* id : {"MOTN", "PIFX", "KeyG", "PrMr", "844x", "VDSQ", "DFX+", "DFRN", "Cbst", "FXTC", "ODD."}) {
    fake_host host(appl_id(id));
    for (const char* suite : {"PF Handle Suite", "PF Param Utils Suite", "PF AE App Suite", "PF Path Data Suite",
                              "PF ANSI Suite", "PF Batch Sampling Suite"})
      host.offered.insert(suite);
    ASSERT_EQ(host.setup(plugin.get()), 0) << id;
    EXPECT_EQ(render(host), 0) << id;
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN), 0) << id;
    EXPECT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_RESETUP), 0) << id;
    EXPECT_EQ(render(host), 0) << id;
    host.setdown(plugin.get());
    EXPECT_EQ(host.handles, 0) << id;
    EXPECT_EQ(host.locks, 0) << id;
    for (const auto& [name, count] : host.held) EXPECT_EQ(count, 0) << id << " " << name;
  }
}

TEST_F(lifecycle, each_allocation_that_fails_leaves_no_leak) {
  bool failed = true;
  for (int n = 0; failed && n < 200; ++n) {
    fake_host host;
    host.fail_allocation = n;
    int error = 0;
    error |= host.call(plugin.get(), PF_Cmd_GLOBAL_SETUP);
    if (!error) error |= host.call(plugin.get(), PF_Cmd_PARAMS_SETUP);
    if (!error) error |= host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP);
    if (!error) error |= render(host);
    if (!error) error |= host.call(plugin.get(), PF_Cmd_SEQUENCE_FLATTEN);
    failed = host.allocations > n;
    EXPECT_EQ(error != 0, failed) << "allocation " << n;
    host.setdown(plugin.get());
    EXPECT_EQ(host.handles, 0) << "allocation " << n;
    EXPECT_EQ(host.locks, 0) << "allocation " << n;
    EXPECT_EQ(host_state.n_global_setups, 0);
  }
}

TEST_F(lifecycle, a_call_out_of_a_callback_of_the_render_returns_0_and_changes_nothing) {
  fake_host host;
  ASSERT_EQ(host.setup(plugin.get()), 0);
  int calls = 0;
  host.on_checkout = [&](int, pf_param_def&) {
    if (!host_state.in_render) return;
    ++calls;
    const std::uint32_t stamp = host_state.call_stamp;
    globals_record* const current = Globals;
    pf_out_data out_data = {};
    EXPECT_EQ(tessaron_main(plugin.get(), PF_Cmd_GLOBAL_SETUP, &host.in_data, &out_data, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(out_data.global_data, nullptr);
    EXPECT_EQ(host_state.call_stamp, stamp);
    EXPECT_EQ(Globals, current);
  };
  EXPECT_EQ(render(host), 0);
  EXPECT_GT(calls, 0);
  EXPECT_FALSE(host_state.in_render);
  EXPECT_EQ(host_state.n_global_setups, 1);
  host.setdown(plugin.get());
}

TEST_F(lifecycle, two_instances_render_in_turn) {
  fake_host host;
  ASSERT_EQ(host.setup(plugin.get()), 0);
  const pf_handle first = host.in_data.sequence_data;
  host.in_data.sequence_data = nullptr;
  ASSERT_EQ(host.call(plugin.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  const pf_handle second = host.in_data.sequence_data;
  for (int i = 0; i < 4; ++i) {
    host.in_data.sequence_data = i % 2 ? second : first;
    std::fill(output.pixels.begin(), output.pixels.end(), std::uint8_t(0));
    EXPECT_EQ(render(host), 0);
    EXPECT_EQ(output.pixels[0], 96);
  }
  host.in_data.sequence_data = first;
  host.call(plugin.get(), PF_Cmd_SEQUENCE_SETDOWN);
  host.in_data.sequence_data = second;
  EXPECT_EQ(render(host), 0);
  EXPECT_EQ(output.pixels[0], 96);
  host.setdown(plugin.get());
  EXPECT_EQ(host.handles, 0);
}

}  // namespace
}  // namespace tessaron
