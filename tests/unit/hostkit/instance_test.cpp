// Instances over many frames and side by side: threads, memory, abort, saving, observers.
#include <gtest/gtest.h>

#include <thread>

#include "evaluator/temp_images.h"
#include "support/render_kit.h"
#include "support/worker_count.h"

using namespace tessaron::testing;
using tessaron::hostkit::host_error;
using tessaron::hostkit::live_handles;

namespace {

constexpr pixel_format RGBA8 = pixel_format::rgba8;

// What doesn't change in time is kept in planes; static differs from frame to frame.
const char* const CACHING_EFFECT =
    "(define A (Source) (rgba_ok) wave = (sin (* x y)) dest = (+ (* Source wave) (* (static) 0.125)))";

TEST(Threads, any_number_gives_the_same_bytes) {
  const image source = noise_image(61, 23, RGBA8), background = noise_image(40, 23, RGBA8, 7);
  for (const char* definition :
       {CACHING_EFFECT, "(define B (Source Background) () dest = (interp Source Background (* x 0.5)))",
        "(define C (Source) (rgba_ok) opacity = 1 (int) dest = (* Source [1 0.5 0.25 1]))"}) {
    std::vector<std::uint8_t> first;
    std::vector<std::int32_t> first_root;
    for (int n : {1, 2, 3, 7, 40}) {
      const worker_count workers(n);
      rendered_effect effect(definition);
      frame_request request = effect.request({&source, &background});
      request.extent = pf_rect{1, 1, 60, 21};
      request.want_root = true;
      const frame_result result = effect.render(request);
      ASSERT_EQ(result.error, 0) << text_of(result.messages);
      if (first.empty()) {
        first = result.output.data;
        first_root = result.root.samples;
      }
      EXPECT_EQ(result.output.data, first) << definition << " " << n;
      EXPECT_EQ(result.root.samples, first_root) << definition << " " << n;
    }
  }
}

TEST(Memory, is_flat_over_a_thousand_frames_and_gone_behind_the_last_instance) {
  const int before = live_handles();
  {
    const image source = noise_image(24, 16, RGBA8);
    rendered_effect effect(CACHING_EFFECT);
    int handles = 0, planes = 0;
    std::int64_t bytes = 0;
    for (int frame = 0; frame < 1000; ++frame) {
      frame_request request = effect.request({&source});
      request.frame = frame;
      ASSERT_EQ(effect.render(request).error, 0);
      if (frame == 2) {
        handles = live_handles();
        planes = tessaron::planes_held();
        bytes = tessaron::plane_bytes_held();
        EXPECT_GT(planes, 0);
      }
    }
    EXPECT_EQ(live_handles(), handles);
    EXPECT_EQ(tessaron::planes_held(), planes);
    EXPECT_EQ(tessaron::plane_bytes_held(), bytes);
  }
  EXPECT_EQ(live_handles(), before);
}

TEST(Memory, planes_of_another_size_are_given_back) {
  const image small = noise_image(16, 16, RGBA8), large = noise_image(64, 64, RGBA8);
  rendered_effect effect(CACHING_EFFECT);
  ASSERT_EQ(effect.render({&small}).error, 0);
  const std::int64_t small_bytes = tessaron::plane_bytes_held();
  ASSERT_EQ(effect.render({&large}).error, 0);
  EXPECT_EQ(tessaron::plane_bytes_held(), small_bytes * 16);
  ASSERT_EQ(effect.render({&small}).error, 0);
  EXPECT_EQ(tessaron::plane_bytes_held(), small_bytes);
}

TEST(Memory, that_the_host_has_not_fails_the_frame_alone) {
  const image source = noise_image(16, 16, RGBA8);
  rendered_effect reference(CACHING_EFFECT);
  const frame_result whole = reference.render({&source});
  for (int left = 0; left < 3; ++left) {
    rendered_effect effect(CACHING_EFFECT);
    tessaron::free_all_temp_images();
    tessaron::hostkit::fail_handles_after(left);
    const frame_result starved = effect.render({&source});
    tessaron::hostkit::fail_handles_after(-1);
    if (left == 0) {
      EXPECT_EQ(starved.error, PF_Err_INTERNAL);
      EXPECT_TRUE(mentions(starved.messages, "Out of memory allocating temp image handle of "))
          << text_of(starved.messages);
    }
    EXPECT_EQ(starved.inputs_left_out, 0);
    EXPECT_EQ(effect.render({&source}).output.data, whole.output.data);
  }
}

TEST(Abort, gives_the_hosts_number_and_leaves_nothing_half_made) {
  const image source = noise_image(64, 64, RGBA8), front = noise_image(64, 64, RGBA8, 2);
  rendered_effect effect("(define A (Source Front) (rgba_ok) wave = (sin x) dest = (+ (* Source wave) Front))");
  const frame_result whole = effect.render({&source, &front});
  frame_request request = effect.request({&source, &front});
  request.abort = [] { return 99; };
  const frame_result stopped = effect.render(request);
  EXPECT_EQ(stopped.error, 99);
  EXPECT_EQ(stopped.inputs_left_out, 0);
  EXPECT_EQ(effect.render({&source, &front}).output.data, whole.output.data);
}

TEST(Abort, of_the_first_frame_does_not_spoil_the_second) {
  const image source = noise_image(32, 32, RGBA8);
  rendered_effect effect(CACHING_EFFECT), reference(CACHING_EFFECT);
  frame_request request = effect.request({&source});
  request.abort = [] { return PF_Err_CANCEL; };
  EXPECT_EQ(effect.render(request).error, 517);
  EXPECT_EQ(effect.render({&source}).output.data, reference.render({&source}).output.data);
}

TEST(Abort, a_call_out_of_the_abort_callback_changes_nothing) {
  const image source = noise_image(32, 32, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (* Source 0.5))");
  const frame_result whole = effect.render({&source});
  frame_request request = effect.request({&source});
  int inner = -1;
  request.abort = [&] {
    pf_in_data in = {};
    inner = tessaron_main(&effect.record(), PF_Cmd_RENDER, &in, nullptr, nullptr, nullptr, nullptr);
    return 0;
  };
  EXPECT_EQ(effect.render(request).output.data, whole.output.data);
  EXPECT_EQ(inner, 0);
}

TEST(Instances, of_different_sizes_render_in_turn) {
  const image small = noise_image(16, 12, RGBA8), large = noise_image(50, 30, RGBA8);
  rendered_effect a(CACHING_EFFECT), b(CACHING_EFFECT);
  const frame_result a0 = a.render({&small}), b0 = b.render({&large});
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(a.render({&small}).output.data, a0.output.data);
    EXPECT_EQ(b.render({&large}).output.data, b0.output.data);
  }
}

