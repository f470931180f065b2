// Every table of the agent by name, for `show` and `expect count`.
#pragma once

#include "agent/command/Names.h"

#include <functional>

namespace Agent {

struct NamedTable {
   std::string_view name;
   std::string_view help;
   std::function<Table(Host const&)> make;
};

std::vector<NamedTable> const& namedTables();
// Throws CommandError with the known names.
NamedTable const& namedTable(std::string_view name);

// What each feature asked for and was answered, one row per feature and request.
Table requestTable(Host const& host);
// How many requests of each feature have which status.
Table summaryTable(Host const& host);

} // namespace Agent
