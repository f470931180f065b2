// What is made from the registry: printed help, the table in docs/agent.md, and the dictionary of
// the scenario fuzzer (scripts/update-commands writes both).
#pragma once

#include "agent/command/Registry.h"

namespace Agent {

// Name and grammar, and the help on a line below.
void printCommand(std::ostream& out, Command const& command);
// A row per command.
void printMarkdown(std::ostream& out);
// The commands, the words of their grammars and the names of the tables, in the syntax of a
// libFuzzer dictionary.
void printDictionary(std::ostream& out);

} // namespace Agent
