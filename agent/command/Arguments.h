// The words behind a command's name, taken one by one.
#pragma once

#include "agent/command/Output.h"
#include "agent/errors/Errors.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// Throws CommandError for a word that does not fit, one that is missing, or one too many; the error
// calls the word by the name `what`.
class Arguments {
 public:
   explicit Arguments(std::vector<std::string> words);

   bool more() const { return next_ < words_.size(); }
   std::string next(std::string_view what);
   // Takes the next word when it is this one.
   bool accept(std::string_view word);
   // Decimal, or hexadecimal behind 0x; within [min, max].
   uint64_t parseNumber(std::string_view what, uint64_t min, uint64_t max);
   template<class Number>
   Number parse(std::string_view what, Number min, Number max) {
      return static_cast<Number>(parseNumber(what, min, max));
   }
   // Seconds, or a probability, within [min, max].
   double parseReal(std::string_view what, double min, double max);
   bool parseSwitch(std::string_view what); // on | off
   // One of these words; its place in the list.
   std::size_t parseChoice(std::string_view what, std::vector<std::string_view> const& choices);
   // Throws when words are left.
   void end() const;
   // "--format json" anywhere among the words.
   Format format() const { return format_; }
   // All that is left, with single blanks.
   std::string rest();

 private:
   std::vector<std::string> words_;
   std::size_t next_ = 0;
   Format format_ = Format::text;
};

uint64_t parseNumber(std::string_view text, std::string_view what, uint64_t min, uint64_t max);

} // namespace Agent
