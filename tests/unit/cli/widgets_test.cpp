// `tessaron widgets`: handles over the picture, dragged and listed.
#include "cli.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

namespace tessaron::cli {
namespace {

using nlohmann::json;

class Widgets : public Cli {
 protected:
  void SetUp() override {
    Cli::SetUp();
    folder.write("handles.text",
                 "(define Spot (Source) (rgba_ok)\n"
                 "  Other = [180 121.5] (screen widget simple_cross.center name Other default_off)\n"
                 "  Center = [360 243] (screen widget cross.center name Spot default_on)\n"
                 "  Amount = 1\n"
                 "  dest = (+ (* Source Amount) (* (element_of (+ Center Other) 0) 0)))\n"
                 "(define Grown (Source) (rgba_ok)\n"
                 "  expand_borders = 1 (int)\n"
                 "  Center = [360 243] (screen widget cross.center name Spot default_on)\n"
                 "  dest = (+ (blur Source [0.5 0.25] 0 1 0) (* (element_of Center 0) 0)))\n"
                 "(define Box (Source) ()\n"
                 "  Low = [180 121.5] (screen widget simple_rect.left_bottom name Box default_on)\n"
                 "  High = [540 364.5] (screen widget simple_rect.right_top)\n"
                 "  dest = (+ Source (* (element_of (+ Low High) 0) 0)))\n"
                 "(define Bare (Source) () Amount = 1 dest = (* Source Amount))\n");
    console::write_image_file(path("in.png"), console::black_image(200, 100, pixel_format::rgba8));
  }
  command_result widgets(std::vector<std::string> more, const std::string& effect = "Spot") const {
    more.insert(more.begin(), {"widgets", effect, "--defs", folder.file("handles.text")});
    return run(more);
  }
  command_result widgets_in(std::vector<std::string> more, const std::string& effect = "Spot") const {
    more.insert(more.end(), {"-i", path("in.png")});
    return widgets(more, effect);
  }
  json listed(std::vector<std::string> more, const std::string& effect = "Spot") const {
    more.push_back("--json");
    const command_result result = widgets_in(more, effect);
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  }
  /// Place of the one handle of a widget that is shown: [x, y] of the image or the window.
  static std::vector<double> place_of(const json& list, const std::string& name, const char* where = "image") {
    for (const json& widget : list)
      if (widget.at("name") == name) return widget.at("handles").at(0).at(where).get<std::vector<double>>();
    ADD_FAILURE() << name << " is not among " << list.dump();
    return {0, 0};
  }
  image picture(const std::string& name) const { return console::read_image_file(path(name)); }
  /// Whether something that is not black lies within `reach` of a pixel.
  static bool marked(const image& picture, double x, double y, int reach = 6) {
    for (int row = std::max(0, int(y) - reach); row < std::min(picture.height, int(y) + reach); ++row)
      for (int column = std::max(0, int(x) - reach); column < std::min(picture.width, int(x) + reach); ++column)
        if (picture.row(row)[4 * column + 1] > 60) return true;
    return false;
  }
};

// --- pictures ------------------------------------------------------------------------------------

TEST_F(Widgets, handles_are_drawn_over_the_rendered_picture) {
  const auto result = widgets_in({"-o", path("out.png")});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out + result.err, "");
  const image out = picture("out.png");
  ASSERT_EQ(out.width, 200);
  ASSERT_EQ(out.height, 100);
  EXPECT_TRUE(marked(out, 100, 50)) << "the middle, where the definition has it";
  EXPECT_FALSE(marked(out, 50, 75)) << "a handle that is off";
  EXPECT_FALSE(marked(out, 180, 20));
  expect_nothing_unfinished();
}

TEST_F(Widgets, zoom_scales_the_picture) {
  for (const auto& [zoom, width, height] : {std::tuple{"4", 800, 400}, std::tuple{"0.25", 50, 25}}) {
    const auto result = widgets_in({"--zoom", zoom, "-o", path("out.png")});
    ASSERT_EQ(result.status, 0) << result.err;
    const image out = picture("out.png");
    EXPECT_EQ(out.width, width);
    EXPECT_EQ(out.height, height);
    EXPECT_TRUE(marked(out, width / 2.0, height / 2.0));
    EXPECT_FALSE(marked(out, width * 0.9, height * 0.1, 2));
  }
}

TEST_F(Widgets, a_reduced_render_is_shown_at_full_size) {
  ASSERT_EQ(widgets_in({"--downsample", "2", "-o", path("out.png")}).status, 0);
  EXPECT_EQ(picture("out.png").width, 200);
  EXPECT_TRUE(marked(picture("out.png"), 100, 50));
  EXPECT_EQ(place_of(listed({"--downsample", "2x4"}), "Spot"), (std::vector<double>{100, 50}));
}

TEST_F(Widgets, deep_pictures_stay_deep) {
  console::write_image_file(path("deep.png"), console::black_image(40, 20, pixel_format::bgra16));
  const auto result = widgets({"-i", path("deep.png"), "-o", path("out.png")});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(picture("out.png").format, pixel_format::bgra16);
}

TEST_F(Widgets, a_picture_that_has_grown_moves_the_handles_with_the_layer) {
  const json list = listed({"-o", path("out.png"), "--zoom", "2"}, "Grown");
  const image out = picture("out.png");
  ASSERT_GT(out.width, 400) << "the borders have grown";
  const auto window = place_of(list, "Spot", "window");
  EXPECT_NEAR(window[0], out.width / 2.0, 1);
  EXPECT_NEAR(window[1], out.height / 2.0, 1);
  EXPECT_EQ(place_of(list, "Spot"), (std::vector<double>{100, 50}));
  EXPECT_TRUE(marked(out, window[0], window[1]));
}

TEST_F(Widgets, the_layer_needs_no_image) {
  const auto result = widgets({"--size", "60x40", "-o", path("out.png")});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(picture("out.png").width, 60);
}

// --- lists ---------------------------------------------------------------------------------------

TEST_F(Widgets, json_lists_widgets_handles_and_places) {
  const json list = listed({"--zoom", "0.5"});
  ASSERT_EQ(list.size(), 2u);
  for (const json& widget : list) {
    const bool spot = widget.at("name") == "Spot";
    EXPECT_EQ(widget.at("type_name"), spot ? "cross" : "simple_cross");
    EXPECT_EQ(widget.at("base_type"), "center");
    EXPECT_EQ(widget.at("enabled"), spot);
    EXPECT_EQ(widget.at("visible"), spot);
    EXPECT_EQ(widget.at("handles").size(), spot ? 1u : 0u);
    EXPECT_GT(widget.at("enable_index"), 0);
  }
  EXPECT_EQ(place_of(list, "Spot"), (std::vector<double>{100, 50}));
  EXPECT_EQ(place_of(list, "Spot", "window"), (std::vector<double>{50, 25}));
}

TEST_F(Widgets, parameters_place_the_handles) {
  // Pixels of 720 by 486, counted from the lower left.
  const auto at = place_of(listed({"-p", "Center=180,364.5"}), "Spot");
  EXPECT_NEAR(at[0], 50, 0.001);
  EXPECT_NEAR(at[1], 25, 0.001);
}

TEST_F(Widgets, a_keyed_parameter_is_taken_at_the_frame) {
  const auto at = place_of(listed({"-p", "Center=0,486@0 720,486@10", "--frame", "5"}), "Spot");
  EXPECT_NEAR(at[0], 100, 0.001);
  EXPECT_NEAR(at[1], 0, 0.001);
}

TEST_F(Widgets, an_effect_without_handles_has_an_empty_list) {
  const auto result = widgets_in({"--json"}, "Bare");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out), json::array());
}

