// The engine's own memory runs out: each allocation of a life fails once. Whatever fails, nothing crashes, nothing
// is left behind, and the next life is a sound one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include "evaluator/workers.h"
#include "failing_heap.h"
#include "genotype/text_reader.h"
#include "host/configuration.h"
#include "installer/custom_listing.h"
#include "operators/lens_flares.h"
#include "sample_plugin.h"
#include "support/scratch_folder.h"

namespace tessaron {
namespace {

using namespace testing;

struct failing_heap : ::testing::Test {
  void SetUp() override {
    stop_fork_workers();
    set_processor_override(1);  // a worker may not raise, and allocates nothing
    ::testing::internal::CaptureStderr();
  }
  void TearDown() override {
    failing_allocation = -1;
    ::testing::internal::GetCapturedStderr();
    stop_fork_workers();
    set_processor_override(0);
  }
};

/// Plays lives in which the k-th allocation fails, for all k; returns how many there were. `field`: what the
/// picture of a sound life is filled with.
std::int64_t fail_each(fake_plugin plugin, bool heedless, int field) {
  const auto start_process_anew = [] {
    reset_config();
    stop_fork_workers();
  };
  const auto live_soundly = [&] {
    start_process_anew();
    scripted_host host(kind_of_host("unknown"));
    EXPECT_EQ(host.play(plugin.get()).first_error(), 0) << (host.messages.empty() ? "" : host.messages.back());
    EXPECT_TRUE(filled_with(host.output, field)) << int(host.output.fields[0]);
  };
  live_soundly();  // what is made once in a process
  engine_allocations = 0;
  live_soundly();
  const std::int64_t count = engine_allocations, live_at_first = live_objects();
  std::int64_t tolerated = 0;
  for (std::int64_t k = 0; k < count; ++k) {
    SCOPED_TRACE("allocation " + std::to_string(k));
    const std::int64_t before = live_objects();
    {
      start_process_anew();
      scripted_host host(kind_of_host("unknown"));
      engine_allocations = 0;
      failing_allocation = k;
      const int error = host.play(plugin.get(), heedless).first_error();
      failing_allocation = -1;
      EXPECT_TRUE(error == PF_Err_INTERNAL || error == 0) << error;
      tolerated += error == 0;
      EXPECT_EQ(host.left_behind(), "");
      EXPECT_EQ(host_state.n_global_setups, 0);
      EXPECT_EQ(open_file_count, 0);
    }
    EXPECT_LE(live_objects(), before + 1) << "a buffer of the process may have come back";
  }
  EXPECT_LT(tolerated, count / 4) << "an allocation that fails is an error, but for messages";
  live_soundly();
  EXPECT_LE(live_objects(), live_at_first + 2);
  return count;
}

/// Every text that a definition may hold, and two effects that merge what they share.
fake_plugin plugin_of_many_texts() {
  fake_plugin plugin;
  for (const char* name : {"One", "Two"})
    plugin.effects.push_back(
        std::string("// What the effect does,\n// in two lines.\n(define ") + name +
        " (Source) (rgba_ok share_all effect_popup_name The_" + name +
        ")\n"
        " Place = [1 2] (screen page First widget cross_circle.center name The_Place use_wenable Show default_on 1 "
        "ignore)\n"
        " Show = 1 (boolean ignore page_open \"Second page\" widget cross." +
        name +
        " default_off)\n"
        " Level = 3 (group_start Numbers slider_range 0 10 ignore)\n"
        " Kinds = [0 1] (ignore group_end Numbers popup Plain \"Two words\" A_third)\n"
        " unseen = (* x 2)\n"
        " half = (* Source 0.5)\n"
        " planes = (gamma half 2)\n"
        " dest = (- (+ planes half) planes))");
  plugin.suffixes = {" // of a family", ""};
  return plugin;
}

TEST_F(failing_heap, each_allocation_of_a_life) { EXPECT_GT(fail_each(sample_plugin(), false, SAMPLE_FIELD), 100); }

TEST_F(failing_heap, each_allocation_of_a_life_with_a_host_that_goes_on) {
  EXPECT_GT(fail_each(sample_plugin(), true, SAMPLE_FIELD), 100);
}

// 64 is 1028 in fix; half of it is 32.
TEST_F(failing_heap, each_allocation_of_a_plugin_of_many_texts) {
  EXPECT_GT(fail_each(plugin_of_many_texts(), false, 32), 100);
}

/// An operator whose result is far below what is shown: half of the first layer.
fake_plugin plugin_beneath(const std::string& call) {
  return fake_plugin({"(define Under (Source) (rgba_ok)\n dest = (max (* Source 0.5) (- " + call + " 8)))"});
}

TEST_F(failing_heap, each_allocation_of_an_operator_that_keeps_lists) {
  for (const char* call :
       {"(paint Source 4 0 1 0.1 1)",
        "(element_of (drops (element_of Source 0) xy 0.02 [3 3] 0.2 0 [0.05 0.2] [0.1 0.1] 10) 0)",
        "(zap [-0.8 0] [0.8 0] 0.2 3 [0.5 0.2] 0.2 [0 1] [0.3 0.3] 1 [0.5 0.5] [1 0])",
        "(zap_from (element_of Source 0) [0.3 0.5] 0.3 5 [0.1 0.4] 0.4 [0 1] [0.5 0.5] 0.5 [0.5 0.4] [3 0.2] [0.1 "
        "0.5])",
        "(zap_to (element_of Source 0) [-0.7 0.4] 0.1 [2 1] [0.1 0.4] 0.4 [0 1] 0.5 1 [0.5 0.4] [3 0.2] [0.1 0.5])",
        "(draw_grid [9 9] [0.1 0.1] [0 0] [2 2] 0.2 0.1 0.02 0 0.4 5 2)"}) {
    SCOPED_TRACE(call);
    EXPECT_GT(fail_each(plugin_beneath(call), false, 32), 20);
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("Not enough memory."), std::string::npos);
    ::testing::internal::CaptureStderr();
  }
}

// A list of which half was read when the memory ran out would stay for the rest of the process.
TEST_F(failing_heap, each_allocation_of_a_flare_list_leaves_it_to_be_read_again) {
  scratch_folder folder;
  folder.write("t_lensflares.text",
               "begin One spot center 1 radii 0.1 0.2 color 1 1 1 0 0 0 end\n"
               "begin A_name_that_is_too_long_to_lie_in_the_string_itself\n"
               "rays center 1 color 1 1 1 ray_number 4 jitter_angles 0 start_angle 0 radius_range 0.1 0.2\n"
               "ray_width 1 rand_seed 1 end\n");
  const std::string before = ::getenv("TESSARON_CONFIG_DIR");
  const auto use = [](const std::string& path) {
    ::setenv("TESSARON_CONFIG_DIR", path.c_str(), 1);
    reset_custom_listing();
    reset_config();
  };
  use(folder.path());
  ASSERT_EQ(get_lens_flares().count, 2);  // and what is made once in a process
  free_flare_lists();
  int failed = 0;
  for (bool more = true; more;) {
    SCOPED_TRACE("allocation " + std::to_string(failed));
    const std::int64_t live_without = live_objects();
    engine_allocations = 0;
    failing_allocation = failed;
    try {
      const engine_code running;
      get_lens_flares();
      more = false;
    } catch (const std::bad_alloc&) {
      ++failed;
    }
    failing_allocation = -1;
    EXPECT_EQ(reading_subject, nullptr);
    EXPECT_EQ(open_file_count, 0);
    EXPECT_EQ(get_lens_flares().count, 2);
    free_flare_lists();
    EXPECT_LE(live_objects(), live_without);
  }
  EXPECT_GE(failed, 5) << "two entries, their elements and a name";
  use(before);
}

TEST_F(failing_heap, each_allocation_of_an_operator_with_a_data_file) {
  scratch_folder folder;
  folder.write("t_config.text", "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n");
  folder.write("t_lensflares.text",
               "begin One spot center 1 radii 0.1 0.2 color 1 1 1 0 0 0\n"
               "rays center 1 color 1 1 1 ray_number 4 jitter_angles 0 start_angle 0 radius_range 0.1 0.2\n"
               "ray_width 1 rand_seed 1 end\n");
  folder.write("t_glares.text", "begin One blob radii 0.1 color 1 1 1 end\n");
  folder.write("t_filmtypes.text",
               "begin One color_curves log10 log10 rgb -3 1.2 -1 0.5 1 0.2 end_color_curves end One\n");
  const std::string before = ::getenv("TESSARON_CONFIG_DIR");
  ::setenv("TESSARON_CONFIG_DIR", folder.path().c_str(), 1);
  reset_custom_listing();
  for (const char* call :
       {"(element_of (lens_flare 0 [0 0] [0 0] 1 1 1 0 [1 1 1] [1 1 1] [1 1 1]) 0)",
        "(element_of (glare Source [0.1 0.1 0.1] 0 [1 1] [1 1 1] 1 0 0 0 0) 0)",
        "(element_of (glare Source [0.1 0.1 0.1] 0 [1 1] [1 1 1] 1 0 2 0 1) 0)",
        "(film_effect Source [1 0 0 0.1] [1 1 1 0] 0 [0 0 0] [0 0.5] [0.5 0.5 0.5] 0.5 [0.1 0.1 0.1] [1 1 1] "
        "[0.5 0.5 0.5 0] [0 0.1 0] [0 0 0.5 0.5])"}) {
    SCOPED_TRACE(call);
    EXPECT_GT(fail_each(plugin_beneath(call), false, 32), 20);
  }
  ::setenv("TESSARON_CONFIG_DIR", before.c_str(), 1);
  reset_custom_listing();
  reset_config();
}

TEST_F(failing_heap, each_allocation_of_a_custom_plugin) {
  scratch_folder folder;
  const std::string before = ::getenv("TESSARON_CONFIG_DIR");
  const auto use = [](const std::string& path) {
    ::setenv("TESSARON_CONFIG_DIR", path.c_str(), 1);
    reset_custom_listing();
    reset_config();
  };
  folder.write("t_config.text",
               "multi_process_enable: 1\nforce_pixel_aspect_ratio: 0\n"
               "(define Half (Source) (rgba_ok) dest = (* Source 0.5))\n");
  use(folder.path());
  for (const char* name : {"Half", "TessaronCustomPlugin___________"}) {
    fake_plugin plugin;
    plugin.name = name;
    plugin.record.is_custom = 1;
    EXPECT_GT(fail_each(plugin, false, 32), 20) << name;
  }
  use(before);
}

}  // namespace
}  // namespace tessaron
