// Frames that end before their time: a user who stops them, a host whose calls fail.
#include <gtest/gtest.h>

#include "evaluator/pixel_loop.h"
#include "genotype/globals.h"
#include "host/host_state.h"
#include "support/fake_host.h"
#include "support/render_kit.h"

using namespace tessaron::testing;
using tessaron::globals_record;
using tessaron::node;

namespace {

constexpr pixel_format RGBA8 = pixel_format::rgba8;

// --- stopping ------------------------------------------------------------------------------------

/// gamma fills an image, and the sum is kept in one too, since two operators want it; it stays good over frames.
constexpr const char* TWO_IMAGES =
    "(define A (Source) (rgba_ok) s = (+ x 0.25) dest = (+ Source (+ (gamma s 2) (gamma s 0.5))))";

class StoppedFrame : public ::testing::Test {
 protected:
  StoppedFrame() {
    request.before_render = [this](pf_in_data& in, pf_param_def**, pf_world&) { record_ = in.sequence_data; };
    request.want_stats = true;
    request.initial_fill = 0xee;
  }
  frame_result render(int answer) {
    request.abort = [answer] { return answer; };
    return effect.render(request);
  }
  const globals_record& record() const { return *static_cast<const globals_record*>(*record_); }
  int images_marked_good() const {
    const tessaron::genotype& g = *record().effect_genotype;
    return int(std::count_if(g.nodes, g.nodes + g.n_nodes,
                             [](const node& n) { return n.node_flags & tessaron::NODE_IMAGES_VALID; }));
  }

  const image source = noise_image(64, 48, RGBA8);
  rendered_effect effect{TWO_IMAGES};
  frame_request request = effect.request({&source});

 private:
  pf_handle record_ = nullptr;
};

TEST_F(StoppedFrame, returns_the_hosts_number) {
  for (const int answer : {1, 517, -3}) {
    const frame_result result = render(answer);
    EXPECT_EQ(result.error, answer);
    EXPECT_EQ(result.inputs_left_out, 0);
    EXPECT_TRUE(result.messages.empty()) << text_of(result.messages);
  }
}

TEST_F(StoppedFrame, without_a_number_of_the_host_is_517) {
  request.abort = [] {
    tessaron::request_abort();
    return 0;
  };
  EXPECT_EQ(effect.render(request).error, PF_Err_CANCEL);
}

TEST_F(StoppedFrame, leaves_no_image_marked_as_good) {
  ASSERT_EQ(render(0).error, 0);
  EXPECT_GT(images_marked_good(), 0);
  EXPECT_EQ(render(9).error, 9);
  EXPECT_EQ(images_marked_good(), 0);
}

TEST_F(StoppedFrame, has_nothing_that_the_next_one_builds_on) {
  const frame_result whole = render(0);
  ASSERT_EQ(whole.error, 0) << text_of(whole.messages);
  const std::size_t made = whole.stats.image_nodes.size();
  ASSERT_GT(made, 0u);
  EXPECT_LT(render(0).stats.image_nodes.size(), made) << "kept from the frame before";
  EXPECT_EQ(render(9).error, 9);
  const frame_result again = render(0);
  EXPECT_EQ(again.stats.image_nodes.size(), made);
  EXPECT_EQ(again.output.data, whole.output.data);
}

TEST_F(StoppedFrame, does_not_count_as_a_frame_that_was_rendered) {
  EXPECT_EQ(render(9).error, 9);
  EXPECT_FALSE(record().host_flags & tessaron::HOST_RENDERED_ONCE);
  EXPECT_EQ(render(0).error, 0);
  EXPECT_TRUE(record().host_flags & tessaron::HOST_RENDERED_ONCE);
}

TEST_F(StoppedFrame, is_forgotten_by_the_next_call) {
  EXPECT_EQ(render(9).error, 9);
  EXPECT_EQ(tessaron::host_state.host_abort_err, 9);
  EXPECT_EQ(render(0).error, 0);
  EXPECT_EQ(tessaron::host_state.host_abort_err, 0);
}

// --- calls that the host refuses -----------------------------------------------------------------------

std::int32_t (*true_checkout)(void*, std::int32_t, std::int32_t, std::int32_t, std::uint32_t, pf_param_def*);
int calls_before_failure;

std::int32_t failing_checkout(void* ref, std::int32_t index, std::int32_t time, std::int32_t step, std::uint32_t scale,
                              pf_param_def* def) {
  if (calls_before_failure-- <= 0) return 99;
  return true_checkout(ref, index, time, step, scale, def);
}

TEST(RefusedCalls, an_input_that_cannot_be_checked_out_gives_the_hosts_error_and_returns_the_others) {
  const image source = noise_image(8, 6, RGBA8);
  rendered_effect effect("(define A (Source One Two Three) (rgba_ok) dest = (+ (+ Source One) (+ Two Three)))");
  frame_request request = effect.request({&source, &source, &source, &source});
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) {
    true_checkout = in.inter.checkout_param;
    in.inter.checkout_param = failing_checkout;
  };
  for (const int succeed : {0, 1, 2}) {
    calls_before_failure = succeed;
    const frame_result result = effect.render(request);
    EXPECT_EQ(result.error, 99) << succeed;
    EXPECT_EQ(result.inputs_left_out, 0) << succeed;
  }
  request.before_render = nullptr;
  EXPECT_EQ(effect.render(request).error, 0);
}

