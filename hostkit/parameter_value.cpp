#include "hostkit/parameter_value.h"

#include <algorithm>
#include <cmath>

namespace tessaron::hostkit {
namespace {

constexpr double FIXED_ONE = 65536.0;
// Points are declared in percent of this frame.
constexpr double REFERENCE_WIDTH = 720, REFERENCE_HEIGHT = 486;

std::int32_t truncated(double v) {
  return v != v ? 0 : std::int32_t(std::trunc(std::clamp(v, -2147483648.0, 2147483647.0)));
}
std::uint8_t colour_byte(float v) { return std::uint8_t(std::clamp(truncated(double(v) * 255.99), 0, 255)); }
pf_fixed percent(double v) { return truncated(v * FIXED_ONE + 0.5); }

bool is_control(const host_param& p) {
  return p.param_type != PF_Param_LAYER && p.param_type != PF_Param_GROUP_START && p.param_type != PF_Param_GROUP_END &&
         !(p.ui_flags & PF_UIFlag_HIDDEN);
}

/// Numbers of the definition that one host parameter takes.
int numbers_of(const host_param& p) {
  return p.param_type == PF_Param_COLOR ? 3 : p.param_type == PF_Param_POINT ? 2 : 1;
}

}  // namespace

parameter_map::parameter_map(const std::vector<host_param>& declared, std::span<const definition_param> params,
                             int popup_before)
    : params_(params.begin(), params.end()) {
  std::size_t next = 1;  // [0] is the layer
  const auto next_control = [&] {
    while (next < declared.size() && !is_control(declared[next])) ++next;
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
    for (int taken = numbers_of(declared[control]); taken < param.channels; taken += numbers_of(declared[control]))
      control = next_control();
  }
}

void parameter_map::set(std::vector<host_param>& values, int param, std::span<const float> numbers) const {
  const definition_param& definition = params_[std::size_t(param)];
  if (numbers.size() != std::size_t(definition.channels))
    throw host_error("A parameter of " + std::to_string(definition.channels) + " numbers was given " +
                     std::to_string(numbers.size()) + ".");
  if (!definition.shown) return;
  std::size_t index = std::size_t(first_[std::size_t(param)]);
  while (!numbers.empty()) {
    while (!is_control(values[index])) ++index;
    const std::size_t taken = std::size_t(numbers_of(values[index]));
    set_value(values[index++], numbers.first(std::min(taken, numbers.size())), definition);
    numbers = numbers.subspan(std::min(taken, numbers.size()));
  }
}

void set_value(host_param& p, std::span<const float> numbers, const definition_param& definition) {
  if (numbers.size() != std::size_t(numbers_of(p)))
    throw host_error("Parameter " + std::string(p.name) + " takes " + std::to_string(numbers_of(p)) + " numbers.");
  const float v = numbers[0];
  switch (p.param_type) {
    case PF_Param_FIX_SLIDER:
      p.u.slider.value = truncated(double(v) * FIXED_ONE);
      break;
    case PF_Param_ANGLE:
      p.u.angle.value = truncated((definition.angle_offset + double(v)) * FIXED_ONE);
      break;
    case PF_Param_CHECKBOX:
      p.u.checkbox.value = truncated(v);
      break;
    case PF_Param_POPUP:
      p.u.popup.value = truncated(double(v) + 0.5) + 1;
      break;
    case PF_Param_COLOR:
      p.u.color.value = {255, colour_byte(numbers[0]), colour_byte(numbers[1]), colour_byte(numbers[2])};
      break;
    case PF_Param_POINT: {
      const double x = numbers[0] + (definition.from_centre ? REFERENCE_WIDTH / 2 : 0);
      const double y = numbers[1] + (definition.from_centre ? REFERENCE_HEIGHT / 2 : 0);
      p.u.point.x = percent(x / REFERENCE_WIDTH * 100);
      p.u.point.y = percent(100 - y / REFERENCE_HEIGHT * 100);
      break;
    }
    default:
      throw host_error("Parameter " + std::string(p.name) + " holds no number.");
  }
}

}  // namespace tessaron::hostkit
