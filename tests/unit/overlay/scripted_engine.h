// An engine that answers events as a test wants it, behind the host kit.
#pragma once

#include <cstring>
#include <functional>
#include <optional>
#include <vector>

#include "hostkit/host_kit.h"

namespace tessaron::testing {

/// Host parameters that it declares, by index.
enum scripted_param { SCRIPTED_CENTER = 1, SCRIPTED_RADIUS = 2, SCRIPTED_SHOWN = 3 };

/// What the engine got with an event; `extra` as it was before the answer.
struct received_event {
  pf_event_extra extra;
  pf_in_data in_data;
  std::vector<pf_param_def> params;
};

class scripted_engine {
 public:
  scripted_engine() {
    current() = this;
    record_.plugin_name = "Scripted";
    instance.emplace(entry, record_);
  }
  ~scripted_engine() {
    instance.reset();
    current() = nullptr;
  }

  /// Answers events; unset: they are not handled.
  std::function<int(pf_in_data& in_data, pf_param_def** params, pf_event_extra& extra)> on_event;
  std::vector<received_event> events;
  std::optional<hostkit::instance> instance;

  const received_event& last() const { return events.back(); }

 private:
  static scripted_engine*& current() {
    static scripted_engine* engine = nullptr;
    return engine;
  }

  static void declare(pf_in_data& in_data) {
    pf_param_def center = {}, radius = {}, shown = {};
    center.param_type = PF_Param_POINT;
    std::strcpy(center.name, "Center XY");
    center.u.point.default_x = 25 * 65536;
    center.u.point.default_y = 50 * 65536;
    radius.param_type = PF_Param_FIX_SLIDER;
    std::strcpy(radius.name, "Radius");
    radius.u.slider.default_value = 10 * 65536;
    shown.param_type = PF_Param_CHECKBOX;
    std::strcpy(shown.name, "Show Center");
    shown.u.checkbox.default_value = 1;
    in_data.inter.add_param(in_data.effect_ref, SCRIPTED_CENTER, &center);
    in_data.inter.add_param(in_data.effect_ref, SCRIPTED_RADIUS, &radius);
    in_data.inter.add_param(in_data.effect_ref, SCRIPTED_SHOWN, &shown);
  }

  static std::int32_t entry(const tessaron_plugin*, std::int32_t command, pf_in_data* in_data, pf_out_data*,
                            pf_param_def** params, pf_world*, void* extra) {
    scripted_engine& engine = *current();
    if (command == PF_Cmd_PARAMS_SETUP) declare(*in_data);
    if (command != PF_Cmd_EVENT) return PF_Err_NONE;
    auto& event = *static_cast<pf_event_extra*>(extra);
    received_event got{event, *in_data, {}};
    for (int i = 0; i < in_data->num_params; ++i) got.params.push_back(*params[i]);
    engine.events.push_back(got);
    return engine.on_event ? engine.on_event(*in_data, params, event) : PF_Err_NONE;
  }

  tessaron_plugin record_ = {};
};

}  // namespace tessaron::testing
