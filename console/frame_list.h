// The grammar of --frames: `7`, `1-48`, `1-48x2` or `1-48:2`, comma lists, negative numbers.
#pragma once

#include <string>
#include <vector>

namespace tessaron::console {

/// Most frames that one command line may ask for.
inline constexpr std::size_t MAX_FRAMES = 1000000;

/// Frame numbers in the order in which they are written. Throws command_line_error.
std::vector<int> parse_frame_list(const std::string& text);

}  // namespace tessaron::console
