// Every type with all parts of its base type: drawn, pointed at, dragged through nothing and back.
#include <string>

#include "host/widgets/types.h"
#include "unit/widgets/widget_kit.h"

namespace tessaron::testing {
namespace {

/// A parameter for a part: places have two channels, angles turn, switches are off.
std::string part_parameter(const std::string& name, const std::string& entry) {
  const auto is_one_of = [&](std::initializer_list<const char*> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  if (is_one_of({"center", "offset", "shift", "right_top"})) return "[0.15 0.1] (min -10 " + entry + ")";
  if (name == "left_bottom") return "[-0.4 -0.25] (min -10 " + entry + ")";
  if (is_one_of({"left", "bottom"})) return "-0.35 (min -10 " + entry + ")";
  if (is_one_of({"angle", "grad_angle", "rotate"})) return "20 (angle " + entry + ")";
  if (is_one_of({"negate", "autotrans_p", "auto_trans"})) return "0 (boolean " + entry + ")";
  if (is_one_of({"width", "z_dist"})) return "0.7 (min -10 max 10 " + entry + ")";
  return "0.4 (min -10 max 10 " + entry + ")";
}

std::string with_all_parts(const widget_type& type) {
  std::string params;
  int k = 0;
  for (const widget_slot& slot : slots_of_base_type(type.base_type)) {
    const std::string part = std::string(slot.name) == ANY_PART ? "reach" : slot.name;
    params += " P" + std::to_string(k++) + " = " +
              part_parameter(part, std::string("ignore widget ") + type.type_name + "." + part + " name Shown");
  }
  return "(define E () " + params + " dest = x)";
}

struct EveryType : ::testing::TestWithParam<int> {
  const widget_type& type() const { return widget_types()[std::size_t(GetParam())]; }
  std::string definition() const { return with_all_parts(type()); }
  bool has_handles() const { return std::string(type().type_name).find("no_handles") == std::string::npos; }
};

TEST_P(EveryType, IsDrawnAndCanBeTakenHoldOf) {
  widget_host host(definition());
  ASSERT_FALSE(host.draw().empty());
  EXPECT_EQ(host.handles[0].type_name, type().type_name);
  EXPECT_TRUE(host.handles[0].visible);
  EXPECT_FALSE(host.shapes.empty());
  EXPECT_EQ(host.handles[0].n_handles > 0, has_handles());
  const std::vector<shown_handle> handles = host.handles;
  for (const shown_handle& h : handles) EXPECT_TRUE(!h.can_be_held || host.click(h.x, h.y)) << h.part;
  EXPECT_TRUE(host.messages.empty()) << host.messages.front();
}

TEST_P(EveryType, KeepsItsHandlesWhateverTheNumbersAre) {
  for (const double number : {0.0, -1.0, 1e-4, 9.0}) {
    widget_host probe(definition());
    const std::vector<shown_handle> handles = probe.draw();
    for (const shown_handle& h : handles) {
      widget_host host(definition());
      host.send(PF_Event_ADJUST_CURSOR, h.x, h.y);
      for (pf_param_def& p : host.params) {
        if (p.param_type == PF_Param_FIX_SLIDER) p.u.slider.value = pf_fixed(number * 65536);
        if (p.param_type == PF_Param_ANGLE) p.u.angle.value = pf_fixed(number * 65536);
      }
      host.draw();
      EXPECT_EQ(host.handles.size(), handles.size());
      EXPECT_TRUE(host.messages.empty()) << h.part << " at " << number << ": " << host.messages.front();
    }
  }
}

TEST_P(EveryType, ComesBackFromADragThroughItsMiddle) {
  widget_host probe(definition());
  const std::vector<shown_handle> handles = probe.draw();
  for (const shown_handle& h : handles) {
    if (!h.can_be_held) continue;
    SCOPED_TRACE(h.part);
    widget_host host(definition());
    host.draw();
    const std::vector<pf_param_def> values = host.params;
    ASSERT_TRUE(host.click(h.x, h.y));
    for (const shown_handle& other : handles) host.drag_to(other.x, other.y);
    host.drag_to(320, 180);
    host.drag_to(368, 162);  // where a center of [0.15 0.1] lies
    host.drag_to(h.x, h.y);
    host.release(h.x, h.y);
    // A drag all the way round turns an angle by as much.
    for (std::size_t i = 1; i < values.size(); ++i)
      if (const double turns = (host.params[i].u.slider.value - values[i].u.slider.value) / 65536.0 / 360;
          values[i].param_type == PF_Param_FIX_SLIDER && turns != 0 && std::fabs(turns - std::round(turns)) < 1e-6)
        host.params[i].u.slider.value = values[i].u.slider.value;
    expect_same_controls(values, host.params, 8);
    EXPECT_TRUE(host.messages.empty()) << host.messages.front();
  }
}

INSTANTIATE_TEST_SUITE_P(Widgets, EveryType, ::testing::Range(0, int(widget_types().size())),
                         [](const auto& info) { return widget_types()[std::size_t(info.param)].type_name; });

}  // namespace
}  // namespace tessaron::testing
