#include "simulate/Orderly.h"

#include <algorithm>

namespace Simulate {

Orderly::Orderly(Inventory const& inventory, uint64_t seed, uint64_t steps)
    : random_(seed), steps_(steps) {
   choose(inventory);
   then("feature-directory red add");
   for (Target const& target : targets_) {
      if (target.subIntf) {
         then("encapsulation " + target.intf + " " + std::to_string(++tag_));
      } else if (target.routed) {
         then("internal-vlan " + target.intf + " " + std::to_string(++tag_));
      }
   }
   then("settle");
}

void Orderly::choose(Inventory const& inventory) {
   // A few of each kind, on two units at most.
   std::set<uint32_t> units;
   while (units.size() < std::min<std::size_t>(1 + below(2), inventory.units.size())) {
      units.insert(inventory.units[below(inventory.units.size())].fapId);
   }
   std::set<uint32_t> arad;
   for (auto const& unit : inventory.units) {
      if (!units.contains(unit.fapId)) {
         continue;
      }
      units_.push_back(std::to_string(unit.fapId));
      if (below(2) == 0) {
         then("unit " + units_.back() + " type 2");
      } else if (unit.fapType == 1) {
         arad.insert(unit.fapId);
      }
      if (below(3) == 0) {
         then("unit " + units_.back() + " lookup lumen");
      }
   }
   std::map<std::string, uint32_t> unitOf;
   std::set<std::string> members;
   for (auto const& lag : inventory.portChannels) {
      unitOf[lag.name] = lag.fapId;
      members.insert(lag.members.begin(), lag.members.end());
   }
   for (auto const& port : inventory.ports) {
      unitOf[port.name] = port.fapId;
      if (units.contains(port.fapId) && !members.contains(port.name) && carriers_.size() < 2) {
         carriers_.push_back(port.name);
      }
   }
   std::map<std::string, int> taken; // per parent
   for (auto const& subIntf : inventory.subInterfaces) {
      if (units.contains(unitOf[subIntf.parent]) && ++taken[subIntf.parent] <= 2 &&
          targets_.size() < 6) {
         targets_.push_back({subIntf.name, true, false});
         carriers_.push_back(subIntf.name);
      }
   }
   std::size_t most = targets_.size() + 2;
   for (auto const& port : inventory.routedPorts) {
      // Elsewhere ports are neither programmed nor answered.
      if (arad.contains(port.fapId) && targets_.size() < most) {
         targets_.push_back({port.name, false, true});
      }
   }
   most = targets_.size() + 2;
   for (auto const& tunnel : inventory.tunnels) {
      if (units.contains(tunnel.fapId) && targets_.size() < most) {
         targets_.push_back({tunnel.name, false, false});
      }
   }
}

void Orderly::then(std::string command) {
   queue_.push_back(std::move(command));
}

void Orderly::thenSettle(std::string command) {
   then(std::move(command));
   then("settle");
}

std::optional<std::string> Orderly::next() {
   if (queue_.empty() && steps_ > 0 && !targets_.empty()) {
      --steps_;
      change();
      then("# check hardware");
   } else if (queue_.empty() && !ended_) {
      end();
      ended_ = true;
   }
   if (queue_.empty()) {
      return std::nullopt;
   }
   std::string command = queue_.front();
   queue_.pop_front();
   return command;
}

void Orderly::change() {
   Target const& target = targets_[below(targets_.size())];
   switch (below(12)) {
   case 0:
      then("chip restart");
      thenSettle("chip replay");
      break;
   case 1: {
      static constexpr char const* machines[] = {
          "isem",       "mapper",       "tunnel",           "vlan-domain",
          "vlan-ports", "vlan-xlate",   "vlan-tag-map",     "default-mapping",
          "port-words", "merged-words", "feature-requests", "sub-interface-words"};
      thenSettle(std::string("rebuild ") + machines[below(std::size(machines))]);
      break;
   }
   case 2:
   case 3:
      changeTags(target);
      break;
   case 4:
   case 5:
   case 6:
      changeFeature();
      break;
   default:
      changeRequest(target);
   }
}

void Orderly::changeRequest(Target const& target) {
   std::string request = "acl " + target.intf + " own";
   if (off_.contains(target.intf)) {
      return; // a change would program it
   }
   if (requests_.contains(request) && below(3) == 0) {
      requests_.erase(request);
      thenSettle("withdraw " + request);
      return;
   }
   std::string ask = "request " + request + " qos=" + std::to_string(1 + below(31));
   if (requests_.insert(request).second && below(4) == 0) {
      // A new request that waits for its units.
      for (std::string const& unit : units_) {
         then("unit " + unit + " unavailable");
      }
      thenSettle(ask);
      for (std::string const& unit : units_) {
         then("unit " + unit + " available");
      }
      then("settle");
   } else {
      thenSettle(ask);
   }
}

void Orderly::changeTags(Target const& target) {
   if (target.routed) {
      thenSettle("internal-vlan " + target.intf + " " + std::to_string(++tag_));
   } else if (!target.subIntf) {
      return;
   } else if (off_.erase(target.intf) != 0) {
      thenSettle("program-in-hw " + target.intf + " on");
   } else if (below(2) == 0) {
      off_.insert(target.intf);
      thenSettle("program-in-hw " + target.intf + " off");
   } else {
      thenSettle("encapsulation " + target.intf + " " + std::to_string(++tag_));
   }
}

void Orderly::changeFeature() {
   if (carriers_.empty()) {
      return;
   }
   std::string key = carriers_[below(carriers_.size())] + " own " + std::to_string(1 + below(3));
   if (features_.contains(key) && below(3) == 0) {
      features_.erase(key);
      thenSettle("withdraw-feature red " + key);
   } else {
      features_.insert(key);
      thenSettle("feature red " + key + " " + std::to_string(1 + below(3)));
   }
}

void Orderly::end() {
   for (std::string const& subIntf : off_) {
      thenSettle("program-in-hw " + subIntf + " on");
   }
   then("# check fresh");
   for (std::string const& request : requests_) {
      thenSettle("withdraw " + request);
   }
   for (std::string const& key : features_) {
      thenSettle("withdraw-feature red " + key);
   }
   then("# check empty");
}

} // namespace Simulate