TEST(RefusedCalls, frame_setup_gives_the_hosts_error_too) {
  fake_host host;
  fake_plugin plugin({"(define A (Source Front) dest = (+ Source Front))"});
  ASSERT_EQ(host.setup(plugin.get()), 0);
  true_checkout = host.in_data.inter.checkout_param;
  host.in_data.inter.checkout_param = failing_checkout;
  calls_before_failure = 0;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_FRAME_SETUP), 99);
  calls_before_failure = 1;
  EXPECT_EQ(host.call(plugin.get(), PF_Cmd_FRAME_SETUP), 0);
  EXPECT_EQ(host.out_data.width, 720);
  host.setdown(plugin.get());
}

// A parameter at another frame that the host does not give is 0; the frame goes on.
TEST(RefusedCalls, a_curve_that_cannot_be_checked_out_reads_as_0) {
  rendered_effect effect("(define A () () a = 0.5 (min *) dest = (+ [0 0 0] (+ (get_curve_val a 1) (min (abs x) 0))))");
  frame_request request = effect.request(8, 6);
  request.want_root = true;
  frame_result result = effect.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(result.root.samples[0], 2048);
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) {
    in.inter.checkout_param = [](void*, std::int32_t, std::int32_t, std::int32_t, std::uint32_t,
                                 pf_param_def*) -> std::int32_t { return 99; };
  };
  result = effect.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(result.root.samples[0], 0);
  EXPECT_EQ(result.inputs_left_out, 0);
}

std::int32_t no_suite(const char*, std::int32_t, const void**) { return 1; }
std::int32_t empty_suite(const char*, std::int32_t, const void** suite) {
  *suite = nullptr;
  return 0;
}
std::int32_t no_release(const char*, std::int32_t) { return 1; }

TEST(RefusedCalls, a_frame_needs_no_suite) {
  const image source = noise_image(8, 6, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = Source)");
  frame_request request = effect.request({&source});
  request.want_stats = true;
  static pf_basic_suite suites;
  for (const pf_basic_suite& kind : {pf_basic_suite{no_suite, no_release}, pf_basic_suite{empty_suite, no_release},
                                     pf_basic_suite{empty_suite, nullptr}, pf_basic_suite{nullptr, nullptr}}) {
    suites = kind;
    request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) { in.pica_basic = &suites; };
    const frame_result result = effect.render(request);
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(result.output.data, source.data);
    EXPECT_EQ(result.stats.output_seconds, 0) << "nobody watched";
  }
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) { in.pica_basic = nullptr; };
  EXPECT_EQ(effect.render(request).error, 0);
}

// --- effects that cannot be found ----------------------------------------------------------------------------

TEST(NoSuchEffect, a_popup_value_without_a_row_is_reported_with_the_plugin) {
  const image source = noise_image(8, 6, RGBA8);
  rendered_effect effect(std::vector<std::string>{"(define Half (Source) (rgba_ok) dest = (* Source 0.5))",
                                                  "(define Quarter (Source) (rgba_ok) dest = (* Source 0.25))"},
                         RGBA8);
  for (const int value : {0, 3, -2147483647 - 1, 2147483647}) {
    effect.instance().values()[1].u.popup.value = value;
    const frame_result result = effect.render({&source});
    EXPECT_EQ(result.error, PF_Err_BAD_REQUEST) << value;
    EXPECT_TRUE(mentions(result.messages, "Internal error: name  not found in table for Test Plug-in"))
        << text_of(result.messages);
  }
}

TEST(NoSuchEffect, a_row_that_lacks_the_column_is_reported_by_its_name) {
  const image source = noise_image(8, 6, RGBA8);
  // Half exists with one input only.
  rendered_effect effect(
      std::vector<std::string>{"(define Half (Source) (rgba_ok default_input_self 1) dest = (* Source 0.5))",
                               "(define Both (Source Front) (rgba_ok) dest = (+ Source Front))"},
      RGBA8);
  const frame_result result = effect.render({&source, &source});
  EXPECT_EQ(result.error, 0) << "one picture twice is one input";
  const image front = noise_image(8, 6, RGBA8, 2);
  const frame_result lost = effect.render({&source, &front});
  EXPECT_EQ(lost.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(lost.messages, "Internal error: name Half not found in table for Test Plug-in"))
      << text_of(lost.messages);
}

}  // namespace
