// Frames of other times out of a host: which slot and time are asked for, what the host may answer.
#include <gtest/gtest.h>

#include "support/render_kit.h"

namespace tessaron::testing {
namespace {

constexpr auto RGBA8 = pixel_format::rgba8;
constexpr int FRAMES = 6;

/// A host whose inputs differ from frame to frame.
class moving_inputs {
 public:
  moving_inputs(const std::string& definition, int n_inputs, pixel_format format = RGBA8, int row_padding = 0)
      : effect_(definition, format), format_(format) {
    for (int input = 0; input < n_inputs; ++input)
      for (int frame = 0; frame < FRAMES; ++frame)
        pictures_.push_back(noise_image(9 + input, 7, format, unsigned(100 * input + frame + 1), row_padding));
  }
  image& picture(int input, int frame) { return pictures_[std::size_t(input * FRAMES + frame)]; }
  frame_request request(int frame) {
    frame_request r = effect_.request({});
    for (int input = 0; input < int(pictures_.size()) / FRAMES; ++input) r.inputs.push_back(&picture(input, frame));
    r.frame = frame;
    r.total_frames = FRAMES;
    r.input_at = [this](int slot, double at) -> const image* {
      asked.emplace_back(slot, at);
      if (at < 0 || at >= FRAMES || slot >= int(pictures_.size()) / FRAMES) return nullptr;
      return &picture(slot, int(at));
    };
    return r;
  }
  frame_result render(const frame_request& r) {
    frame_result result = effect_.render(r);
    EXPECT_EQ(result.inputs_left_out, 0);
    return result;
  }
  frame_result render(int frame) { return render(request(frame)); }
  rendered_effect& effect() { return effect_; }

  std::vector<std::pair<int, double>> asked;

 private:
  rendered_effect effect_;
  pixel_format format_;
  std::vector<image> pictures_;
};

/// The colours of `result` are those of `picture`.
void expect_colours(const image& result, const image& picture, const std::string& what) {
  ASSERT_EQ(result.width, picture.width);
  for (int y = 0; y < result.height; ++y)
    for (int x = 0; x < result.width; ++x)
      for (int c = 0; c < 3; ++c)
        ASSERT_EQ(get_field(result, x, y, c), get_field(picture, x, y, c)) << what << " at " << x << "," << y;
}

TEST(frames_of_a_host, come_from_the_time_that_is_asked_for) {
  for (const pixel_format format : {RGBA8, pixel_format::bgra8})
    for (const int padding : {0, 12}) {
      moving_inputs host("(define T (Source) () f = 4 dest = (get_frame Source f 0))", 1, format, padding);
      const frame_result result = host.render(1);
      ASSERT_EQ(result.error, 0) << text_of(result.messages);
      expect_colours(result.output, host.picture(0, 4), "frame 4");
      EXPECT_EQ(host.asked, (std::vector<std::pair<int, double>>{{0, 4}}));
    }
}

TEST(frames_of_a_host, of_deep_pictures_keep_their_values) {
  for (const pixel_format format : {pixel_format::rgba16, pixel_format::bgra16}) {
    moving_inputs earlier("(define T (Source) () dest = (get_frame Source 4 0))", 1, format, 8),
        plain("(define T (Source) () dest = Source)", 1, format, 8);
    expect_colours(earlier.render(2).output, plain.render(4).output, "deep");
  }
}

TEST(frames_of_a_host, of_the_frame_at_hand_is_the_picture_at_hand) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source (get_frame_number) 0))", 1);
  for (const int frame : {0, 3}) {
    expect_colours(host.render(frame).output, host.picture(0, frame), "now");
    EXPECT_TRUE(host.asked.empty()) << "the host kit need not be asked for it";
  }
}

TEST(frames_of_a_host, of_a_second_input_come_from_its_slot_and_lie_as_it_does) {
  moving_inputs host("(define T (Front Back) () dest = (+ (* Front 0) (get_frame Back 3 0)))", 2),
      plain("(define T (Front Back) () dest = (+ (* Front 0) Back))", 2);
  const frame_result result = host.render(1);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(host.asked, (std::vector<std::pair<int, double>>{{1, 3}}));
  expect_colours(result.output, plain.render(3).output, "back plate");
}

TEST(frames_of_a_host, mixed_are_the_mix_of_two_inputs) {
  moving_inputs host("(define T (A) () dest = (time_warp A 2.375 1))", 1);
  rendered_effect plain("(define T (A B) () dest = (interp A B 0.375))");
  const frame_result mixed = host.render(0);
  const frame_result wanted = plain.render({&host.picture(0, 2), &host.picture(0, 3)});
  expect_colours(mixed.output, wanted.output, "mix");
}

TEST(frames_of_a_host, may_be_of_another_size) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  host.picture(0, 4) = filled(5, 3, RGBA8, {200, 100, 50, 255});
  frame_result result = host.render(1);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(pixel(result.output, 4, 2).r, 200);
  EXPECT_EQ(pixel(result.output, 5, 2).r, 0) << "nothing lies beyond it";
  host.picture(0, 4) = filled(40, 30, RGBA8, {200, 100, 50, 255});
  result = host.render(1);
  EXPECT_EQ(pixel(result.output, 8, 6).r, 200);
  EXPECT_EQ(pixel(result.output, 0, 0).b, 50);
}

