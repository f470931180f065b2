// Draws the commands of a random history: everything that an operator, a requester and a chip can
// do, on a few interfaces of an inventory, so that those that share an entry meet often.
#pragma once

#include "agent/errors/Errors.h"
#include "host/world/Inventory.h"

#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Simulate {

using Agent::Inventory;

class History {
 public:
   // The same inventory and seed draw the same commands.
   History(Inventory const& inventory, uint64_t seed);

   // What comes first: time constants and a common tag.
   std::vector<std::string> opening();
   std::string next();
   // What comes last: faults end, everything settles.
   std::vector<std::string> closing();

 private:
   using Names = std::vector<std::string>;
   uint64_t below(uint64_t limit) { return limit == 0 ? 0 : random_() % limit; }
   bool chance(double probability) {
      return static_cast<double>(below(1000000)) < probability * 1e6;
   }
   // Up to `count` of them, in their order.
   Names some(Names names, std::size_t count);
   void chooseInterfaces(Inventory const& inventory);
   void chooseOn(Inventory const& inventory, uint32_t unit);
   void chooseWeights();
   // The text with each "{name}" replaced by one drawn from its alternatives.
   std::string drawn(std::string_view text);
   void draw(std::string& command, std::string_view text);
   Names& names(std::string const& name) { return alternatives_[name]; }

   std::mt19937_64 random_;
   std::map<std::string, Names, std::less<>> alternatives_;
   std::vector<std::pair<double, std::string>> weights_; // of each kind of command
   double weight_ = 0.0;                                 // of all
};

} // namespace Simulate
