// What stands in the template of custom plug-ins, and in a copy that nobody has stamped, in place of a name.
#pragma once

namespace tessaron::installer {

inline constexpr char NAME_PLACEHOLDER[] = "TessaronCustomPlugin___________";

}  // namespace tessaron::installer
