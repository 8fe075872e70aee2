// get_prev_dest through a host: runs of frames, and what ends them.
#include <gtest/gtest.h>

#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"
#include "evaluator/workers.h"
#include "support/render_kit.h"

namespace tessaron::testing {
namespace {

constexpr auto RGBA8 = pixel_format::rgba8;

/// Each frame is 1/8 above the one before.
const char* const COUNTER = "(define Counter (Source) () dest = (+ (get_prev_dest 0) 0.125))";
constexpr int STEP = 512;

/// One instance of an effect, with a picture to feed it.
class run_of_frames {
 public:
  explicit run_of_frames(const std::string& definition, int width = 6, int height = 4)
      : effect_(definition), source_(noise_image(width, height, RGBA8)) {}

  frame_request request(int frame) const {
    frame_request r = effect_.request({&source_});
    r.frame = frame;
    r.want_root = true;
    return r;
  }
  frame_result render(const frame_request& r) {
    frame_result result = effect_.render(r);
    EXPECT_EQ(result.inputs_left_out, 0);
    return result;
  }
  /// The root's values at a frame, which succeeds.
  hostkit::root_values root(int frame) {
    const frame_result result = render(request(frame));
    EXPECT_EQ(result.error, 0) << text_of(result.messages);
    return result.root;
  }
  /// The first sample of all of them; all pixels hold the same.
  std::int32_t value(int frame) {
    const hostkit::root_values values = root(frame);
    for (const std::int32_t v : values.samples) EXPECT_EQ(v, values.samples[0]);
    return values.samples.at(0);
  }
  void take(image picture) { source_ = std::move(picture); }
  hostkit::instance& instance() { return effect_.instance(); }

