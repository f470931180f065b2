#include "agent/command/Tables.h"

#include <algorithm>

namespace Agent {

std::vector<NamedTable> const& namedTables() {
   static std::vector<NamedTable> const tables = [] {
      std::vector<NamedTable> all;
      addRequestTables(all);
      addAdmissionTables(all);
      addHardwareTables(all);
      addFeatureTables(all);
      addVlanTables(all);
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
      throw CommandError("there is no table '{}'; there are {}", name,
                         join(tables, ", ", [](NamedTable const& table) { return table.name; }));
   }
   return *found;
}

} // namespace Agent
