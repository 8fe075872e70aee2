// Small text helpers that several rooms share.
#pragma once

#include <string>

namespace tessaron {

/// Copies `src` to `dest` with each `from` replaced by `to`, left to right. Both may be one buffer
/// when `to` is not longer than `from`; otherwise a report at severity 9.
void replace_substring(const char* src, char* dest, const char* from, const char* to);

/// The shared rule of what a number is. Reads in single precision, digit by digit; trailing
/// rubbish is accepted ("5abc" is 5); true when at least one digit was read.
bool parse_number(const char* text, float& value);

/// Heap copy of a text (null stays null), released with free_text.
char* copy_text(const char* text);
void free_text(const char* text);

/// "st", "nd", "rd" or "th" for n: 11 to 20 and n < 1 take "th".
const char* ordinal_suffix(int n);

[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);

}  // namespace tessaron
