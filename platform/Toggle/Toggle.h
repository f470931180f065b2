// Toggles, read from flat JSON files: {"DynamicISemData": false}.
#pragma once

#include "platform/Orv/Export.h"

#include <string>
#include <vector>

namespace Toggle {

// The toggle `name` in the file `file` of the directory that the environment variable
// SHOAL_TOGGLE_DIR names, else of the working directory. Returns the default when the file or the
// name is missing, when the file is malformed, and when the value is neither true nor false;
// readings() has the reason. Reads the file at each call. Prints nothing.
ORV_EXPORT bool getToggleState(std::string const& name, std::string const& file, bool defaultValue);

// What getToggleState() found at its last call for a name and file.
struct Reading {
   std::string name;
   std::string path;
   bool value = false;
   bool fromFile = false; // else the default
   std::string place;     // "line:column" in a malformed file
   std::string note;      // why the default, or what is wrong with the file
   bool odd = false;      // the note tells of a mistake, not of a normal case
};
// In order of first use. The note of a file's first toggle has the names in the file that were
// never read: one of them may be a misspelt toggle.
ORV_EXPORT std::vector<Reading> readings();
// A line for each odd reading: "path:line:column: warning: reason; NAME is taken as true".
ORV_EXPORT std::vector<std::string> warnings();

} // namespace Toggle
