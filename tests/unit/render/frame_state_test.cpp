// What one frame leaves for the next: planes, the run of frames, marks of the record.
#include <gtest/gtest.h>

#include <functional>

#include "evaluator/frame.h"
#include "evaluator/temp_images.h"
#include "genotype/globals.h"
#include "host/host_state.h"
#include "support/render_kit.h"

using namespace tessaron::testing;
using tessaron::globals_record;

namespace {

constexpr pixel_format RGBA8 = pixel_format::rgba8;

globals_record& record_of(const pf_in_data& in) { return *static_cast<globals_record*>(*in.sequence_data); }

// --- planes ----------------------------------------------------------------------------------------

class Planes : public ::testing::Test {
 protected:
  // s feeds two operators and does not hang on the input, so that it is kept from frame to frame.
  rendered_effect effect{
      "(define A (Source) (rgba_ok) s = (+ x 0.25) dest = (+ Source (+ (gamma s 2) (gamma s 0.5))))"};
  /// How many images a frame of these inputs makes anew.
  int made(const image& source, std::function<void(frame_request&)> change = {}) {
    frame_request request = effect.request({&source});
    request.want_stats = true;
    if (change) change(request);
    const frame_result result = effect.render(request);
    EXPECT_EQ(result.error, 0) << text_of(result.messages);
    return int(result.stats.image_nodes.size());
  }
};

TEST_F(Planes, are_those_of_the_frames_size) {
  const image small = noise_image(32, 16, RGBA8), wide = noise_image(48, 16, RGBA8);
  made(small);
  const int count = tessaron::planes_held();
  ASSERT_GT(count, 0);
  std::int64_t stagger = tessaron::plane_bytes_held() - std::int64_t(count) * 32 * 16 * 2;
  EXPECT_GE(stagger, 0);
  made(wide);
  EXPECT_EQ(tessaron::planes_held(), count);
  EXPECT_EQ(tessaron::plane_bytes_held() - stagger, std::int64_t(count) * 48 * 16 * 2);
}

TEST_F(Planes, stay_while_the_size_stays_and_go_when_it_changes) {
  const image small = noise_image(32, 16, RGBA8), tall = noise_image(32, 18, RGBA8);
  const int all = made(small);
  const int kept = made(small);
  EXPECT_LT(kept, all);
  EXPECT_EQ(made(tall), all);
  EXPECT_EQ(made(tall), kept);
  EXPECT_EQ(made(small), all);
}

TEST_F(Planes, go_when_only_the_outputs_size_changes) {
  const image source = noise_image(32, 16, RGBA8);
  const int all = made(source), kept = made(source);
  ASSERT_LT(kept, all);
  EXPECT_EQ(made(source,
                 [](frame_request& r) {
                   r.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) { record_of(in).last_width = 31; };
                 }),
            all);
  EXPECT_EQ(made(source), kept);
}

// --- nothing to do -----------------------------------------------------------------------------------

TEST(EmptyRectangles, of_output_and_hint_leave_nothing_to_compute) {
  const image source = filled(1, 1, RGBA8, {9, 9, 9, 9});
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (+ Source 0.5))");
  frame_request request = effect.request({&source});
  request.initial_fill = 0xee;
  request.want_stats = true;
  request.extent = pf_rect{0, 0, 0, 0};
  int flags = 0;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world&) { flags = record_of(in).host_flags; };
  const frame_result result = effect.render(request);
  EXPECT_EQ(result.error, 0);
  EXPECT_TRUE(result.messages.empty()) << text_of(result.messages);
  EXPECT_EQ(result.stats.output_seconds, 0) << "no pixel was computed";
  EXPECT_EQ(pixel(result.output, 0, 0), rgba{}) << "and the output is left clear";
  EXPECT_FALSE(flags & tessaron::HOST_RENDERED_ONCE);
  effect.render(request);
  EXPECT_TRUE(flags & tessaron::HOST_RENDERED_ONCE) << "it counts as rendered all the same";
  EXPECT_EQ(result.inputs_left_out, 0);
}

// --- runs of frames ------------------------------------------------------------------------------------

