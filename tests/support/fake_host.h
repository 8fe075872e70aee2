// A scripted host for tests of the command level: says who it is, offers suites by name, counts handles,
// fails where it is told to. The host kit is for pictures; this one is for the calls.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/engine_code.h"
#include "tessaron/host_interface.h"

namespace tessaron::testing {

constexpr std::uint32_t appl_id(const char* text) {
  return std::uint32_t(text[0]) << 24 | std::uint32_t(text[1]) << 16 | std::uint32_t(text[2]) << 8 |
         std::uint32_t(text[3]);
}

/// A plug-in record with texts of its own.
struct fake_plugin {
  std::string name = "Test";
  std::vector<std::string> effects, suffixes;
  std::vector<const char*> effect_pointers, suffix_pointers;
  tessaron_plugin record = {};

  fake_plugin() = default;
  explicit fake_plugin(std::vector<std::string> definitions) : effects(std::move(definitions)) {}

  const tessaron_plugin* get() {
    effect_pointers.clear();
    suffix_pointers.clear();
    for (const std::string& text : effects) effect_pointers.push_back(text.c_str());
    for (const std::string& text : suffixes) suffix_pointers.push_back(text.c_str());
    effect_pointers.push_back(nullptr);
    const bool has_suffixes = !suffix_pointers.empty();
    suffix_pointers.push_back(nullptr);
    record.plugin_name = name.c_str();
    record.effect_names = effect_pointers.data();
    record.effect_suffixes = has_suffixes ? suffix_pointers.data() : nullptr;
    record.n_effects = std::uint8_t(effects.size());
    record.doc_name = "test_doc";
    if (record.plugin_version == 0) record.plugin_version = 1.1f;
    return &record;
  }
};

class fake_host {
 public:
  explicit fake_host(std::uint32_t appl = appl_id("TEST")) {
    if (calling::depth() == 0) current() = this;
    last_made() = this;
    utils = {new_handle, lock_handle, unlock_handle, dispose_handle};
    suites = {acquire, release};
    in_data.inter = {checkout_param, checkin_param, add_param, abort_call, nullptr, register_ui};
    in_data.utils = &utils;
    in_data.effect_ref = this;
    in_data.pica_basic = &suites;
    in_data.version_major = 13;
    in_data.appl_id = appl;
    in_data.time_step = 1;
    in_data.time_scale = 24;
    in_data.total_time = 10;
    in_data.width = 720;
    in_data.height = 486;
    in_data.downsample_x = in_data.downsample_y = in_data.pixel_aspect_ratio = {1, 1};
    offered.insert("VDS App Suite");
  }
  virtual ~fake_host() {
    if (current() == this) current() = nullptr;
    if (last_made() == this) last_made() = nullptr;
  }
  fake_host(const fake_host&) = delete;
  fake_host& operator=(const fake_host&) = delete;

  /// One command; keeps what the engine stores in out_data, as a host does.
  int call(const tessaron_plugin* plugin, int command, void* extra = nullptr, pf_world* output = nullptr) {
    const calling scope;
    current() = this;
    out_data = {};
    out_data.global_data = in_data.global_data;
    out_data.sequence_data = in_data.sequence_data;
    in_data.num_params = int(params.size());
    std::vector<pf_param_def*> pointers;
    for (pf_param_def& p : params) pointers.push_back(&p);
    if (pointers.empty()) pointers.push_back(&layer);
    const int error = [&] {
      const engine_code engine;
      return tessaron_main(plugin, command, &in_data, &out_data, pointers.data(), output, extra);
    }();
    in_data.global_data = out_data.global_data;
    in_data.sequence_data = out_data.sequence_data;
    return error;
  }
  /// Global, params and sequence setup; the first error, or 0.
  int setup(const tessaron_plugin* plugin) {
    params.clear();
    popup_texts.clear();
    for (const int command : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP, PF_Cmd_SEQUENCE_SETUP})
      if (const int error = call(plugin, command)) return error;
    return 0;
  }
  void setdown(const tessaron_plugin* plugin) {
    call(plugin, PF_Cmd_SEQUENCE_SETDOWN);
    call(plugin, PF_Cmd_GLOBAL_SETDOWN);
  }

  bool has_message(const std::string& part) const {
    for (const std::string& message : messages)
      if (message.find(part) != std::string::npos) return true;
    return false;
  }
  const pf_param_def* param(const std::string& name) const {
    for (const pf_param_def& p : params)
      if (name == p.name) return &p;
    return nullptr;
  }

  pf_in_data in_data = {};
  pf_out_data out_data = {};
  pf_utility_callbacks utils = {};
  pf_basic_suite suites = {};
  pf_param_def layer = {};
  std::vector<pf_param_def> params;      // as declared, [0] is the layer
  std::vector<std::string> popup_texts;  // of each, empty for other kinds
  std::vector<std::string> messages;     // "title|text" that the message suite took
  std::vector<std::string> about;        // lines that were handed over
  std::set<std::string> offered;         // suites
  std::map<std::string, const void*> tables;  // suites of the test's own, offered as well
  std::map<std::string, int> held;       // acquired and not released
  std::vector<std::string> asked;        // every name asked for, in order
  std::vector<pf_image_format> formats;  // offered layouts
  std::vector<pf_image_format> accepted;
  const tessaron_help_suite* help = nullptr;  // offered when it is there
  int accept_error = 0, register_error = 0, add_error_at = -1;
  int handles = 0, locks = 0, allocations = 0, fail_allocation = -1;
  std::uint32_t registered = 0;
  std::function<int()> on_abort;
  std::function<void()> on_message;  // while a message is shown
  std::function<void(int, pf_param_def&)> on_checkout;
  std::vector<int> checked_out_times;

