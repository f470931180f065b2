#include "agent/command/Tables.h"

#include <algorithm>

namespace Agent {

std::vector<NamedTable> const& namedTables() {
   static std::vector<NamedTable> const tables = [] {
      std::vector<NamedTable> all;
      addRequestTables(all);
      addHardwareTables(all);
      addFeatureTables(all);
      addWorldTables(all);
      addToggleTable(all);
      return all;
   }();
   return tables;
}

NamedTable const& namedTable(std::string_view name) {
   auto const& tables = namedTables();
   auto found = std::find_if(tables.begin(), tables.end(),
                             [&](NamedTable const& table) { return table.name == name; });
   if (found == tables.end()) {
      std::string known;
      for (auto const& table : tables) {
         known += (known.empty() ? "" : ", ") + std::string(table.name);
      }
      throw CommandError("there is no table '" + std::string(name) + "'; there are " + known);
   }
   return *found;
}

} // namespace Agent