TEST(Instances, on_different_threads_render_side_by_side) {
  const image source = noise_image(32, 32, RGBA8);
  const char* const definitions[2] = {"(define A (Source) (rgba_ok) dest = (* Source 0.5))",
                                      "(define B (Source) (rgba_ok) dest = (- [1 1 1 1] Source))"};
  std::vector<std::uint8_t> expected[2];
  for (int i = 0; i < 2; ++i) expected[i] = rendered_effect(definitions[i]).render({&source}).output.data;
  int wrong[2] = {};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i)
    threads.emplace_back([&, i] {
      for (int round = 0; round < 3; ++round) {
        rendered_effect effect(definitions[i]);
        for (int frame = 0; frame < 20; ++frame) wrong[i] += effect.render({&source}).output.data != expected[i];
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong[0], 0);
  EXPECT_EQ(wrong[1], 0);
}

TEST(Instances, go_on_after_saving_and_loading) {
  const image source = noise_image(16, 12, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) gain = 0.5 (max 1) dest = (* Source gain))");
  effect.instance().values()[1].u.slider.value = 16384;  // 0.25
  const frame_result before = effect.render({&source});
  const std::vector<std::uint8_t> saved = effect.instance().save();
  const std::vector<std::uint8_t> expected = {0x77, 0x77, 0x77, 0x77, 1, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(saved, expected);
  effect.instance().reload(saved);
  EXPECT_EQ(effect.render({&source}).output.data, before.output.data);
}

TEST(Instances, of_a_definition_that_does_not_bind_are_refused_with_its_reports) {
  const int before = live_handles();
  try {
    rendered_effect effect("(define A () () dest = (no_such_function 1))");
    FAIL() << "it was taken";
  } catch (const host_error& fault) {
    EXPECT_NE(std::string(fault.what()).find("no_such_function"), std::string::npos) << fault.what();
  }
  EXPECT_EQ(live_handles(), before);
}

TEST(Instances, refuse_requests_that_make_no_sense) {
  rendered_effect effect("(define A (Source) () dest = Source)");
  EXPECT_THROW(effect.render({nullptr}), host_error);  // no size
  frame_request request = effect.request(8, 8);
  request.downsample_x = 0;
  EXPECT_THROW(effect.render(request), host_error);
  request = effect.request(8, 8);
  request.fps = 0;
  EXPECT_THROW(effect.render(request), host_error);
  request = effect.request(8, 8);
  request.frame = 2147483647;
  EXPECT_THROW(effect.render(request), host_error);
  EXPECT_THROW(image::make(-1, 4, RGBA8), host_error);
}

TEST(Messages, are_kept_for_the_frame_and_seen_as_they_come) {
  std::vector<std::string> seen;
  tessaron::hostkit::host_identity identity;
  identity.on_message = [&](int severity, const std::string& text) {
    EXPECT_EQ(severity, 8);
    seen.push_back(text);
  };
  rendered_effect effect("(define A (Source) () dest = Source)", RGBA8, identity);
  seen.clear();
  effect.instance().take_messages();
  frame_request request = effect.request(8, 8);
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) { in.field = 9; };
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.messages.size(), 1u);
  EXPECT_EQ(seen.size(), 1u);
  EXPECT_EQ(effect.instance().take_messages().size(), 1u);
  EXPECT_TRUE(effect.instance().take_messages().empty());
}

TEST(Stats, tell_what_a_frame_cost) {
  const image source = noise_image(32, 16, RGBA8);
  rendered_effect effect(CACHING_EFFECT);
  frame_request request = effect.request({&source});
  request.want_stats = true;
  const frame_result result = effect.render(request);
  EXPECT_GT(result.stats.setup_seconds, 0);
  EXPECT_GT(result.stats.output_seconds, 0);
  EXPECT_EQ(result.stats.planes_in_use, result.stats.planes_planned);
  ASSERT_EQ(result.stats.image_nodes.size(), 1u);
  EXPECT_EQ(result.stats.image_nodes[0].first, "wave");
  EXPECT_GE(result.stats.plane_bytes, 2 * 32 * 16);
}

}  // namespace