 protected:
  /// The host that this thread has last made or called; the engine calls back on the thread of the call.
  static fake_host*& current() {
    static thread_local fake_host* host = nullptr;
    return host;
  }
  /// The host that a callback without a reference is for. A thread that has none calls for the last one made.
  static fake_host& answering() { return current() ? *current() : *last_made(); }
  static fake_host*& last_made() {
    static fake_host* host = nullptr;
    return host;
  }

 private:
  /// A call inside another gives the thread back to the host of the outer one.
  struct calling {
    static int& depth() {
      static thread_local int calls = 0;
      return calls;
    }
    fake_host* outer = current();
    calling() { ++depth(); }
    ~calling() {
      if (--depth() > 0) current() = outer;
    }
  };
  struct block {
    void* data;  // what the handle points at
    int locks;
  };
  static pf_handle new_handle(std::int64_t size) {
    const host_code own;
    fake_host& host = answering();
    if (host.allocations++ == host.fail_allocation) return nullptr;
    ++host.handles;
    auto* b = new block{std::malloc(std::size_t(size) + 64), 0};
    return reinterpret_cast<pf_handle>(b);
  }
  static void* lock_handle(pf_handle handle) {
    const host_code own;
    ++answering().locks;
    auto* b = reinterpret_cast<block*>(handle);
    ++b->locks;
    return b->data;
  }
  static void unlock_handle(pf_handle handle) {
    const host_code own;
    --answering().locks;
    --reinterpret_cast<block*>(handle)->locks;
  }
  static void dispose_handle(pf_handle handle) {
    const host_code own;
    auto* b = reinterpret_cast<block*>(handle);
    --answering().handles;
    std::free(b->data);
    delete b;
  }
  static std::int32_t acquire(const char* name, std::int32_t, const void** suite) {
    const host_code own;
    fake_host& host = answering();
    host.asked.push_back(name);
    if (host.help && std::strcmp(name, "Tessaron Help Suite") == 0) {
      *suite = host.help;
      ++host.held[name];
      return 0;
    }
    if (const auto own_table = host.tables.find(name); own_table != host.tables.end()) {
      *suite = own_table->second;
      ++host.held[name];
      return 0;
    }
    if (!host.offered.count(name)) return 1;
    static const pf_vds_app_suite MESSAGES = {take_message, take_about};
    static const pf_image_format_suite FORMATS = {offer_format, accept_format};
    static const int ANY = 0;
    *suite = std::strcmp(name, "VDS App Suite") == 0                    ? static_cast<const void*>(&MESSAGES)
             : std::strcmp(name, "Image Format Negotiation Suite") == 0 ? static_cast<const void*>(&FORMATS)
                                                                        : static_cast<const void*>(&ANY);
    ++host.held[name];
    return 0;
  }
  static std::int32_t release(const char* name, std::int32_t) {
    const host_code own;
    --answering().held[name];
    return 0;
  }
  static std::int32_t take_message(std::int32_t, const char* title, const char* text) {
    const host_code own;
    fake_host& host = answering();
    host.messages.push_back(std::string(title) + "|" + text);
    if (host.on_message) host.on_message();
    return 0;
  }
  static std::int32_t take_about(const char* first, const char* second) {
    const host_code own;
    answering().about = {first, second};
    return 0;
  }
  static std::int32_t offer_format(void* ref, std::int32_t index, pf_image_format* format) {
    const host_code own;
    const fake_host& host = *static_cast<fake_host*>(ref);
    if (index >= int(host.formats.size())) return 1;
    *format = host.formats[std::size_t(index)];
    return 0;
  }
  static std::int32_t accept_format(void* ref, const pf_image_format* format) {
    const host_code own;
    fake_host& host = *static_cast<fake_host*>(ref);
    host.accepted.push_back(*format);
    return host.accept_error;
  }
  static std::int32_t checkout_param(void* ref, std::int32_t index, std::int32_t time, std::int32_t, std::uint32_t,
                                     pf_param_def* def) {
    const host_code own;
    fake_host& host = *static_cast<fake_host*>(ref);
    if (index < 0 || index >= int(host.params.size())) return 1;
    *def = host.params[std::size_t(index)];
    host.checked_out_times.push_back(time);
    if (host.on_checkout) host.on_checkout(time, *def);
    return 0;
  }
  static std::int32_t checkin_param(void*, pf_param_def*) { return 0; }
  static std::int32_t add_param(void* ref, std::int32_t index, pf_param_def* def) {
    const host_code own;
    fake_host& host = *static_cast<fake_host*>(ref);
    if (host.params.empty()) {
      host.params.push_back(host.layer);
      host.popup_texts.emplace_back();
    }
    if (index == host.add_error_at) return 77;
    if (index != int(host.params.size())) return 78;  // indices run without a gap
    host.params.push_back(*def);
    host.popup_texts.emplace_back(def->param_type == PF_Param_POPUP ? def->u.popup.names : "");
    return 0;
  }
  static std::int32_t abort_call(void* ref) {
    const host_code own;
    fake_host& host = *static_cast<fake_host*>(ref);
    return host.on_abort ? host.on_abort() : 0;
  }
  static std::int32_t register_ui(void* ref, std::uint32_t events) {
    const host_code own;
    static_cast<fake_host*>(ref)->registered = events;
    return static_cast<fake_host*>(ref)->register_error;
  }
};

}  // namespace tessaron::testing
