// Text files with errors that nobody thought of.
#pragma once

#include <random>
#include <string>

namespace tessaron::testing {

/// `whole` with one to six changes: a byte of any value, some bytes gone, a piece of the text in the wrong place, or
/// signs that mean something to a reader. Never empty.
inline std::string spoilt(const std::string& whole, std::mt19937& random) {
  static const std::string SIGNS("[]()\"= \n0/e-.\0", 14);
  std::string text = whole;
  for (int changes = 1 + int(random() % 6); changes > 0; --changes) {
    const std::size_t at = random() % text.size();
    switch (random() % 5) {
      case 0:
        text[at] = char(random());
        break;
      case 1:
        text.erase(at, 1 + random() % 20);
        break;
      case 2:
        text.insert(at, whole.substr(random() % whole.size(), random() % 60));
        break;
      case 3:
        text[at] = SIGNS[random() % SIGNS.size()];
        break;
      default:
        text.insert(at, std::string(1 + random() % 3, SIGNS[random() % SIGNS.size()]));
    }
    if (text.empty()) text = " ";
  }
  return text;
}

}  // namespace tessaron::testing
