// Draws orderly histories: one change at a time, at rest in between, no entry shared, no faults.
// In them a few properties hold without exceptions; comments in the history say when to check
// which ("# check hardware", "# check fresh", "# check empty").
#pragma once

#include "agent/errors/Errors.h"
#include "host/world/Inventory.h"

#include <deque>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace Simulate {

using Agent::Inventory;

class Orderly {
 public:
   // The same inventory, seed and number of steps draw the same commands.
   Orderly(Inventory const& inventory, uint64_t seed, uint64_t steps);
   // None: the history is over.
   std::optional<std::string> next();

 private:
   struct Target {
      std::string intf;
      bool subIntf = false;
      bool routed = false;
   };
   uint64_t below(uint64_t limit) { return random_() % limit; }
   void then(std::string command);
   // At rest behind it.
   void thenSettle(std::string command);
   void choose(Inventory const& inventory);
   void change();
   void changeRequest(Target const& target);
   void changeTags(Target const& target);
   void changeFeature();
   void end();

   std::mt19937_64 random_;
   uint64_t steps_;
   std::deque<std::string> queue_;
   std::vector<std::string> units_;
   std::vector<Target> targets_;
   std::vector<std::string> carriers_; // of in-LIF features
   std::set<std::string> requests_;    // made
   std::set<std::string> off_;         // sub-interfaces that are not programmed
   std::set<std::string> features_;    // asked for, "INTERFACE own TYPE"
   uint64_t tag_ = 100;                // the last one used: each is used once
   bool ended_ = false;
};

} // namespace Simulate
