// What one instance of the host kit holds, as its callbacks and suites see it.
#pragma once

#include <atomic>
#include <deque>
#include <exception>

#include "hostkit/host_kit.h"

namespace tessaron::hostkit {

/// An event while the engine has it.
struct event_under_way {
  const window_view& view;
  event_result& result;
  std::exception_ptr fault;  // of the view's own functions, which the engine must not see
};

struct instance::state {
  state(tessaron_main_fn entry, const tessaron_plugin& plugin, const host_identity& identity);

  /// One command. Handles that the engine sets or clears are taken over.
  int call(int number, pf_world* output = nullptr, void* extra = nullptr);
  /// call(), and host_error with the engine's messages when it fails.
  void setup(int number, const char* what);
  /// The text that a failed command left for the user is a message like any other.
  void keep_return_message();

  /// Declared values at a frame, points in pixels of a layer at (origin_x, origin_y) of the output.
  std::vector<host_param> values_in_pixels(double frame) const;
  /// Fills `call_params` and its pointers for the frame of `in_data`.
  void place_params();
  /// Takes back what the engine wrote into its parameters, and returns their indices.
  std::vector<int> adopt_changes();
  /// Checks a request, and fills what in_data says of its frame, and the layer's size. Throws host_error.
  void describe_frame(const frame_request& request);
  /// The layer of an input slot, no pixels where the request has none.
  pf_world input_world(std::size_t slot) const;
  /// The same at another frame. Throws what the request's input_at() throws.
  pf_world input_world_at(std::size_t slot, double frame) const;
  /// Slot of a host parameter that is an input; -1: it is none.
  int input_slot(std::size_t index) const;

  tessaron_main_fn entry;
  tessaron_plugin plugin;
  host_identity identity;
  pf_in_data in_data = {};
  pf_out_data out_data = {};
  pf_basic_suite basic_suite;
  tessaron_observer_suite observer = {};
  tessaron_help_suite help_suite = {};
  tessaron_widget_suite widget_suite = {};

  std::vector<host_param> declared, values, call_params;
  std::vector<pf_param_def*> param_pointers;
  std::deque<std::string> popup_texts;  // stay where they are
  std::vector<std::string> messages;
  std::string name;   // of the plug-in, as it says
  bool bgra = false;  // the layouts that it accepted

  // While the help command is under way.
  const std::function<int(const tessaron_help_window&)>* show_help = nullptr;
  help_result* help = nullptr;

  event_under_way* event = nullptr;  // while one is under way

  // While a frame is under way.
  const frame_request* request = nullptr;
  frame_result* result = nullptr;
  // Of the layer in the pixels of the command's points: downsampled in a frame, at full resolution in an event.
  int layer_width = 720, layer_height = 486;
  int checked_out = 0;
  std::exception_ptr fault;  // of the request's own functions, which the engine must not see
  std::atomic<int> root_elements = 0;
};

extern const pf_callbacks HOST_CALLBACKS;

/// Finds a suite for the instance whose call is under way on this thread.
std::int32_t acquire_suite(const char* name, std::int32_t version, const void** suite);
std::int32_t release_suite(const char* name, std::int32_t version);

/// Names the instance whose call is under way on this thread, as long as this lives.
class calling_instance {
 public:
  explicit calling_instance(instance::state& state);
  ~calling_instance();
  calling_instance(const calling_instance&) = delete;
  calling_instance& operator=(const calling_instance&) = delete;

 private:
  instance::state* before_;
};

}  // namespace tessaron::hostkit
