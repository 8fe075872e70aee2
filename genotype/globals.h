// `Globals`: the record of one plug-in, or of one effect instance of it.
//
// Lives in a host handle: plain data only, copied as a block. A process-wide pointer names the
// record of the call under way.
#pragma once

#include <cstdint>

#include "genotype/genotype.h"

struct pf_in_data;
struct pf_param_def;

namespace tessaron {

struct effect_table;  // host/effect_table.h
class widget_controller;

inline constexpr int MAX_EFFECTS_PER_PLUGIN = 40;
inline constexpr int MAX_EVAL_IMAGE_NODES = 100;
inline constexpr std::uint32_t FLAT_MARKER = 0x77777777u;

enum globals_state_flag : std::uint8_t { STATE_EFFECT_SELECTED = 0x01, STATE_CONSTANTS_DIRTY = 0x20,
  STATE_USES_PERCENT_TIME = 0x40, STATE_EVAL_PREPARED = 0x80 };
enum globals_host_flag : std::uint8_t { HOST_NAMES_ARE_HEAP = 0x01, HOST_IS_HANDLE_RECORD = 0x02,
  HOST_IS_CUSTOM = 0x04, HOST_IN_FRAME_SETUP = 0x08, HOST_RENDERED_ONCE = 0x10, HOST_THUMBNAIL_RENDER = 0x20,
  HOST_PREMULTIPLIED_NATIVE = 0x40, HOST_NATIVE_FORMATS_OK = 0x80 };
enum globals_param_flag : std::uint8_t { PARAM_MAY_CHECKOUT = 0x01 };

/// Planes that an instance keeps between frames (the previous output).
struct temp_set_record {
  std::int16_t width, height;
  std::int8_t image_count;
  std::uint8_t reset_mark;
  std::int32_t last_time;   // starts at -1000000
  std::int32_t run_start;
  std::int16_t* planes[4];
  void* handles[4];
  std::int8_t frames_held;
  std::int32_t view_x0, view_y0, view_width, view_height;  // beyond the record: how the planes lie
};

struct input_border { std::int16_t left, right, top, bottom; std::int16_t empty; };

struct globals_record {
  std::uint32_t flat_marker;
  std::int32_t session_stamp;
  const char* plugin_name;
  const char* effect_names[MAX_EFFECTS_PER_PLUGIN + 1];
  const char* doc_name;
  std::uint64_t owned_names_mask;  // wider than the 16 bits that 40 names outgrow
  std::int16_t n_effects;
  std::int16_t current_effect_i;
  std::int16_t last_effect_i;
  std::uint8_t n_image_channels;
  std::uint8_t image_channels[7];  // x, y, xy, then source images 0 to 3
  genotype* effect_genotype;
  genotype* genotypes[MAX_EFFECTS_PER_PLUGIN];
  std::int32_t temp_image_owner;
  std::int16_t n_inputs_declared;
  std::int32_t n_inputs;
  std::int32_t descriptor_a, descriptor_b;
  std::int32_t effect_arg_a, effect_arg_b;
  node* eval_image_nodes_array[MAX_EVAL_IMAGE_NODES];
  std::int32_t n_eval_image_nodes;
  std::uint8_t default_image_channels[7];  // dependency byte of each built-in: 0,0,0,1,1,1,1
  std::uint8_t state_flags;
  std::uint8_t host_flags;
  std::uint8_t param_flags;
  temp_set_record temp_sets[2];
  temp_set_record* temp_set;
  std::int16_t temp_count;
  tessaron::effect_table* effect_table;
  globals_record* global_globals;
  pf_in_data* in_data;
  pf_param_def** params;
  std::uint8_t popup_param_index, input_param_index, first_param_index;
  std::int16_t last_width, last_height;
  input_border input_borders[MAX_INPUTS];
  widget_controller* widgets;
  std::int16_t image_total;  // planes of all effects; negative until the first genotype is bound
};

/// Sets the fields of a zeroed record that do not start at zero.
void init_globals(globals_record& record);

/// The record of the call under way. Never null: before the first call it names a process-wide
/// default record, so that definitions can be read without a host.
extern globals_record* Globals;

}  // namespace tessaron
