// The commands of the agent as data: what the scenario runner accepts, what `help` prints, and what
// the table in docs/agent.md and the dictionary of the scenario fuzzer are made from.
#pragma once

#include "agent/command/Arguments.h"

#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class AgentHost;

struct Command {
   std::string_view name;    // one word, or two: "chip capacity"
   std::string_view grammar; // of the words behind the name: "INTERFACE UNIT [flood VLAN]"
   std::string_view help;    // one line
   void (*run)(AgentHost&, Arguments&, std::ostream&);
};

class Registry {
 public:
   // The texts have to outlive the registry. A name that is taken stays as it is.
   void add(std::span<Command const> commands);
   // The command that a line begins with; takes its name off the words. CommandError for none.
   Command const& take(std::vector<std::string>& words) const;
   // Those whose name is `name` or begins with that word, in order of name. May be empty.
   std::vector<Command const*> named(std::string_view name) const;
   std::map<std::string_view, Command> const& commands() const { return commands_; }

 private:
   std::map<std::string_view, Command> commands_;
};

// All commands of the agent; whoever stands above it adds its own.
Registry& commandRegistry();

// One table per file of commands.
std::span<Command const> requestCommands();
std::span<Command const> worldCommands();
std::span<Command const> featureCommands();
std::span<Command const> machineCommands();
std::span<Command const> chipCommands();
std::span<Command const> timeCommands();
std::span<Command const> showCommands();
std::span<Command const> explainCommands();
std::span<Command const> expectCommands();
std::span<Command const> traceCommands();

} // namespace Agent
