// Counts which situations a history brought about, by name. A name that stays at 0 says what the
// histories do not reach.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace Simulate {

class Coverage {
 public:
   // All known names at 0.
   Coverage();
   // An unknown name is a programming error and aborts.
   void hit(std::string_view name, uint64_t times = 1);
   std::map<std::string, uint64_t, std::less<>> const& counts() const { return counts_; }

 private:
   std::map<std::string, uint64_t, std::less<>> counts_;
};

} // namespace Simulate
