// time_warp and get_frame against what each pixel is to show, worked out pixel by pixel.
#include <gtest/gtest.h>

#include "clip_kit.h"

namespace tessaron::testing {
namespace {

const char* const ONE_FRAME = "(define T (Source) () f = 1 interp = 0 dest = (time_warp Source f interp))";
const char* const GET_FRAME = "(define T (Source) () f = 1 interp = 0 dest = (get_frame Source f interp))";
/// The second input's red says which frame.
const char* const FRAME_BY_PIXEL =
    "(define T (Source When) () interp = 0 dest = (time_warp Source (* (element_of When 0) 8) interp))";

/// What a pixel shows: the frame below, or the two nearest ones mixed.
fix plain_sample(const clip_function& clip, fix frame, bool interp, int x, int y, int e) {
  const fix held = std::max(frame, 0);
  const int below = held / 4096, part = held % 4096;
  const fix first = clip(0, below, x, y, e);
  if (!interp || part == 0) return first;
  const fix second = clip(0, below + 1, x, y, e);
  return first + shifted_down(std::int64_t(second - first) * part, 12);
}

void expect_one_frame(const char* definition, float frame, bool interp, int channels = 3) {
  constexpr picture_size SIZE = {37, 11};
  clips_at_hand clips(SIZE, busy_clip);
  definition_renderer r(definition, {.width = SIZE.width, .height = SIZE.height, .source_channels = channels});
  r.set_param("f", {frame});
  r.set_param("interp", {interp ? 1.0f : 0.0f});
  same_everywhere(r);
  ASSERT_EQ(r.elnum(), channels);
  const fix number = fix_from_double(frame);
  for (int e = 0; e < channels; ++e)
    for (int y = 0; y < SIZE.height; ++y)
      for (int x = 0; x < SIZE.width; ++x)
        ASSERT_EQ(r.at(e, x, y), plain_sample(busy_clip, number, interp, x, y, e))
            << definition << " frame " << frame << " interp " << interp << " at " << x << "," << y;
}

TEST(time_warp, of_one_frame_shows_the_frame_below_or_a_mix_of_the_nearest_two) {
  for (const char* definition : {ONE_FRAME, GET_FRAME})
    for (const float frame : {0.0f, 1.0f, 2.25f, 2.75f, 7.9998f, 23.0f})
      for (const bool interp : {false, true}) expect_one_frame(definition, frame, interp);
}

TEST(time_warp, takes_any_number_of_channels) {
  for (const int channels : {1, 4})
    for (const bool interp : {false, true}) expect_one_frame(ONE_FRAME, 3.5f, interp, channels);
}

TEST(time_warp, of_a_negative_frame_shows_frame_0) {
  for (const char* definition : {ONE_FRAME, GET_FRAME})
    for (const float frame : {-0.5f, -1.0f, -500000.0f})
      for (const bool interp : {false, true}) expect_one_frame(definition, frame, interp);
}

TEST(time_warp, asks_for_no_more_frames_than_it_shows) {
  const auto fetched = [](float frame, float interp) {
    clips_at_hand clips({4, 3}, busy_clip);
    definition_renderer r(ONE_FRAME, {.width = 4, .height = 3});
    r.set_param("f", {frame});
    r.set_param("interp", {interp});
    EXPECT_TRUE(r.render());
    return clips.fetched;
  };
  using frames = std::vector<int>;
  EXPECT_EQ(fetched(3, 0), frames{3});
  EXPECT_EQ(fetched(3, 1), frames{3});
  EXPECT_EQ(fetched(3.5f, 0), frames{3});
  EXPECT_EQ(fetched(3.5f, 1), (frames{3, 4}));
  EXPECT_EQ(fetched(3.5f, -1), frames{3}) << "interp below 0 is off";
  EXPECT_EQ(fetched(-2, 1), frames{0});
}

/// Frame numbers by pixel, as eighths in the second input.
void expect_frames_by_pixel(picture_size size, const definition_renderer::pixel_function& when, bool interp) {
  clips_at_hand clips(size, busy_clip);
  definition_renderer r(FRAME_BY_PIXEL, {.width = size.width, .height = size.height});
  r.set_source(1, when);
  r.set_param("interp", {interp ? 1.0f : 0.0f});
  same_everywhere(r);
  for (int e = 0; e < 3; ++e)
    for (int y = 0; y < size.height; ++y)
      for (int x = 0; x < size.width; ++x)
        ASSERT_EQ(r.at(e, x, y), plain_sample(busy_clip, 8 * when(x, y, 0), interp, x, y, e))
            << x << "," << y << " of " << size.width << "x" << size.height << " interp " << interp;
}

TEST(time_warp, by_pixel_shows_each_pixel_at_its_own_time) {
  for (const picture_size size : SIZES)
    for (const bool interp : {false, true})
      expect_frames_by_pixel(size, random_picture(size.width, -600, 12000), interp);
}

TEST(time_warp, by_pixel_in_wide_frames_works_in_several_stretches) {
  for (const bool interp : {false, true})
    expect_frames_by_pixel(
        {1500, 3}, [](int x, int y, int) { return (x * 9 + y * 1700) % 11000; }, interp);
}

TEST(time_warp, by_pixel_passes_frames_over_that_no_pixel_asks_for) {
  for (const bool interp : {false, true}) {
    clips_at_hand clips({64, 5}, busy_clip);
    definition_renderer r(FRAME_BY_PIXEL, {.width = 64, .height = 5});
    r.set_source(1, [](int x, int, int) { return x < 3 ? 512 * 2 + 256 : 512 * 17; });  // 2.5 and 17
    r.set_param("interp", {interp ? 1.0f : 0.0f});
    ASSERT_TRUE(r.render());
    EXPECT_EQ(clips.fetched, interp ? (std::vector<int>{2, 3, 17}) : (std::vector<int>{2, 17}));
  }
}

TEST(time_warp, of_wild_frame_numbers_stays_near_the_clip) {
  clips_at_hand clips({8, 2}, busy_clip);
  time_globals.current_frame = 1000;
  time_globals.total_frames = 100;
  definition_renderer r("(define T (Source When) () interp = 0 dest = (time_warp Source (element_of When 0) interp))",
                        {.width = 8, .height = 2});
  r.set_source(1, [](int x, int y, int) { return x % 2 ? 0x7fffffff - y : -0x7fffffff + y; });
  r.set_param("interp", {1});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(clips.fetched, (std::vector<int>{0, 11100})) << "the current frame, the clip's length and 10000 more";
  for (const bool endless : {true, false}) {
    clips.fetched.clear();
    time_globals.current_frame = endless ? 1e30f : -1e30f;
    time_globals.total_frames = endless ? 1e30f : -5;
    ASSERT_TRUE(r.render());
    EXPECT_EQ(clips.fetched, (std::vector<int>{0, endless ? 0x7ffff : 10000}));
  }
}

TEST(time_warp, of_samples_beyond_a_planes_reach_is_held_to_it) {
  const clip_function loud = [](int, int frame, int x, int, int) { return (x % 2 ? 1 : -1) * (30000 + 4000 * frame); };
  clips_at_hand clips({4, 1}, loud);
  definition_renderer r(ONE_FRAME, {.width = 4, .height = 1});
  r.set_param("f", {0.5f});
  r.set_param("interp", {1});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 1, 0), 30000 + (2767 >> 1));
  EXPECT_EQ(r.at(0, 0, 0), -30000 + shifted_down(-2767, 1));
}

