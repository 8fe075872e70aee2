/* The interface between Tessaron and a host, in one header.
 *
 * A host calls `tessaron_main` with a command; the engine calls back through `in_data`. The records
 * below are this project's own layout of what the engine needs of a host. A host with a layout of
 * its own is bound by one adapter file that fills these records and forwards the calls.
 *
 * All functions return 0 for success or an error number. Images are rows of four-field pixels.
 */
#ifndef TESSARON_HOST_INTERFACE_H
#define TESSARON_HOST_INTERFACE_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define TESSARON_EXPORT __declspec(dllexport)
#else
#define TESSARON_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Commands. Any other number returns 0 with nothing done. */
enum {
  PF_Cmd_ABOUT = 0,
  PF_Cmd_GLOBAL_SETUP = 1,
  PF_Cmd_GLOBAL_SETDOWN = 3,
  PF_Cmd_PARAMS_SETUP = 4,
  PF_Cmd_SEQUENCE_SETUP = 5,
  PF_Cmd_SEQUENCE_RESETUP = 6,
  PF_Cmd_SEQUENCE_FLATTEN = 7,
  PF_Cmd_SEQUENCE_SETDOWN = 8,
  PF_Cmd_FRAME_SETUP = 10,
  PF_Cmd_RENDER = 11,
  PF_Cmd_USER_CHANGED_PARAM = 13,
  PF_Cmd_EVENT = 15,
  PF_Cmd_QUERY_DYNAMIC_FLAGS = 18
};

/* Error numbers that commands return. */
enum { PF_Err_NONE = 0, PF_Err_INTERNAL = 512, PF_Err_BAD_REQUEST = 516, PF_Err_CANCEL = 517 };

/* Kinds of host parameters. */
enum {
  PF_Param_LAYER = 0,
  PF_Param_ANGLE = 3,
  PF_Param_CHECKBOX = 4,
  PF_Param_COLOR = 5,
  PF_Param_POINT = 6,
  PF_Param_POPUP = 7,
  PF_Param_FIX_SLIDER = 10,
  PF_Param_GROUP_START = 13,
  PF_Param_GROUP_END = 14
};

/* `flags` of a parameter. */
enum { PF_ParamFlag_KEYFRAME_HOLD = 0x10, PF_ParamFlag_START_COLLAPSED = 0x20, PF_ParamFlag_BUTTON = 0x46,
       PF_ParamFlag_ENABLE = 0x42 }; /* ENABLE: shows or hides an on-screen handle, renders stay as they are */
/* `ui_flags` of a parameter. */
enum { PF_UIFlag_HIDDEN = 0x8, PF_UIFlag_COLLAPSE_TWIRL = 0x100000 };
/* `display_flags` of a slider. */
enum { PF_Display_PERCENT = 1 };
/* `change_flags` of a parameter: the engine has written a new value. */
enum { PF_ChangeFlag_CHANGED_VALUE = 1 };

/* out_flags that QUERY_DYNAMIC_FLAGS reports. */
enum { PF_OutFlag_USES_TIME = 0x2, PF_OutFlag_WIDE_TIME = 0x4 };

typedef int32_t pf_fixed; /* 16.16 */
typedef void** pf_handle; /* pointer to a block that may move while unlocked */

typedef struct pf_rational { int32_t num, den; } pf_rational;
typedef struct pf_rect { int32_t left, top, right, bottom; } pf_rect; /* right and bottom are outside */

/* An image. Pixels start at `data`, rows are `rowbytes` apart. */
enum { PF_WorldFlag_DEEP = 1 }; /* 16 bits a field; otherwise 8 */
typedef struct pf_world {
  int32_t width, height;
  int32_t rowbytes;
  uint32_t world_flags;
  void* data;
} pf_world;

typedef struct pf_color { uint8_t alpha, red, green, blue; } pf_color;

/* One parameter: its declaration and its value. */
typedef struct pf_param_def {
  int32_t id;
  int32_t param_type;
  uint32_t flags;
  uint32_t ui_flags;
  uint32_t change_flags;
  char name[64];
  union {
    pf_world layer;
    struct { pf_fixed value, default_value; pf_fixed valid_min, valid_max, slider_min, slider_max;
             int32_t precision; uint32_t display_flags; } slider;
    struct { pf_fixed value, default_value; } angle;
    struct { int32_t value, default_value; char label[64]; } checkbox;
    struct { pf_color value, default_value; } color;
    struct { pf_fixed x, y, default_x, default_y; } point; /* declaration: percent; value: layer pixels */
    struct { int32_t value, default_value; int32_t n_choices; const char* names; } popup; /* from 1; "A|B|C", alive during add_param */
  } u;
} pf_param_def;

