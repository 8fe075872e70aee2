// The user cancels: at every question that a render asks, with and without other workers. And what the engine
// makes of a host that calls it out of its callbacks.
#include <gtest/gtest.h>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "sample_plugin.h"
#include "support/worker_count.h"

namespace tessaron {
namespace {

using namespace testing;

constexpr int ROWS = 80, ROWS_A_QUESTION = 16;
constexpr int ASK_MS = 200;  // the host is asked at most this often
const char* const PLAIN = "(define Plain (Source) (rgba_ok) dest = (* Source 0.5))";

std::int64_t now, step;  // a clock that moves on at each look
std::int64_t stepping_clock() { return now += step; }

struct cancel : ::testing::Test {
  scripted_host host{kind_of_host("unknown")};
  fake_plugin sample = sample_plugin(), plain{{PLAIN}};
  void SetUp() override {
    now = 0;
    step = ASK_MS + 1;
    set_abort_clock(stepping_clock);
    host.set_size(12, ROWS);
  }
  void TearDown() override { set_abort_clock(nullptr); }

  int questions() const { return host.calls.made(host_call::abort); }
  /// Questions of one sound frame; the instance stays up.
  int questions_of_a_frame(fake_plugin& plugin) {
    const int before = questions();
    EXPECT_EQ(host.frame(plugin.get()), 0);
    return questions() - before;
  }
  void set_down(fake_plugin& plugin) {
    host.on_abort = nullptr;
    host.setdown(plugin.get());
    EXPECT_EQ(host.left_behind(), "");
  }

  void cancel_at_each_question(int answer) {
    ASSERT_EQ(host.setup(sample.get()), 0);
    const int per_frame = questions_of_a_frame(sample);
    ASSERT_GE(per_frame, 2 * ROWS / ROWS_A_QUESTION / n_processors) << "planes, then the picture";
    for (int k = 0; k < per_frame; ++k) {
      host.abort_answer = answer;
      host.calls.fail(host_call::abort, questions() + k);
      EXPECT_EQ(host.frame(sample.get()), answer) << "question " << k;
      EXPECT_EQ(questions(), host.calls.made(host_call::abort));
      EXPECT_FALSE(host_state.in_render);
      EXPECT_EQ(host.checked_out, 0);
      // What was half made is not kept.
      EXPECT_EQ(host.frame(sample.get()), 0);
      EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD)) << "after question " << k;
    }
    set_down(sample);
  }
};

TEST_F(cancel, the_host_is_asked_every_sixteen_rows) {
  const worker_count one(1);
  ASSERT_EQ(host.setup(plain.get()), 0);
  EXPECT_EQ(questions_of_a_frame(plain), ROWS / ROWS_A_QUESTION);
  host.set_size(12, ROWS + 1);
  EXPECT_EQ(questions_of_a_frame(plain), ROWS / ROWS_A_QUESTION + 1);
  set_down(plain);
}

TEST_F(cancel, the_host_is_asked_at_most_every_200_ms) {
  const worker_count one(1);
  ASSERT_EQ(host.setup(plain.get()), 0);
  step = 0;
  EXPECT_EQ(questions_of_a_frame(plain), 1) << "at the first row";
  step = ASK_MS / 2 + 1;  // due at every second look
  EXPECT_EQ(questions_of_a_frame(plain), (ROWS / ROWS_A_QUESTION + 1) / 2);
  step = -1;  // a clock that was put back
  EXPECT_EQ(questions_of_a_frame(plain), ROWS / ROWS_A_QUESTION);
  set_down(plain);
}

TEST_F(cancel, at_each_question_of_one_thread_ends_with_the_hosts_number) {
  const worker_count one(1);
  cancel_at_each_question(1);
  cancel_at_each_question(4711);
}

TEST_F(cancel, at_each_question_of_three_threads_ends_with_the_hosts_number) {
  const worker_count three(3);
  cancel_at_each_question(9);
}

TEST_F(cancel, without_a_number_of_the_host_is_517) {
  const worker_count one(1);
  ASSERT_EQ(host.setup(sample.get()), 0);
  for (int k = 0; k < questions_of_a_frame(sample); ++k) {
    int left = k;
    host.on_abort = [&left] {
      if (left-- == 0) request_abort();  // what stops a render without the host
      return 0;
    };
    EXPECT_EQ(host.frame(sample.get()), PF_Err_CANCEL) << "question " << k;
    host.on_abort = nullptr;
    EXPECT_EQ(host.frame(sample.get()), 0);
    EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  }
  set_down(sample);
}