TEST_F(Widgets, show_turns_handles_on) {
  for (const char* which : {"all", "Other", "other"}) {
    const auto at = place_of(listed({"--show", which}), "Other");
    EXPECT_NEAR(at[0], 50, 0.001) << which;
    EXPECT_NEAR(at[1], 75, 0.001) << which;
  }
  ASSERT_EQ(widgets_in({"--show", "all", "-o", path("out.png")}).status, 0);
  EXPECT_TRUE(marked(picture("out.png"), 50, 75));
  EXPECT_TRUE(marked(picture("out.png"), 100, 50));
}

// --- drags ---------------------------------------------------------------------------------------

TEST_F(Widgets, a_drag_prints_what_it_changed_as_p_takes_it) {
  const auto result = widgets_in({"--drag", "100,50:150,20"});
  ASSERT_EQ(result.status, 0) << result.err;
  ASSERT_TRUE(result.out.starts_with("Center=")) << result.out;
  const std::string setting = result.out.substr(0, result.out.find('\n'));
  EXPECT_EQ(result.out, setting + "\n") << "nothing else";
  const auto at = place_of(listed({"-p", setting}), "Spot");
  EXPECT_NEAR(at[0], 150, 0.01);
  EXPECT_NEAR(at[1], 20, 0.01);
}