struct pf_in_data;

/* Callbacks of the call under way; each takes the `effect_ref` of in_data. */
typedef struct pf_callbacks {
  /* A parameter's value at a time; a layer's world has a null `data` where there is no layer. */
  int32_t (*checkout_param)(void* effect_ref, int32_t index, int32_t time, int32_t time_step,
                            uint32_t time_scale, pf_param_def* param);
  int32_t (*checkin_param)(void* effect_ref, pf_param_def* param);
  int32_t (*add_param)(void* effect_ref, int32_t index, pf_param_def* def);
  int32_t (*abort)(void* effect_ref); /* non-zero: stop, and return this number */
  int32_t (*progress)(void* effect_ref, int32_t current, int32_t total);
  int32_t (*register_ui)(void* effect_ref, uint32_t events);
} pf_callbacks;

/* Memory. */
typedef struct pf_utility_callbacks {
  pf_handle (*host_new_handle)(int64_t size);
  void* (*host_lock_handle)(pf_handle handle);
  void (*host_unlock_handle)(pf_handle handle);
  void (*host_dispose_handle)(pf_handle handle);
  int64_t (*host_get_handle_size)(pf_handle handle); /* null: not offered; stored data is then taken to hold a word */
} pf_utility_callbacks;

/* Suites: tables of functions, looked up by name and version. */
typedef struct pf_basic_suite {
  int32_t (*acquire_suite)(const char* name, int32_t version, const void** suite);
  int32_t (*release_suite)(const char* name, int32_t version);
} pf_basic_suite;

typedef struct pf_in_data {
  pf_callbacks inter;
  pf_utility_callbacks* utils;
  void* effect_ref;
  pf_basic_suite* pica_basic;     /* null: a host without suites */
  int32_t version_major, version_minor; /* of the interface that the host speaks */
  int32_t serial_num;
  uint32_t appl_id;               /* four characters, the first in the highest byte */
  int32_t num_params;
  int32_t current_time;
  int32_t time_step;
  int32_t total_time;
  uint32_t time_scale;            /* units a second */
  int32_t field;                  /* 0 frame, 1 upper, 2 lower */
  int32_t width, height;          /* of the layer, before downsampling */
  pf_rect extent_hint;            /* part of the output that is wanted */
  int32_t output_origin_x, output_origin_y;
  pf_rational downsample_x, downsample_y;
  pf_rational pixel_aspect_ratio;
  pf_handle global_data;
  pf_handle sequence_data;
} pf_in_data;

typedef struct pf_out_data {
  uint32_t my_version;
  char name[64];
  pf_handle global_data;
  pf_handle sequence_data;
  int32_t flat_sdata_size;
  int32_t num_params;
  int32_t width, height;          /* FRAME_SETUP: size of the output */
  int32_t origin_x, origin_y;     /* FRAME_SETUP: where the layer's corner lies in it */
  uint32_t out_flags, out_flags2;
  char return_msg[256];
} pf_out_data;

/* What a plug-in hands to tessaron_main on every call. */
typedef struct tessaron_plugin {
  const char* plugin_name;
  uint8_t n_inputs_declared;
  uint8_t n_effects;
  uint8_t descriptor_a;
  uint8_t descriptor_b;
  uint8_t is_custom;
  uint32_t out_flags;
  uint32_t out_flags2;
  const char* const* effect_names;    /* definitions as text, ended by a null pointer */
  const char* const* effect_suffixes; /* optional, one a name; an empty or null entry means none */
  const char* doc_name;
  float plugin_version;               /* 1.1 */
} tessaron_plugin;

/* The one entry. Returns 0 or an error number. */
TESSARON_EXPORT int32_t tessaron_main(const tessaron_plugin* plugin, int32_t command, pf_in_data* in_data,
                                      pf_out_data* out_data, pf_param_def** params, pf_world* output,
                                      void* extra);
typedef int32_t (*tessaron_main_fn)(const tessaron_plugin*, int32_t, pf_in_data*, pf_out_data*, pf_param_def**,
                                    pf_world*, void*);

/* A plug-in in a file of its own exports a function of this name and type, and is linked to the library
 * that exports tessaron_main. */
#define TESSARON_PLUGIN_DESCRIPTOR_NAME "tessaron_plugin_descriptor"
typedef const tessaron_plugin* (*tessaron_plugin_descriptor_fn)(void);

