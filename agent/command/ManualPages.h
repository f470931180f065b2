// The manual pages of shoal-agent, made from what its help prints: one for the program, one for
// each subcommand, and one for the commands of scenarios.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Agent {

// Writes shoal-agent.1, shoal-agent-SUBCOMMAND.1 and shoal-agent-scenario.5 into a folder, which is
// made if needed. `program` is the command line with all its subcommands. Throws std::system_error
// when a page cannot be written.
void writeManualPages(CLI::App const& program, std::string const& folder);

} // namespace Agent
