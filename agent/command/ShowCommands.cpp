// What people look at: tables, help.
#include "agent/command/Tables.h"

namespace Agent {

namespace {

void show(Host& host, Arguments& arguments, std::ostream& out) {
   NamedTable const& table = namedTable(arguments.next("TABLE"));
   arguments.end();
   print(out, table.make(host), arguments.format());
}

void echo(Host&, Arguments& arguments, std::ostream& out) {
   out << arguments.rest() << "\n";
}

void helpOn(std::string const& name, std::ostream& out, Format format) {
   Command const* command = commandRegistry().find(name);
   if (command == nullptr) {
      throw CommandError("there is no command '" + name + "'");
   }
   bool tables = name == "show" || name == "expect";
   if (format == Format::json) {
      Json object{
          {"name", command->name}, {"arguments", command->arguments}, {"help", command->help}};
      for (auto const& table : namedTables()) {
         if (tables) {
            object["tables"].push_back(
                {{"name", std::string(table.name)}, {"help", std::string(table.help)}});
         }
      }
      out << object.dump() << "\n";
      return;
   }
   out << command->name << " " << command->arguments << "\n    " << command->help << "\n";
   for (auto const& table : namedTables()) {
      if (tables) {
         out << "    " << table.name << ": " << table.help << "\n";
      }
   }
}

void help(Host&, Arguments& arguments, std::ostream& out) {
   if (arguments.more()) {
      std::string name = arguments.next("COMMAND");
      arguments.end();
      helpOn(name, out, arguments.format());
      return;
   }
   Table table{"commands", {"command", "arguments", "help"}, {}};
   for (auto const& [name, command] : commandRegistry().commands()) {
      table.add({name, command.arguments, command.help});
   }
   print(out, table, arguments.format());
}

} // namespace

void addShowCommands(Registry& registry) {
   registry.add(
       {"show", "TABLE [--format json]", "print a table (help show lists them)", false, show});
   registry.add({"echo", "TEXT", "print a line", false, echo});
   registry.add(
       {"help", "[COMMAND] [--format json]", "list the commands, or explain one", false, help});
}

} // namespace Agent
