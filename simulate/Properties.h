// What holds at rest in an orderly history (see Orderly), without exceptions. Each property reads
// the world, the requests and the tables; none knows how the library gets there.
#pragma once

#include "agent/host/AgentHost.h"
#include "simulate/Findings.h"

#include <string>
#include <vector>

namespace Simulate {

using Agent::AgentHost;

// The chip holds what the requests imply, and nothing else; each of them is answered success.
void checkHardware(AgentHost const& host, Findings& findings);
// All was withdrawn: every table of the library and of the chip is empty.
void checkEmpty(AgentHost const& host, Findings& findings);
// Every table that a fresh start comes to as well: a text for each row.
std::vector<std::string> tablesOf(AgentHost const& host);
// A new agent that is taken to the same world, and asked for what is asked for now, comes to the
// same tables. `commands`: what was carried out so far.
void checkFresh(AgentHost& host, std::vector<std::string> const& commands, Findings& findings);

} // namespace Simulate