TEST(frames_of_a_host, that_has_no_picture_there_are_clear) {
  moving_inputs host("(define T (Source) (rgba_ok) dest = (get_frame Source 9 0))", 1);
  const frame_result result = host.render(1);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(pixel(result.output, 3, 3), rgba{});
}

TEST(frames_of_a_host, of_an_input_without_a_layer_are_clear) {
  moving_inputs host("(define T (Front Back) () dest = (+ (* Front 0) (time_warp Back 3.5 1)))", 1);
  const frame_result result = host.render(1);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(pixel(result.output, 3, 3).r, 0);
}

TEST(frames_of_a_host, of_an_input_that_takes_the_first_ones_layer_are_the_first_ones) {
  moving_inputs host("(define T (Front Back) (default_input_self 1) dest = (+ (* Front 0) (get_frame Back 3 0)))", 1);
  const frame_result result = host.render(1);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  EXPECT_EQ(host.asked, (std::vector<std::pair<int, double>>{{0, 3}}));
  expect_colours(result.output, host.picture(0, 3), "self");
}

TEST(frames_of_a_host, that_it_fails_to_give_end_the_render_with_its_error) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  frame_request request = host.request(1);
  request.before_render = [](pf_in_data& in, pf_param_def**, pf_world&) {
    in.inter.checkout_param = [](void*, std::int32_t, std::int32_t, std::int32_t, std::uint32_t, pf_param_def*) {
      return std::int32_t(777);
    };
  };
  const frame_result failed = host.effect().render(request);
  EXPECT_EQ(failed.error, 777);
  EXPECT_TRUE(mentions(failed.messages, "Frame 4 of Source: the host does not give it, error 777."))
      << text_of(failed.messages);
  expect_colours(host.render(1).output, host.picture(0, 4), "the next render is none the worse");
}

TEST(frames_of_a_host, that_throws_over_them_come_out_as_thrown) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  frame_request request = host.request(1);
  request.input_at = [](int, double) -> const image* { throw std::runtime_error("no such file"); };
  try {
    host.effect().render(request);
    FAIL();
  } catch (const std::runtime_error& fault) {
    EXPECT_STREQ(fault.what(), "no such file");
  }
  EXPECT_TRUE(mentions(host.effect().instance().take_messages(), "Frame 4 of Source: the host does not give it"));
  expect_colours(host.render(1).output, host.picture(0, 4), "the next render is none the worse");
}

TEST(frames_of_a_host, in_a_layout_that_was_not_agreed_on_are_refused) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  host.picture(0, 4) = filled(5, 3, pixel_format::bgra8, {200, 100, 50, 255});
  EXPECT_THROW(host.effect().render(host.request(1)), hostkit::host_error);
}

TEST(frames_of_a_host, of_worlds_that_can_not_be_read_end_the_render) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  host.picture(0, 4).rowbytes = 8;  // rows shorter than their pixels
  const frame_result result = host.render(1);
  EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
  EXPECT_TRUE(mentions(result.messages, "a row doesn't hold its pixels")) << text_of(result.messages);
}

TEST(frames_of_a_host, without_memory_for_them_end_the_render) {
  const int before = hostkit::live_handles();
  {
    moving_inputs host("(define T (Source) () dest = (time_warp Source 2.5 1))", 1);
    ASSERT_EQ(host.render(1).error, 0);
    const int held = hostkit::live_handles();
    hostkit::fail_handles_after(0);  // planes are there from the frame before; the buffer is not
    const frame_result result = host.render(1);
    hostkit::fail_handles_after(-1);
    EXPECT_EQ(result.error, PF_Err_BAD_REQUEST);
    EXPECT_TRUE(mentions(result.messages, "ERROR: time_warp: dest_buffer not set. ")) << text_of(result.messages);
    EXPECT_EQ(hostkit::live_handles(), held) << "nothing of the frame is kept";
    EXPECT_EQ(host.render(1).error, 0);
    EXPECT_EQ(hostkit::live_handles(), held) << "the buffer was given back";
  }
  EXPECT_EQ(hostkit::live_handles(), before);
}

TEST(frames_of_a_host, of_a_render_that_is_cancelled_give_their_memory_back) {
  moving_inputs host("(define T (Source) () dest = (time_warp Source (* (+ x 1) 2) 1))", 1);
  ASSERT_EQ(host.render(1).error, 0);
  const int held = hostkit::live_handles();
  for (int questions = 0; questions < 3; ++questions) {
    frame_request request = host.request(1);
    int asked = 0;
    request.abort = [&] { return asked++ >= questions ? int(PF_Err_CANCEL) : 0; };
    host.render(request);
    EXPECT_EQ(hostkit::live_handles(), held);
  }
}

TEST(frames_of_a_host, at_reduced_resolution_are_taken_as_the_host_reduces_them) {
  moving_inputs host("(define T (Source) () dest = (get_frame Source 4 0))", 1);
  frame_request request = host.request(1);
  request.downsample_x = request.downsample_y = 2;
  request.width = 18;
  request.height = 14;
  const frame_result result = host.render(request);
  ASSERT_EQ(result.error, 0) << text_of(result.messages);
  expect_colours(result.output, host.picture(0, 4), "reduced");
}

}  // namespace
}  // namespace tessaron::testing
