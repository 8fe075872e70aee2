// A host that plays whole lives of a plug-in: one of the known makes, with memory that forgives nothing,
// every callback counted and any one of them told to fail.
//
//   scripted_host host(kind_of_host("Motion"));
//   host.calls.fail(host_call::checkout, 2);
//   const life l = host.play(plugin.get());
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"
#include "support/strict_memory.h"

namespace tessaron::testing {

/// How a make of host shows itself.
struct host_kind {
  const char* name;
  int host_app;
  std::uint32_t appl;
  bool has_suites = true;
  std::vector<const char*> suites = {};  // beside the engine's own optional ones
  int version_major = 13, version_minor = 0;
};

inline const std::vector<const char*>& six_suites() {
  static const std::vector<const char*> names = {"PF Handle Suite", "PF Param Utils Suite",
                                                 "PF AE App Suite", "PF Path Data Suite",
                                                 "PF ANSI Suite",   "PF Batch Sampling Suite"};
  return names;
}

inline std::ostream& operator<<(std::ostream& out, const host_kind& kind) { return out << kind.name; }

/// The makes that tell who they are. No identifier stands for Liberty, so that nobody is it.
inline const std::vector<host_kind>& host_kinds() {
  static const std::vector<host_kind> kinds = {
      {"After Effects 1", 1, appl_id("FXTC"), true, six_suites(), 12, 10},
      {"After Effects 2", 1, appl_id("FXTC"), true, six_suites(), 12, 11},
      {"Combustion", 2, appl_id("Cbst"), true, {"Combustion Basic Suite"}},
      {"Final Cut Pro", 3, appl_id("KeyG"), false, {}, 12, 9},
      {"Premiere", 4, appl_id("PrMr")},
      {"Media 100", 5, appl_id("844x"), false, {}, 11, 5},
      {"Digital Fusion", 6, appl_id("DFX+")},
      {"Quantel", 8, appl_id("VDSQ")},
      {"Motion", 9, appl_id("MOTN")},
      {"Pie FX", 10, appl_id("PIFX")},
      {"unknown", 11, appl_id("ODD.")},
  };
  return kinds;
}
inline const host_kind& kind_of_host(const std::string& name) {
  for (const host_kind& kind : host_kinds())
    if (name == kind.name) return kind;
  return host_kinds().back();
}

/// Calls that a host answers.
enum class host_call { new_block, lock, checkout, checkin, add_param, acquire, register_ui, abort, count };

/// How often each was called, and which call is to fail.
class call_counter {
 public:
  void fail(host_call which, int index) { failing_ = {which, index}; }
  int made(host_call which) const { return made_[std::size_t(which)]; }
  bool failed() const { return failed_; }
  /// Counts a call; true: it is the one that fails.
  bool fails(host_call which) {
    const int index = made_[std::size_t(which)]++;
    if (failing_.first != which || failing_.second != index) return false;
    return failed_ = true;
  }

 private:
  std::array<int, std::size_t(host_call::count)> made_ = {};
  std::pair<host_call, int> failing_ = {host_call::count, -1};
  bool failed_ = false;
};

/// An image of 8 bits a field.
struct host_picture {
  std::vector<std::uint8_t> fields;
  pf_world world = {};

  host_picture() = default;
  host_picture(int width, int height, std::uint8_t value) { resize(width, height, value); }
  host_picture(const host_picture&) = delete;
  host_picture& operator=(const host_picture&) = delete;
  void resize(int width, int height, std::uint8_t value) {
    fields.assign(std::size_t(width) * height * 4, value);
    world = {width, height, width * 4, 0, fields.data()};
  }
};

/// What the commands of a life returned, in order.
struct life {
  std::vector<std::pair<int, int>> steps;  // command, result
  int first_error() const {
    for (const auto& [command, error] : steps)
      if (error) return error;
    return 0;
  }
  /// The command that gave the first error; -1: none.
  int failed_command() const {
    for (const auto& [command, error] : steps)
      if (error) return command;
    return -1;
  }
};

class scripted_host : public fake_host {
 public:
  static constexpr int CHECKOUT_ERROR = 71, ADD_PARAM_ERROR = 72, REGISTER_ERROR = 73, CHECKIN_ERROR = 74;

