#include "base/text.h"

#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/report.h"

namespace tessaron {

void replace_substring(const char* src, char* dest, const char* from, const char* to) {
  const std::size_t from_length = std::strlen(from);
  const std::size_t to_length = std::strlen(to);
  if (dest == src && from_length < to_length) {
    report(REPORT_FATAL, "replace_substring: %s < %s but dest==source.", from, to);
    return;  // where a fatal report does not end the process: the text would run over itself
  }
  const char* hit = nullptr;
  while (from_length > 0 && (hit = std::strstr(src, from)) != nullptr) {
    const std::size_t kept = std::size_t(hit - src);
    std::memmove(dest, src, kept);
    std::memmove(dest + kept, to, to_length);
    dest += kept + to_length;
    src = hit + from_length;
  }
  std::memmove(dest, src, std::strlen(src) + 1);
}

bool parse_number(const char* text, float& value) {
  const char* p = text;
  const auto blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (*p && blank(*p)) ++p;
  float sign = 1.0f;
  if (*p == '-') {
    sign = -1.0f;
    ++p;
  } else if (*p == '+') {
    ++p;
  }
  // Single precision, step by step: the result is what these steps give, not the nearest float.
  float total = 0.0f, scale = 1.0f;
  bool fraction = false, digits = false;
  for (; *p && !blank(*p); ++p) {
    if (*p >= '0' && *p <= '9') {
      const float digit = float(*p - '0');
      digits = true;
      if (!fraction) {
        total = total * 10.0f + digit;
      } else {
        scale = scale * 0.1f;
        total = total + digit * scale;
      }
    } else if (*p == '.' && !fraction) {
      fraction = true;
    } else if (*p == 'e' || *p == 'E') {
      // atoi of what follows; strtol bounds what atoi leaves undefined.
      const long exponent = std::strtol(p + 1, nullptr, 10);
      total = float(double(total) * std::pow(10.0, double(exponent)));
      break;
    } else {
      break;
    }
  }
  value = sign * total;
  return digits;
}

char* copy_text(const char* text) {
  if (!text) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  char* copy = new char[size];
  std::memcpy(copy, text, size);
  return copy;
}

void free_text(const char* text) { delete[] text; }

const char* ordinal_suffix(int n) {
  if (n < 1) return "th";
  n %= 100;
  if (n > 20) n %= 10;
  return n == 1 ? "st" : n == 2 ? "nd" : n == 3 ? "rd" : "th";
}

std::string format_text(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? std::size_t(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace tessaron