/// Frames of an effect that is told to remember its last output.
class RunOfFrames : public ::testing::Test {
 protected:
  /// The run's start as a frame at `time` sees it, in host time of 1000 a frame.
  int start_at(int time) {
    request.before_render = [this, time](pf_in_data& in, pf_param_def**, pf_world&) {
      in.current_time = time;
      if (remembers)
        for (int i = 0; i < record_of(in).n_effects; ++i)
          record_of(in).genotypes[i]->flags[0] |= tessaron::GENO0_PREV_OUTPUT;
      set_ = [record = &record_of(in)] { return int(record->temp_set - record->temp_sets); };
    };
    EXPECT_EQ(effect->render(request).error, 0);
    return tessaron::time_globals.run_start_time;
  }
  int set_in_use() const { return set_(); }
  void use(const char* definition, tessaron::hostkit::host_identity identity = {}) {
    effect.reset();  // the host is asked who it is by the first plug-in of a process
    effect = std::make_unique<rendered_effect>(definition, RGBA8, identity);
    request = effect->request({&source});
  }
  void SetUp() override { use("(define A (Source) (rgba_ok) dest = (+ Source 0.25))"); }

  image source = noise_image(128, 8, RGBA8);
  std::unique_ptr<rendered_effect> effect;
  frame_request request;
  bool remembers = true;

 private:
  std::function<int()> set_;
};

TEST_F(RunOfFrames, goes_on_below_1_9_frames_and_starts_anew_from_there_and_backwards) {
  EXPECT_EQ(start_at(5000), 5000);
  EXPECT_EQ(start_at(6000), 5000);
  EXPECT_EQ(start_at(7800), 5000) << "1.8 frames";
  EXPECT_EQ(start_at(9700), 9700) << "1.9 frames";
  EXPECT_EQ(start_at(8000), 8000) << "backwards";
  EXPECT_EQ(start_at(8000), 8000) << "the same frame again";
  EXPECT_EQ(start_at(9000), 8000);
}

TEST_F(RunOfFrames, of_an_effect_without_memory_starts_at_0) {
  remembers = false;
  EXPECT_EQ(start_at(5000), 0);
  EXPECT_EQ(start_at(6000), 0);
}

TEST_F(RunOfFrames, of_thumbnails_is_another_one) {
  tessaron::hostkit::host_identity combustion;
  combustion.appl_id = 0x43627374;  // Cbst
  use("(define A (Source) (rgba_ok) dest = (+ Source 0.25))", combustion);
  const image full = noise_image(200, 8, RGBA8);
  request.inputs = {&full};
  EXPECT_EQ(start_at(1000), 1000);
  EXPECT_EQ(set_in_use(), 0);
  request.inputs = {&source};  // 128 columns: an icon
  EXPECT_EQ(start_at(9000), 9000);
  EXPECT_EQ(set_in_use(), 1);
  request.inputs = {&full};
  EXPECT_EQ(start_at(2000), 1000) << "the icon did not break the run";
  EXPECT_EQ(set_in_use(), 0);
}

// --- marks -------------------------------------------------------------------------------------------------

TEST(Record, keeps_step_with_the_plugins_own) {
  const image source = noise_image(8, 6, RGBA8);
  rendered_effect effect(std::vector<std::string>{"(define Half (Source) (rgba_ok) dest = (* Source 0.5))",
                                                  "(define Quarter (Source) (rgba_ok) dest = (* Source 0.25))"},
                         RGBA8);
  frame_request request = effect.request({&source});
  globals_record *own = nullptr, *plugin = nullptr;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world&) {
    own = &record_of(in);
    plugin = static_cast<globals_record*>(*in.global_data);
  };
  for (const int row : {1, 0}) {
    effect.instance().values()[1].u.popup.value = row + 1;
    ASSERT_EQ(effect.render(request).error, 0);
    EXPECT_EQ(own->current_effect_i, row);
    EXPECT_EQ(own->last_effect_i, row);
    EXPECT_EQ(own->effect_genotype, own->genotypes[row]);
    EXPECT_EQ(plugin->current_effect_i, row);
    EXPECT_EQ(plugin->effect_genotype, plugin->genotypes[row]);
    EXPECT_NE(own->genotypes[row], plugin->genotypes[row]);
  }
}

TEST(Record, may_check_parameters_out_during_a_frame_only) {
  const image source = noise_image(8, 6, RGBA8);
  rendered_effect effect("(define A (Source) (rgba_ok) dest = (+ Source 0.25))");
  frame_request request = effect.request({&source});
  globals_record* record = nullptr;
  int during = -1, in_setup = -1;
  request.before_render = [&](pf_in_data& in, pf_param_def**, pf_world&) { record = &record_of(in); };
  request.abort = [&] {
    during = record->param_flags & tessaron::PARAM_MAY_CHECKOUT;
    in_setup = record->host_flags & tessaron::HOST_IN_FRAME_SETUP;
    return 0;
  };
  ASSERT_EQ(effect.render(request).error, 0);
  EXPECT_NE(during, 0);
  EXPECT_EQ(in_setup, 0);
  EXPECT_FALSE(record->param_flags & tessaron::PARAM_MAY_CHECKOUT);
}

}  // namespace