TEST_F(cancel, nothing_is_asked_after_the_answer) {
  const worker_count one(1);
  ASSERT_EQ(host.setup(sample.get()), 0);
  host.abort_answer = 1;
  host.calls.fail(host_call::abort, 2);
  host.frame(sample.get());
  EXPECT_EQ(questions(), 3);
  set_down(sample);
}

TEST_F(cancel, frame_setup_asks_nothing) {
  ASSERT_EQ(host.setup(sample.get()), 0);
  host.place_values();
  ASSERT_EQ(host.call(sample.get(), PF_Cmd_FRAME_SETUP), 0);
  EXPECT_EQ(questions(), 0);
  set_down(sample);
}

TEST(cancel_in_combustion, is_left_to_its_suite) {
  now = 0;
  step = ASK_MS + 1;
  set_abort_clock(stepping_clock);
  scripted_host host(kind_of_host("Combustion"));
  fake_plugin plugin = sample_plugin();
  host.on_abort = [] { return 1; };
  EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
  EXPECT_EQ(host.calls.made(host_call::abort), 0);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  // A host that goes by this name and lacks the suite is asked like any other.
  host_kind bare = kind_of_host("Combustion");
  bare.suites.clear();
  scripted_host other(bare);
  other.on_abort = [] { return 6; };
  const life played = other.play(plugin.get());
  EXPECT_EQ(played.first_error(), 6);
  EXPECT_EQ(played.failed_command(), PF_Cmd_RENDER);
  set_abort_clock(nullptr);
}

TEST(abort_question, without_a_record_is_reported) {
  scripted_host host(kind_of_host("unknown"));
  globals_record* const before = Globals;
  globals_record record = {};
  Globals = &record;
  abort_requested = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(ae_check_abort(), 0);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("Missing Globals in ae_check_abort!"), std::string::npos);
  Globals = before;
}

// --- calls out of callbacks ------------------------------------------------------------------------

constexpr int COMMANDS[] = {PF_Cmd_ABOUT,
                            PF_Cmd_GLOBAL_SETUP,
                            PF_Cmd_GLOBAL_SETDOWN,
                            PF_Cmd_PARAMS_SETUP,
                            PF_Cmd_SEQUENCE_SETUP,
                            PF_Cmd_SEQUENCE_RESETUP,
                            PF_Cmd_SEQUENCE_FLATTEN,
                            PF_Cmd_SEQUENCE_SETDOWN,
                            PF_Cmd_FRAME_SETUP,
                            PF_Cmd_RENDER,
                            PF_Cmd_USER_CHANGED_PARAM,
                            PF_Cmd_EVENT,
                            PF_Cmd_QUERY_DYNAMIC_FLAGS};

/// Calls with the records of the call under way, as a host does that handles its user's clicks meanwhile.
int call_inside(scripted_host& host, fake_plugin& plugin, int number, pf_out_data& out_data) {
  std::vector<pf_param_def*> pointers;
  for (pf_param_def& p : host.params) pointers.push_back(&p);
  if (pointers.empty()) pointers.push_back(&host.layer);
  pf_in_data in_data = host.in_data;
  out_data = {};
  out_data.global_data = in_data.global_data;
  out_data.sequence_data = in_data.sequence_data;
  std::int32_t index = 3;
  pf_world output = host.output.world;
  return tessaron_main(plugin.get(), number, &in_data, &out_data, pointers.data(), &output, &index);
}