TEST_F(Widgets, a_drag_prints_every_parameter_that_it_changed) {
  // From a quarter to three quarters of 200 by 100 pixels; its middle moves by a fortieth and a tenth of the frame.
  const auto result = widgets_in({"--drag", "100,50:105,40"}, "Box");
  ASSERT_EQ(result.status, 0) << result.err;
  std::istringstream lines(result.out);
  std::vector<std::string> settings;
  for (std::string line; std::getline(lines, line);) settings.push_back(line);
  ASSERT_EQ(settings.size(), 2u) << result.out;
  EXPECT_TRUE(settings[0].starts_with("Low=198,170.1")) << settings[0];
  EXPECT_TRUE(settings[1].starts_with("High=558,413.1")) << settings[1];
  const json list = listed({"-p", settings[0], "-p", settings[1]}, "Box");
  for (const json& handle : list.at(0).at("handles")) {
    if (handle.at("part") == "left_bottom") {
      EXPECT_NEAR(handle.at("image").at(0).get<double>(), 55, 0.01);
      EXPECT_NEAR(handle.at("image").at(1).get<double>(), 65, 0.01);
    }
  }
}

TEST_F(Widgets, a_drag_is_in_pixels_of_the_image_at_every_zoom_and_downsampling) {
  for (const std::vector<std::string>& view : {std::vector<std::string>{"--zoom", "4"},
                                               {"--zoom", "0.25"},
                                               {"--downsample", "2"},
                                               {"--pixel-aspect", "1.46"},
                                               {"--zoom", "0.5", "--downsample", "3x2", "--pixel-aspect", "0.9"}}) {
    std::vector<std::string> arguments = view;
    arguments.insert(arguments.end(), {"--drag", "100,50:150,20:30,90"});
    const auto result = widgets_in(arguments);
    ASSERT_EQ(result.status, 0) << result.err;
    const auto at = place_of(listed({"-p", result.out.substr(0, result.out.find('\n'))}), "Spot");
    EXPECT_NEAR(at[0], 30, 0.3) << view[0] << view[1];
    EXPECT_NEAR(at[1], 90, 0.3) << view[0] << view[1];
  }
}

TEST_F(Widgets, a_drag_writes_the_picture_before_and_after) {
  const auto result = widgets_in({"--drag", "100,50:150,20", "-o", path("out.png")});
  ASSERT_EQ(result.status, 0) << result.err;
  const image before = picture("out.before.png"), after = picture("out.png");
  EXPECT_TRUE(marked(before, 100, 50));
  EXPECT_FALSE(marked(before, 150, 20));
  EXPECT_FALSE(marked(after, 100, 50));
  EXPECT_TRUE(marked(after, 150, 20));
  expect_nothing_unfinished();
}

TEST_F(Widgets, a_drag_goes_where_the_picture_ends) {
  const auto result = widgets_in({"--drag=100,50:-40,130"});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto at = place_of(listed({"-p", result.out.substr(0, result.out.find('\n'))}), "Spot");
  EXPECT_NEAR(at[0], -40, 0.01);
  EXPECT_NEAR(at[1], 130, 0.01);
}