TEST(time_warp, of_a_part_of_the_frame_shows_that_part) {
  clips_at_hand clips({40, 20}, busy_clip);
  definition_renderer r(ONE_FRAME, {.width = 40, .height = 20, .x0 = 7, .y0 = 3, .x1 = 30, .y1 = 11});
  r.set_param("f", {4});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 7, 3), busy_clip(0, 4, 7, 3, 0));
  EXPECT_EQ(r.at(2, 30, 11), busy_clip(0, 4, 30, 11, 2));
}

TEST(time_warp, in_field_rendering_finds_frame_numbers_on_all_lines) {
  clips_at_hand clips({16, 8}, busy_clip);
  definition_renderer r(FRAME_BY_PIXEL, {.width = 16, .height = 8});
  r.set_source(1, [](int, int y, int) { return y % 2 ? 512 * 5 : 0x7fffff; });
  r.fill_records();
  field_globals.field_number = 1;  // the even lines are left out
  ASSERT_TRUE(r.render());
  field_globals = {};
  EXPECT_EQ(clips.fetched, std::vector<int>{5}) << "no frame of a line that is not there";
  EXPECT_EQ(r.at(1, 9, 3), busy_clip(0, 5, 9, 3, 1));
}

TEST(time_warp, of_a_constant_is_the_constant) {
  clips_at_hand clips({4, 2}, busy_clip);
  definition_renderer r("(define T (Source) () dest = (+ Source (time_warp 0.5 3 1)))", {.width = 4, .height = 2});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 1, 1), 2048);
  EXPECT_TRUE(clips.fetched.empty());
}

TEST(time_warp, goes_through_names_and_copies_to_its_clip) {
  clips_at_hand clips({4, 2}, busy_clip);
  definition_renderer r("(define T (Source) () shot = (copy Source) dest = (time_warp shot 6 0))",
                        {.width = 4, .height = 2});
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 3, 1), busy_clip(0, 6, 3, 1, 0));
}

TEST(time_warp, of_a_picture_that_is_no_clip_is_refused) {
  for (const char* dest : {"(time_warp (* Source 0.5) 3 1)", "(get_frame (* Source 0.5) 3 1)", "(time_warp x 3 1)",
                           "(get_frame (blur Source 1 0 1 0) 3 1)"}) {
    clips_at_hand clips({8, 4}, busy_clip);
    definition_renderer r(std::string("(define T (Source) () dest = ") + dest + ")", {.width = 8, .height = 4});
    report_capture reports;
    EXPECT_FALSE(r.render()) << dest;
    EXPECT_EQ(reports.severity_of("ERROR: time_warp: first arg must be a clip."), REPORT_PLAIN) << reports.all();
    EXPECT_TRUE(clips.fetched.empty());
    EXPECT_EQ(r.at(0, 0, 0), definition_renderer::UNTOUCHED);
  }
}

