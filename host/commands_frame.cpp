// The commands of a frame and of the user's hand, each on the record of its instance.
#include "host/commands.h"
#include "host/host_handles.h"
#include "host/host_state.h"
#include "host/parameters.h"

namespace tessaron {

namespace {

/// Marks a render as running, so that a call out of the host's abort callback is turned away.
class running_render {
 public:
  running_render() { host_state.in_render = true; }
  ~running_render() { host_state.in_render = false; }
  running_render(const running_render&) = delete;
  running_render& operator=(const running_render&) = delete;
};

}  // namespace

std::int32_t frame_setup_command(const command_call& call) {
  const call_record record(call.in_data, record_choice::instance_or_plugin);
  if (!record) return PF_Err_NONE;
  record->params = call.params;
  return frame_setup(call.in_data, *call.out_data, call.params);
}

std::int32_t render_command(const command_call& call) {
  const running_render running;
  const call_record record(call.in_data, record_choice::instance);
  if (!record) return PF_Err_NONE;
  record->params = call.params;
  return render_frame(call.in_data, *call.out_data, call.params, *call.output);
}

std::int32_t user_changed_param(const command_call& call) {
  const call_record record(call.in_data, record_choice::instance);
  if (!record) return PF_Err_NONE;
  record->params = call.params;
  on_user_changed_param(call.params, *static_cast<const std::int32_t*>(call.extra));
  return PF_Err_NONE;
}

}  // namespace tessaron
