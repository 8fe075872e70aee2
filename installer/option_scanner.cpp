#include "installer/option_scanner.h"

#include <unistd.h>

#include <cstring>
#include <string>

namespace tessaron::installer {

option_scanner::option_scanner(int argc, const char* const* argv, const char* options)
    : argc_(argc), argv_(argv), options_(options) {}

int option_scanner::next() {
  argument_ = nullptr;
  if (at_end()) return END;
  const char letter = argv_[next_argument_][position_];
  const char* option = letter == ':' ? nullptr : std::strchr(options_, letter);
  if (!option) {
    next_letter();
    return bad_option(": illegal option -- ", letter);
  }
  if (option[1] != ':') {
    next_letter();
    return letter;
  }
  const char* attached = argv_[next_argument_] + position_ + 1;
  next_word();
  if (*attached) {
    argument_ = attached;
  } else {
    if (next_argument_ >= argc_) return bad_option(": option requires an argument -- ", letter);
    argument_ = argv_[next_argument_];
    next_word();
  }
  return letter;
}

/// Whether the options end here; takes a `--` in.
bool option_scanner::at_end() {
  if (position_ > 1) return false;
  if (next_argument_ >= argc_) return true;
  const char* word = argv_[next_argument_];
  if (word[0] != '-' || word[1] == '\0') return true;
  if (std::strcmp(word, "--") != 0) return false;
  next_word();
  return true;
}

void option_scanner::next_word() {
  ++next_argument_;
  position_ = 1;
}

void option_scanner::next_letter() {
  if (argv_[next_argument_][++position_] == '\0') next_word();
}

/// Says what is wrong, in one raw write: the standard streams may hold text of their own.
int option_scanner::bad_option(const char* what, char letter) const {
  const std::string text = std::string(argv_[0]) + what + letter + '\n';
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
  return BAD;
}

}  // namespace tessaron::installer