  explicit scripted_host(const host_kind& kind) : fake_host(kind.appl), base_(in_data.inter), base_suites_(suites) {
    utils = strict_memory::calls();
    in_data.inter = {checkout, checkin, add, ask_abort, nullptr, register_events};
    suites = {acquire, base_suites_.release_suite};
    in_data.pica_basic = kind.has_suites ? &suites : nullptr;
    in_data.version_major = kind.version_major;
    in_data.version_minor = kind.version_minor;
    for (const char* name : kind.suites) offered.insert(name);
    offered.insert("Image Format Negotiation Suite");
    strict_memory& memory = strict_memory::get();
    if (memory.live() == 0) memory.clear();
    memory.refuse_block = [] { return scripted() && scripted()->calls.fails(host_call::new_block); };
    memory.refuse_lock = [] { return scripted() && scripted()->calls.fails(host_call::lock); };
    set_size(12, 8);
  }
  call_counter calls;
  std::uint8_t first_value = 64, other_value = 128;  // of all fields of the layers
  host_picture first, other, output;
  int checked_out = 0;   // and not checked in
  int abort_answer = 1;  // of the question that is to fail

  void set_size(int width, int height) {
    first.resize(width, height, first_value);
    other.resize(width, height, other_value);
    in_data.width = width;
    in_data.height = height;
  }

  /// Values for a frame: the declared defaults, both layers in their places.
  void place_values() {
    for (pf_param_def& p : params) switch (p.param_type) {
        case PF_Param_LAYER:
          p.u.layer = &p == &params[0] ? first.world : other.world;
          break;
        case PF_Param_POPUP:
          p.u.popup.value = p.u.popup.default_value;
          break;
        case PF_Param_POINT:  // declared in percent
          p.u.point.x = in_data.width * (p.u.point.default_x / 100);
          p.u.point.y = in_data.height * (p.u.point.default_y / 100);
          break;
        default:
          break;
      }
    if (params.empty()) layer.u.layer = first.world;
  }

  /// One frame, as large as frame setup says.
  int frame(const tessaron_plugin* plugin, life* steps = nullptr) {
    const auto note = [&](int number, int error) {
      if (steps) steps->steps.emplace_back(number, error);
      return error;
    };
    place_values();
    in_data.output_origin_x = in_data.output_origin_y = 0;
    in_data.extent_hint = {0, 0, in_data.width, in_data.height};
    if (const int error = note(PF_Cmd_FRAME_SETUP, call(plugin, PF_Cmd_FRAME_SETUP))) return error;
    in_data.output_origin_x = out_data.origin_x;
    in_data.output_origin_y = out_data.origin_y;
    output.resize(out_data.width, out_data.height, 7);
    in_data.extent_hint = {0, 0, out_data.width, out_data.height};
    return note(PF_Cmd_RENDER, call(plugin, PF_Cmd_RENDER, nullptr, &output.world));
  }

  /// A project that is saved and loaded again: the bytes go through a file.
  int save_and_load(const tessaron_plugin* plugin, life* steps = nullptr) {
    const auto note = [&](int number, int error) {
      if (steps) steps->steps.emplace_back(number, error);
      return error;
    };
    if (const int error = note(PF_Cmd_SEQUENCE_FLATTEN, call(plugin, PF_Cmd_SEQUENCE_FLATTEN))) return error;
    std::vector<std::uint8_t> saved = strict_memory::get().bytes_of(in_data.sequence_data);
    saved.resize(std::size_t(out_data.flat_sdata_size));
    if (const int error = note(PF_Cmd_SEQUENCE_SETDOWN, call(plugin, PF_Cmd_SEQUENCE_SETDOWN))) return error;
    in_data.sequence_data = strict_memory::get().make_of(saved);
    return note(PF_Cmd_SEQUENCE_RESETUP, call(plugin, PF_Cmd_SEQUENCE_RESETUP));
  }

  /// From setup to the frame and through a save; the set-downs in any case. A host stops at the first error,
  /// unless it looks at none.
  life play(const tessaron_plugin* plugin, bool heedless = false) {
    life steps;
    params.clear();
    popup_texts.clear();
    play_up(plugin, steps, heedless);
    for (const int number : {PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_GLOBAL_SETDOWN})
      steps.steps.emplace_back(number, call(plugin, number));
    return steps;
  }