TEST_F(Widgets, a_drag_takes_a_keyed_parameter_over) {
  const auto result =
      widgets_in({"-p", "Center=0,486@0 720,0@10", "--frame", "5", "--drag", "100,50:150,20", "-o", path("out.png")});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(marked(picture("out.png"), 150, 20));
  EXPECT_FALSE(marked(picture("out.png"), 100, 50));
}

TEST_F(Widgets, a_click_that_goes_nowhere_changes_nothing) {
  const auto result = widgets_in({"--drag", "100,50:100,50"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
}

TEST_F(Widgets, a_drag_beside_the_handles_names_the_nearest) {
  const auto result = widgets_in({"--drag", "160,90:150,20", "-o", path("out.png"), "--show", "all"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(has(result.err, "no handle at 160,90")) << result.err;
  EXPECT_TRUE(has(result.err, "center of Spot (cross) at 100,50, 72.1 pixels away")) << result.err;
  EXPECT_FALSE(std::filesystem::exists(path("out.png")));
  EXPECT_FALSE(std::filesystem::exists(path("out.before.png")));
}

TEST_F(Widgets, a_drag_where_no_handle_is_shown_says_how_to_show_them) {
  folder.write("handles.text",
               "(define Spot (Source) ()\n"
               "  Center = [360 243] (screen widget cross.center name Spot default_off)\n"
               "  dest = (+ Source (* (element_of Center 0) 0)))\n");
  const auto result = widgets_in({"--drag", "100,50:150,20"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(has(result.err, "--show all")) << result.err;
  EXPECT_EQ(widgets_in({"--drag", "100,50:150,20", "--show", "Spot"}).status, 0);
}

// --- what is wrong -------------------------------------------------------------------------------

TEST_F(Widgets, an_effect_without_handles_can_be_neither_drawn_nor_dragged) {
  for (const std::vector<std::string>& what :
       {std::vector<std::string>{"-o", path("out.png")}, {"--drag", "1,1:2,2"}}) {
    const auto result = widgets_in(what, "Bare");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(has(result.err, "Bare has no on-screen handles")) << result.err;
  }
  EXPECT_FALSE(std::filesystem::exists(path("out.png")));
}

TEST_F(Widgets, a_wrong_command_line_is_status_2) {
  const std::vector<std::vector<std::string>> lines = {{},
                                                       {"-o", path("out.png"), "--zoom", "0"},
                                                       {"-o", path("out.png"), "--zoom", "-1"},
                                                       {"-o", path("out.png"), "--zoom", "nan"},
                                                       {"--json", "--zoom", "1e9"},
                                                       {"-o", path("out.png"), "--drag", "1,1"},
                                                       {"--drag", "1,1:x,2"},
                                                       {"--json", "--drag", "1,1:2,2"},
                                                       {"--json", "--downsample", "0"},
                                                       {"--json", "--pixel-aspect", "0"},
                                                       {"-o", path("out.nothing")},
                                                       {"--json", "-p", "Nothing=1"}};
  for (const std::vector<std::string>& line : lines) {
    const auto result = widgets_in(line);
    EXPECT_EQ(result.status, 2) << testing::shell_quoted(line.empty() ? "" : line.back()) << result.err;
    EXPECT_NE(result.err, "");
    EXPECT_EQ(result.out, "");
  }
  const auto unknown = widgets_in({"--json", "--show", "Sport"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_TRUE(has(unknown.err, "Did you mean Spot?")) << unknown.err;
}

TEST_F(Widgets, sizes_that_no_image_has_are_refused) {
  for (const char* zoom : {"1000", "0.001"}) {
    const auto result = widgets_in({"-o", path("out.png"), "--zoom", zoom});
    EXPECT_EQ(result.status, 1) << zoom;
    EXPECT_TRUE(has(result.err, "zoom")) << result.err;
  }
}

TEST_F(Widgets, a_folder_that_is_not_there_is_found_out_first) {
  const auto result = widgets_in({"-o", path("no/out.png"), "--drag", "100,50:150,20"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
}

}  // namespace
}  // namespace tessaron::cli
