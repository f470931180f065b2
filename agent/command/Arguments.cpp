#include "agent/command/Arguments.h"

#include "host/names/Names.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Agent {

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

std::string Arguments::next(std::string_view what) {
   if (!more()) {
      throw CommandError("{} is missing", what);
   }
   return words_[next_++];
}

bool Arguments::accept(std::string_view word) {
   bool found = more() && words_[next_] == word;
   next_ += found ? 1 : 0;
   return found;
}

uint64_t parseNumber(std::string_view text, std::string_view what, uint64_t min, uint64_t max) {
   bool hexadecimal = text.starts_with("0x");
   std::string_view digits = hexadecimal ? text.substr(2) : text;
   uint64_t number = 0;
   auto [end, error] =
       std::from_chars(digits.data(), digits.data() + digits.size(), number, hexadecimal ? 16 : 10);
   bool whole = end == digits.data() + digits.size() && !digits.empty();
   if (error == std::errc::invalid_argument || !whole) {
      throw CommandError("{} is a number, not '{}'", what, text);
   }
   if (error != std::errc() || number < min || number > max) {
      throw CommandError("{} is {} to {}, not {}", what, min, max, text);
   }
   return number;
}

uint64_t Arguments::parseNumber(std::string_view what, uint64_t min, uint64_t max) {
   return Agent::parseNumber(next(what), what, min, max);
}

double Arguments::parseReal(std::string_view what, double min, double max) {
   std::string text = next(what);
   double number = 0.0;
   auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
   if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
      throw CommandError("{} is a number, not '{}'", what, text);
   }
   if (number < min || number > max) {
      throw CommandError("{} is {} to {}, not {}", what, formatSeconds(min), formatSeconds(max),
                         text);
   }
   return number;
}

bool Arguments::parseSwitch(std::string_view what) {
   return parseChoice(what, {"off", "on"}) == 1;
}

std::size_t Arguments::parseChoice(std::string_view what,
                                   std::vector<std::string_view> const& choices) {
   std::string word = next(what);
   auto found = std::find(choices.begin(), choices.end(), word);
   if (found == choices.end()) {
      throw CommandError("{} is one of {}, not '{}'", what, join(choices, ", "), word);
   }
   return static_cast<std::size_t>(found - choices.begin());
}

void Arguments::end() const {
   if (more()) {
      throw CommandError("'{}' is one word too many", words_[next_]);
   }
}

std::string Arguments::rest() {
   auto from = words_.begin() + static_cast<std::ptrdiff_t>(next_);
   next_ = words_.size();
   return join(std::vector(from, words_.end()), " ");
}

} // namespace Agent
