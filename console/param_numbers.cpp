#include "console/param_numbers.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "host/inspect.h"

namespace tessaron::console {
namespace {

// The frame that points are declared in.
constexpr double REFERENCE_WIDTH = 720, REFERENCE_HEIGHT = 486;
constexpr double FIXED_ONE = 65536;  // of the 16.16 host numbers
constexpr double COLOR_SCALE = 255;
constexpr int MOST_DECIMALS = 9;
constexpr std::size_t MAX_CHANNELS = 4;

/// One control for all channels, rather than one each.
bool is_shared(const pf_param_def& control) {
  return control.param_type == PF_Param_POINT || control.param_type == PF_Param_COLOR;
}

const pf_param_def& control_of_channel(const std::vector<pf_param_def>& controls, std::size_t channel) {
  return controls[is_shared(controls.front()) ? 0 : std::min(channel, controls.size() - 1)];
}

std::int32_t color_field(const pf_color& c, std::size_t channel) {
  return channel == 0 ? c.red : channel == 1 ? c.green : c.blue;
}

/// What a control holds for a channel: its value, or the default that was declared.
std::int32_t held(const pf_param_def& control, std::size_t channel, bool declared) {
  const auto& u = control.u;
  switch (control.param_type) {
    case PF_Param_POINT:
      if (channel == 0) return declared ? u.point.default_x : u.point.x;
      return declared ? u.point.default_y : u.point.y;
    case PF_Param_COLOR:
      return color_field(declared ? u.color.default_value : u.color.value, channel);
    case PF_Param_ANGLE:
      return declared ? u.angle.default_value : u.angle.value;
    case PF_Param_CHECKBOX:
      return declared ? u.checkbox.default_value : u.checkbox.value;
    case PF_Param_POPUP:
      return declared ? u.popup.default_value : u.popup.value;
    default:
      return declared ? u.slider.default_value : u.slider.value;
  }
}

/// The number whose declaration holds `value`, as if numbers had all digits. `aside`: how many of the last bits of a
/// 16.16 number to aim farther from 0.
double number_of(const param& p, const pf_param_def& control, std::size_t channel, std::int32_t value, double aside) {
  const double fixed = (value + (value < 0 ? -aside : value > 0 ? aside : 0)) / FIXED_ONE;
  const bool from_center = p.units() == UNITS_SCREEN_CENTER;
  switch (control.param_type) {
    case PF_Param_POINT:
      if (channel == 0) return fixed / 100 * REFERENCE_WIDTH - (from_center ? REFERENCE_WIDTH / 2 : 0);
      return (100 - fixed) / 100 * REFERENCE_HEIGHT - (from_center ? REFERENCE_HEIGHT / 2 : 0);
    case PF_Param_COLOR:
      return value / COLOR_SCALE;
    case PF_Param_ANGLE:
      return fixed - p.angle_offset;
    case PF_Param_CHECKBOX:
      return value;
    case PF_Param_POPUP:
      return value - 1;  // -p counts entries from 0
    default:
      return fixed;
  }
}

std::string decimal(double number, int decimals) {
  char text[400];
  const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals).ptr;
  std::string shown(text, end);
  return shown.find_first_not_of("-0.") == std::string::npos ? "0" : shown;
}

std::size_t channel_count(const param& p, const pf_param_def& first) {
  if (first.param_type == PF_Param_POINT) return 2;
  if (first.param_type == PF_Param_COLOR) return 3;
  return std::clamp<std::size_t>(p.nchannels, 1, MAX_CHANNELS);
}

/// Looks for the numbers of one parameter whose declaration gives what the controls hold. The definition has other
/// defaults while this lives.
class number_search {
 public:
  number_search(genotype& g, param& p, const std::vector<pf_param_def>& controls)
      : g_(g), p_(p), controls_(controls), texts_(channel_count(p, controls.front())) {
    std::copy_n(p.value, MAX_CHANNELS, value_);
    std::copy_n(p.default_value, MAX_CHANNELS, default_);
    off_.assign(texts_.size(), std::numeric_limits<std::int64_t>::max());
    aim(0, 0, texts_);
  }
  ~number_search() {
    std::copy_n(value_, MAX_CHANNELS, p_.value);
    std::copy_n(default_, MAX_CHANNELS, p_.default_value);
  }
  number_search(const number_search&) = delete;
  number_search& operator=(const number_search&) = delete;

