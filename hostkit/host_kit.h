// A host in memory: loads a plug-in, declares its parameters, sets values, renders images.
//
// Knows the engine only through tessaron/host_interface.h. The console, the tests and bridges to
// other programs stand on it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "hostkit/window.h"
#include "tessaron/host_interface.h"

namespace tessaron::hostkit {

/// Host pixel formats by their engine names. In memory a pixel of rgba8 and rgba16 is alpha, red, green, blue, and one
/// of the others blue, green, red, alpha. Full scale is 255, in rgba16 32768 and in bgra16 65535.
enum class pixel_format { rgba8, bgra8, rgba16, bgra16 };

/// An image in one of the four host layouts. Rows are `rowbytes` apart.
struct image {
  int width = 0, height = 0;
  pixel_format format = pixel_format::rgba8;
  int rowbytes = 0;
  std::vector<std::uint8_t> data;

  static image make(int width, int height, pixel_format format, int row_padding_bytes = 0);
  int bytes_per_pixel() const { return format == pixel_format::rgba8 || format == pixel_format::bgra8 ? 4 : 8; }
  std::uint8_t* row(int y) { return data.data() + std::size_t(y) * rowbytes; }
  const std::uint8_t* row(int y) const { return data.data() + std::size_t(y) * rowbytes; }
};

/// What the host says of itself. The defaults are a host of no known make.
struct host_identity {
  std::uint32_t appl_id = 0x54455353u;  // 'TESS'
  int version_major = 13, version_minor = 0;
  bool has_suites = true;
  bool offers_bgra = false;    // offers its images in the bgra layouts; see instance::takes_bgra()
  bool premultiplied = false;  // says of that offer that colours are premultiplied
  bool messages = true;        // takes messages; otherwise the engine shows them itself
  /// Sees each message besides the record that is kept. Only with suites and `messages`.
  std::function<void(int severity, const std::string& text)> on_message;
};

struct root_values {  // the root before conversion, top row first
  int width = 0, height = 0, elements = 0;
  std::vector<std::int32_t> samples;  // row, column, element
};

struct frame_request {
  int frame = 0;
  double fps = 24.0;
  int total_frames = 1;
  int field = 0;
  int downsample_x = 1, downsample_y = 1;
  double pixel_aspect = 1.0;
  int width = 0, height = 0;                  // of the layer at full resolution; 0: the first input's
  std::vector<const image*> inputs;           // slot order; null: no layer. Reduced already if downsampled
  pixel_format format = pixel_format::rgba8;  // of the output; the same layout as the inputs'
  int row_padding_bytes = 0;                  // behind each row of the output
  std::uint8_t initial_fill = 0;              // bytes that the output holds before the render
  std::optional<pf_rect> extent;              // part of the output that is wanted
  std::function<int()> abort;                 // non-zero: stop
  std::function<void(int current, int total)> progress;
  /// Moves `values` (at first instance::values()) to what they are at a frame; null: they stand still.
  std::function<void(double frame, std::vector<pf_param_def>& values)> values_at;
  /// The picture of an input slot at another frame than this one's, null for no layer; unset: inputs stand still. It
  /// stays where it is until the next call. What it throws ends the frame and comes out of render().
  std::function<const image*(int slot, double frame)> input_at;
  /// Last hand on the records of the render command, for hosts with habits of their own.
  std::function<void(pf_in_data&, pf_param_def** params, pf_world& output)> before_render;
  bool want_root = false;
  bool want_stats = false;
};

/// What came of the help command.
struct help_result {
  struct message {
    int severity;
    std::string text;
  };
  int error = 0;                  // what the command returned
  std::vector<message> messages;  // the help text itself among them, where nothing could show a window
};

struct stats_record {
  double setup_seconds = 0, output_seconds = 0;
  std::vector<std::pair<std::string, double>> image_nodes;
  int planes_in_use = 0, planes_planned = 0;
  std::int64_t plane_bytes = 0;
};

struct frame_result {
  int error = 0;  // what the command returned
  image output;
  int origin_x = 0, origin_y = 0;  // of the layer in the output, which may have grown around it
  int layer_width = 0, layer_height = 0;
  root_values root;
  stats_record stats;
  std::vector<std::string> messages;  // of this frame
  int inputs_left_out = 0;            // checked out and not checked in: 0 from a sound engine
};

/// One parameter as the engine declared it, in host order from index 1. In instance::values() a point is in
/// percent of the layer, as its declaration is; the engine gets it in pixels.
using host_param = pf_param_def;

/// Moves a parameter's value to the default of `declared`, which is of the same type (or the same record).
void take_default(host_param& value, const host_param& declared);

/// A loaded plug-in with one effect instance: global, params and sequence setup done in the
/// constructor, the set-downs in the destructor. Throws host_error when a setup command fails.
class instance {
 public:
  instance(tessaron_main_fn entry, const tessaron_plugin& plugin, const host_identity& identity = {});
  ~instance();
  instance(const instance&) = delete;
  instance& operator=(const instance&) = delete;

  const std::vector<host_param>& declared() const;    // [0] is the input layer
  std::vector<host_param>& values();                  // current values, same order
  frame_result render(const frame_request& request);  // frame setup, then render
  int command(int number, void* extra = nullptr);     // any other command
  /// The about command. `show`, if given, draws the help window and returns the id of a button of it.
  help_result about(const std::function<int(const tessaron_help_window&)>& show = {});

  // Events in a window. Each gets the current values(), and what the engine changed is in them afterwards. Places are
  // in pixels of the window. They throw host_error when the view makes no sense.
  event_result new_window(const window_view& view);
  /// Lets the effect draw its handles. `drawing` null: a window that offers no drawing.
  event_result draw_handles(const window_view& view, const pf_draw_callbacks* drawing, bool later_pass = false);
  /// The button goes down; `continuing`: a drag goes on with this click.
  event_result click(const window_view& view, place mouse, bool continuing = false);
  event_result drag(const window_view& view, place mouse);
  event_result release(const window_view& view, place mouse);
  event_result hover(const window_view& view, place mouse);
  /// Any event. The host kit fills in what depends on the view and the instance.
  event_result send_event(const window_view& view, pf_event_extra event);

  bool takes_bgra() const;                   // whether the engine accepted the bgra layouts
  const std::string& name() const;           // the plug-in's, as it gave it at global setup
  std::uint32_t out_flags() const;           // of the last command
  std::vector<std::string> take_messages();  // since the last call, whatever command

  /// Saves as a project does: the engine's flat form. The instance takes no frames until reload().
  std::vector<std::uint8_t> save();
  void reload(const std::vector<std::uint8_t>& saved);

  struct state;  // the host kit's own

 private:
  std::unique_ptr<state> state_;
};

/// A command of the setup failed, or a request makes no sense.
struct host_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The effects of a plug-in as text, held as long as its instances live.
class plugin_texts {
 public:
  plugin_texts(std::string name, std::vector<std::string> definitions, std::vector<std::string> suffixes = {});
  plugin_texts(const plugin_texts&) = delete;
  plugin_texts& operator=(const plugin_texts&) = delete;
  const tessaron_plugin& record() const { return record_; }

 private:
  std::string name_;
  std::vector<std::string> definitions_, suffixes_;
  std::vector<const char*> definition_pointers_, suffix_pointers_;
  tessaron_plugin record_ = {};
};

/// Blocks that engines hold of host kits in this process.
int live_handles();
/// Lets the next `count` blocks succeed and every one after them fail; -1: none fails.
void fail_handles_after(int count);

}  // namespace tessaron::hostkit
