// Feature toggles, read from flat JSON files: {"DynamicISemData": false}.
#pragma once

#include "platform/Export.h"

#include <optional>
#include <string>
#include <string_view>

namespace Toggle {

// The toggle `name` in the file `file` of the toggle directory. The default where the file or the
// name is missing, and also, with a line on standard error that names the place, where the file
// cannot be read, is malformed (also empty), or the value is neither true nor false. Reads the file
// at each call.
ORV_EXPORT bool getToggleState(std::string const& name, std::string const& file, bool defaultValue);

// Where toggle files are looked for; at start the environment variable SHOAL_TOGGLE_DIR, else the
// working directory.
ORV_EXPORT void directoryIs(std::string const& path);

// What `content` says of `name`. Malformed content throws std::runtime_error with
// "line:column: reason".
ORV_EXPORT std::optional<bool> findToggle(std::string_view content, std::string_view name);

} // namespace Toggle
