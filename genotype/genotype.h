// The records of a parsed effect: `genotype`, `node`, `param`, and what hangs on them.
//
// Plain records on purpose: the reader fills them zeroed, the evaluator copies nodes, the console
// prints them field by field in this order.
#pragma once

#include <cstdint>

#include "base/fixed.h"
#include "catalogue/defuns.h"

namespace tessaron {

inline constexpr int MAX_INPUTS = 4;
inline constexpr int MAX_INPUT_NAME_LEN = 12;   // characters
inline constexpr int MAX_PARAMS = 40;
inline constexpr int MAX_PAGES = 6;
inline constexpr int MAX_PARAM_GROUP_NUMBER = 4;
inline constexpr int MAX_POPUP_TEXTS = 20;
inline constexpr int MAX_NODE_IMAGE_COUNT = 12;
inline constexpr int NODE_GROWTH = 12;

/// "Not set" marks of a parameter's limits.
inline constexpr float UNSET_MIN = -1000000.0f;
inline constexpr float UNSET_MAX = 1000000.0f;

struct genotype;
struct node;
struct param;
struct expression_rows;  // evaluator/pixel_loop.h
struct bounds_record;    // evaluator/bounds.h

enum node_kind : std::int8_t {
  KIND_UNSET = 0,     // a name seen before its assignment, a reference, or a cleared hole
  KIND_CONSTANT = 1,
  KIND_FUNCTION = 2,
  KIND_BUILT_IN = 4,  // a coordinate or an input image: an expression variable
  KIND_OUTPUT = 5,
};

enum expression_variable : std::int8_t { VAR_X = 0, VAR_Y = 1, VAR_XY = 2, VAR_SOURCE0 = 3 };

enum node_flag : std::uint8_t {
  NODE_ACTIVE = 0x01,          // marked for this frame
  NODE_NARROWED = 0x02,        // narrowed region
  NODE_CONSTANT = 0x04,        // same value for all pixels
  NODE_CONSTANT_AT_BIND = 0x08,  // copy of 0x04 made at binding; stops the image list walk
  NODE_TIME_DEPENDENT = 0x10,
  NODE_TIME_DEPENDENT_AT_BIND = 0x20,
  NODE_IMAGES_VALID = 0x40,
};

struct node {
  const char* name;
  std::int8_t kind;
  std::int8_t elnum;
  std::int8_t var_index;
  std::int8_t arg_number;
  std::int8_t eval_arg_number;
  fix const_vals[4];
  fix* rows[4];                      // at rest each points at the same node's const_vals element
  fix** arg_rows[MAX_ARG_NUMBER];
  fix* arg_consts[MAX_ARG_NUMBER];
  std::int32_t pixel_index;
  const fun_info* fun;
  node_kernel row_kernel;
  node_kernel own_kernel;
  node_kernel image_fun;
  node* args[MAX_ARG_NUMBER];
  std::int16_t arg_indices[MAX_ARG_NUMBER];
  std::uint8_t node_flags;
  std::int8_t image_count;
  std::int8_t image_base;
  std::int8_t image_top;
  std::int8_t shared_image;
  std::int8_t share_count;
  std::int8_t pass_arg;
  std::int8_t branch_arg;
  std::uint8_t branch_bit;
  std::uint16_t branch_mask;
  std::uint16_t visit;
  std::int16_t* images[MAX_NODE_IMAGE_COUNT];
  const expression_rows* vars;  // rows of the variables in the current pixel loop, and the row width
  void* misc_ptr;               // noise cache, only during a pixel loop
  union {
    std::int16_t snap;        // reader: the node that this one stands for
    std::int16_t eval_index;  // evaluator: place in eval_nodes_array, -1 (0xFFFF) if none
  };
  std::int16_t assign_index;
  std::int32_t param_index;  // position in params plus 1, 0 for none
  bounds_record* bounds;

