#include "agent/command/Registry.h"

#include "agent/inventory/InterfaceName.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace Agent {

namespace {

// No name of an inventory and hardly a path is longer.
constexpr std::size_t longestWord = 600;
constexpr std::size_t shownOfWord = 60;
constexpr std::size_t longestText = 16384;

std::string firstOf(std::string_view text, std::size_t size) {
   // Not in the middle of a character of UTF-8.
   while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xc0) == 0x80) {
      --size;
   }
   return std::string(text.substr(0, size)) + "...";
}

std::string shortened(std::string_view text, std::size_t longest, std::size_t shown) {
   return text.size() <= longest
              ? std::string(text)
              : firstOf(text, shown) + " (" + std::to_string(text.size()) + " characters)";
}

std::string shownWord(std::string_view word) {
   bool quoted = word.size() > longestWord && word.front() == '\'' && word.back() == '\'';
   if (!quoted) {
      return shortened(word, longestWord, shownOfWord);
   }
   word = word.substr(1, word.size() - 2);
   return "'" + firstOf(word, shownOfWord) + "' (" + std::to_string(word.size()) + " characters)";
}

std::string printable(std::string_view text) {
   std::string shown;
   for (std::size_t at = 0; at < text.size();) {
      std::size_t end = std::min(text.find_first_of(" \n", at), text.size());
      shown += shownWord(text.substr(at, end - at));
      shown += text.substr(end, 1);
      at = end + 1;
   }
   std::string escaped;
   for (char c : shortened(shown, longestText, longestText)) {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(c));
      escaped += isControl(c) && c != '\n' ? code : std::string(1, c);
   }
   return escaped;
}

} // namespace

CommandError::CommandError(std::string const& text) : std::runtime_error(printable(text)) {}

Arguments::Arguments(std::vector<std::string> words) : words_(std::move(words)) {
   auto option = std::find(words_.begin(), words_.end(), "--format");
   if (option == words_.end()) {
      return;
   }
   if (option + 1 == words_.end() || (option[1] != "json" && option[1] != "text")) {
      throw CommandError("--format takes text or json");
   }
   format_ = option[1] == "json" ? Format::json : Format::text;
   words_.erase(option, option + 2);
}

std::string Arguments::take(std::string_view what) {
   if (!more()) {
      throw CommandError(std::string(what) + " is missing");
   }
   return words_[next_++];
}

bool Arguments::takeWord(std::string_view word) {
   bool found = more() && words_[next_] == word;
   next_ += found ? 1 : 0;
   return found;
}

uint64_t parseNumber(std::string_view text, std::string_view what, uint64_t least, uint64_t most) {
   bool hexadecimal = text.starts_with("0x");
   std::string_view digits = hexadecimal ? text.substr(2) : text;
   uint64_t number = 0;
   auto [end, error] =
       std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
   bool whole = end == digits.data() + digits.size() && !digits.empty();
   if (error == std::errc::invalid_argument || !whole) {
      throw CommandError(std::string(what) + " is a number, not '" + std::string(text) + "'");
   }
   if (error != std::errc() || number < least || number > most) {
      throw CommandError(std::string(what) + " is " + std::to_string(least) + " to " +
                         std::to_string(most) + ", not " + std::string(text));
   }
   return number;
}

uint64_t Arguments::takeNumber(std::string_view what, uint64_t least, uint64_t most) {
   return parseNumber(take(what), what, least, most);
}

double Arguments::takeReal(std::string_view what, double least, double most) {
   std::string text = take(what);
   double number = 0.0;
   auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
      throw CommandError(std::string(what) + " is a number, not '" + text + "'");
   }
   if (number < least || number > most) {
      throw CommandError(std::string(what) + " is " + printedSeconds(least) + " to " +
                         printedSeconds(most) + ", not " + text);
   }
   return number;
}

bool Arguments::takeSwitch(std::string_view what) {
   return takeChoice(what, {"off", "on"}) == 1;
}

std::size_t Arguments::takeChoice(std::string_view what,
                                  std::vector<std::string_view> const& choices) {
   std::string word = take(what);
   auto found = std::find(choices.begin(), choices.end(), word);
   if (found == choices.end()) {
      std::string list;
      for (auto choice : choices) {
         list += (list.empty() ? "" : ", ") + std::string(choice);
      }
      throw CommandError(std::string(what) + " is one of " + list + ", not '" + word + "'");
   }
   return static_cast<std::size_t>(found - choices.begin());
}

void Arguments::end() const {
   if (more()) {
      throw CommandError("'" + words_[next_] + "' is one word too many");
   }
}

std::string Arguments::rest() {
   std::string text;
   while (more()) {
      text += (text.empty() ? "" : " ") + take("");
   }
   return text;
}

void Registry::add(Command command) {
   commands_.emplace(command.name, std::move(command));
}

Command const* Registry::find(std::string const& name) const {
   auto found = commands_.find(name);
   return found == commands_.end() ? nullptr : &found->second;
}

Registry const& commandRegistry() {
   static Registry const registry = [] {
      Registry made;
      addRequestCommands(made);
      addWorldCommands(made);
      addFeatureCommands(made);
      addChipCommands(made);
      addTimeCommands(made);
      addShowCommands(made);
      addExplainCommands(made);
      addExpectCommands(made);
      addTraceCommands(made);
      return made;
   }();
   return registry;
}

} // namespace Agent
