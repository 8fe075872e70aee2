#include "installer/template_patcher.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <vector>

#include "installer/input_file.h"
#include "installer/state.h"

namespace tessaron::installer {
namespace {

[[noreturn]] void fail(const std::string& message) {
  std::cerr << message << std::endl;
  std::exit(1);
}

/// Ends the process for a transfer that stopped half-way. `errno` is 0 where the system gave no reason.
[[noreturn]] void fail_transfer(const std::string& message) {
  fail(errno ? message + ": " + std::strerror(errno) : message);
}

std::string counted_text(const std::string& text) { return static_cast<char>(text.size()) + text; }

}  // namespace

void copy_template(const std::string& template_path, const std::string& output_path, const std::string& name) {
  if (verbose_count) std::cout << "Copying " << name << " from " << template_path << " to " << output_path << '\n';
  std::ifstream input = open_input_file(template_path, std::ios::binary);
  if (!input) fail("Can't open input file " + template_path);
  // Opening the output empties it; of a link to the template nothing would be left to copy, now or later.
  std::error_code no_output_yet;
  const bool is_template = std::filesystem::equivalent(template_path, output_path, no_output_yet);
  std::ofstream output;
  if (!is_template) output.open(output_path, std::ios::binary | std::ios::trunc);
  if (!output.is_open()) fail("Can't open output file " + output_path);

  errno = 0;
  input.seekg(0, std::ios::end);
  const std::streamoff size = input.tellg();
  input.seekg(0);
  if (size < 0) fail_transfer("Can't read input file " + template_path);
  if (verbose_count) std::cout << "File is " << size << " bytes.\n";

  // What a short read leaves out is zero: the file may have shrunk since its size was taken.
  std::vector<char> buffer(std::size_t(size) + 1);
  errno = 0;
  input.read(buffer.data(), size);
  if (input.bad()) fail_transfer("Can't read input file " + template_path);
  if (verbose_count) std::cout << "Read " << input.gcount() << " bytes.\n";

  patch_template_name(buffer.data(), size, NAME_PLACEHOLDER, name);
  errno = 0;
  output.write(buffer.data(), size);
  output.close();
  if (output) return;
  // Part of a plug-in can bring its host down, as the system's loader trusts it; an empty file is refused.
  const int reason = errno;
  std::ofstream(output_path, std::ios::binary | std::ios::trunc);
  errno = reason;
  fail_transfer("Can't write output file " + output_path);
}

void patch_template_name(char* buffer, std::ptrdiff_t size, const std::string& placeholder, const std::string& name) {
  if (size <= 0) return;
  const auto placeholder_length = std::ptrdiff_t(placeholder.size());
  const auto name_length = std::ptrdiff_t(name.size());
  if (placeholder_length - 1 < name_length)
    fail("ERROR: name " + name + " is too long; only " + std::to_string(placeholder_length - 1) + " chars allowed.");

  const std::string counted_placeholder = counted_text(placeholder), counted_name = counted_text(name);
  const std::string_view file(buffer, std::size_t(size));
  // compare() sees no further than the end of the file, so a match lies wholly in it, and so does the name with
  // its NUL, which is no longer than the placeholder.
  for (std::ptrdiff_t i = 0; i < size - name_length; ++i) {
    if (file.compare(std::size_t(i), counted_placeholder.size(), counted_placeholder) == 0) {
      if (verbose_count) std::cout << "Found len-byte match at " << i << '\n';
      std::memcpy(buffer + i, counted_name.c_str(), counted_name.size() + 1);
      i += placeholder_length;
    } else if (file.compare(std::size_t(i), placeholder.size(), placeholder) == 0) {
      if (verbose_count) std::cout << "Found regular match at " << i << '\n';
      std::memcpy(buffer + i, name.c_str(), name.size() + 1);
      i += placeholder_length;
    }
  }
}

}  // namespace tessaron::installer
