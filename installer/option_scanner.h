// The classic scanner of single-character options.
#pragma once

namespace tessaron::installer {

/// Walks over the options in front of a command line: `-v`, `-vo file`, `-ofile`. It stops at the first word
/// without `-`, at a lone `-`, and behind `--`.
class option_scanner {
 public:
  static constexpr int END = -1;  // no more options
  static constexpr int BAD = '?';

  /// `options` has the letters that are options, each with a `:` behind it when it takes an argument.
  option_scanner(int argc, const char* const* argv, const char* options);

  /// The next option's letter, END, or BAD after a diagnostic on descriptor 2.
  int next();
  /// Argument of the option that next() gave; null when it takes none.
  const char* argument() const { return argument_; }
  /// Index of the first word that isn't scanned yet.
  int next_argument() const { return next_argument_; }

 private:
  bool at_end();
  void next_word();
  void next_letter();
  int bad_option(const char* what, char letter) const;

  int argc_;
  const char* const* argv_;
  const char* options_;
  const char* argument_ = nullptr;
  int next_argument_ = 1;
  int position_ = 1;  // inside the word; 1: at its first letter
};

}  // namespace tessaron::installer
