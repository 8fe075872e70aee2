// Every call that a host answers fails once, each in a life of its own. Whatever fails, nothing crashes, nothing
// is left with the engine, the command returns its error, and the next life is a sound one.
#include <gtest/gtest.h>

#include <set>

#include "sample_plugin.h"

namespace tessaron {
namespace {

using namespace testing;

struct failing_calls : ::testing::TestWithParam<host_kind> {
  fake_plugin plugin = sample_plugin();
  void SetUp() override { ::testing::internal::CaptureStderr(); }  // what hosts without messages are told
  void TearDown() override { ::testing::internal::GetCapturedStderr(); }

  int calls_of_a_life(host_call which) {
    scripted_host host(GetParam());
    EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
    return host.calls.made(which);
  }

  /// First errors of all lives in which one call of a kind failed.
  std::multiset<int> fail_each(host_call which, bool heedless) {
    std::multiset<int> errors;
    const int calls = calls_of_a_life(which);
    for (int k = 0; k < calls; ++k) {
      SCOPED_TRACE("call " + std::to_string(k));
      scripted_host host(GetParam());
      host.calls.fail(which, k);
      errors.insert(host.play(plugin.get(), heedless).first_error());
      EXPECT_TRUE(host.calls.failed());
      EXPECT_EQ(host.left_behind(), "");
      EXPECT_EQ(host_state.n_global_setups, 0);
      EXPECT_FALSE(host_state.in_render);

      scripted_host next(GetParam());
      EXPECT_EQ(next.play(plugin.get()).first_error(), 0);
      EXPECT_TRUE(filled_with(next.output, SAMPLE_FIELD));
      EXPECT_EQ(next.left_behind(), "");
    }
    return errors;
  }
  /// The errors of hosts that stop at one; a host that looks at none gets through as well.
  std::multiset<int> fail_each(host_call which) {
    fail_each(which, true);
    return fail_each(which, false);
  }
};

INSTANTIATE_TEST_SUITE_P(hosts, failing_calls, ::testing::ValuesIn(host_kinds()), [](const auto& info) {
  std::string name = info.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST_P(failing_calls, a_block_that_is_refused_is_an_internal_failure) {
  const std::multiset<int> errors = fail_each(host_call::new_block);
  EXPECT_GT(errors.size(), 6u) << "records, planes and the flat form";
  EXPECT_EQ(errors.count(PF_Err_INTERNAL), errors.size());
}

// Without its record a render and the queries do nothing, a resetup builds anew, and set-downs go on.
TEST_P(failing_calls, a_lock_that_is_refused_is_an_internal_failure_or_no_record) {
  const std::multiset<int> errors = fail_each(host_call::lock);
  EXPECT_GT(errors.count(PF_Err_INTERNAL), 5u);
  EXPECT_EQ(errors.count(PF_Err_INTERNAL) + errors.count(0), errors.size());
}

// Both commands of both frames ask for the second input. Without a parameter's value at another time the
// render goes on with 0.
TEST_P(failing_calls, the_hosts_error_from_a_layer_is_the_commands) {
  const std::multiset<int> errors = fail_each(host_call::checkout);
  EXPECT_EQ(errors.count(scripted_host::CHECKOUT_ERROR), 4u);
  EXPECT_EQ(errors.count(0), errors.size() - 4);
}

TEST_P(failing_calls, a_layer_that_is_not_taken_back_changes_nothing) {
  const std::multiset<int> errors = fail_each(host_call::checkin);
  EXPECT_EQ(errors.count(0), errors.size());
}

TEST_P(failing_calls, the_hosts_error_from_add_parameter_is_the_commands) {
  const std::multiset<int> errors = fail_each(host_call::add_param);
  EXPECT_GT(errors.size(), 10u);
  EXPECT_EQ(errors.count(scripted_host::ADD_PARAM_ERROR), errors.size());
}

TEST_P(failing_calls, a_suite_that_is_missing_is_done_without) {
  const std::multiset<int> errors = fail_each(host_call::acquire);
  EXPECT_EQ(errors.count(0), errors.size());
}

TEST_P(failing_calls, the_hosts_error_from_the_registration_is_the_commands) {
  const std::multiset<int> errors = fail_each(host_call::register_ui);
  EXPECT_EQ(errors, std::multiset<int>{scripted_host::REGISTER_ERROR});
}

// --- callbacks that a host lacks -------------------------------------------------------------------

struct lacking_host : ::testing::Test {
  fake_plugin plugin = sample_plugin();
  scripted_host host{kind_of_host("unknown")};
  void SetUp() override { ::testing::internal::CaptureStderr(); }  // messages without a record to tell the host by
  void TearDown() override {
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(host.left_behind(), "");
  }
};

TEST_F(lacking_host, no_memory_calls) {
  host.in_data.utils = nullptr;
  EXPECT_EQ(host.play(plugin.get(), true).first_error(), PF_Err_INTERNAL);
  EXPECT_EQ(host_state.n_global_setups, 0);
}

TEST_F(lacking_host, no_abort_call) {
  host.in_data.inter.abort = nullptr;
  EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
}

TEST_F(lacking_host, no_checkout) {
  host.in_data.inter.checkout_param = nullptr;
  const life played = host.play(plugin.get(), true);
  EXPECT_EQ(played.first_error(), PF_Err_BAD_REQUEST);
  EXPECT_EQ(played.failed_command(), PF_Cmd_FRAME_SETUP);
  EXPECT_TRUE(host.has_message("The host gave no call to check out inputs."));
}

TEST_F(lacking_host, no_registration) {
  host.in_data.inter.register_ui = nullptr;
  EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
  EXPECT_EQ(host.registered, 0u);
}

TEST_F(lacking_host, no_release_of_suites) {
  host.suites.release_suite = nullptr;
  EXPECT_EQ(host.play(plugin.get()).first_error(), 0);
  host.held.clear();
}

}  // namespace
}  // namespace tessaron