/* ---- on-screen handles: PF_Cmd_EVENT ---------------------------------------------------------- */

/* What happened: the first word of the command's extra argument. Other numbers do nothing. */
enum {
  PF_Event_NEW_CONTEXT = 0,   /* a window has come up */
  PF_Event_DO_CLICK = 2,      /* the button went down; with continue_mark it is a drag */
  PF_Event_DRAG = 3,          /* the mouse moved with the button down; with last_time the button came up */
  PF_Event_DRAW = 4,          /* the window wants its handles */
  PF_Event_IDLE = 7,
  PF_Event_ADJUST_CURSOR = 9  /* the mouse moved with the button up */
};
/* Windows, as bits of the word that register_ui() gets. Handles live in the layer window. */
enum { PF_Window_LAYER = 1, PF_Window_COMPOSITION = 2 };
/* The cursor that is asked for over a handle. */
enum { PF_Cursor_HANDLE = 23 };

/* Drawing over the picture, in pixels of the window, y downwards, between whole numbers: (0, 0) is the window's
 * corner, (0.5, 0.5) the middle of its first pixel. A null function is not offered: the engine then draws the shape
 * with polyline or line, and texts not at all. Each returns 0, or an error that ends the drawing. */
typedef struct pf_draw_style {
  pf_color color;         /* straight alpha */
  float width;            /* of the line */
  int32_t n_dashes;       /* 0: a solid line */
  const float* dashes;    /* lengths, drawn and left out in turn */
} pf_draw_style;
typedef struct pf_draw_callbacks {
  void* draw_ref;
  int32_t (*line)(void* draw_ref, const pf_draw_style* style, float x0, float y0, float x1, float y1);
  int32_t (*polyline)(void* draw_ref, const pf_draw_style* style, const float* xy, int32_t n_points, int32_t closed);
  int32_t (*circle)(void* draw_ref, const pf_draw_style* style, float x, float y, float radius);
  /* From `start` on by `sweep`, in degrees, clockwise on the screen from the right. */
  int32_t (*arc)(void* draw_ref, const pf_draw_style* style, float x, float y, float radius, float start, float sweep);
  int32_t (*filled_rect)(void* draw_ref, const pf_color* color, float left, float top, float width, float height);
  int32_t (*filled_circle)(void* draw_ref, const pf_color* color, float x, float y, float radius);
  int32_t (*text)(void* draw_ref, const pf_color* color, float x, float y, float size, const char* utf8); /* baseline */
} pf_draw_callbacks;

/* The extra argument of PF_Cmd_EVENT. The command's params hold the values that the user sees, points in pixels of
 * the layer at full resolution. */
typedef struct pf_event_extra {
  int32_t event;
  int32_t window_type;        /* PF_Window_LAYER: handled; any other: nothing is done */
  void* context_ref;
  /* Take a place in pixels of the layer at full resolution, 16.16, to the window: first the one, then the other.
   * Null: not offered. Non-zero: it can't be done. */
  int32_t (*source_to_frame)(void* context_ref, pf_fixed* x, pf_fixed* y);
  int32_t (*layer_to_comp)(void* context_ref, pf_fixed* x, pf_fixed* y);
  const pf_draw_callbacks* drawing; /* DRAW; null: nothing is drawn, and the widget suite is told all the same */
  int32_t later_pass;         /* DRAW: the window is drawn in several passes, and this is not the first */
  float mouse_x, mouse_y;     /* DO_CLICK, DRAG, ADJUST_CURSOR: pixels of the window */
  int32_t continue_mark;      /* DO_CLICK: a drag goes on with this click */
  int32_t last_time;          /* DRAG: the button is up */
  /* Filled by the engine. */
  int32_t handled;            /* the event was the engine's */
  int32_t send_drag;          /* the host shall send DRAG until the button is up */
  int32_t redraw;             /* parameters or handles have changed: the window is out of date */
  int32_t cursor;             /* ADJUST_CURSOR: PF_Cursor_HANDLE, or 0 to leave it */
} pf_event_extra;

/* ---- suites that the engine asks a host for, all optional ------------------------------------- */

/* "VDS App Suite" 1: the host shows messages and about lines itself. */
typedef struct pf_vds_app_suite {
  int32_t (*message)(int32_t severity, const char* title, const char* text); /* 0: the host took it */
  int32_t (*about_lines)(const char* first, const char* second);
} pf_vds_app_suite;

