// Fields: lines of a frame taken apart and put together, against their rules written out line by line.
#include <gtest/gtest.h>

#include "clip_kit.h"

namespace tessaron::testing {
namespace {

constexpr picture_size FIELD_SIZES[] = {{1, 1}, {5, 2}, {4, 3}, {7, 8}, {6, 9}, {600, 6}};

/// Fields count from the last line: field 1 has it, field 0 the line above.
int plain_field(int y, int height) { return (height - 1 - y) % 2 == 0 ? 1 : 0; }

using plain_picture = std::function<fix(int x, int y, int e)>;

fix rebuilt(const plain_picture& picture, int field, int x, int y, int e, int height) {
  if (plain_field(y, height) == field || height == 1) return picture(x, y, e);
  const int above = y > 0 ? y - 1 : y + 1, below = y + 1 < height ? y + 1 : y - 1;
  return shifted_down(picture(x, above, e) + picture(x, below, e), 1);
}

plain_picture frame_of(int clip, int frame) {
  return [=](int x, int y, int e) { return busy_clip(clip, frame, x, y, e); };
}

TEST(extract_field, keeps_a_fields_lines_and_rebuilds_those_between_from_their_neighbours) {
  const plain_picture picture = [](int x, int y, int e) { return busy_clip(0, 0, x, y, e) - 2000; };
  for (const picture_size size : FIELD_SIZES)
    for (const int channels : {1, 3, 4})
      for (const float field : {0.0f, 1.0f, 2.0f, 3.0f, -1.0f}) {
        definition_renderer r("(define T (Source) () field = 0 dest = (extract_field Source field))",
                              {.width = size.width, .height = size.height, .source_channels = channels});
        r.set_source(0, picture);
        r.set_param("field", {field});
        same_everywhere(r);
        for (int e = 0; e < channels; ++e)
          for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
              ASSERT_EQ(r.at(e, x, y), rebuilt(picture, int(field) & 1, x, y, e, size.height))
                  << "field " << field << " line " << y << " of " << size.height;
      }
}

TEST(extract_field, counts_lines_in_the_frame_and_not_in_the_part_that_is_computed) {
  const plain_picture picture = frame_of(0, 0);
  definition_renderer r("(define T (Source) () dest = (extract_field Source 0))",
                        {.width = 8, .height = 10, .x0 = 1, .y0 = 3, .x1 = 6, .y1 = 8});
  r.set_source(0, picture);
  ASSERT_TRUE(r.render());
  EXPECT_EQ(r.at(0, 2, 4), picture(2, 4, 0)) << "an upper line";
  EXPECT_EQ(r.at(0, 2, 5), (picture(2, 4, 0) + picture(2, 6, 0)) >> 1);
}

/// Puts the kernels of one level into the calls of interlace.
void use_interlace_of(definition_renderer& r, cpu_level level) {
  for (node* n : r.calls_of("interlace")) n->own_kernel = level_catalogue(level).find("interlace")->kernels[0];
}

TEST(interlace, puts_the_first_picture_on_the_dominant_fields_lines) {
  for (const picture_size size : FIELD_SIZES)
    for (const int dominance : {0, 1}) {
      definition_renderer r(
          "(define T (A B) () dominance = 0 dest = (v3 (interlace (element_of A 0) (element_of B 0) dominance)"
          " (interlace A B dominance) (interlace (element_of A 2) 0.5 dominance)))",
          {.width = size.width, .height = size.height});
      r.set_source(0, frame_of(0, 0));
      r.set_source(1, frame_of(1, 0));
      r.set_param("dominance", {float(dominance)});
      same_everywhere(r);
      for (const cpu_level level : usable_levels()) {
        use_interlace_of(r, level);
        ASSERT_TRUE(r.render());
        for (int y = 0; y < size.height; ++y)
          for (int x = 0; x < size.width; ++x) {
            const bool first = plain_field(y, size.height) == dominance;
            const fix red = busy_clip(first ? 0 : 1, 0, x, y, 0);
            ASSERT_EQ(r.at(0, x, y), red) << "line " << y << " of " << size.height << " dominance " << dominance;
            ASSERT_EQ(r.at(1, x, y), red) << "colours give their first element";
            ASSERT_EQ(r.at(2, x, y), first ? busy_clip(0, 0, x, y, 2) : 2048);
          }
      }
    }
}

TEST(interlace, of_two_constants_has_lines_of_both) {
  definition_renderer r("(define T (A) () dest = (+ (* A 0) (interlace 0.25 0.75 0)))", {.width = 3, .height = 4});
  ASSERT_TRUE(r.render());
  for (int y = 0; y < 4; ++y) EXPECT_EQ(r.at(0, 1, y), y % 2 ? 3072 : 1024) << y;
}

TEST(interlace, of_a_part_of_the_frame_counts_lines_in_the_frame) {
  definition_renderer r("(define T (A) () dest = (+ (* A 0) (interlace 0.25 0.75 0)))",
                        {.width = 9, .height = 8, .x0 = 2, .y0 = 3, .x1 = 7, .y1 = 6});
  ASSERT_TRUE(r.render());
  for (int y = 3; y < 7; ++y) EXPECT_EQ(r.at(0, 4, y), y % 2 ? 3072 : 1024) << y;
}

TEST(interlace, of_the_fields_of_a_picture_is_the_picture) {
  for (const picture_size size : FIELD_SIZES) {
    definition_renderer r(
        "(define T (A) () grey = (element_of A 1)"
        " dest = (+ (* A 0) (interlace (extract_field grey 0) (extract_field grey 1) 0)))",
        {.width = size.width, .height = size.height});
    r.set_source(0, frame_of(0, 0));
    ASSERT_TRUE(r.render());
    for (int y = 0; y < size.height; ++y) EXPECT_EQ(r.at(0, 0, y), busy_clip(0, 0, 0, y, 1)) << y;
  }
}

TEST(interlace_get_frames, weaves_fields_of_two_frames_of_two_clips) {
  const char* const definition =
      "(define T (A B) () fields = [0 1] order = [0 0]"
      " dest = (interlace_get_frames A 3.75 (element_of fields 0) B -2 (element_of fields 1)"
      " (element_of order 0) (element_of order 1)))";
  for (const picture_size size : FIELD_SIZES)
    for (int choice = 0; choice < 16; ++choice) {
      const int field0 = choice & 1, field1 = choice >> 1 & 1, reversed = choice >> 2 & 1, dominance = choice >> 3;
      clips_at_hand clips(size, busy_clip);
      definition_renderer r(definition, {.width = size.width, .height = size.height});
      r.set_param("fields", {float(field0), float(field1)});
      r.set_param("order", {float(reversed), float(dominance)});
      same_everywhere(r);
      for (int e = 0; e < 3; ++e)
        for (int y = 0; y < size.height; ++y)
          for (int x = 0; x < size.width; ++x) {
            const bool first = (plain_field(y, size.height) ^ reversed) == dominance;
            const fix wanted = first ? rebuilt(frame_of(0, 3), field0, x, y, e, size.height)
                                     : rebuilt(frame_of(1, 0), field1, x, y, e, size.height);
            ASSERT_EQ(r.at(e, x, y), wanted) << "choice " << choice << " line " << y << " of " << size.height;
          }
    }
}

TEST(interlace_get_frames, of_a_frames_own_fields_is_the_frame) {
  for (const int channels : {1, 3, 4}) {
    clips_at_hand clips({6, 8}, busy_clip);
    definition_renderer r("(define T (A) () dest = (interlace_get_frames A 5 0 A 5 1 0 0))",
                          {.width = 6, .height = 8, .source_channels = channels});
    same_everywhere(r);
    for (int e = 0; e < channels; ++e)
      for (int y = 0; y < 8; ++y) EXPECT_EQ(r.at(e, 2, y), busy_clip(0, 5, 2, y, e)) << y;
  }
}

TEST(interlace_get_frames, of_what_is_no_clip_is_refused) {
  for (const char* dest :
       {"(interlace_get_frames (* A 0.5) 1 0 A 1 1 0 0)", "(interlace_get_frames A 1 0 (* A 0.5) 1 1 0 0)"}) {
    clips_at_hand clips({6, 4}, busy_clip);
    definition_renderer r(std::string("(define T (A) () dest = ") + dest + ")", {.width = 6, .height = 4});
    report_capture reports;
    EXPECT_FALSE(r.render());
    EXPECT_EQ(reports.severity_of("ERROR: get_interlaced_frame: clip args are not both clips."), REPORT_PLAIN)
        << reports.all();
    EXPECT_TRUE(clips.fetched.empty());
  }
}

TEST(interlace_get_frames, stops_behind_a_frame_that_it_does_not_get) {
  clips_at_hand clips({6, 4}, busy_clip);
  definition_renderer r("(define T (A) () dest = (interlace_get_frames A 5 0 A 6 1 0 0))", {.width = 6, .height = 4});
  clips.answer = [](int) { return clip_fetch::no_buffer; };
  report_capture reports;
  EXPECT_FALSE(r.render());
  EXPECT_TRUE(reports.has("ERROR: time_warp: dest_buffer not set. \n"));
  EXPECT_EQ(clips.fetched, std::vector<int>{5});
}

}  // namespace
}  // namespace tessaron::testing
