// On-screen handles of the stock effects: what lies on the picture can be dragged there.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "genotype/genotype.h"
#include "host/inspect.h"
#include "support/definition_files.h"
#include "support/report_capture.h"
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

std::vector<definition_text> stock_effects() {
  std::vector<definition_text> all;
  for (const auto& file : test::files_with_ending(TESSARON_SOURCE_DIR "/effects", ".text")) {
    std::vector<definition_text> definitions;
    std::string error;
    EXPECT_TRUE(scan_definitions(file.string(), definitions, error)) << error;
    all.insert(all.end(), definitions.begin(), definitions.end());
  }
  return all;
}

template <typename VISIT>
void for_each_param(const VISIT& visit) {
  for (const definition_text& definition : stock_effects()) {
    std::vector<inspected_report> reports;
    genotype* g = inspect_definition(definition, reports);
    ASSERT_NE(g, nullptr) << definition.name;
    for (int i = 0; i < g->n_params; ++i) visit(definition.name, *g->params[i]);
    free_inspected(g);
  }
}

bool is_place(const param& p) {
  return p.nchannels == 2 &&
         (p.units() == UNITS_SCREEN || p.units() == UNITS_SCREEN_CENTER || p.units() == UNITS_NORMALIZE);
}

/// Angles that are no direction on the picture: hues, phases, turns out of the picture's plane and within a part of it.
const std::set<std::string> OTHER_ANGLES = {
    "Feedback_Zoom.Hue_Shift", "Gradient_Direction_Tint.Turn", "Hsv_Adjust.Hue_Shift", "Hue_Saturation.Hue",
    "Insect_Eye.Turn_In_Lens", "Measuring_Grid.Lean",          "Measuring_Grid.Swing", "Ripple.Phase"};

TEST(stock_handles, stand_for_every_place_on_the_picture) {
  int count = 0;
  for_each_param([&](const std::string& effect, const param& p) {
    if (!is_place(p)) return;
    EXPECT_NE(p.widgets, nullptr) << effect << "." << p.name;
    ++count;
  });
  EXPECT_GE(count, 40);
}

TEST(stock_handles, stand_for_every_direction_on_the_picture) {
  int count = 0;
  for_each_param([&](const std::string& effect, const param& p) {
    if (!(p.flags[4] & PARAM4_ANGLE)) return;
    EXPECT_EQ(p.widgets != nullptr, !OTHER_ANGLES.contains(effect + "." + p.name)) << effect << "." << p.name;
    ++count;
  });
  EXPECT_GE(count, 40);
}

/// Numbers would forbid all others in a plug-in of several effects.
TEST(stock_handles, have_no_instance_numbers) {
  for_each_param([](const std::string& effect, const param& p) {
    for (const widget_entry* entry = p.widgets; entry; entry = entry->next)
      EXPECT_LT(entry->order, 0) << effect << "." << p.name;
  });
}

/// Shows one widget alone, so that no other lies in front of it.
void show_only(widget_host& host, int widget) {
  host.draw();
  for (const shown_handle& h : host.handles)
    if (h.enable_index > 0) host.params[std::size_t(h.enable_index)].u.checkbox.value = h.widget == widget;
}

/// Drags each handle of a widget a little way; the number of those that could be taken hold of.
int drag_all(widget_host& host, int widget, const std::string& effect) {
  int held = 0;
  show_only(host, widget);
  const auto own = [&] {
    std::vector<shown_handle> list = host.draw();
    std::erase_if(list, [&](const shown_handle& h) { return h.widget != widget || h.handle < 0; });
    return list;
  };
  const std::size_t n = own().size();
  for (std::size_t i = 0; i < n; ++i) {
    const std::vector<shown_handle> now = own();
    if (i >= now.size()) break;
    const shown_handle& h = now[i];
    if (!host.click(h.x, h.y)) continue;
    host.drag_to(h.x + 13, h.y - 17);
    EXPECT_TRUE(host.changed_anything()) << effect << ": " << h.name << " " << h.part;
    host.release(h.x + 13, h.y - 17);
    ++held;
  }
  return held;
}

TEST(stock_handles, gather_without_a_report_and_drag_something) {
  int count = 0;
  for (const definition_text& definition : stock_effects()) {
    report_capture reports;
    widget_host host(definition.text);
    host.draw();
    std::set<std::string> names;
    int n_widgets = 0;
    for (const shown_handle& h : host.handles) {
      const bool is_new = h.widget >= n_widgets;
      EXPECT_TRUE(!is_new || names.insert(h.name).second) << definition.name << ": two of " << h.name;
      n_widgets = std::max(n_widgets, h.widget + 1);
      EXPECT_GT(h.enable_index, 0) << definition.name << ": " << h.name;
    }
    for (int widget = 0; widget < n_widgets; ++widget)
      EXPECT_GT(drag_all(host, widget, definition.name), 0) << definition.name << ": widget " << widget;
    EXPECT_TRUE(reports.empty()) << definition.name << "\n" << reports.all();
    count += n_widgets;
  }
  EXPECT_GE(count, 75);
}

TEST(stock_handles, lie_where_the_effect_shows_it) {
  const auto text_of = [](const std::string& name) {
    for (const definition_text& definition : stock_effects())
      if (definition.name == name) return definition.text;
    return std::string();
  };
  // A frame of 640 by 360. Widths are parts of the frame's width, percentages of norm units parts of half of it.
  widget_host blur(text_of("Soft_Blur"));
  blur.set_slider("Radius", 10);
  EXPECT_NEAR(blur.handle("rel_x").x, 320 - 64, 0.5);
  widget_host swirl(text_of("Swirl"));
  swirl.set_slider("Radius", 50);
  EXPECT_NEAR(swirl.handle("radius").x, 320 + 160, 0.5);
  widget_host glint(text_of("Star_Glint"));
  glint.set_slider("Size", 50);
  glint.set_slider("Across Size", 100);
  EXPECT_NEAR(glint.handle("size_x").x, 320 + 160, 0.5);
  // Three quarters of the way from the left side to the right one.
  widget_host wipe(text_of("Linear_Wipe"));
  wipe.set_slider("Progress", 75);
  EXPECT_NEAR(wipe.handle("wipe_amount").x, 480, 0.5);
}

}  // namespace
}  // namespace tessaron::testing
