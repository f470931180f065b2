// Every table of the agent by name, for `show` and `expect count`.
#pragma once

#include "agent/command/Names.h"

#include <functional>

namespace Agent {

struct NamedTable {
   std::string_view name;
   std::string_view help;
   std::function<Table(AgentHost const&)> make;
};

std::vector<NamedTable> const& namedTables();
// Throws CommandError with the known names.
NamedTable const& namedTable(std::string_view name);

// Each file of tables adds its own.
void addRequestTables(std::vector<NamedTable>& tables);
void addAdmissionTables(std::vector<NamedTable>& tables);
void addHardwareTables(std::vector<NamedTable>& tables);
void addFeatureTables(std::vector<NamedTable>& tables);
void addVlanTables(std::vector<NamedTable>& tables);
void addWorldTables(std::vector<NamedTable>& tables);
void addToggleTable(std::vector<NamedTable>& tables);

// The columns that name a request, and its cells.
std::vector<std::string> requestColumns(std::vector<std::string> const& more);
std::vector<Json> requestCells(TcamSharingRequest request);
std::vector<Json> joined(std::vector<Json> row, std::vector<Json> const& more);

// What each requester asked for and was answered, one row per requester and request.
Table requestTable(AgentHost const& host);
// How many requests of each requester have which status.
Table summaryTable(AgentHost const& host);

} // namespace Agent
