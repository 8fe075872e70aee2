// Data files through whole sessions of a host: what a file holds when a session first needs it counts until that
// session ends, and not longer.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "tests/support/config_folder.h"
#include "tests/support/render_kit.h"

namespace tessaron::testing {
namespace {

struct data_file {
  const char* name;
  std::string red, green;  // of two files, alike but for these two channels
  std::string broken;      // what may stand in front of an entry and is passed over
  const char* dest;
  rgba without;  // the picture where there is no entry
};

/// The text of an entry with numbers in the places of its two channels.
std::string with(std::string text, const std::string& red, const std::string& green) {
  for (const auto& [mark, value] : {std::pair{"RED", red}, {"GREEN", green}})
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos;)
      text.replace(at, std::string(mark).size(), value);
  return text;
}

const char* const FLARE = "begin One spot center 1 radii 0.1 0.9 colors RED GREEN 0.1 RED GREEN 0.1 end\n";
const char* const GLARE = "begin One spot radii 0.1 0.9 colors RED GREEN 0.1 RED GREEN 0.1 end\n";
const char* const FILM =
    "begin One color_curves log10 log10\n"
    "red -3 1.2 -1 RED 1 0.2 green -3 1.2 -1 GREEN 1 0.2 blue -3 1.2 -1 0.9 1 0.2 end_color_curves\n"
    "normal_gray_exposure -1 end One\n";

const data_file FILES[] = {
    {"t_lensflares.text",
     with(FLARE, "0.8", "0.2"),
     with(FLARE, "0.2", "0.8"),
     "begin Bad ring center 1 radii 1 colors 1 none end\n",
     "(lens_flare 0 [0 0] [0 0] 1 1 1 0 [1 1 1] [1 1 1] [1 1 1])",
     {0, 0, 0, 255}},
    {"t_glares.text",
     with(GLARE, "0.8", "0.2"),
     with(GLARE, "0.2", "0.8"),
     "begin Bad blob radii 1 colors one end\n",
     "(glare Source 0.25 0 [1 1] 1 1 0 0 0 0)",
     {0, 0, 0, 255}},
    {"t_filmtypes.text",
     with(FILM, "1.1", "0.5"),
     with(FILM, "0.5", "1.1"),
     "end of nothing\n",
     "(film_effect Source [1 0 0 0] [1 1 1 0] 0 [0 0 0] [0 1] [0 0 0] 0 [0 0 0] [0 0 0] [0.5 0.5 0.5 0] [0 0 0] "
     "[0 0 0 0])",
     {128, 128, 128, 255}}};

class data_file_of_sessions : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { ::testing::internal::CaptureStderr(); }
  void TearDown() override { ::testing::internal::GetCapturedStderr(); }

  const data_file& file() const { return FILES[GetParam()]; }
  void write(const std::string& text) { folder_.folder().write(file().name, text); }
  void remove() { std::filesystem::remove(folder_.folder().file(file().name)); }

  /// The middle of a frame of grey.
  rgba middle_of_frame(rendered_effect& effect) const {
    const image grey = filled(40, 30, pixel_format::rgba8, {128, 128, 128, 255});
    const frame_result frame = effect.render({&grey});
    EXPECT_EQ(frame.error, 0) << text_of(frame.messages);
    return pixel(frame.output, 20, 15);
  }
  rgba middle_in_a_session() const {
    rendered_effect effect(definition());
    return middle_of_frame(effect);
  }
  std::string definition() const { return std::string("(define A (Source) () dest = ") + file().dest + ")"; }

  config_folder folder_{{"t_config.text", ""}};
};

TEST_P(data_file_of_sessions, counts_as_it_is_when_a_session_needs_it_first) {
  rgba red;
  write(file().red);
  {
    rendered_effect effect(definition());
    red = middle_of_frame(effect);
    EXPECT_NE(red.r, red.g);
    write(file().green);
    EXPECT_EQ(middle_of_frame(effect), red);
    remove();
    EXPECT_EQ(middle_of_frame(effect), red);
  }
  write(file().green);
  EXPECT_EQ(middle_in_a_session(), (rgba{red.g, red.r, red.b, red.a}));
  write(file().red);
  EXPECT_EQ(middle_in_a_session(), red);
}

TEST_P(data_file_of_sessions, may_be_missing_empty_or_broken_in_one_and_whole_in_the_next) {
  write(file().red);
  const rgba red = middle_in_a_session();
  for (const char* text : {"", "\n \n", "no entry at all"}) {
    write(text);
    EXPECT_EQ(middle_in_a_session(), file().without) << text;
    write(file().red);
    EXPECT_EQ(middle_in_a_session(), red);
  }
  remove();
  EXPECT_EQ(middle_in_a_session(), file().without);
  write(file().broken + file().red);
  EXPECT_EQ(middle_in_a_session(), red);
}

INSTANTIATE_TEST_SUITE_P(all, data_file_of_sessions, ::testing::Range(0, 3), [](const auto& info) {
  const std::string name = FILES[info.param].name;
  return name.substr(0, name.find('.'));
});

}  // namespace
}  // namespace tessaron::testing