TEST(time_warp, without_memory_for_a_frame_says_so_and_ends_the_render) {
  for (const char* definition : {ONE_FRAME, GET_FRAME}) {
    clips_at_hand clips({8, 4}, busy_clip);
    clips.answer = [](int) { return clip_fetch::no_buffer; };
    definition_renderer r(definition, {.width = 8, .height = 4});
    report_capture reports;
    r.fill_records();
    abort_requested = 0;
    EXPECT_EQ(perform_effect(), -1);
    EXPECT_EQ(reports.severity_of("ERROR: time_warp: dest_buffer not set. \n"), REPORT_PLAIN) << reports.all();
    EXPECT_EQ(clips.fetched.size(), 1u);
    clips.answer = nullptr;
    EXPECT_TRUE(r.render()) << "the next frame is none the worse";
    EXPECT_EQ(r.at(0, 2, 2), busy_clip(0, 1, 2, 2, 0));
  }
}

TEST(time_warp, ends_its_loop_over_frames_when_the_render_is_to_stop) {
  clips_at_hand clips({64, 4}, busy_clip);
  definition_renderer r(FRAME_BY_PIXEL, {.width = 64, .height = 4});
  r.set_source(1, [](int x, int, int) { return x * 128; });
  clips.answer = [](int frame) {
    if (frame == 3) request_abort();
    return clip_fetch::done;
  };
  set_abort_query([] { return 0; });
  EXPECT_FALSE(r.render());
  EXPECT_EQ(clips.fetched, (std::vector<int>{0, 1, 2, 3}));
  clips.answer = [](int frame) { return frame == 2 ? (request_abort(), clip_fetch::refused) : clip_fetch::done; };
  clips.fetched.clear();
  EXPECT_FALSE(r.render());
  EXPECT_EQ(clips.fetched, (std::vector<int>{0, 1, 2}));
  clips.answer = nullptr;
  EXPECT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 63, 2), busy_clip(0, 15, 63, 2, 0)) << "nothing of the stopped frame is left";
  set_abort_query(nullptr);
}

TEST(time_warp, reads_a_new_frame_number_from_every_frame) {
  clips_at_hand clips({4, 2}, busy_clip);
  definition_renderer r("(define T (Source) () dest = (time_warp Source (- (get_frame_number) 2) 0))",
                        {.width = 4, .height = 2});
  for (const int frame : {0, 1, 2, 3, 9}) {
    time_globals.current_frame = float(frame);
    ASSERT_TRUE(r.render());
    EXPECT_EQ(r.at(0, 1, 1), busy_clip(0, std::max(frame - 2, 0), 1, 1, 0)) << frame;
  }
}

TEST(get_frame, of_a_frame_number_that_varies_counts_that_in_the_middle) {
  clips_at_hand clips({9, 5}, busy_clip);
  definition_renderer r("(define T (Source) () dest = (get_frame Source (* (+ x 1) 4) 0))", {.width = 9, .height = 5});
  report_capture reports;
  ASSERT_TRUE(r.render());
  EXPECT_EQ(clips.fetched.size(), 1u);
  EXPECT_EQ(r.at(0, 8, 0), busy_clip(0, clips.fetched[0], 8, 0, 0));
  EXPECT_GE(clips.fetched[0], 3);
  EXPECT_LE(clips.fetched[0], 4);
  EXPECT_TRUE(reports.has_part("'frame' takes one value for the whole image")) << reports.all();
}

/// Memory as the engine's own, but not the engine's: what it holds is given back when this comes and goes.
constexpr handle_suite OTHER_MEMORY = {[](std::int64_t size) -> void** {
                                         void** handle = static_cast<void**>(std::malloc(sizeof(void*)));
                                         *handle = std::malloc(std::size_t(size));
                                         return handle;
                                       },
                                       [](void** handle) { return *handle; }, [](void**) {},
                                       [](void** handle) {
                                         std::free(*handle);
                                         std::free(handle);
                                       }};

TEST(long_image, takes_one_element_and_needs_memory_of_its_own) {
  definition_renderer r("(define T (Source) () dest = (+ Source x))", {.width = 4, .height = 2});
  ASSERT_TRUE(r.render());
  set_handle_suite(&OTHER_MEMORY);
  report_capture reports;
  eval_node_tree_into_long_image(r.root());
  EXPECT_EQ(reports.severity_of("ERROR: eval_node_tree_into_long_image: elnum should be 1.\n"), REPORT_PLAIN);
  eval_node_tree_into_long_image(*r.root().args[1]);
  EXPECT_EQ(reports.severity_of("ERROR: eval_node_tree_into_long_image: no long_image.\n"), REPORT_PLAIN);
  set_handle_suite(nullptr);
}

}  // namespace
}  // namespace tessaron::testing
