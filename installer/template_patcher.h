// Makes the plug-in file of one custom effect: a copy of the template with the effect's name written in.
#pragma once

#include <cstddef>
#include <string>

#include "installer/name_placeholder.h"

namespace tessaron::installer {

/// Copies the template file and writes the name into the copy. Ends the process with status 1, after a
/// message, when a file can't be opened, read or written, or the name is too long.
void copy_template(const std::string& template_path, const std::string& output_path, const std::string& name);

/// Writes `name` and a NUL over each placeholder in the buffer of `size` bytes. A placeholder behind a byte that
/// holds its length gets the name's length there. Ends the process with status 1, after a message, when the name
/// isn't shorter than the placeholder.
void patch_template_name(char* buffer, std::ptrdiff_t size, const std::string& placeholder, const std::string& name);

}  // namespace tessaron::installer
