// Windows of a text and some buttons, by what the desktop has for scripts: zenity, kdialog or xmessage.
//
// None of the three says where its window stands. Where wmctrl is at hand it moves the window to the stored place
// and tells where the user has left it; elsewhere the window manager decides.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <sstream>
#include <utility>

#include "platform/platform.h"
#include "platform/posix/programs.h"

namespace tessaron::platform {
namespace {

constexpr int LOOK_EVERY_MS = 300;        // at the place of the window
constexpr int HELPER_PATIENCE_MS = 2000;  // for a helper that should end at once

/// The process that shows the window; 0: none does.
std::atomic<pid_t> shown_by = 0;

// --- what the programs are told, and what they answer --------------------------------------------------

/// A label without its key mark, or with the mark of another toolkit.
std::string label_text(const std::string& label, const char* key_mark) {
  std::string text;
  for (const char c : label) {
    if (c == '&')
      text += key_mark;
    else if (*key_mark && c == *key_mark)
      text.append(2, c);  // the character itself
    else
      text += c;
  }
  return text;
}

std::string trimmed(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

std::vector<dialog_button> all_buttons(const dialog_window& window) {
  std::vector<dialog_button> buttons{window.ok};
  buttons.insert(buttons.end(), window.more.begin(), window.more.end());
  return buttons;
}

/// A kind of program: its arguments for a window, and the button that its end means. -1: it broke down. Where nobody
/// knows how it ended, what it has printed decides, else the window counts as cancelled.
struct dialog_program {
  const char* name;
  std::vector<std::string> (*arguments)(const dialog_window&);
  int (*pressed)(const dialog_window&, int status, const std::string& out);
};

std::vector<std::string> zenity_arguments(const dialog_window& window) {
  std::string text;
  for (const char c : window.text) text.append(c == '\\' ? 2 : 1, c);  // it reads escapes
  std::vector<std::string> words = {"--question",
                                    "--title=" + window.title,
                                    "--text=" + text,
                                    "--no-markup",
                                    "--width=480",
                                    "--ok-label=" + label_text(window.ok.label, "_"),
                                    "--cancel-label=" + label_text(window.cancel.label, "_")};
  for (const dialog_button& button : window.more) words.push_back("--extra-button=" + label_text(button.label, "_"));
  return words;
}
int zenity_pressed(const dialog_window& window, int status, const std::string& out) {
  if (status == 0) return window.ok.id;
  if (status != 1 && status != program::UNKNOWN) return -1;
  for (const dialog_button& button : window.more)
    if (trimmed(out) == label_text(button.label, "_")) return button.id;
  return window.cancel.id;
}

std::vector<std::string> kdialog_arguments(const dialog_window& window) {
  std::vector<std::string> words = {"--title", window.title, "--menu", window.text};
  for (const dialog_button& button : all_buttons(window)) {
    words.push_back(std::to_string(button.id));
    words.push_back(label_text(button.label, ""));
  }
  return words;
}
int kdialog_pressed(const dialog_window& window, int status, const std::string& out) {
  if (status == 0 || status == program::UNKNOWN)
    for (const dialog_button& button : all_buttons(window))
      if (trimmed(out) == std::to_string(button.id)) return button.id;
  return status == 1 || status == program::UNKNOWN ? window.cancel.id : -1;
}

constexpr int XMESSAGE_FIRST = 101;  // exit status of its first button
std::vector<dialog_button> xmessage_buttons(const dialog_window& window) {
  std::vector<dialog_button> buttons = all_buttons(window);
  buttons.push_back(window.cancel);
  return buttons;
}
std::vector<std::string> xmessage_arguments(const dialog_window& window) {
  std::string buttons;
  int status = XMESSAGE_FIRST;
  for (const dialog_button& button : xmessage_buttons(window)) {
    std::string label = label_text(button.label, "");
    for (char& c : label)
      if (c == ',' || c == ':' || c == '\\') c = ' ';  // its own separators
    if (!buttons.empty()) buttons += ',';
    buttons += label + ":" + std::to_string(status++);
  }
  return {"-title", window.title, "-center", "-buttons", buttons, window.text};
}
int xmessage_pressed(const dialog_window& window, int status, const std::string&) {
  if (status == 1 || status == program::UNKNOWN) return window.cancel.id;  // closed by the window manager
  const std::vector<dialog_button> buttons = xmessage_buttons(window);
  const int i = status - XMESSAGE_FIRST;
  return i >= 0 && i < int(buttons.size()) ? buttons[std::size_t(i)].id : -1;
}

constexpr dialog_program PROGRAMS[] = {{"zenity", zenity_arguments, zenity_pressed},
                                       {"kdialog", kdialog_arguments, kdialog_pressed},
                                       {"xmessage", xmessage_arguments, xmessage_pressed}};

/// They end with the status of a closed window when there is nothing to show it on, and say so.
bool found_no_display(const std::string& err) {
  return err.find("open display") != std::string::npos || err.find("connect to display") != std::string::npos;
}

// --- the place of the window ---------------------------------------------------------------------------

class window_manager {
 public:
  window_manager() : path_(find_program("wmctrl")) {}

  /// The window of a process: its identifier in the manager's words (empty: none) and its corner.
  struct window {
    std::string id;
    int x = 0, y = 0;
  };
  window find(pid_t owner) const {
    std::istringstream lines(ask({"-l", "-p", "-G"}));
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      window found;
      long desktop = 0, process = 0;
      if (words >> found.id >> desktop >> process >> found.x >> found.y && process == owner) return found;
    }
    return {};
  }
  void move(const window& w, int x, int y) const {
    ask({"-i", "-r", w.id, "-e", "0," + std::to_string(x) + "," + std::to_string(y) + ",-1,-1"});
  }
  void raise(const window& w) const { ask({"-i", "-a", w.id}); }

 private:
  std::string ask(const std::vector<std::string>& arguments) const {
    program helper;
    if (path_.empty() || helper.start(path_, arguments, program::output::collected) != 0) return "";
    const bool answered =
        helper.wait(HELPER_PATIENCE_MS) && (helper.status() == 0 || helper.status() == program::UNKNOWN);
    return answered ? helper.out() : "";
  }
  std::string path_;
};

/// Follows the window of a dialog as long as it is up. Managers count the frame around a window to its place or don't,
/// and differently when they are asked and when they are told: what a window is off by right after a move is taken
/// off later, so that a window comes up where it was and doesn't wander.
class followed_window {
 public:
  followed_window(const dialog_window& wanted, dialog_answer& answer) : wanted_(wanted), answer_(answer) {}
  void look(pid_t owner) {
    const window_manager::window found = manager_.find(owner);
    if (found.id.empty()) return;
    if (wanted_.placed && !moved_) {
      manager_.move(found, wanted_.x, wanted_.y);
      moved_ = true;
      set_answer(wanted_.x, wanted_.y);
    } else {
      if (moved_ && !off_by_) off_by_ = {found.x - wanted_.x, found.y - wanted_.y};
      const auto [x, y] = off_by_.value_or(std::pair{0, 0});
      set_answer(found.x - x, found.y - y);
    }
  }