/* "Image Format Negotiation Suite" 1. */
enum { PF_PixelOrder_ARGB = 0, PF_PixelOrder_BGRA = 1 };
typedef struct pf_image_format { int32_t order; int32_t full_scale; int32_t premultiplied; } pf_image_format;
typedef struct pf_image_format_suite {
  int32_t (*get_offered)(void* effect_ref, int32_t index, pf_image_format* format); /* non-zero: no more */
  int32_t (*accept)(void* effect_ref, const pf_image_format* format);
} pf_image_format_suite;

/* "Tessaron Observer Suite" 1: a host that watches the engine at work. */
typedef struct tessaron_frame_stats {
  double setup_seconds, output_seconds;
  int32_t n_image_nodes;
  const char* const* image_node_names;
  const double* image_node_seconds;
  int32_t planes_in_use, planes_planned;
  int64_t plane_bytes;
} tessaron_frame_stats;
typedef struct tessaron_observer_suite {
  void* user;
  /* The root's values in fix (4096 is 1.0) of part of an output row, before any conversion or limit.
   * Called by several threads at once, each with rows of its own. Null: not wanted. */
  void (*root_row)(void* user, int32_t y, int32_t x0, int32_t n_columns, int32_t n_elements,
                   const int32_t* const* rows);
  void (*frame_done)(void* user, const tessaron_frame_stats* stats);
} tessaron_observer_suite;

/* "Tessaron Help Suite" 1: the host draws the help window of PF_Cmd_ABOUT itself. Without it the engine asks the
 * desktop, and writes the window's texts as a message where there is none. */
enum {
  TESSARON_HELP_OK = 1,
  TESSARON_HELP_CANCEL = 2,
  TESSARON_HELP_INTRODUCTION = 10, /* button */
  TESSARON_HELP_TITLE = 1012,
  TESSARON_HELP_EFFECT_NAME = 1013,
  TESSARON_HELP_NOTES = 1014, /* settings that are not the usual ones; may be empty */
  TESSARON_HELP_WEB = 1015,   /* button */
  TESSARON_HELP_PAGE = 1016,  /* button: the page of the effect */
  TESSARON_HELP_DESCRIPTION = 1017,
  TESSARON_HELP_DETAIL = 1018,
  TESSARON_HELP_CLOSED = 0xf060 /* what show() returns for a window that was closed from its frame */
};
typedef struct tessaron_help_item {
  int32_t id;
  const char* text; /* of a button: `&` in front of the letter of its key */
} tessaron_help_item;
typedef struct tessaron_help_window {
  int32_t n_items;
  const tessaron_help_item* items;
  int32_t placed; /* non-zero: x and y hold the place of the corner, before the call and after it */
  int32_t x, y;
} tessaron_help_window;
typedef struct tessaron_help_suite {
  void* user;
  /* Shows the window until it ends, and returns the id of the button. 0: not shown; below 0: could not be made. */
  int32_t (*show)(void* user, tessaron_help_window* window);
  /* The window that is up is asked for again, perhaps on another thread. Null: nothing to do. */
  void (*bring_forward)(void* user);
} tessaron_help_suite;

/* "PF AE Adv App Suite" 1: a line of text that the host shows beside the mouse. */
typedef struct pf_adv_app_suite {
  int32_t (*info_draw_text)(const char* line1, const char* line2); /* line2 may be null */
} pf_adv_app_suite;

/* "Tessaron Widget Suite" 1: a host that wants to know each handle, while PF_Event_DRAW is under way. */
typedef struct tessaron_widget_handle {
  int32_t widget;             /* place in the effect's list of widgets, from 0 */
  const char* type_name;      /* "cross_circle", ... */
  const char* base_type;      /* "center", ... */
  const char* name;           /* what its checkbox shows behind "Show " */
  int32_t enable_index;       /* host index of that checkbox; 0: it has none */
  int32_t enabled, visible;
  int32_t n_handles;          /* of the widget; a widget that isn't drawn has none */
  int32_t handle;             /* place in the widget's list, from 0; -1: the widget has no handles */
  const char* part;           /* what the handle moves: "center", "radius", "left_bottom", ... */
  float x, y;                 /* of the handle, pixels of the window */
  int32_t can_be_held;        /* 0: it only marks a place just now */
  int32_t hot;
} tessaron_widget_handle;
typedef struct tessaron_widget_suite {
  void* user;
  void (*handle)(void* user, const tessaron_widget_handle* handle);
} tessaron_widget_suite;

#ifdef __cplusplus
}
#endif

#endif
