// What the help dialog says, and what its items do.
#include <algorithm>
#include <cctype>

#include "base/text.h"
#include "host/configuration.h"
#include "host/help.h"
#include "host/host_state.h"
#include "host/parameters.h"
#include "installer/custom_listing.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

using platform::registry_root;

constexpr const char* WEB_ADDRESS = TESSARON_WEB_ADDRESS;  // a setting of the build
constexpr const char* SYSTEM_KEY = "Software\\Microsoft\\Windows NT\\CurrentVersion";
constexpr const char *X_VALUE = "help_dlg_x", *Y_VALUE = "help_dlg_y";

/// The product's key of the host in use.
std::string host_key() { return get_registry_key_name(host_app_name(detected_host()), ENGINE_VERSION_TEXT); }

// --- texts ---------------------------------------------------------------------------------------

const genotype* current_effect(const globals_record& record) {
  if (record.effect_genotype) return record.effect_genotype;
  const int i = record.current_effect_i;
  return i >= 0 && i < MAX_EFFECTS_PER_PLUGIN ? record.genotypes[i] : nullptr;
}

std::string effect_token(const globals_record& record) {
  const genotype* g = current_effect(record);
  return g ? g->name : record.plugin_name ? record.plugin_name : "";
}

std::string effect_key(const globals_record& record) {
  return help_key(record.n_effects > 1 ? effect_token(record) : record.doc_name ? record.doc_name : "");
}

std::string system_line() {
  std::string version;
  if (!platform::read_registry_text(registry_root::local_machine, SYSTEM_KEY, "CurrentVersion", version))
    version = platform::os_version();
  return "OS version " + version;
}

/// "file://" where the directory is a whole path.
const char* address_prefix(const char* directory) {
  const bool drive = std::isalpha(static_cast<unsigned char>(directory[0])) && directory[1] == ':';
  return drive || directory[0] == '/' || directory[0] == '\\' ? "file://" : "";
}

void set_pages(help_dialog& dialog, const globals_record& record) {
  const char* directory = get_config_dir();
  const char* prefix = address_prefix(directory);
  const std::string key = effect_key(record);
  dialog.introduction = format_text("%s%s/docs/intro.html", prefix, directory);
  if (record.host_flags & HOST_IS_CUSTOM)
    dialog.page = format_text("%s%s/docs/Custom.html", prefix, directory);
  else if (key.empty())
    dialog.page = dialog.introduction;  // a plug-in that names no documentation
  else
    dialog.page = format_text("%s%s/docs/%s.html", prefix, directory, key.c_str());
}

void set_texts(help_dialog& dialog, const globals_record& record) {
  const genotype* g = current_effect(record);
  const std::string name = shown_name(effect_token(record).c_str());
  const bool described = g && g->description && *g->description;
  const char* button = record.host_flags & HOST_IS_CUSTOM ? "&Help on %s (custom)" : "More &help on %s";
  dialog.items = {
      {TESSARON_HELP_TITLE, about_line()},
      {TESSARON_HELP_EFFECT_NAME, name},
      {TESSARON_HELP_NOTES, config_notes()},
      {TESSARON_HELP_DESCRIPTION, described ? g->description : "(no documentation provided)"},
      {TESSARON_HELP_DETAIL, system_line()},
      {TESSARON_HELP_PAGE, format_text(button, name.c_str())},
      {TESSARON_HELP_INTRODUCTION, "&Introduction"},
      {TESSARON_HELP_WEB, "Tessaron on the &web"},
      {TESSARON_HELP_OK, "OK"},
      {TESSARON_HELP_CANCEL, "Cancel"},
  };
}

// --- position ------------------------------------------------------------------------------------

void read_position(help_dialog& dialog) {
  const std::string key = host_key();
  dialog.placed = platform::read_registry_number(registry_root::current_user, key, X_VALUE, dialog.x) &&
                  platform::read_registry_number(registry_root::current_user, key, Y_VALUE, dialog.y);
}

void store_position(const help_dialog& dialog) {
  if (!dialog.placed) return;
  const std::string key = host_key();
  platform::write_registry_number(registry_root::current_user, key, X_VALUE, dialog.x);
  platform::write_registry_number(registry_root::current_user, key, Y_VALUE, dialog.y);
}

// --- items ---------------------------------------------------------------------------------------

std::optional<int> press(const help_dialog& dialog, int item) {
  constexpr int CANCELLED = 0, DONE = 1;
  const auto leave_for = [&](const std::string& path) {
    store_position(dialog);
    if (!path.empty()) open_doc(path);
    return DONE;
  };
  switch (item) {
    case TESSARON_HELP_CANCEL:
      return CANCELLED;
    case TESSARON_HELP_OK:
      return leave_for("");
    case TESSARON_HELP_PAGE:
      return leave_for(dialog.page);
    case TESSARON_HELP_INTRODUCTION:
      return leave_for(dialog.introduction);
    case TESSARON_HELP_WEB:
      return leave_for(WEB_ADDRESS);
    default:
      return std::nullopt;
  }
}

}  // namespace

std::string help_key(const std::string& doc_name) {
  std::string key = doc_name.starts_with("T_") ? doc_name.substr(2) : doc_name;
  std::erase_if(key, [](char c) { return c == '_' || c == ' '; });
  return key;
}

const std::string& help_dialog::text(int id) const {
  static const std::string none;
  const auto found = std::find_if(items.begin(), items.end(), [id](const help_item& item) { return item.id == id; });
  return found == items.end() ? none : found->text;
}

std::optional<int> help_dialog_proc(help_dialog& dialog, const help_reference& reference, help_message message,
                                    int value) {
  switch (message) {
    case help_message::initialise:
      set_pages(dialog, *reference.globals);
      set_texts(dialog, *reference.globals);
      read_position(dialog);
      return std::nullopt;
    case help_message::system:
      return value == TESSARON_HELP_CLOSED ? press(dialog, TESSARON_HELP_OK) : std::nullopt;
    case help_message::command:
      return press(dialog, value);
  }
  return std::nullopt;
}

}  // namespace tessaron
