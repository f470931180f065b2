#include "agent/command/Reference.h"

#include "agent/command/Tables.h"

#include <cctype>
#include <fmt/format.h>
#include <set>

namespace Agent {

namespace {

std::string named(Command const& command) {
   return fmt::format("{}{}{}", command.name, command.grammar.empty() ? "" : " ", command.grammar);
}

// A bar would end the cell.
std::string cell(std::string_view text) {
   std::string escaped;
   for (char c : text) {
      escaped += c == '|' ? "\\|" : std::string(1, c);
   }
   return escaped;
}

// The words that stand for themselves: those without capitals.
void addWords(std::set<std::string>& words, std::string_view grammar) {
   std::string word;
   bool literal = true;
   for (char c : std::string(grammar) + " ") {
      if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-') {
         word += c;
         literal = literal && std::isupper(static_cast<unsigned char>(c)) == 0;
      } else {
         if (literal && !word.empty() && !word.starts_with("--")) {
            words.insert(word);
         }
         word.clear();
         literal = true;
      }
   }
}

} // namespace

void printCommand(std::ostream& out, Command const& command) {
   out << command.name << " " << command.grammar << "\n    " << command.help << "\n";
}

void printMarkdown(std::ostream& out) {
   out << "| command | what it does |\n|---|---|\n";
   for (auto const& [name, command] : commandRegistry().commands()) {
      out << "| `" << cell(named(command)) << "` | " << cell(command.help) << " |\n";
   }
}

void printDictionary(std::ostream& out) {
   std::set<std::string> words;
   for (auto const& [name, command] : commandRegistry().commands()) {
      out << "\"\\x0a" << name << " \"\n";
      addWords(words, command.grammar);
   }
   for (auto const& table : namedTables()) {
      words.emplace(table.name);
   }
   for (std::string const& word : words) {
      out << "\"" << word << " \"\n";
   }
}

} // namespace Agent
