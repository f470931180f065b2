// The one list of commands: what the scenario runner accepts, what `help` prints, and what
// docs/agent.md is checked against.
#pragma once

#include "agent/command/Output.h"
#include "agent/errors/Errors.h"

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Host;

// The words behind the command's name, taken one by one. Running out of words and leaving some over
// are errors that name what is missing or too much.
class Arguments {
 public:
   explicit Arguments(std::vector<std::string> words);

   bool more() const { return next_ < words_.size(); }
   std::string next(std::string_view what);
   // The next word when it is this one.
   bool accept(std::string_view word);
   uint64_t parseNumber(std::string_view what, uint64_t min, uint64_t max);
   // Seconds, or a probability, within [min, max].
   double parseReal(std::string_view what, double min, double max);
   bool parseSwitch(std::string_view what); // on | off
   // One of these words; its place in the list.
   std::size_t parseChoice(std::string_view what, std::vector<std::string_view> const& choices);
   // Throws when words are left.
   void end() const;
   // "--format json" anywhere among the words.
   Format format() const { return format_; }
   std::string rest();

 private:
   std::vector<std::string> words_;
   std::size_t next_ = 0;
   Format format_ = Format::text;
};

uint64_t parseNumber(std::string_view text, std::string_view what, uint64_t min, uint64_t max);

struct Command {
   std::string name;
   std::string arguments; // "INTERFACE UNIT [flood VLAN]"
   std::string help;      // one line
   // Whether it changes anything that the library sees: such a command is rehearsed first.
   bool changes;
   std::function<void(Host&, Arguments&, std::ostream&)> run;
};

class Registry {
 public:
   // Does nothing when the name is taken.
   void add(Command command);
   // null when there is none.
   Command const* find(std::string const& name) const;
   std::map<std::string, Command> const& commands() const { return commands_; }

 private:
   std::map<std::string, Command> commands_;
};

// All commands of the agent; whoever stands above it adds its own.
Registry& commandRegistry();

// Each file of commands adds its own.
void addRequestCommands(Registry& registry);
void addWorldCommands(Registry& registry);
void addFeatureCommands(Registry& registry);
void addChipCommands(Registry& registry);
void addTimeCommands(Registry& registry);
void addShowCommands(Registry& registry);
void addExplainCommands(Registry& registry);
void addExpectCommands(Registry& registry);
void addTraceCommands(Registry& registry);
void addMachineCommands(Registry& registry);

} // namespace Agent
