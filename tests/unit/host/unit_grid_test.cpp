// Host values to the engine and back, for every unit, kind and host, at several frames. What is expected is the unit
// table written out once more, cell by cell, and shares nothing with the engine.
#include <cmath>

#include "parameter_fixture.h"

namespace tessaron {
namespace {

/// A host's frame, and what the table makes of it.
struct grid_frame {
  int width, height;
  pf_rational down_x, down_y;
  double par;  // a number of single precision, as the engine keeps it
  bool may_checkout;

  double dsx() const { return ratio(down_x); }
  double dsy() const { return ratio(down_y); }
  double W() const { return side(width, down_x); }
  double H() const { return side(height, down_y); }
  double r() const { return (H() * dsy()) / (W() * dsx()) * par; }

 private:
  static double raw(pf_rational q) { return q.den == 0 ? q.num : double(q.num) / q.den; }
  static double ratio(pf_rational q) { return raw(q) <= 0.0001 ? 1 : raw(q); }
  double side(int size, pf_rational q) const {
    return may_checkout ? std::max(1.0, std::trunc(size * raw(q) + 0.5)) : size;
  }
};

constexpr grid_frame FRAMES[] = {
    {720, 486, {1, 1}, {1, 1}, 1, false},          {1920, 1080, {1, 2}, {1, 2}, 1, true},
    {1920, 1080, {1, 2}, {1, 2}, 1, false},        {1001, 333, {1, 3}, {1, 1}, double(1.46f), true},
    {101, 37, {1, 1}, {1, 4}, double(0.9f), true}, {3, 5, {1, 16}, {1, 16}, double(1.2f), true},
    {640, 480, {1, 20000}, {3, 0}, 0.5, false},
};
constexpr int HOSTS[] = {HOST_AFTER_EFFECTS, HOST_COMBUSTION, HOST_FINAL_CUT, HOST_PREMIERE,
                         HOST_MEDIA_100,     HOST_FUSION,     HOST_LIBERTY,   HOST_QUANTEL,
                         HOST_MOTION,        HOST_PIE_FX,     HOST_UNKNOWN};
constexpr const char* UNIT_WORDS[8] = {"",
                                       "screen",
                                       "screen_center",
                                       "screen_center0",
                                       "normalize",
                                       "normalize_scale 2.5",
                                       "screen_to_norm",
                                       "screen_center_to_norm"};
constexpr double SCALE = 2.5;  // of normalize_scale

bool point_unit(int units) { return units == 1 || units == 2 || units == 4; }

/// A number of a slider, in engine units.
double from_slider(int units, int channel, const grid_frame& f, double v) {
  const double W = f.W(), H = f.H(), r = f.r();
  const bool y = channel == 1;
  switch (units) {
    case 1:
      return y ? H - v : v;
    case 2:
      return y ? -v - H / 2 : v - W / 2;
    case 3:
      return y ? -v * f.dsy() : v * f.dsx();
    case 4:
      return y ? f.par * (-v - H / 2) * (2 / W) : (2 / W) * (v - W / 2);
    case 5:
      return v * (2 / W) * SCALE * (y ? -f.par * f.dsy() / f.dsx() : 1);
    case 6:
      return y ? r * 2 * (v / H) - r : (v / W) * 2 - 1;
    case 7:
      return y ? r * (v / (H / 2)) : v / (W / 2);
    default:
      return v;
  }
}

/// A point's coordinates, less the layer's origin, in engine units. Only y differs from a slider's.
double from_point(int units, int channel, const grid_frame& f, double v) {
  if (channel == 0) return from_slider(units, 0, f, v);
  const double W = f.W(), H = f.H(), r = f.r(), up = H - v;
  switch (units) {
    case 2:
      return up - W / 2;
    case 3:
      return up * f.dsy();
    case 4:
      return f.par * (up - W / 2) * (2 / W);
    case 5:
      return -(f.dsy() * f.par / f.dsx()) * (2 / W) * SCALE * up;
    case 6:
      return (up / H) * 2 * r - r;
    case 7:
      return r * up / (W / 2);
    default:
      return up;
  }
}

/// The number of a slider that the engine writes; also half of what a point is written from.
double to_slider(int units, int channel, const grid_frame& f, double e) {
  const double W = f.W(), H = f.H(), r = f.r();
  const bool y = channel == 1;
  switch (units) {
    case 2:
      return e + (y ? H : W) / 2;
    case 3:
      return e / (y ? f.dsy() : f.dsx());
    case 4:
      return y ? -e * W / (2 * f.par) - H / 2 : W / 2 + e * W / 2;
    case 5:
      return (y ? -e * f.dsx() / (f.par * f.dsy()) : e) * W / 2 / SCALE;
    case 6:
      return y ? (e + r) * H / (2 * r) : (e + 1) * W / 2;
    case 7:
      return y ? e * H / (2 * r) : e * W / 2;
    default:  // 0 and 1: a plain copy
      return e;
  }
}

struct kind {
  bool percent, whole, angle;
  std::string words() const {
    return std::string(angle ? " angle_no_dial" : "") + (percent ? " percent" : "") + (whole ? " int" : "");
  }
};
constexpr kind KINDS[] = {
    {}, {true, false, false}, {false, true, false}, {true, true, false}, {false, false, true}, {true, false, true}};

class unit_grid : public testing::parameter_test {
 protected:
  void place(const grid_frame& f) {
    host.in_data.width = f.width;
    host.in_data.height = f.height;
    host.in_data.downsample_x = f.down_x;
    host.in_data.downsample_y = f.down_y;
    display_dims.pixel_aspect = float(f.par);
    if (f.may_checkout)
      record.param_flags |= PARAM_MAY_CHECKOUT;
    else
      record.param_flags &= std::uint8_t(~PARAM_MAY_CHECKOUT);
  }
  /// One parameter of these units and kind in a host; `visit(frame)` for each frame, with the parameter shown.
  template <class Visit>
  void for_each(const char* numbers, Visit visit) {
    for (const int app : HOSTS)
      for (int units = 0; units < 8; ++units)
        for (const kind& k : KINDS) {
          host_state = {};
          host_state.host_app = app;
          const std::string text =
              std::string("a = ") + numbers + " (min * ignore " + UNIT_WORDS[units] + k.words() + ")";
          ASSERT_EQ(declare(text), 0) << text;
          for (const grid_frame& f : FRAMES) {
            place(f);
            SCOPED_TRACE("host " + std::to_string(app) + ": " + text + " width " + std::to_string(f.width));
            visit(app, units, k, f);
          }
        }
  }
  static double rounded(const kind& k, double e) {
    if (k.percent) e /= 100;
    return k.whole ? std::floor(e + 0.5) : e;
  }
  /// Angles turn the other way round in every host but one.
  static int sign(const kind& k, int app) { return k.angle && app != HOST_FUSION ? -1 : 1; }
  static void expect_value(double got, double expected) {
    EXPECT_NEAR(got, expected, 1e-6 * std::max(1.0, std::fabs(expected)));
  }
};

TEST_F(unit_grid, scalars_are_read_by_the_first_column) {
  for_each("5", [&](int app, int units, const kind& k, const grid_frame& f) {
    ASSERT_EQ(shown().param_type, PF_Param_FIX_SLIDER);
    for (const double v : {0.0, 1.0, -77.125, 123.25, 900.75}) {
      shown().u.slider.value = std::int32_t(v * 65536);
      fetch_param(engine());
      expect_value(engine().value[0], rounded(k, from_slider(units, 0, f, v)) * sign(k, app));
    }
  });
}

TEST_F(unit_grid, pairs_are_read_by_the_table_or_by_the_point_rule) {
  for_each("[5 6]", [&](int app, int units, const kind& k, const grid_frame& f) {
    ASSERT_EQ(shown().param_type == PF_Param_POINT, point_unit(units));
    const double x = 123.25, y = -41.125;
    host.in_data.output_origin_x = 11;
    host.in_data.output_origin_y = -7;
    if (point_unit(units)) {
      shown().u.point.x = std::int32_t(x * 65536);
      shown().u.point.y = std::int32_t(y * 65536);
    } else {
      shown(1).u.slider.value = std::int32_t(x * 65536);
      shown(2).u.slider.value = std::int32_t(y * 65536);
    }
    fetch_param(engine());
    const double left = app == HOST_FINAL_CUT ? 0 : 11, top = app == HOST_FINAL_CUT ? 0 : -7;
    for (int c = 0; c < 2; ++c) {
      const double v = c ? y : x;
      const double expected = point_unit(units) ? rounded(k, from_point(units, c, f, v - (c ? top : left)))
                                                : rounded(k, from_slider(units, c, f, v)) * sign(k, app);
      expect_value(engine().value[c], expected);
    }
  });
}

TEST_F(unit_grid, a_point_shown_for_another_unit_goes_by_the_point_rule) {
  for (int units = 0; units < 8; ++units) {
    declare(std::string("a = [5 6] (min * ignore ") + UNIT_WORDS[units] + ")");
    for (const grid_frame& f : FRAMES) {
      place(f);
      shown().param_type = shown(host.params.size() > 2 ? 2 : 1).param_type = PF_Param_POINT;
      for (pf_param_def& p : host.params) {
        p.u.point.x = std::int32_t(20.5 * 65536);
        p.u.point.y = std::int32_t(30.25 * 65536);
      }
      fetch_param(engine());
      expect_value(engine().value[0], from_point(units, 0, f, 20.5));
      expect_value(engine().value[1], from_point(units, 1, f, 30.25));
    }
  }
}

TEST_F(unit_grid, motion_has_points_whatever_it_says) {
  for (int units = 0; units < 8; ++units) {
    host_state.host_app = HOST_MOTION;
    declare(std::string("a = [5 6] (min * ignore ") + UNIT_WORDS[units] + ")");
    const grid_frame& f = FRAMES[3];
    place(f);
    for (pf_param_def& p : host.params) {
      p.param_type = PF_Param_FIX_SLIDER;
      p.u.point.x = std::int32_t(20.5 * 65536);  // where a slider has its value
      p.u.point.y = std::int32_t(30.25 * 65536);
    }
    fetch_param(engine());
    const bool point = point_unit(units);
    expect_value(engine().value[0], from_slider(units, 0, f, 20.5));
    expect_value(engine().value[1], point ? from_point(units, 1, f, 30.25) : from_slider(units, 1, f, 20.5));
  }
}

TEST_F(unit_grid, far_origins_are_no_origins) {
  const struct {
    int x, y;
    double left, top;
  } ROWS[] = {{50000, -50000, 50000, -50000}, {50001, 0, 0, 0}, {3, 50001, 0, 0}, {-50001, 4, 0, 0}, {3, 4, 3, 4}};
  declare("a = [5 6] (screen ignore)");
  place(FRAMES[0]);
  shown().u.point.x = 100 * 65536;
  shown().u.point.y = 200 * 65536;
  for (const auto& row : ROWS) {
    host.in_data.output_origin_x = row.x;
    host.in_data.output_origin_y = row.y;
    fetch_param(engine());
    EXPECT_EQ(engine().value[0], float(100 - row.left)) << row.x << " " << row.y;
    EXPECT_EQ(engine().value[1], float(486 - (200 - row.top))) << row.x << " " << row.y;
  }
}

// --- the other way round -------------------------------------------------------------------------------

/// What 16.16 holds; the grid's largest frames reach beyond it.
double limited(double v) { return std::clamp(v, -2147483648.0, 2147483647.0); }

TEST_F(unit_grid, sliders_are_written_by_the_inverse_of_the_table) {
  for (const char* numbers : {"5", "[5 6]"})
    for_each(numbers, [&](int app, int units, const kind& k, const grid_frame& f) {
      if (shown().param_type == PF_Param_POINT) return;
      const float values[2] = {0.37f, -1.61f};
      const int channels = engine().nchannels;
      ASSERT_EQ(set_param_value(engine(), 0, channels, values), channels);
      for (int c = 0; c < channels; ++c) {
        const double e = double(values[c]);
        const double v =
            k.whole ? std::trunc(e + 0.5) : to_slider(units, c, f, e * sign(k, app) * (k.percent ? 100 : 1));
        EXPECT_NEAR(shown(1 + c).u.slider.value, limited(std::trunc(v * 65536 + 0.5)), 1) << "channel " << c;
      }
    });
}

TEST_F(unit_grid, points_are_written_at_full_resolution_from_the_top) {
  for_each("[5 6]", [&](int, int units, const kind& k, const grid_frame& f) {
    if (shown().param_type != PF_Param_POINT || k.whole) return;
    const float values[2] = {0.37f, -1.61f};
    ASSERT_EQ(set_param_value(engine(), 0, 2, values), 2);
    const double by = k.percent ? 100 : 1;
    const double x = to_slider(units, 0, f, double(values[0]) * by), y = to_slider(units, 1, f, double(values[1]) * by);
    EXPECT_NEAR(shown().u.point.x, limited(std::trunc(0.5 + x / f.dsx() * 65536)), 1);
    EXPECT_NEAR(shown().u.point.y, limited(std::trunc(0.5 + (f.H() - y) / f.dsy() * 65536)), 1);
  });
}

TEST_F(unit_grid, what_is_written_to_a_slider_is_read_back) {
  for (const char* numbers : {"5", "[5 6]"})
    for_each(numbers, [&](int, int units, const kind& k, const grid_frame& f) {
      // Whole numbers are written without units, and y of units 1 to 3 without turning it over.
      if (shown().param_type == PF_Param_POINT || k.whole || f.W() < 50) return;
      const int channels = units >= 1 && units <= 3 ? 1 : engine().nchannels;
      const float values[2] = {0.1875f, -0.125f};  // hundredfold, and in pixels, they still fit 16.16
      set_param_value(engine(), 0, channels, values);
      fetch_param(engine());
      const double step = 1 / 65536.0 * std::max({1.0, SCALE, f.r(), f.par * f.dsy() / f.dsx(), f.dsx(), f.dsy()});
      for (int c = 0; c < channels; ++c) EXPECT_NEAR(engine().value[c], values[c], step) << "channel " << c;
    });
}

// --- dials ------------------------------------------------------------------------------------------------

struct dial_host {
  int app, offset, sign;  // what the host adds to an angle, and how it turns
};

TEST_F(unit_grid, a_dials_default_is_the_opposite_angle_in_every_host_with_dials) {
  config.use_dials_for_angles_ae = config.use_dials_for_angles_fcp = config.use_dials_for_angles_df = 1;
  for (const dial_host& h : {dial_host{HOST_AFTER_EFFECTS, 0, 1}, dial_host{HOST_PIE_FX, 0, 1},
                             dial_host{HOST_FINAL_CUT, 0, 1}, dial_host{HOST_FUSION, 90, -1}}) {
    host_state = {};
    host_state.host_app = h.app;
    angle_dial_offset = std::int16_t(h.offset);
    declare("a = [30 -12.5] (angle ignore)");
    ASSERT_EQ(shown().param_type, PF_Param_ANGLE) << h.app;
    EXPECT_EQ(shown(1).u.angle.value, (h.offset + 30) * 65536) << h.app;
    EXPECT_EQ(shown(2).u.angle.value, std::int32_t((h.offset - 12.5) * 65536)) << h.app;
    fetch_param(engine());
    EXPECT_EQ(engine().value[0], -30.0f) << h.app;
    EXPECT_EQ(engine().value[1], 12.5f) << h.app;
    // 7.25 as the engine counts; the offset goes in as it is.
    const float value = 7.25f;
    set_param_value(engine(), 0, 1, &value);
    EXPECT_EQ(shown(1).u.angle.value, h.offset - 475136) << h.app;
  }
}

TEST_F(unit_grid, a_slider_and_a_dial_of_one_definition_turn_alike) {
  for (const int app : {HOST_AFTER_EFFECTS, HOST_PIE_FX, HOST_FINAL_CUT, HOST_FUSION})
    for (const int dials : {0, 1}) {
      host_state = {};
      host_state.host_app = app;
      angle_dial_offset = app == HOST_FUSION ? 90 : 0;
      config.use_dials_for_angles_ae = config.use_dials_for_angles_fcp = config.use_dials_for_angles_df = dials;
      declare("a = 20 (angle ignore) b = 20 (angle_no_dial ignore)");
      EXPECT_EQ(shown(1).param_type, dials ? PF_Param_ANGLE : PF_Param_FIX_SLIDER);
      EXPECT_EQ(shown(2).param_type, PF_Param_FIX_SLIDER);
      EXPECT_EQ(shown(2).u.slider.value, (app == HOST_FUSION ? -20 : 20) * 65536);
      for (int k : {0, 1}) {
        fetch_param(engine(k));
        EXPECT_EQ(engine(k).value[0], -20.0f) << app << " dials " << dials << " parameter " << k;
      }
    }
}

}  // namespace
}  // namespace tessaron
