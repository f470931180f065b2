// What an inventory reports, as lines.
#pragma once

#include "host/world/Inventory.h"

namespace Agent {

inline std::vector<std::string> texts(Inventory const& inventory) {
   std::vector<std::string> found;
   for (auto const& each : inventory.diagnostics) {
      found.push_back(each.table + " " + each.key + ": " + each.text);
   }
   return found;
}

} // namespace Agent