 private:
  rendered_effect effect_;
  image source_;
};

TEST(get_prev_dest, gives_the_output_of_the_frame_before) {
  run_of_frames run(COUNTER);
  for (int frame = 0; frame < 12; ++frame) EXPECT_EQ(run.value(frame), STEP * (frame + 1)) << frame;
}

TEST(get_prev_dest, starts_wherever_a_run_starts) {
  run_of_frames run(COUNTER);
  EXPECT_EQ(run.value(1001), STEP);
  EXPECT_EQ(run.value(1002), 2 * STEP);
}

TEST(get_prev_dest, starts_anew_after_a_jump_in_time) {
  run_of_frames run(COUNTER);
  run.value(0);
  EXPECT_EQ(run.value(1), 2 * STEP);
  EXPECT_EQ(run.value(3), STEP) << "two frames on";
  EXPECT_EQ(run.value(4), 2 * STEP);
  EXPECT_EQ(run.value(4), STEP) << "the same frame again";
  EXPECT_EQ(run.value(5), 2 * STEP);
  EXPECT_EQ(run.value(2), STEP) << "back";
}

TEST(get_prev_dest, holds_what_it_keeps_to_twice_white) {
  run_of_frames run(COUNTER);
  std::int32_t last = 0;
  for (int frame = 0; frame < 20; ++frame) last = run.value(frame);
  EXPECT_EQ(last, 0x1fff + STEP);
  run_of_frames down("(define Down (Source) () dest = (- (get_prev_dest 0) 0.5))");
  for (int frame = 0; frame < 9; ++frame) last = down.value(frame);
  EXPECT_EQ(last, -0x1fff - 2048);
}

TEST(get_prev_dest, starts_from_the_value_that_it_is_given) {
  run_of_frames colour("(define C (Source) () dest = (+ (get_prev_dest [0.5 0.25 1]) 0.125))");
  for (int frame = 0; frame < 3; ++frame) {
    const hostkit::root_values root = colour.root(frame);
    const std::int32_t added = STEP * (frame + 1);
    ASSERT_EQ(root.elements, 3);
    for (std::size_t i = 0; i < root.samples.size(); i += 3) {
      ASSERT_EQ(root.samples[i], 2048 + added);
      ASSERT_EQ(root.samples[i + 1], 1024 + added);
      ASSERT_EQ(root.samples[i + 2], 4096 + added);
    }
  }
  run_of_frames grey("(define G (Source) () dest = (+ (get_prev_dest 0.5) 0.125))");
  EXPECT_EQ(grey.value(0), 2048 + STEP) << "one element spreads over three";
  EXPECT_EQ(grey.value(1), 2048 + 2 * STEP);
}

TEST(get_prev_dest, starts_from_a_picture) {
  run_of_frames run("(define P (Source) () dest = (* (get_prev_dest Source) 0.5))"),
      plain("(define P (Source) () dest = Source)");
  const hostkit::root_values source = plain.root(0), first = run.root(0), second = run.root(1);
  ASSERT_EQ(source.samples.size(), first.samples.size());
  for (std::size_t i = 0; i < source.samples.size(); ++i) {
    ASSERT_EQ(first.samples[i], source.samples[i] >> 1);
    ASSERT_EQ(second.samples[i], source.samples[i] >> 1 >> 1);
  }
}

TEST(get_prev_dest, keeps_alpha_where_the_effect_has_it) {
  run_of_frames run("(define A (Source) (rgba_ok) dest = (* (get_prev_dest (coerce_up Source [1 1 1 1])) 0.5))"),
      plain("(define A (Source) (rgba_ok) dest = Source)");
  const hostkit::root_values source = plain.root(0), first = run.root(0), second = run.root(1);
  ASSERT_EQ(first.elements, 4);
  for (std::size_t i = 0; i < source.samples.size(); ++i) {
    ASSERT_EQ(first.samples[i], source.samples[i] >> 1);
    ASSERT_EQ(second.samples[i], source.samples[i] >> 1 >> 1);
  }
}

TEST(get_prev_dest, of_a_grey_output_is_grey_and_opaque) {
  run_of_frames run("(define G (Source) () dest = (+ (element_of (get_prev_dest 0) 2) 0.125))");
  EXPECT_EQ(run.value(0), STEP);
  EXPECT_EQ(run.value(1), 2 * STEP) << "the third element holds what the one element held";
}

TEST(get_prev_dest, twice_in_an_effect_is_one_store_for_both) {
  run_of_frames run(
      "(define Two (Source) (rgba_ok) a = (get_prev_dest 0) b = (get_prev_dest [0 0 0 0])"
      " dest = (+ (v3_to_v4 a 0) b))");
  for (int frame = 0; frame < 3; ++frame) {
    const frame_result result = run.render(run.request(frame));
    EXPECT_EQ(result.error, 0) << text_of(result.messages);
  }
}

TEST(get_prev_dest, is_each_instances_own) {
  run_of_frames one(COUNTER), other(COUNTER);
  EXPECT_EQ(one.value(0), STEP);
  EXPECT_EQ(other.value(0), STEP);
  EXPECT_EQ(one.value(1), 2 * STEP);
  EXPECT_EQ(one.value(2), 3 * STEP);
  EXPECT_EQ(other.value(1), 2 * STEP);
}

TEST(get_prev_dest, is_the_same_run_after_the_instance_was_set_down_and_up) {
  const std::string trails =
      "(define T (Source) () dest = (max (* (warp_rel (get_prev_dest 0) [0.1 0.02] [0 0] 1) 0.75) Source))";
  std::vector<std::vector<std::int32_t>> first;
  for (int pass = 0; pass < 2; ++pass) {
    run_of_frames run(trails, 31, 17);
    for (int frame = 0; frame < 6; ++frame) {
      run.take(noise_image(31, 17, RGBA8, unsigned(frame)));
      const hostkit::root_values root = run.root(frame);
      if (pass == 0)
        first.push_back(root.samples);
      else
        EXPECT_EQ(root.samples, first[std::size_t(frame)]) << frame;
    }
  }
  EXPECT_NE(first[5], first[4]);
}

TEST(get_prev_dest, starts_anew_in_a_project_that_is_loaded_again) {
  run_of_frames run(COUNTER);
  run.value(0);
  EXPECT_EQ(run.value(1), 2 * STEP);
  run.instance().reload(run.instance().save());
  EXPECT_EQ(run.value(2), STEP);
  EXPECT_EQ(run.value(3), 2 * STEP);
}

TEST(get_prev_dest, starts_anew_at_another_size) {
  run_of_frames run(COUNTER);
  run.value(0);
  EXPECT_EQ(run.value(1), 2 * STEP);
  run.take(noise_image(9, 5, RGBA8));
  EXPECT_EQ(run.value(2), STEP);
  EXPECT_EQ(run.value(3), 2 * STEP);
  run.take(noise_image(4, 3, RGBA8));
  EXPECT_EQ(run.value(4), STEP);
  EXPECT_EQ(run.value(5), 2 * STEP);
}

TEST(get_prev_dest, forgets_a_frame_that_was_not_finished) {
  constexpr int HEIGHT = 200;
  run_of_frames run(COUNTER, 16, HEIGHT);
  stop_fork_workers();
  set_processor_override(1);
  for (int questions = 0; questions < 3; ++questions) {
    run.value(10);
    EXPECT_EQ(run.value(11), 2 * STEP);
    frame_request stopped = run.request(12);
    // The host is asked at the first line of each loop and then by the clock, which stands still here.
    int asked = 0;
    stopped.abort = [&] { return asked++ >= questions ? int(PF_Err_CANCEL) : 0; };
    const frame_result result = run.render(stopped);
    if (result.error == 0) continue;  // asked no more often than that
    EXPECT_EQ(result.error, PF_Err_CANCEL);
    EXPECT_EQ(run.value(13), STEP) << "after an abort at question " << questions;
  }
  stop_fork_workers();
  set_processor_override(0);
}

TEST(get_prev_dest, forgets_a_frame_that_failed) {
  run_of_frames run(
      "(define F (Source) () bad = 0 (int) dest = (+ (get_prev_dest 0) (if+ bad (time_warp (* Source 0.5) 0 0) (v3 "
      "0.125 0.125 0.125))))");
  const auto set_bad = [&](int on) {
    for (hostkit::host_param& p : run.instance().values())
      if (p.param_type == PF_Param_FIX_SLIDER) p.u.slider.value = on * 65536;
  };
  run.value(0);
  EXPECT_EQ(run.value(1), 2 * STEP);
  set_bad(1);
  const frame_result failed = run.render(run.request(2));
  EXPECT_EQ(failed.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(failed.messages, "ERROR: time_warp: first arg must be a clip.")) << text_of(failed.messages);
  set_bad(0);
  EXPECT_EQ(run.value(3), STEP);
}

TEST(get_prev_dest, is_clear_where_the_host_asked_for_no_pixels) {
  run_of_frames run("(define C (Source) () dest = (+ (get_prev_dest 0.5) 0.125))", 8, 6);
  frame_request part = run.request(0);
  part.extent = pf_rect{2, 1, 6, 5};
  EXPECT_EQ(run.render(part).error, 0);
  const hostkit::root_values root = run.root(1);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool inside = x >= 2 && x < 6 && y >= 1 && y < 5;
      EXPECT_EQ(root.samples[std::size_t(y * 8 + x) * std::size_t(root.elements)], inside ? 2048 + 2 * STEP : STEP)
          << x << "," << y;
    }
}

// A row that is computed in several stretches: what the first one stores must not reach into those behind it.
TEST(get_prev_dest, is_there_in_all_columns_of_a_part_of_the_frame) {
  const struct short_stretches {
    short_stretches() { set_stretch_override(16); }
    ~short_stretches() { set_stretch_override(0); }
  } shortened;
  run_of_frames run(COUNTER, 70, 4);
  for (int frame = 0; frame < 3; ++frame) {
    frame_request part = run.request(frame);
    part.extent = pf_rect{3, 1, 66, 3};
    const frame_result result = run.render(part);
    ASSERT_EQ(result.error, 0) << text_of(result.messages);
    for (int x = 3; x < 66; ++x)
      ASSERT_EQ(result.root.samples.at(std::size_t(70 * 2 + x) * result.root.elements), STEP * (frame + 1)) << x;
  }
  // Left and right of the part nothing was computed, and nothing is kept.
  const frame_result whole = run.render(run.request(3));
  for (int x = 0; x < 70; ++x)
    ASSERT_EQ(whole.root.samples.at(std::size_t(70 * 2 + x) * whole.root.elements), x < 3 || x >= 66 ? STEP : 4 * STEP)
        << x;
}

TEST(get_prev_dest, is_the_same_with_any_number_of_workers) {
  const std::string feedback =
      "(define T (Source) () old = (blur (get_prev_dest Source) 0.2 1 1 1)"
      " dest = (interp (warp_rel old [0.05 -0.1] [0 0] 1) Source 0.3))";
  std::vector<std::vector<std::int32_t>> wanted;
  for (const int workers : {1, 2, 3, 7}) {
    stop_fork_workers();
    set_processor_override(workers);
    run_of_frames run(feedback, 45, 23);
    for (int frame = 0; frame < 5; ++frame) {
      run.take(noise_image(45, 23, RGBA8, unsigned(frame)));
      const hostkit::root_values root = run.root(frame);
      if (workers == 1)
        wanted.push_back(root.samples);
      else
        EXPECT_EQ(root.samples, wanted[std::size_t(frame)]) << "frame " << frame << ", " << workers << " workers";
    }
  }
  stop_fork_workers();
  set_processor_override(0);
}

TEST(get_prev_dest, gives_all_memory_back) {
  const int before = hostkit::live_handles();
  {
    run_of_frames run(COUNTER);
    run.value(0);
    run.take(noise_image(20, 9, RGBA8));
    run.value(1);
  }
  EXPECT_EQ(hostkit::live_handles(), before);
}

TEST(get_prev_dest, in_field_rendering_fills_the_other_fields_lines_from_this_ones) {
  run_of_frames run("(define C (Source) () dest = (+ (blur (get_prev_dest 0.5) 0.3 1 1 0) 0.125))", 16, 8);
  for (int frame = 0; frame < 3; ++frame) {
    frame_request request = run.request(frame);
    request.field = 1;
    const frame_result result = run.render(request);
    ASSERT_EQ(result.error, 0);
    for (int y = 0; y < 8; y += 2)
      EXPECT_EQ(result.root.samples.at(std::size_t(y * 16 * result.root.elements)), 2048 + STEP * (frame + 1))
          << "a blur of what is flat is flat: line " << y << " of frame " << frame;
  }
  field_globals = {};
}

}  // namespace
}  // namespace tessaron::testing
