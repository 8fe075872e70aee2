// The help dialog: names the effect and leads to its documentation, HTML pages beside the configuration.
//
// What the dialog says and does is apart from how it is drawn: the host draws it, or the desktop, or its texts go
// to the user as a notice.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "genotype/globals.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// What a caller hands to the dialog.
struct help_reference {
  void* parent_window = nullptr;
  const void* module = nullptr;
  globals_record* globals = nullptr;
  std::intptr_t reserved = 0;
};

/// Shows the dialog and does what its button says. 0, or -1 when it could not be made. While one is up, that one is
/// brought to the front instead.
int show_help_dialog(const help_reference& reference);

/// Brings an open dialog to the front, from any thread; false: none is up. No lock of the entry is needed, which the
/// call that shows the dialog holds.
bool bring_help_forward();

/// The key of an effect's page: without a leading "T_", and without any `_` and blank.
TESSARON_EXPORT std::string help_key(const std::string& doc_name);

/// Opens a page or address, and reports why it cannot be opened.
void open_doc(const std::string& path);
/// The words for a result of the system's shell, 31 and below (and 32, which some systems know).
std::string open_doc_error_text(int result, const std::string& path);

// --- the dialog, undrawn -------------------------------------------------------------------------

struct help_item {
  int id;
  std::string text;
};

struct help_dialog {
  std::vector<help_item> items;  // texts, then buttons
  std::string page;              // of the effect; of custom effects for a custom plug-in
  std::string introduction;
  // Where the window's corner stands, if that is known.
  bool placed = false;
  std::int32_t x = 0, y = 0;

  const std::string& text(int id) const;
};

enum class help_message {
  initialise,  // value: unused
  command,     // value: the item
  system,      // value: the system command
};

/// Handles a message of the dialog. The result with which it ends, or nothing as long as it goes on.
std::optional<int> help_dialog_proc(help_dialog& dialog, const help_reference& reference, help_message message,
                                    int value);

}  // namespace tessaron
