// Shows the help dialog, one at a time.
#include "host/help.h"

#include <atomic>
#include <mutex>

#include "base/notice.h"
#include "base/report.h"
#include "host/host_suites.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

constexpr const char* WINDOW_TITLE = "Tessaron Plug-ins";
constexpr int BUTTONS_BEYOND_OK_AND_CANCEL[] = {TESSARON_HELP_PAGE, TESSARON_HELP_INTRODUCTION, TESSARON_HELP_WEB};
constexpr int STATIC_TEXTS[] = {TESSARON_HELP_TITLE, TESSARON_HELP_EFFECT_NAME, TESSARON_HELP_NOTES,
                                TESSARON_HELP_DESCRIPTION, TESSARON_HELP_DETAIL};

std::atomic<bool> help_open = false;

/// The host's way to bring its window to the front, as long as it is up.
struct host_window {
  std::mutex guard;
  void (*bring_forward)(void* user) = nullptr;
  void* user = nullptr;

  void set(void (*function)(void*), void* its_user) {
    const std::lock_guard lock(guard);
    bring_forward = function;
    user = its_user;
  }
  /// False: the host draws none, or has no way to.
  bool raise() {
    std::unique_lock lock(guard);
    const auto function = bring_forward;
    void* const its_user = user;
    lock.unlock();  // the host may call back
    if (function) function(its_user);
    return function;
  }
} drawn_by_host;

/// How a dialog ended.
struct drawn {
  bool shown = false;
  std::string failure;  // why it could not be made; empty: nothing failed
  help_message message = help_message::command;
  int value = 0;
};

// --- by the host ---------------------------------------------------------------------------------

drawn draw_by_host(help_dialog& dialog, const pf_in_data* in_data) {
  drawn end;
  if (!in_data) return end;
  const held_suite<tessaron_help_suite> suite(*in_data, HELP_SUITE);
  if (!suite || !suite->show) return end;
  std::vector<tessaron_help_item> items;
  for (const help_item& item : dialog.items) items.push_back({item.id, item.text.c_str()});
  tessaron_help_window window{std::int32_t(items.size()), items.data(), dialog.placed, dialog.x, dialog.y};
  drawn_by_host.set(suite->bring_forward, suite->user);
  const std::int32_t id = suite->show(suite->user, &window);
  drawn_by_host.set(nullptr, nullptr);
  dialog.placed = window.placed != 0;
  dialog.x = window.x;
  dialog.y = window.y;
  end.shown = id > 0;
  if (id < 0) end.failure = "the host gives error " + std::to_string(id);
  end.message = id == TESSARON_HELP_CLOSED ? help_message::system : help_message::command;
  end.value = id;
  return end;
}

// --- by the desktop ------------------------------------------------------------------------------

/// The static texts that say something, one below the other.
std::string static_text(const help_dialog& dialog) {
  std::string text;
  for (const int id : STATIC_TEXTS)
    if (!dialog.text(id).empty()) text += (text.empty() ? "" : "\n") + dialog.text(id);
  return text;
}

drawn draw_by_desktop(help_dialog& dialog) {
  const auto button = [&](int id) { return platform::dialog_button{id, dialog.text(id)}; };
  platform::dialog_window window;
  window.title = WINDOW_TITLE;
  window.text = static_text(dialog);
  window.ok = button(TESSARON_HELP_OK);
  window.cancel = button(TESSARON_HELP_CANCEL);
  for (const int id : BUTTONS_BEYOND_OK_AND_CANCEL) window.more.push_back(button(id));
  window.placed = dialog.placed;
  window.x = dialog.x;
  window.y = dialog.y;
  const platform::dialog_answer answer = platform::show_dialog(window);
  dialog.placed = answer.placed;
  dialog.x = answer.x;
  dialog.y = answer.y;
  drawn end;
  end.shown = answer.outcome == platform::dialog_outcome::pressed;
  if (answer.outcome == platform::dialog_outcome::failed) end.failure = platform::last_error_text();
  end.value = answer.id;
  return end;
}

// --- as text -------------------------------------------------------------------------------------

void draw_as_text(const help_dialog& dialog) {
  const std::string text =
      static_text(dialog) + "\nHelp page: " + dialog.page + "\nIntroduction: " + dialog.introduction;
  notify_user(REPORT_PLAIN, WINDOW_TITLE, text.c_str());
}

/// Marks the dialog as open while it lives.
class open_mark {
 public:
  open_mark() : is_first_(!help_open.exchange(true)) {}
  ~open_mark() {
    if (is_first_) help_open = false;
  }
  open_mark(const open_mark&) = delete;
  open_mark& operator=(const open_mark&) = delete;
  bool is_first() const { return is_first_; }

 private:
  bool is_first_;
};

}  // namespace

bool bring_help_forward() {
  if (!help_open) return false;
  if (!drawn_by_host.raise()) platform::raise_dialog();
  return true;
}

int show_help_dialog(const help_reference& reference) {
  const open_mark mark;
  if (!mark.is_first()) {
    bring_help_forward();
    return 0;
  }
  help_dialog dialog;
  help_dialog_proc(dialog, reference, help_message::initialise, 0);
  drawn end = draw_by_host(dialog, reference.globals->in_data);
  if (!end.shown && end.failure.empty()) end = draw_by_desktop(dialog);
  if (!end.failure.empty()) {
    report(REPORT_ERROR, "The help window can't be shown: %s.\n", end.failure.c_str());
    return -1;
  }
  if (end.shown)
    help_dialog_proc(dialog, reference, end.message, end.value);
  else
    draw_as_text(dialog);
  return 0;
}

}  // namespace tessaron
