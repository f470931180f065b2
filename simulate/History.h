// Draws the commands of a random history: all that an operator, a feature and a chip can do, on a
// few interfaces of an inventory, so that those that share an entry meet often.
#pragma once

#include "agent/inventory/Inventory.h"

#include <random>
#include <string>
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
   struct Kind {
      double weight;
      std::string (History::*draw)();
   };
   uint64_t below(uint64_t limit) { return limit == 0 ? 0 : random_() % limit; }
   bool chance(double probability) {
      return static_cast<double>(below(1000000)) < probability * 1e6;
   }
   template<class T>
   T any(std::vector<T> const& list) {
      return list[below(list.size())];
   }
   void chooseInterfaces(Inventory const& inventory);
   void chooseWeights();

   std::string requester(std::string const& verb);
   std::string tags();
   std::string policy(std::string const& feature);
   std::string unitOrOwn();
   std::string duration(std::vector<double> const& seconds);

   std::string request();
   std::string withdraw();
   std::string encapsulation();
   std::string dynamicEncapsulation();
   std::string deleteSubInterface();
   std::string programInHw();
   std::string internalVlan();
   std::string vlanDomain();
   std::string unit();
   std::string portMap();
   std::string systemPort();
   std::string portMapState();
   std::string member();
   std::string fault();
   std::string chip();
   std::string advance();
   std::string settle();
   std::string set();
   std::string rebuild();

   std::string featureKey();
   std::string featureDirectory();
   std::string feature();
   std::string withdrawFeature();
   std::string tcamLayout();
   std::string tcamKeyVersion();
   std::string portChannel();
   std::string untaggedVlan();
   std::string encapKind();
   std::string startFeaturesFresh();

   std::mt19937_64 random_;
   std::vector<Kind> kinds_;
   double weights_ = 0.0;

   // Names as commands take them.
   std::vector<std::string> units_;
   std::vector<std::string> ports_;
   std::vector<std::string> portChannels_;
   std::vector<std::string> subInterfaces_;
   std::vector<std::string> routed_;
   std::vector<std::string> requesters_; // whatever a feature may ask for
   std::vector<std::string> carriers_;   // whatever carries in-LIF features
   std::vector<std::string> vlans_;
   std::vector<std::string> outerTags_;
   std::vector<std::string> domains_;
   std::vector<std::string> systemPorts_;
   double clockCost_ = 0.0;
};

} // namespace Simulate
