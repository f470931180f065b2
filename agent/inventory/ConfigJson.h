// The JSON text of a configuration file.
#pragma once

#include "agent/errors/Errors.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Agent {

using ConfigJson = nlohmann::json;

struct ParsedConfig {
   // A key that one object has twice: the later value is in `root`.
   struct Duplicate {
      std::string place; // the keys down to the object, "PORT/Ethernet0"; empty for the outermost
      std::string key;
   };
   ConfigJson root; // an object
   std::vector<Duplicate> duplicates;
};

// Throws InventoryError, "file:line:column: error: reason" with columns in bytes. Cost: linear in
// the content, times a logarithm of the largest object.
ParsedConfig parseConfig(std::string const& content, std::string const& file);

} // namespace Agent