  /// Whether all channels come out the same to the last bit.
  bool done() const {
    return std::all_of(off_.begin(), off_.end(), [](std::int64_t off) { return off == 0; });
  }
  /// The best numbers so far.
  const std::vector<std::string>& texts() const { return texts_; }
  /// Tries this many decimals for the channels that are still off, and keeps what comes nearer.
  void attempt(int decimals, double aside) {
    std::vector<std::string> tried = texts_;
    aim(decimals, aside, tried);
    std::vector<float> numbers(tried.size());
    for (std::size_t c = 0; c < tried.size(); ++c) inspect_number(tried[c], numbers[c]);
    inspect_set_param(g_, p_.name, numbers);
    const std::vector<pf_param_def> declared = inspect_host_params(g_);
    const std::size_t begin = std::size_t(p_.host_index) - 1;
    if (p_.host_index < 1 || begin + controls_.size() > declared.size()) return;
    const std::vector<pf_param_def> got(declared.begin() + std::ptrdiff_t(begin),
                                        declared.begin() + std::ptrdiff_t(begin + controls_.size()));
    for (std::size_t c = 0; c < tried.size(); ++c) {
      const std::int64_t wanted = held(control_of_channel(controls_, c), c, false);
      const std::int64_t off = std::abs(wanted - held(control_of_channel(got, c), c, true));
      if (off >= off_[c]) continue;
      off_[c] = off;
      texts_[c] = tried[c];
    }
  }

 private:
  void aim(int decimals, double aside, std::vector<std::string>& texts) const {
    for (std::size_t c = 0; c < texts.size(); ++c) {
      const pf_param_def& control = control_of_channel(controls_, c);
      if (off_[c]) texts[c] = decimal(number_of(p_, control, c, held(control, c, false), aside), decimals);
    }
  }

  genotype& g_;
  param& p_;
  const std::vector<pf_param_def>& controls_;
  std::vector<std::string> texts_;
  std::vector<std::int64_t> off_;  // how far what a text gives is from what its control holds
  float value_[MAX_CHANNELS], default_[MAX_CHANNELS];
};

}  // namespace

std::size_t control_count(const param& p, const std::vector<pf_param_def>& own, std::size_t begin) {
  if (begin >= own.size()) return 0;
  std::size_t count = p.nchannels;
  if (is_shared(own[begin]) || (p.flags[1] & PARAM1_NAMED_LIST)) count = 1;
  const bool shown_apart = own[begin].param_type == PF_Param_ANGLE || own[begin].param_type == PF_Param_FIX_SLIDER;
  if (shown_apart) count = p.n_shown;
  // Dials may have hidden sliders behind them.
  if (begin + count < own.size() && own[begin].param_type == PF_Param_ANGLE &&
      (own[begin + count].ui_flags & PF_UIFlag_HIDDEN))
    count *= 2;
  return std::min(count, own.size() - begin);
}

std::string param_text(genotype& g, param& p, const std::vector<pf_param_def>& controls) {
  if (controls.empty()) return "";
  number_search search(g, p, controls);
  const bool entries = controls.front().param_type == PF_Param_POPUP;  // an index is a whole number
  for (int decimals = 0; decimals <= MOST_DECIMALS && !entries; ++decimals)
    // Declaring truncates, and rounds numbers below 0 upwards: what gives a value lies beside it.
    for (const double aside : {0.0, 0.5, 1.0})
      if (!search.done()) search.attempt(decimals, aside);
  std::string text = p.name;
  for (const std::string& number : search.texts())
    text.append(&number == search.texts().data() ? "=" : ",").append(number);
  return text;
}

}  // namespace tessaron::console
