// What the accounts note beside their tables. Counters by name for what a history met: situations
// of the machines, rules that excuse a check, commands; a name that is never counted says what the
// histories do not reach. And the invariants by which the library has to stop.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace Agent {

class Probes {
 public:
   // All known names at 0.
   Probes();
   // A name that is not known is an error of the program, and stops it.
   void hit(std::string_view name, uint64_t times = 1);
   std::map<std::string, uint64_t, std::less<>> const& counts() const { return counts_; }

   // What happens now breaks this invariant: the library may not survive it.
   void stopIsDue(std::string_view condition) { stopsDue_.emplace(condition); }
   std::set<std::string, std::less<>> const& stopsDue() const { return stopsDue_; }

 private:
   std::map<std::string, uint64_t, std::less<>> counts_;
   std::set<std::string, std::less<>> stopsDue_;
};

} // namespace Agent
