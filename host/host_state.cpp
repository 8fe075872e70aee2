#include "host/host_state.h"

#include "base/report.h"
#include "evaluator/frame.h"
#include "evaluator/pixel_loop.h"

namespace tessaron {

host_state_record host_state;

const char* host_app_name(int host_app) {
  static constexpr const char* NAMES[] = {"After Effects",  "Combustion", "Final Cut Pro", "Premiere", "Media 100",
                                          "Digital Fusion", "Liberty",    "Quantel",       "Motion",   "Pie FX"};
  return NAMES[host_app >= HOST_AFTER_EFFECTS && host_app <= HOST_PIE_FX ? host_app - 1 : 0];
}

int detected_host() {
  if (host_state.host_app == HOST_UNDETECTED && Globals->in_data) detect_host(*Globals->in_data);
  return host_state.host_app;
}

int ae_check_abort() {
  if (abort_requested) return 1;
  if (!Globals->in_data) {
    report(REPORT_ERROR, "Missing Globals in ae_check_abort!\n");
    return 0;
  }
  if (host_state.host_app == HOST_COMBUSTION && host_state.combustion_suite) return 0;
  const pf_in_data& in_data = *Globals->in_data;
  const std::int32_t answer = in_data.inter.abort ? in_data.inter.abort(in_data.effect_ref) : 0;
  if (answer == 0) return 0;
  host_state.host_abort_err = answer;
  request_abort();
  return 1;
}

}  // namespace tessaron
