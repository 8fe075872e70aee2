// Suites: tables of functions that a host may offer, held by name.
#pragma once

#include "tessaron/host_interface.h"

namespace tessaron {

inline constexpr const char* COMBUSTION_SUITE = "Combustion Basic Suite";
inline constexpr const char* MESSAGE_SUITE = "VDS App Suite";
inline constexpr const char* HELP_SUITE = "Tessaron Help Suite";
inline constexpr const char* FORMAT_SUITE = "Image Format Negotiation Suite";
inline constexpr const char* ADV_APP_SUITE = "PF AE Adv App Suite";
inline constexpr const char* WIDGET_SUITE = "Tessaron Widget Suite";

/// A suite, acquired as long as this lives; null where the host lacks it.
template <class Table>
class held_suite {
 public:
  held_suite(const pf_in_data& in_data, const char* name, int version = 1) : name_(name), version_(version) {
    const pf_basic_suite* basic = in_data.pica_basic;
    const void* table = nullptr;
    if (basic && basic->acquire_suite && basic->acquire_suite(name, version, &table) == 0 && table) {
      basic_ = basic;
      table_ = static_cast<const Table*>(table);
    }
  }
  ~held_suite() {
    if (table_ && basic_->release_suite) basic_->release_suite(name_, version_);
  }
  held_suite(const held_suite&) = delete;
  held_suite& operator=(const held_suite&) = delete;

  explicit operator bool() const { return table_ != nullptr; }
  const Table* operator->() const { return table_; }
  /// Leaves the suite acquired; the caller releases it by name.
  const Table* keep() {
    const Table* table = table_;
    table_ = nullptr;
    return table;
  }

 private:
  const char* name_;
  int version_;
  const pf_basic_suite* basic_ = nullptr;
  const Table* table_ = nullptr;
};

}  // namespace tessaron
