// Tables and help.
#include "agent/command/Reference.h"
#include "agent/command/Tables.h"

namespace Agent {

namespace {

void show(AgentHost& host, Arguments& arguments, std::ostream& out) {
   NamedTable const& table = namedTable(arguments.next("TABLE"));
   arguments.end();
   print(out, table.make(host), arguments.format());
}

void echo(AgentHost&, Arguments& arguments, std::ostream& out) {
   out << arguments.rest() << "\n";
}

// The tables stand below the help of commands that take one.
bool takesTable(Command const& command) {
   return command.grammar.starts_with("TABLE");
}

Json helpObject(Command const& command) {
   Json object{{"name", command.name}, {"arguments", command.grammar}, {"help", command.help}};
   for (auto const& table : namedTables()) {
      if (takesTable(command)) {
         object["tables"].push_back({{"name", table.name}, {"help", table.help}});
      }
   }
   return object;
}

void printHelp(Command const& command, std::ostream& out) {
   printCommand(out, command);
   for (auto const& table : namedTables()) {
      if (takesTable(command)) {
         out << "    " << table.name << ": " << table.help << "\n";
      }
   }
}

void help(AgentHost&, Arguments& arguments, std::ostream& out) {
   if (!arguments.more()) {
      Table table{"commands", {"command", "arguments", "help"}, {}};
      for (auto const& [name, command] : commandRegistry().commands()) {
         table.add({name, command.grammar, command.help});
      }
      print(out, table, arguments.format());
      return;
   }
   std::string name = arguments.rest();
   auto named = commandRegistry().named(name);
   if (named.empty()) {
      throw CommandError("there is no command '{}'", name);
   }
   for (Command const* command : named) {
      if (arguments.format() == Format::json) {
         out << helpObject(*command).dump() << "\n";
      } else {
         printHelp(*command, out);
      }
   }
}

} // namespace

std::span<Command const> showCommands() {
   static constexpr Command table[] = {
       {"show", "TABLE [--format json]", "print a table (help show lists them)", show},
       {"echo", "TEXT", "print a line", echo},
       {"help", "[COMMAND] [--format json]", "list the commands, or explain one", help},
   };
   return table;
}

} // namespace Agent