  // The pixel loop's own: bit a set when the rows of argument a hold one sample for the whole row
  // (a constant, or a value that changes only from row to row).
  std::uint16_t uniform_args;
};

struct widget_entry {
  widget_entry* next;
  char* param_name;    // the text after the dot, or the param's name
  char* display_name;
  char* widget_type;   // the text before the dot
  char* owner_name;    // the param's name
  char* enable_param;  // the use_wenable name
  std::int8_t order;          // -1 if unset
  std::int8_t enable_number;  // -1 if unset
  std::uint8_t enable_here : 1;
  std::uint8_t default_state : 2;  // 0 off, 1 on, 3 unset
  std::uint64_t effect_mask;  // popup entries that the widget came from
};

enum param_type : std::int32_t {
  PTYPE_FLOAT = 1, PTYPE_INT = 2, PTYPE_COLOR = 3, PTYPE_POPUP = 4, PTYPE_TOGGLE = 5, PTYPE_BUTTON = 6,
};

enum param_units : int {
  UNITS_NONE = 0, UNITS_SCREEN = 1, UNITS_SCREEN_CENTER = 2, UNITS_SCREEN_CENTER0 = 3,
  UNITS_NORMALIZE = 4, UNITS_NORMALIZE_SCALE = 5, UNITS_SCREEN_TO_NORM = 6, UNITS_SCREEN_CENTER_TO_NORM = 7,
};

// param.flags, by byte
enum param_flag0 : std::uint8_t { PARAM0_NAME_NOT_OWNED = 0x02, PARAM0_POPUP_NOT_OWNED = 0x04,
  PARAM0_WIDGETS_NOT_OWNED = 0x10, PARAM0_SET_HOLD_LEVEL = 0x20, PARAM0_SHARED = 0x80 };
enum param_flag1 : std::uint8_t { PARAM1_POINTER_SET = 0x01, PARAM1_LENS_FLARES = 0x08, PARAM1_GLARES = 0x10,
  PARAM1_NEG_FILM = 0x20, PARAM1_PRINT_FILM = 0x40, PARAM1_NAMED_LIST = 0x80 };
enum param_flag2 : std::uint8_t { PARAM2_UNITS = 0x07, PARAM2_IGNORE = 0x08, PARAM2_AUTOTRANS = 0x30,
  PARAM2_SET_HOLD_LEVEL = 0x40, PARAM2_HOLD_LEVEL = 0x80 };
enum param_flag3 : std::uint8_t { PARAM3_NEW_COLUMN = 0x02, PARAM3_PERCENT = 0x04, PARAM3_HR = 0x08,
  PARAM3_GROUP_START = 0x10, PARAM3_GROUP_OPEN = 0x20, PARAM3_GROUP_END = 0x40, PARAM3_PAGE_OPEN = 0x80 };
enum param_flag4 : std::uint8_t { PARAM4_ANGLE = 0x01, PARAM4_DIAL = 0x02 };

struct param {
  std::int32_t ptype;
  char* name;
  std::uint8_t nchannels;
  std::uint8_t n_shown;
  std::int16_t ref_count;
  float value[4];
  float default_value[4];  // printed as `default`
  float min_bound;
  float max_bound;
  float scale;
  float normalize_scale;
  char* channel_text[4];
  widget_entry* widgets;
  std::uint32_t stamp;
  std::uint8_t flags[5];
  std::int16_t angle_offset;
  std::int8_t n_popup_entries;
  std::uint8_t group_mode;  // bit 0 page relative, bit 1 number is relative
  std::int16_t host_id;
  std::int16_t host_index;  // -100 not shown, -101 another control stands for it
  char* popup_entry[MAX_POPUP_TEXTS];
  node* param_node;         // printed as `node`
  float slider_min;
  float slider_max;
  float fcp_min;
  float fcp_max;
  std::int8_t page;
  std::int8_t group;

  // Beyond the record: the value of the last frame, for the comparison between frames.
  float previous_value[4];