 private:
  void set_answer(int x, int y) {
    answer_.placed = true;
    answer_.x = x;
    answer_.y = y;
  }

  const dialog_window& wanted_;
  dialog_answer& answer_;
  window_manager manager_;
  bool moved_ = false;
  std::optional<std::pair<int, int>> off_by_;
};

}  // namespace

dialog_answer show_dialog(const dialog_window& window) {
  dialog_answer answer;
  if (!has_display()) return answer;
  for (const dialog_program& kind : PROGRAMS) {
    const std::string path = find_program(kind.name);
    if (path.empty()) continue;
    program running;
    answer.outcome = dialog_outcome::failed;
    if (const int error = running.start(path, kind.arguments(window), program::output::collected)) {
      errno = error;
      return answer;
    }
    shown_by = running.id();
    followed_window followed(window, answer);
    while (!running.wait(LOOK_EVERY_MS)) followed.look(running.id());
    shown_by = 0;
    if (found_no_display(running.err())) {
      answer.outcome = dialog_outcome::unavailable;
      return answer;
    }
    answer.id = kind.pressed(window, running.status(), running.out());
    if (answer.id >= 0)
      answer.outcome = dialog_outcome::pressed;
    else
      errno = EIO;
    return answer;
  }
  return answer;
}

void raise_dialog() {
  const pid_t owner = shown_by;
  if (owner == 0) return;
  const window_manager manager;
  const window_manager::window found = manager.find(owner);
  if (!found.id.empty()) manager.raise(found);
}

}  // namespace tessaron::platform