  /// What a host that is done must find: nothing of its own left with the engine. Empty: all in order.
  std::string left_behind() const {
    const strict_memory& memory = strict_memory::get();
    std::string text;
    const auto count = [&](int n, const std::string& what) {
      if (n) text += std::to_string(n) + " " + what + "; ";
    };
    count(memory.live(), "blocks");
    count(memory.locked, "locks");
    count(checked_out, "layers checked out");
    for (const auto& [name, n] : held) count(n, "of " + name);
    for (const std::string& fault : memory.faults) text += fault + "; ";
    return text;
  }

 private:
  void play_up(const tessaron_plugin* plugin, life& steps, bool heedless) {
    const auto step = [&](int number, void* extra = nullptr) {
      steps.steps.emplace_back(number, call(plugin, number, extra));
      return steps.steps.back().second == 0 || heedless;
    };
    for (const int number : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP,
                             PF_Cmd_QUERY_DYNAMIC_FLAGS, PF_Cmd_SEQUENCE_RESETUP})
      if (!step(number)) return;
    if (frame(plugin, &steps) && !heedless) return;
    for (std::int32_t index = 0; index < std::int32_t(params.size()); ++index)
      if (!step(PF_Cmd_USER_CHANGED_PARAM, &index)) return;
    for (const int number : {PF_Event_NEW_CONTEXT, PF_Event_DRAW, PF_Event_ADJUST_CURSOR, PF_Event_DO_CLICK,
                             PF_Event_DRAG, PF_Event_IDLE}) {
      pf_event_extra event = {.event = number, .window_type = PF_Window_LAYER, .drawing = &DRAWS_NOTHING};
      event.mouse_x = event.mouse_y = -5000;  // beside every handle
      if (!step(PF_Cmd_EVENT, &event)) return;
    }
    if (save_and_load(plugin, &steps) && !heedless) return;
    frame(plugin, &steps);
  }

  static constexpr pf_draw_callbacks DRAWS_NOTHING = {
      .line = [](void*, const pf_draw_style*, float, float, float, float) -> std::int32_t { return 0; }};

  static scripted_host* scripted() { return dynamic_cast<scripted_host*>(current() ? current() : last_made()); }
  static scripted_host& of(void* ref) { return *static_cast<scripted_host*>(static_cast<fake_host*>(ref)); }

  static std::int32_t checkout(void* ref, std::int32_t index, std::int32_t time, std::int32_t step, std::uint32_t scale,
                               pf_param_def* def) {
    const host_code own;
    scripted_host& host = of(ref);
    if (host.calls.fails(host_call::checkout)) return CHECKOUT_ERROR;
    const std::int32_t error = host.base_.checkout_param(ref, index, time, step, scale, def);
    if (!error) ++host.checked_out;
    return error;
  }
  static std::int32_t checkin(void* ref, pf_param_def*) {
    const host_code own;
    scripted_host& host = of(ref);
    --host.checked_out;
    return host.calls.fails(host_call::checkin) ? CHECKIN_ERROR : 0;
  }
  static std::int32_t add(void* ref, std::int32_t index, pf_param_def* def) {
    const host_code own;
    scripted_host& host = of(ref);
    return host.calls.fails(host_call::add_param) ? ADD_PARAM_ERROR : host.base_.add_param(ref, index, def);
  }
  static std::int32_t ask_abort(void* ref) {
    const host_code own;
    scripted_host& host = of(ref);
    return host.calls.fails(host_call::abort) ? host.abort_answer : host.base_.abort(ref);
  }
  static std::int32_t register_events(void* ref, std::uint32_t events) {
    const host_code own;
    scripted_host& host = of(ref);
    return host.calls.fails(host_call::register_ui) ? REGISTER_ERROR : host.base_.register_ui(ref, events);
  }
  static std::int32_t acquire(const char* name, std::int32_t version, const void** suite) {
    const host_code own;
    scripted_host& host = *scripted();
    return host.calls.fails(host_call::acquire) ? 1 : host.base_suites_.acquire_suite(name, version, suite);
  }

  pf_callbacks base_;
  pf_basic_suite base_suites_;
};

}  // namespace tessaron::testing