TEST_F(cancel, every_command_out_of_the_abort_call_returns_0_and_does_nothing) {
  const worker_count one(1);
  ASSERT_EQ(host.setup(sample.get()), 0);
  int asked = 0;
  host.on_abort = [&] {
    for (const int number : COMMANDS) {
      const std::uint32_t stamp = host_state.call_stamp;
      globals_record* const current = Globals;
      const int blocks = strict_memory::get().made, locks = strict_memory::get().locked;
      pf_out_data out_data;
      EXPECT_EQ(call_inside(host, sample, number, out_data), 0) << number;
      EXPECT_EQ(out_data.global_data, host.in_data.global_data);
      EXPECT_EQ(out_data.sequence_data, host.in_data.sequence_data);
      EXPECT_STREQ(out_data.return_msg, "");
      EXPECT_EQ(host_state.call_stamp, stamp);
      EXPECT_EQ(Globals, current);
      EXPECT_EQ(strict_memory::get().made, blocks);
      EXPECT_EQ(strict_memory::get().locked, locks);
      EXPECT_TRUE(host_state.in_render);
    }
    ++asked;
    return 0;
  };
  EXPECT_EQ(host.frame(sample.get()), 0);
  EXPECT_GT(asked, 5);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  EXPECT_FALSE(host_state.in_render);
  EXPECT_EQ(host_state.n_global_setups, 1);
  set_down(sample);
}

// Outside a render a host may call again; what the call further out is working on stays.
TEST_F(cancel, a_set_down_out_of_add_parameter_returns_0_and_takes_nothing_away) {
  ASSERT_EQ(host.call(sample.get(), PF_Cmd_GLOBAL_SETUP), 0);
  const pf_callbacks own = host.in_data.inter;
  static pf_callbacks forward;
  static std::function<void()> meanwhile;
  forward = own;
  int calls = 0;
  meanwhile = [&] {
    for (const int number : {PF_Cmd_GLOBAL_SETDOWN, PF_Cmd_PARAMS_SETUP}) {
      pf_out_data out_data;
      EXPECT_EQ(call_inside(host, sample, number, out_data), 0);
      EXPECT_EQ(out_data.global_data, host.in_data.global_data);
    }
    ++calls;
  };
  host.in_data.inter.add_param = [](void* ref, std::int32_t index, pf_param_def* def) {
    meanwhile();
    return forward.add_param(ref, index, def);
  };
  EXPECT_EQ(host.call(sample.get(), PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(calls, int(host.params.size()) - 1);
  EXPECT_EQ(host_state.n_global_setups, 1);
  EXPECT_EQ(host.call(sample.get(), PF_Cmd_SEQUENCE_SETUP), 0);
  EXPECT_EQ(host.frame(sample.get()), 0);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  set_down(sample);
}

TEST_F(cancel, an_instance_is_not_taken_away_while_its_layers_are_checked_out) {
  ASSERT_EQ(host.setup(sample.get()), 0);
  int calls = 0;
  host.on_checkout = [&](int, pf_param_def&) {
    if (host_state.in_render) return;
    for (const int number : {PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_SEQUENCE_FLATTEN, PF_Cmd_SEQUENCE_RESETUP,
                             PF_Cmd_SEQUENCE_SETUP, PF_Cmd_GLOBAL_SETDOWN, PF_Cmd_PARAMS_SETUP}) {
      pf_out_data out_data;
      EXPECT_EQ(call_inside(host, sample, number, out_data), 0) << number;
      EXPECT_EQ(out_data.sequence_data, host.in_data.sequence_data) << number;
      ++calls;
    }
  };
  EXPECT_EQ(host.frame(sample.get()), 0);
  EXPECT_TRUE(filled_with(host.output, SAMPLE_FIELD));
  EXPECT_EQ(calls, 6);
  host.on_checkout = nullptr;
  set_down(sample);
}

// A host that shows a message lets its user go on: another plug-in is set up, played and set down meanwhile.
TEST_F(cancel, another_plugin_lives_while_a_message_is_shown) {
  fake_plugin noisy({"(define Noisy (Source) (rgba_ok) unused = (* x y) dest = (* Source 0.5))",
                     "(define Noisy_Too (Source) (rgba_ok) unused = (* x y) dest = (* Source 0.25))"});
  int lives = 0;
  host.on_message = [&] {
    if (lives++ > 0) return;
    scripted_host inner(kind_of_host("Motion"));
    EXPECT_EQ(inner.play(sample.get()).first_error(), 0);
    EXPECT_TRUE(filled_with(inner.output, SAMPLE_FIELD));
  };
  ASSERT_EQ(host.call(noisy.get(), PF_Cmd_GLOBAL_SETUP), 0);
  host.call(noisy.get(), PF_Cmd_PARAMS_SETUP);
  EXPECT_GT(lives, 0);
  EXPECT_EQ(host_state.n_global_setups, 1);
  set_down(noisy);
}

}  // namespace
}  // namespace tessaron
