// Process-wide state of the host adapter, and the handlers behind the commands.
#pragma once

#include <cstdint>

#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

enum host_app_number : int {
  HOST_UNDETECTED = 0, HOST_AFTER_EFFECTS = 1, HOST_COMBUSTION = 2, HOST_FINAL_CUT = 3, HOST_PREMIERE = 4,
  HOST_MEDIA_100 = 5, HOST_FUSION = 6, HOST_LIBERTY = 7, HOST_QUANTEL = 8, HOST_MOTION = 9, HOST_PIE_FX = 10,
  HOST_UNKNOWN = 11,
};
const char* host_app_name(int host_app);

inline constexpr const char* ENGINE_VERSION_TEXT = "1.10";
inline constexpr float ENGINE_VERSION = 1.1f;

struct host_state_record {
  int host_app;
  int interface_generation;   // After Effects: 1 or 2
  int batch_mode;             // render node
  int background_render;
  int n_global_setups;
  std::int32_t session_stamp;
  bool in_render;
  std::int32_t host_abort_err;
  std::uint32_t call_stamp;   // counts dispatches; a parameter with an older stamp is read again
  int custom_reading_mode;    // 0 none yet, 1 by index, 2 by name
  int customs_read;
  const void* combustion_suite;
  bool use_dials;
  int hidden_id_base;         // 0 or 250
  int pixel_scale = 1;        // -1 in Digital Fusion
  int angle_sign = -1;        // 1 in Digital Fusion
  bool shared_data_ready;     // configuration read, workers started, tables built
  bool log_pending = true;
};
extern host_state_record host_state;

/// Reads appl_id and the suites; sets host_app and what hangs on it.
void detect_host(const pf_in_data& in_data);
/// host_app, detected now if that has not been done and a call is under way.
int detected_host();

/// Asks the host's abort callback; 1 when the render should stop.
int ae_check_abort();

// Render path (host/render.cpp). Both expect Globals to be the call's record, with in_data and params set.
std::int32_t frame_setup(pf_in_data& in_data, pf_out_data& out_data, pf_param_def** params);
std::int32_t render_frame(pf_in_data& in_data, pf_out_data& out_data, pf_param_def** params, pf_world& output);
/// Frees the planes that an instance holds between frames.
void free_temp_sets(globals_record& record);
void set_pixel_aspect_ratio(float ratio);

}  // namespace tessaron
