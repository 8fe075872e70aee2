// The memory that a host lends: blocks behind handles.
#pragma once

#include "tessaron/host_interface.h"

namespace tessaron::hostkit {

/// The same operations for every instance in the process; safe from several threads.
extern pf_utility_callbacks host_memory;

}  // namespace tessaron::hostkit
