// The exported entry: one call at a time, re-entrant calls answered at once, one handler a command.
#include <exception>
#include <new>

#include "base/report.h"
#include "genotype/text_reader.h"
#include "host/commands.h"
#include "host/help.h"
#include "host/host_state.h"
#include "host/live_records.h"
#include "platform/platform.h"
#include "tessaron/host_interface.h"

namespace tessaron {

namespace {

constexpr int MUTEX_STEP_MS = 200;

/// What a command needs beyond in_data, and which record it may take apart.
enum command_trait : unsigned {
  NEEDS_OUT_DATA = 1,
  NEEDS_PARAMS = 2,
  NEEDS_OUTPUT = 4,
  NEEDS_EXTRA = 8,
  ENDS_PLUGIN = 16,
  ENDS_INSTANCE = 32
};

struct command_row {
  int number;
  std::int32_t (*handler)(const command_call&);
  unsigned traits;
};

constexpr command_row COMMANDS[] = {
    {PF_Cmd_ABOUT, about, NEEDS_OUT_DATA},
    {PF_Cmd_GLOBAL_SETUP, global_setup, NEEDS_OUT_DATA},
    {PF_Cmd_GLOBAL_SETDOWN, global_setdown, ENDS_PLUGIN},
    {PF_Cmd_PARAMS_SETUP, params_setup, NEEDS_OUT_DATA | ENDS_PLUGIN},
    {PF_Cmd_SEQUENCE_SETUP, sequence_setup, NEEDS_OUT_DATA | ENDS_INSTANCE},
    {PF_Cmd_SEQUENCE_RESETUP, sequence_resetup, NEEDS_OUT_DATA | ENDS_INSTANCE},
    {PF_Cmd_SEQUENCE_FLATTEN, sequence_flatten, NEEDS_OUT_DATA | ENDS_INSTANCE},
    {PF_Cmd_SEQUENCE_SETDOWN, sequence_setdown, ENDS_INSTANCE},
    {PF_Cmd_FRAME_SETUP, frame_setup_command, NEEDS_OUT_DATA | NEEDS_PARAMS},
    {PF_Cmd_RENDER, render_command, NEEDS_OUT_DATA | NEEDS_PARAMS | NEEDS_OUTPUT},
    {PF_Cmd_USER_CHANGED_PARAM, user_changed_param, NEEDS_PARAMS | NEEDS_EXTRA},
    {PF_Cmd_EVENT, event, 0},
    {PF_Cmd_QUERY_DYNAMIC_FLAGS, query_dynamic_flags, NEEDS_OUT_DATA},
};

/// A call at work. A host may call again out of a callback; such a call works on records of its own, but
/// does not take away those that a call further out is working on.
class working_call {
 public:
  explicit working_call(const pf_in_data& in_data)
      : outer_(innermost),
        plugin_(in_data.global_data),
        instance_(in_data.sequence_data),
        owner_(plugin_of_instance(instance_)) {
    innermost = this;
  }
  ~working_call() { innermost = outer_; }
  working_call(const working_call&) = delete;
  working_call& operator=(const working_call&) = delete;

  static bool is_in_use(const command_row& row, const pf_in_data& in_data) {
    const pf_handle plugin = row.traits & ENDS_PLUGIN ? in_data.global_data : nullptr;
    const pf_handle instance = row.traits & ENDS_INSTANCE ? in_data.sequence_data : nullptr;
    for (const working_call* call = innermost; call; call = call->outer_)
      if ((plugin && (plugin == call->plugin_ || plugin == call->owner_)) || (instance && instance == call->instance_))
        return true;
    return false;
  }

 private:
  static inline const working_call* innermost = nullptr;  // guarded by the entry's mutex
  const working_call* outer_;
  pf_handle plugin_, instance_, owner_;  // owner_: the instance's plug-in
};

/// Name of the first argument that the command needs and the call lacks, or null.
const char* missing_argument(const command_row& row, const command_call& call) {
  if ((row.traits & NEEDS_OUT_DATA) && !call.out_data) return "out_data";
  if ((row.traits & NEEDS_PARAMS) && !call.params) return "params";
  if ((row.traits & NEEDS_OUTPUT) && !call.output) return "output";
  if ((row.traits & NEEDS_EXTRA) && !call.extra) return "extra";
  return nullptr;
}

std::int32_t dispatch(int command, const command_call& call) {
  ++host_state.call_stamp;
  for (const command_row& row : COMMANDS) {
    if (row.number != command) continue;
    if (const char* missing = missing_argument(row, call)) {
      report(REPORT_ERROR, "tessaron_main: command %d came without %s.\n", command, missing);
      return PF_Err_BAD_REQUEST;
    }
    // Like any call during a render: nothing is done.
    if (working_call::is_in_use(row, call.in_data)) return PF_Err_NONE;
    const working_call working(call.in_data);
    return row.handler(call);
  }
  return PF_Err_NONE;
}

/// dispatch(), with every fault turned into an error number. A fatal fault has been reported where it
/// arose.
std::int32_t guarded_dispatch(int command, const command_call& call) noexcept {
  try {
    try {
      return dispatch(command, call);
    } catch (const TessaronAbortException&) {
      reset_reader();  // a read may have been given up half-way
    } catch (const std::bad_alloc&) {
      reset_reader();
      report(REPORT_ERROR, "Not enough memory.");
    } catch (const std::exception& fault) {
      reset_reader();
      report(REPORT_ERROR, "tessaron_main: command %d: %s.\n", command, fault.what());
    }
  } catch (...) {  // not even memory for the report
  }
  return PF_Err_INTERNAL;
}

platform::mutex* entry_mutex() {
  // A host may set its plug-ins down while the process ends: until then they need it.
  static const struct kept_mutex {
    platform::mutex* const mutex = platform::mutex::create();
    ~kept_mutex() {
      if (host_state.n_global_setups == 0) delete mutex;
    }
  } kept;
  return kept.mutex;
}

/// Owns the process-wide mutex for one call, and keeps what a call changes and a call inside it must
/// find again.
class entered_call {
 public:
  explicit entered_call(platform::mutex& mutex) : mutex_(mutex) {
    while (!mutex_.wait(MUTEX_STEP_MS)) {}
    globals_ = Globals;
  }
  ~entered_call() {
    // A call that the host makes out of a render changes nothing, not even for the workers to see.
    if (Globals != globals_) Globals = globals_;
    mutex_.release();
  }
  entered_call(const entered_call&) = delete;
  entered_call& operator=(const entered_call&) = delete;

 private:
  platform::mutex& mutex_;
  globals_record* globals_;
};

}  // namespace

}  // namespace tessaron

std::int32_t tessaron_main(const tessaron_plugin* plugin, std::int32_t command, pf_in_data* in_data,
                           pf_out_data* out_data, pf_param_def** params, pf_world* output, void* extra) {
  using namespace tessaron;
  // The call that shows the help dialog holds the mutex until the user is done; asking for it again doesn't wait.
  if (command == PF_Cmd_ABOUT && bring_help_forward()) return PF_Err_NONE;
  platform::mutex* mutex = entry_mutex();
  if (!mutex) return PF_Err_INTERNAL;
  entered_call entered(*mutex);
  // The host may call back out of its abort callback, on the thread that is rendering.
  if (host_state.in_render) return PF_Err_NONE;
  if (!plugin || !in_data) return PF_Err_BAD_REQUEST;
  return guarded_dispatch(command, {*plugin, *in_data, out_data, params, output, extra});
}
