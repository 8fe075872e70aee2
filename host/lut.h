// Look-up tables from text files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/fixed.h"

namespace tessaron {

/// The system's "%d": blanks, a sign, digits, whatever follows. False without a digit; what does not
/// fit becomes the nearest number that does.
bool scan_integer(const char* text, int& value);

struct lut_file {
  std::vector<int> entries;
  int max_value = 0;  // largest entry, 0 when none is above it
};

/// Reads `lut: bits count entry...`. -1 after a report at severity 7.
int read_lut_file(const char* path, lut_file& out);

/// Smallest number of the form 2^n - 1 that is not below `max_value`; 0 below 1.
std::int64_t lut_full_scale(int max_value);

/// Entry i of a table of n entries whose top value is `top`: interpolated from a shorter file table,
/// the next lower entry of another. Always 0 to `top`.
int lut_entry(const lut_file& lut, int i, int n, int top);

/// Fill the engine's tables from a file. 0, or -1 after a report: the tables stay as they were.
int load_input_lut(const char* path);
int load_output_lut(const char* path);

}  // namespace tessaron
