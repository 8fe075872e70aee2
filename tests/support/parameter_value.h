// Values of host parameters in the definition's own numbers, written from the rules of declaration and apart from the
// engine: a parameter that is set here renders as if the definition had this number as its default.
#pragma once

#include <algorithm>
#include <cmath>
#include <span>

#include "hostkit/host_kit.h"

namespace tessaron::testing {

using hostkit::host_error;
using hostkit::host_param;

/// What a definition says of a parameter beyond what its host parameters show.
struct definition_param {
  int channels = 1;          // numbers that the definition gives
  bool from_centre = false;  // a point whose numbers count from the middle of the frame
  bool shown = true;         // declared to the host at all
  double angle_offset = 0;   // of a dial, in degrees
};

/// Which host parameters stand for which parameter of the definition, in the order of both.
class parameter_map {
 public:
  /// `declared` as an instance has it. Inputs, groups and an effect popup of `popup_before` parameters are
  /// passed over. Throws host_error when the two don't match.
  parameter_map(const std::vector<host_param>& declared, std::span<const definition_param> params,
                int popup_before = 0);

  int count() const { return int(first_.size()); }
  /// Host index of a parameter's first control; -1: it is not shown.
  int host_index(int param) const { return first_[std::size_t(param)]; }
  /// Sets a parameter, one number a channel. A parameter that is not shown keeps its default.
  void set(std::vector<host_param>& values, int param, std::span<const float> numbers) const;

 private:
  std::vector<definition_param> params_;
  std::vector<int> first_;
};

/// Sets one host parameter. `numbers`: one, three for a colour, two for a point.
inline void set_value(host_param& p, std::span<const float> numbers, const definition_param& definition = {});

namespace parameter_rules {

inline constexpr double FIXED_ONE = 65536.0;
// Points are declared in percent of this frame.
inline constexpr double REFERENCE_WIDTH = 720, REFERENCE_HEIGHT = 486;

inline std::int32_t truncated(double v) {
  return v != v ? 0 : std::int32_t(std::trunc(std::clamp(v, -2147483648.0, 2147483647.0)));
}
inline std::uint8_t colour_byte(float v) { return std::uint8_t(std::clamp(truncated(double(v) * 255.99), 0, 255)); }
inline pf_fixed percent(double v) { return truncated(v * FIXED_ONE + 0.5); }

inline bool is_control(const host_param& p) {
  return p.param_type != PF_Param_LAYER && p.param_type != PF_Param_GROUP_START && p.param_type != PF_Param_GROUP_END &&
         !(p.ui_flags & PF_UIFlag_HIDDEN);
}

/// Numbers of the definition that one host parameter takes.
inline int numbers_of(const host_param& p) {
  return p.param_type == PF_Param_COLOR ? 3 : p.param_type == PF_Param_POINT ? 2 : 1;
}

}  // namespace parameter_rules

inline parameter_map::parameter_map(const std::vector<host_param>& declared, std::span<const definition_param> params,
                                    int popup_before)
    : params_(params.begin(), params.end()) {
  std::size_t next = 1;  // [0] is the layer
  const auto next_control = [&] {
    while (next < declared.size() && !parameter_rules::is_control(declared[next])) ++next;
    if (next >= declared.size()) throw host_error("The plug-in declares fewer parameters than its definition.");
    return next++;
  };
  for (int i = 0; i < popup_before; ++i) next_control();
  for (const definition_param& param : params_) {
    if (!param.shown) {
      first_.push_back(-1);
      continue;
    }
    std::size_t control = next_control();
    first_.push_back(int(control));
    for (int taken = parameter_rules::numbers_of(declared[control]); taken < param.channels;
         taken += parameter_rules::numbers_of(declared[control]))
      control = next_control();
  }
}

inline void parameter_map::set(std::vector<host_param>& values, int param, std::span<const float> numbers) const {
  const definition_param& definition = params_[std::size_t(param)];
  if (numbers.size() != std::size_t(definition.channels))
    throw host_error("A parameter of " + std::to_string(definition.channels) + " numbers was given " +
                     std::to_string(numbers.size()) + ".");
  if (!definition.shown) return;
  std::size_t index = std::size_t(first_[std::size_t(param)]);
  while (!numbers.empty()) {
    while (!parameter_rules::is_control(values[index])) ++index;
    const std::size_t taken = std::size_t(parameter_rules::numbers_of(values[index]));
    set_value(values[index++], numbers.first(std::min(taken, numbers.size())), definition);
    numbers = numbers.subspan(std::min(taken, numbers.size()));
  }
}

inline void set_value(host_param& p, std::span<const float> numbers, const definition_param& definition) {
  if (numbers.size() != std::size_t(parameter_rules::numbers_of(p)))
    throw host_error("Parameter " + std::string(p.name) + " takes " + std::to_string(parameter_rules::numbers_of(p)) +
                     " numbers.");
  const float v = numbers[0];
  switch (p.param_type) {
    case PF_Param_FIX_SLIDER:
      p.u.slider.value = parameter_rules::truncated(double(v) * parameter_rules::FIXED_ONE);
      break;
    case PF_Param_ANGLE:
      p.u.angle.value = parameter_rules::truncated((definition.angle_offset + double(v)) * parameter_rules::FIXED_ONE);
      break;
    case PF_Param_CHECKBOX:
      p.u.checkbox.value = parameter_rules::truncated(v);
      break;
    case PF_Param_POPUP:
      p.u.popup.value = parameter_rules::truncated(double(v) + 0.5) + 1;
      break;
    case PF_Param_COLOR:
      p.u.color.value = {255, parameter_rules::colour_byte(numbers[0]), parameter_rules::colour_byte(numbers[1]),
                         parameter_rules::colour_byte(numbers[2])};
      break;
    case PF_Param_POINT: {
      const double x = numbers[0] + (definition.from_centre ? parameter_rules::REFERENCE_WIDTH / 2 : 0);
      const double y = numbers[1] + (definition.from_centre ? parameter_rules::REFERENCE_HEIGHT / 2 : 0);
      p.u.point.x = parameter_rules::percent(x / parameter_rules::REFERENCE_WIDTH * 100);
      p.u.point.y = parameter_rules::percent(100 - y / parameter_rules::REFERENCE_HEIGHT * 100);
      break;
    }
    default:
      throw host_error("Parameter " + std::string(p.name) + " holds no number.");
  }
}

}  // namespace tessaron::testing