  int units() const { return flags[2] & PARAM2_UNITS; }
};

inline constexpr int MAX_WIDGET_PARTS = 12;

/// A parameter that a widget shows and moves.
struct widget_part {
  char* name;                // as the base type calls it
  std::int16_t param_index;  // position in the genotype's params
  std::uint64_t effect_mask;
};

/// A handle on the screen, put together from the widget entries of an effect's parameters.
struct widget_declaration {
  const char* type_name;      // of the table of types
  const char* base_type;
  char* enable_name;          // null: none yet, or another's control switches this widget
  bool default_on_p;
  std::int32_t instance;      // -1: not numbered
  param* enable_param;        // the checkbox, owned; null: another's
  std::int16_t wenable_here;  // position of the parameter that the checkbox stands behind; -1: no wish
  bool placed;                // the checkbox has been declared to the host
  std::int8_t n_parts;
  widget_part parts[MAX_WIDGET_PARTS];

  // Beyond the record.
  std::uint8_t default_state;  // as the entries give it: 0 off, 1 on, 3 unset
  std::int16_t enable_of;      // the widget whose checkbox switches this one; -1: none
  std::int16_t enable_toggle;  // the effect's own parameter that does; -1: none
  std::uint64_t effect_mask;   // popup entries that have this widget
};

struct param_group {
  char* name;
  std::int32_t index;
  param_group* parent;
};

// genotype.flags, by byte
enum genotype_flag0 : std::uint8_t { GENO0_MAY_GROW = 0x01, GENO0_READS_CLIPS = 0x02, GENO0_PREV_OUTPUT = 0x04,
  GENO0_FRAME_DEPENDENT = 0x08, GENO0_SHARE_ALL = 0x10, GENO0_COLORS_LEGAL = 0x20,
  GENO0_RENDERS_EVERYWHERE = 0x40, GENO0_LUMA_ALPHA_OK = 0x80 };
enum genotype_flag1 : std::uint8_t { GENO1_SELECT_RADIO = 0x01, GENO1_SELECT_YES_NO = 0x03, GENO1_MASK_COLOR = 0x04,
  GENO1_GENERATES_COLOR = 0x08, GENO1_GENERATES_ALPHA = 0x10, GENO1_ALPHA_AFFECTS_RGB = 0x20,
  GENO1_NEEDS_BG_PIXEL = 0x40, GENO1_COMBINES_2 = 0x80 };
enum genotype_flag2 : std::uint8_t { GENO2_COMBINES_2_CONSTANT = 0x01, GENO2_IMAGE_BELOW_OPERATOR = 0x04,
  GENO2_HAS_OPACITY = 0x10 };

struct genotype {
  char name[32];
  char input_names[MAX_INPUTS][MAX_INPUT_NAME_LEN + 1];
  std::int32_t n_nodes;
  std::int32_t node_capacity;
  node* nodes;
  std::int32_t n_params;
  param* params[MAX_PARAMS];
  std::int32_t n_temp_images;
  std::int32_t n_cache_images;
  std::int32_t n_pages;
  char* page_names[MAX_PAGES + 1];  // the first used slot is index 1
  std::int32_t n_groups;
  param_group groups[MAX_PARAM_GROUP_NUMBER];
  std::int8_t rgba_mode;
  std::uint8_t rgba_ok_inputs;
  std::uint8_t default_none_inputs;
  std::uint8_t default_self_inputs;
  std::int8_t alpha_z_input;
  std::int8_t z_mode;
  std::int8_t mask_input;
  std::uint8_t flags[3];
  std::int8_t n_inputs;
  std::int8_t input_elnums[MAX_INPUTS];
  std::int8_t output_elnum;
  std::int32_t n_host_params;
  void* host_params;
  std::int32_t shares_strings;
  char* effect_popup_name;

  // Beyond the record: the comment block in front of the definition, for help pages (owned).
  char* description;
  // The widgets (owned), gathered when the host sets up the parameters.
  std::int32_t n_widgets;
  widget_declaration* widgets;
};

}  // namespace tessaron
