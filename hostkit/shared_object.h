// Whether a file may be handed to the system's loader.
#pragma once

#include <string>

namespace tessaron::hostkit {

/// What is wrong with a file that should be a shared object; empty when nothing is. The loader maps what the
/// file's headers say and dies where the file doesn't hold it: a copy that was cut off ends the process with a
/// bus error, one that lost its middle with a fault. Faults that the loader reports itself are left to it.
std::string shared_object_fault(const std::string& path);

}  // namespace tessaron::hostkit
