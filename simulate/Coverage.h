// Counts which situations the histories of a process brought about, by name. A name that stays at 0
// says what they do not reach.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace Simulate {

// By situation, in the order of the names.
using Coverage = std::map<std::string, uint64_t, std::less<>>;

// A situation that code names in a literal, "intake: queued"_met. All that the program names are
// known from its start.
class Situation {
 public:
   explicit Situation(std::string_view name) : name_(name), next_(first_) { first_ = this; }
   std::string_view name() const { return name_; }
   void meet() { ++times_; }
   // Of every situation.
   static Coverage coverage() {
      Coverage counts;
      for (auto const* each = first_; each != nullptr; each = each->next_) {
         counts.emplace(each->name_, each->times_);
      }
      return counts;
   }

 private:
   std::string_view name_;
   uint64_t times_ = 0;
   Situation* next_;
   static inline Situation* first_ = nullptr;
};

template<std::size_t size>
struct SituationName {
   consteval SituationName(char const (&name)[size]) { std::copy_n(name, size, text); }
   char text[size];
};

template<SituationName name>
struct NamedSituation {
   static inline Situation situation{name.text};
};

template<SituationName name>
Situation& operator""_met() {
   return NamedSituation<name>::situation;
}

inline void hit(Situation& situation) {
   situation.meet();
}

} // namespace Simulate
