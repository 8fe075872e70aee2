// Values of host parameters in the definition's own numbers: a parameter that is set here renders as if
// the definition had this number as its default.
#pragma once

#include <span>

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {

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
void set_value(host_param& p, std::span<const float> numbers, const definition_param& definition = {});

}  // namespace tessaron::hostkit
