// Declarations in every host, and the limits of sliders for every mixture of what a definition says, against the rules
// written out plainly.
#include <cmath>
#include <tuple>

#include "parameter_fixture.h"

namespace tessaron {
namespace {

constexpr int HOSTS[] = {HOST_AFTER_EFFECTS, HOST_COMBUSTION, HOST_FINAL_CUT, HOST_PREMIERE,
                         HOST_MEDIA_100,     HOST_FUSION,     HOST_LIBERTY,   HOST_QUANTEL,
                         HOST_MOTION,        HOST_PIE_FX,     HOST_UNKNOWN};

/// What a host is told of a control, beside its value.
struct control {
  int type;
  std::uint32_t flags, ui_flags;
  int id;
  bool operator==(const control&) const = default;
};
std::ostream& operator<<(std::ostream& out, const control& c) {
  return out << "type " << c.type << " flags " << c.flags << " ui " << c.ui_flags << " id " << c.id;
}

class declaration_grid : public testing::parameter_test {
 protected:
  std::vector<control> controls() const {
    std::vector<control> all;
    for (std::size_t i = 1; i < host.params.size(); ++i) {
      const pf_param_def& p = host.params[i];
      all.push_back({p.param_type, p.flags, p.ui_flags, p.id});
    }
    return all;
  }
  /// Shows the effect's parameters once more, as they are now.
  void declare_again() {
    host.params.clear();
    host.popup_texts.clear();
    int index = 1, id = 1;
    ASSERT_EQ(declare_params(host.in_data, index, id), 0);
  }
};

TEST_F(declaration_grid, every_kind_in_every_host) {
  for (const int app : HOSTS)
    for (const int generation : {1, 2})
      for (const int dials : {0, 1}) {
        if (generation == 2 && app != HOST_AFTER_EFFECTS) continue;
        host_state = {};
        host_state.host_app = app;
        host_state.interface_generation = generation;
        config.use_dials_for_angles_ae = config.use_dials_for_angles_fcp = config.use_dials_for_angles_df = dials;
        ASSERT_EQ(declare("s = 5 (percent ignore group_start G) turn = 10 (angle ignore) at = [1 2] (screen ignore) "
                          "mode = 0 (popup A B ignore) on = 1 (boolean) tint = [0 0 0] (color ignore group_end G) "
                          "soft_borders = 1 (ignore) hold = 0 (set_hold_level ignore) last = 1 (ignore)"),
                  0);
        const bool groups = app == HOST_AFTER_EFFECTS || app == HOST_PIE_FX;
        const bool hides_borders = app == HOST_FINAL_CUT || app == HOST_FUSION;
        const bool has_dials =
            dials && (app == HOST_AFTER_EFFECTS || app == HOST_PIE_FX || app == HOST_FINAL_CUT || app == HOST_FUSION);
        std::vector<control> expected;
        const auto next_index = [&] { return int(expected.size()) + 1; };
        if (groups) expected.push_back({PF_Param_GROUP_START, 0x20, 0, next_index() + 250});
        expected.push_back({PF_Param_FIX_SLIDER, 0, 0, 1});
        if (has_dials)
          expected.push_back({PF_Param_ANGLE, 0x20, 0, 2});
        else
          expected.push_back({PF_Param_FIX_SLIDER, 0, 0, 2});
        if (has_dials && generation == 2) expected.push_back({PF_Param_FIX_SLIDER, 0, 0x8, 252});
        expected.push_back({PF_Param_POINT, 0, 0, 3});
        // A popup entry ends only with the list: "ignore" is its third one.
        expected.push_back({PF_Param_POPUP, 0, 0, 5});
        expected.push_back({PF_Param_CHECKBOX, 0, 0, 6});
        expected.push_back({PF_Param_COLOR, 0, 0, 7});
        if (groups) expected.push_back({PF_Param_GROUP_END, 0, 0, next_index() + 250});
        int id = 10;
        if (!hides_borders) expected.push_back({PF_Param_FIX_SLIDER, 0, 0, id++});
        if (app != HOST_FINAL_CUT) expected.push_back({PF_Param_CHECKBOX, groups ? 0u : 0x46u, 0, id++});
        expected.push_back({PF_Param_FIX_SLIDER, 0, 0, id});
        EXPECT_EQ(controls(), expected) << "host " << app << " generation " << generation << " dials " << dials;
        const std::size_t slider = groups ? 2 : 1;
        EXPECT_EQ(shown(int(slider)).u.slider.display_flags, app == HOST_COMBUSTION ? 0u : 1u) << app;
      }
}

// --- limits of sliders -------------------------------------------------------------------------------------

struct limits {
  float min_bound, max_bound, slider_min, slider_max, scale, fcp_min, fcp_max;
};

/// 16.16 of the four limits and the precision, from the rules.
std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t, int> expected_limits(const limits& l, int app,
                                                                                        int units, bool whole) {
  float smin = l.slider_min == -1000000 ? l.scale * -5000 : l.slider_min;
  float smax = l.slider_max == 1000000 ? l.scale * 5000 : l.slider_max;
  float vmin = l.min_bound;
  if (vmin == -1000000) {
    vmin = smin < smin * 10 ? smin : smin * 10;
    if (l.scale * -50000 < vmin) vmin = l.scale * -50000;
  }
  float vmax = l.max_bound;
  if (vmax == 1000000) {
    vmax = smax > smax * 10 ? smax : smax * 10;
    if (vmax - vmin > 10.5 && vmax < l.scale * 50000) vmax = l.scale * 50000;
  }
  const float span = vmax - vmin;
  const int precision = whole ? 0 : span > 10 ? 2 : span <= 1 ? 4 : 3;
  if (app == HOST_FINAL_CUT || app == HOST_QUANTEL || app == HOST_LIBERTY) {
    if (l.fcp_min != -1000000) smin = units == 5 && std::fabs(l.fcp_min) == 500 ? 2 * l.fcp_min : l.fcp_min;
    if (l.fcp_max != 1000000) smax = units == 5 && std::fabs(l.fcp_max) == 500 ? 2 * l.fcp_max : l.fcp_max;
  }
  if (smin < vmin) vmin = smin;
  if (smax > vmax) vmax = smax;
  const auto fixed = [](float v) {
    return std::int32_t(std::clamp(std::trunc(double(v) * 65536), -2147483648.0, 2147483647.0));
  };
  return {fixed(smin), fixed(smax), fixed(vmin), fixed(vmax), precision};
}

TEST_F(declaration_grid, limits_of_sliders_follow_the_rules) {
  declare("a = 1 (ignore)");
  param& p = engine();
  int n = 0;
  for (const float min_bound : {-1000000.0f, -3.0f, 0.0f})
    for (const float max_bound : {1000000.0f, 5.5f, 100.0f})
      for (const float slider_min : {-1000000.0f, -2.0f, 0.0f, 1.5f})
        for (const float slider_max : {1000000.0f, 1.0f, 4.25f, 50.0f})
          for (const float scale : {0.001f, 0.1f, 1.0f})
            for (const float fcp_min : {-1000000.0f, -500.0f, -4.0f})
              for (const float fcp_max : {1000000.0f, 500.0f, 20.0f})
                for (const int units : {0, 5})
                  for (const int app : {HOST_UNKNOWN, HOST_FINAL_CUT, HOST_LIBERTY, HOST_QUANTEL, HOST_FUSION}) {
                    const limits l = {min_bound, max_bound, slider_min, slider_max, scale, fcp_min, fcp_max};
                    const bool whole = ++n % 3 == 0;
                    p.min_bound = min_bound;
                    p.max_bound = max_bound;
                    p.slider_min = slider_min;
                    p.slider_max = slider_max;
                    p.scale = scale;
                    p.fcp_min = fcp_min;
                    p.fcp_max = fcp_max;
                    p.flags[2] = std::uint8_t((p.flags[2] & ~PARAM2_UNITS) | units);
                    p.ptype = whole ? PTYPE_INT : PTYPE_FLOAT;
                    host_state.host_app = app;
                    declare_again();
                    const auto& s = shown().u.slider;
                    ASSERT_EQ(std::tuple(s.slider_min, s.slider_max, s.valid_min, s.valid_max, int(s.precision)),
                              expected_limits(l, app, units, whole))
                        << min_bound << " " << max_bound << " " << slider_min << " " << slider_max << " " << scale
                        << " " << fcp_min << " " << fcp_max << " units " << units << " host " << app;
                  }
}

TEST_F(declaration_grid, names_follow_shown_sliders_units_and_length) {
  param p = {};
  for (const char* raw : {"c", "center", "ten__chars", "eleven_char", "_lead"}) {
    std::string text = raw;
    p.name = text.data();
    for (int shown = 1; shown <= 4; ++shown)
      for (int units = 0; units < 8; ++units)
        for (int channel = -1; channel < shown; ++channel) {
          p.nchannels = p.n_shown = std::uint8_t(shown);
          p.flags[2] = std::uint8_t(units);
          std::string expected = raw;
          if (units == 0 || units == 3 || units == 5) {
            if (shown > 1 && channel >= 0) expected += std::string(" ") + "XYZW"[channel];
          } else if ((units == 1 || units == 2 || units == 4) && shown == 2 && text.size() < 11) {
            expected += " XY";
          }
          EXPECT_EQ(host_param_name(p, channel), shown_name(expected.c_str())) << raw << units << shown << channel;
        }
  }
}

}  // namespace
}  // namespace tessaron
