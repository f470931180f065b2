// Feature toggles, read from flat JSON files: {"DynamicISemData": false}.
#pragma once

#include "platform/Orv/Export.h"

#include <string>
#include <vector>

namespace Toggle {

// The toggle `name` in the file `file` of the toggle directory: that of the environment variable
// SHOAL_TOGGLE_DIR, else the working directory, where no file is needed. The default where the file
// or the name is missing, and also where the file is malformed or the value is neither true nor
// false: readings() says so. Reads the file at each call, and prints nothing.
ORV_EXPORT bool getToggleState(std::string const& name, std::string const& file, bool defaultValue);

// What getToggleState() found at its last call for a name and file.
struct Reading {
   std::string name;
   std::string path;
   bool value = false;
   bool fromFile = false; // else the default
   std::string place;     // "line:column" of what is malformed
   std::string note;      // in words; empty when there is nothing to say
   bool odd = false;      // nobody can have meant what the note says
};
// In order of first use. Names in a file that nobody has asked for are told in the note of the
// first toggle of that file: one of them may be a toggle that is misspelt.
ORV_EXPORT std::vector<Reading> readings();
// What is odd: a line each, "path:line:column: warning: reason; NAME is taken as true".
ORV_EXPORT std::vector<std::string> warnings();

} // namespace Toggle
