// Counters by name for what a history met: situations of the machines, rules that excuse a check,
// commands. A name that is never counted says what the histories do not reach.
#pragma once

#include <cstdint>
#include <map>
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

 private:
   std::map<std::string, uint64_t, std::less<>> counts_;
};

} // namespace Agent
