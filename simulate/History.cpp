#include "simulate/History.h"

#include "agent/chip/ChipFaults.h"
#include "agent/command/Output.h"
#include "agent/host/Observer.h"

#include <algorithm>
#include <set>

namespace Simulate {

using namespace Agent;

namespace {

// Up to `count` members of `from` that suit, drawn without repetition, in their order.
template<class T, class Draw, class Suits>
std::vector<std::string> some(std::vector<T> const& from, std::size_t count, Draw draw,
                              Suits suits) {
   std::vector<std::string> names;
   for (T const& each : from) {
      if (suits(each)) {
         names.push_back(each.name);
      }
   }
   while (names.size() > count) {
      names.erase(names.begin() + static_cast<std::ptrdiff_t>(draw(names.size())));
   }
   return names;
}

// Drawn in the order in which they are written, whatever the compiler.
std::string words(std::initializer_list<std::string> list) {
   std::string text;
   for (std::string const& word : list) {
      text += (text.empty() ? "" : " ") + word;
   }
   return text;
}

} // namespace

History::History(Inventory const& inventory, uint64_t seed) : random_(seed) {
   chooseInterfaces(inventory);
   chooseWeights();
}

void History::chooseInterfaces(Inventory const& inventory) {
   auto draw = [this](std::size_t limit) { return below(limit); };
   std::set<uint32_t> units;
   std::size_t count = 1 + below(2);
   while (units.size() < std::min(count, inventory.units.size())) {
      units.insert(any(inventory.units).fapId);
   }
   for (uint32_t unit : units) {
      units_.push_back(std::to_string(unit));
      auto here = [unit](auto const& each) { return each.fapId == unit; };
      auto add = [](std::vector<std::string>& to, std::vector<std::string> const& names) {
         to.insert(to.end(), names.begin(), names.end());
      };
      auto lags = some(inventory.portChannels, 1, draw, here);
      add(portChannels_, lags);
      std::set<std::string> parents(lags.begin(), lags.end());
      for (auto const& sub : inventory.subInterfaces) {
         // Sub-interfaces of a port of this unit: one port is enough to meet on.
         bool port =
             std::any_of(inventory.ports.begin(), inventory.ports.end(), [&](auto const& each) {
                return each.fapId == unit && each.name == sub.parent;
             });
         if (port && parents.size() < lags.size() + 1 && chance(0.4)) {
            parents.insert(sub.parent);
         }
      }
      for (std::string const& parent : parents) {
         add(subInterfaces_, some(inventory.subInterfaces, 1 + below(3), draw,
                                  [&](auto const& each) { return each.parent == parent; }));
         if (lags.empty() || parent != lags.front()) {
            ports_.push_back(parent);
         }
      }
      auto routed = some(inventory.routedPorts, 1, draw, here);
      add(routed_, routed);
      auto vlanInterfaces = some(inventory.vlanInterfaces, 2, draw, here);
      add(carriers_, vlanInterfaces);
      for (auto const& each : inventory.vlanInterfaces) {
         if (std::find(vlanInterfaces.begin(), vlanInterfaces.end(), each.name) !=
             vlanInterfaces.end()) {
            vlans_.push_back(std::to_string(each.vlanId));
         }
      }
      vlanInterfaces.resize(std::min<std::size_t>(vlanInterfaces.size(), 1));
      add(requesters_, vlanInterfaces);
      add(requesters_, some(inventory.tunnels, 1, draw, here));
      for (auto const& lag : inventory.portChannels) {
         if (!lags.empty() && lag.name == lags.front()) {
            add(ports_, lag.members);
         }
      }
      add(ports_, some(inventory.ports, 1, draw, here));
   }
   std::sort(ports_.begin(), ports_.end());
   ports_.erase(std::unique(ports_.begin(), ports_.end()), ports_.end());
   for (auto const* list : {&ports_, &portChannels_, &subInterfaces_}) {
      carriers_.insert(carriers_.end(), list->begin(), list->end());
   }
   for (std::string const& port : routed_) {
      requesters_.push_back(port);
      requesters_.push_back(port + "-L3Flood");
   }
   // Sharers come from here, so they weigh more.
   for (int i = 0; i < 2; ++i) {
      requesters_.insert(requesters_.end(), subInterfaces_.begin(), subInterfaces_.end());
   }
   for (auto const& port : inventory.ports) {
      if (std::find(ports_.begin(), ports_.end(), port.name) != ports_.end()) {
         systemPorts_.push_back(std::to_string(port.systemPort));
         domains_.push_back(std::to_string(std::max(1U, port.vlanDomain)));
      }
   }
   systemPorts_.push_back("16000");
   outerTags_ = {"10", std::to_string(11 + below(3))};
   // What the inventory does not have is drawn all the same, and refused.
   for (auto* list : {&ports_, &portChannels_, &subInterfaces_, &routed_, &requesters_, &carriers_,
                      &vlans_, &domains_}) {
      if (list->empty()) {
         list->emplace_back("none");
      }
   }
}

void History::chooseWeights() {
   kinds_ = {{20, &History::request},
             {9, &History::withdraw},
             {5, &History::encapsulation},
             {3, &History::dynamicEncapsulation},
             {0.1, &History::deleteSubInterface},
             {4, &History::programInHw},
             {3, &History::internalVlan},
             {2.5, &History::vlanDomain},
             {3, &History::unit},
             {1.5, &History::portMap},
             {1.5, &History::systemPort},
             {1.5, &History::portMapState},
             {2.5, &History::member},
             {4, &History::fault},
             {2, &History::chip},
             {20, &History::advance},
             {9, &History::settle},
             {0.7, &History::set},
             {1.2, &History::rebuild},
             {1, &History::encapKind},
             {1, &History::featureDirectory},
             {12, &History::feature},
             {6, &History::withdrawFeature},
             {0.7, &History::tcamLayout},
             {0.7, &History::tcamKeyVersion},
             {0.4, &History::portChannel},
             {3, &History::untaggedVlan},
             {0.1, &History::startFeaturesFresh}};
   // Each history has its own profile: some things often, some hardly, some not at all.
   for (Kind& kind : kinds_) {
      static constexpr double factors[] = {0.0, 0.1, 0.5, 1.0, 1.0, 1.0, 2.0};
      kind.weight *= factors[below(std::size(factors))];
      weights_ += kind.weight;
   }
}

std::string History::next() {
   double drawn = static_cast<double>(below(1U << 30)) / (1U << 30) * weights_;
   for (Kind const& kind : kinds_) {
      drawn -= kind.weight;
      if (drawn < 0.0) {
         return (this->*kind.draw)();
      }
   }
   return "settle";
}

std::string History::duration(std::vector<double> const& seconds) {
   return formatSeconds(any(seconds));
}

std::vector<std::string> History::opening() {
   static std::vector<double> const costs{0.0, 0.0, 0.0, 1e-5, 1e-3};
   clockCost_ = any(costs);
   std::vector<std::string> commands{
       "set cost-per-reading " + formatSeconds(clockCost_),
       "set quantum " + duration({0.0, 0.0001, 0.01, 0.1, 0.1}),
       // A pass takes time, too: it must come to an end before the next one.
       "set retry-interval " + duration(clockCost_ > 1e-4 ? std::vector<double>{2.0, 30.0}
                                                          : std::vector<double>{0.05, 0.5, 2.0}),
       "chip seed " + std::to_string(below(1000000)),
       "chip delay " + duration({0.0, 0.001, 0.01, 0.01, 0.3}),
       "chip slowness " + duration({0.02, 0.5, 1.0, 3.0})};
   // The inventory's units are mostly of one generation.
   for (std::string const& unit : units_) {
      if (chance(0.45)) {
         commands.push_back(words({"unit", unit, "type", any<std::string>({"2", "2", "none"})}));
      }
   }
   for (char const* name : {"red", "blue"}) {
      commands.push_back(words({"feature-directory", name, "add"}));
   }
   for (std::string const& subIntf : subInterfaces_) {
      if (chance(0.7)) {
         commands.push_back("encapsulation " + subIntf + " " + any(outerTags_));
      }
   }
   return commands;
}

std::vector<std::string> History::closing() {
   std::vector<std::string> commands{"chip clear-faults"};
   for (std::string const& unit : units_) {
      commands.push_back("chip capacity " + unit + " none");
   }
   // Words that wait for a version are to be compared in some histories, to differ in others.
   if (chance(0.7)) {
      commands.insert(commands.end(),
                      {"port-map-state valid", "tcam-key-version", "port-map-state version"});
   }
   commands.emplace_back("settle");
   // Where all is withdrawn, pasts end, and what is asked for then is as in an agent that starts.
   if (chance(0.5)) {
      std::set<std::string> requesters(requesters_.begin(), requesters_.end());
      for (char const* feature : {"rampart", "lumen", "acl"}) {
         for (std::string const& intf : requesters) {
            commands.push_back(words({"withdraw", feature, intf, "own"}));
         }
      }
      commands.emplace_back("settle");
      // What requests need to be resolved.
      for (std::string const& unit : units_) {
         commands.push_back(words({"unit", unit, "available"}));
      }
      for (auto const* carriers : {&ports_, &portChannels_}) {
         for (std::string const& carrier : *carriers) {
            commands.push_back(words({"vlan-domain", carrier, any(domains_)}));
         }
      }
      for (std::string const& port : routed_) {
         commands.push_back(words({"internal-vlan", port, "4000"}));
      }
      for (std::string const& subIntf : subInterfaces_) {
         commands.push_back(words({"encapsulation", subIntf, std::to_string(20 + below(20))}));
         commands.push_back(words({"program-in-hw", subIntf, "on"}));
      }
      for (int i = 0; i < 10; ++i) {
         commands.push_back(request());
      }
      commands.emplace_back("settle");
   }
   return commands;
}

std::string History::unitOrOwn() {
   return chance(0.9) ? "own" : any(units_);
}

std::string History::requester(std::string const& verb) {
   std::string feature(chance(0.75) ? "acl" : chance(0.6) ? "lumen" : "rampart");
   std::string intf = any(requesters_);
   std::string unit = unitOrOwn();
   std::string text = words({verb, feature, intf, unit});
   if (intf.ends_with("-L3Flood") && chance(0.7)) {
      text = words({text, "flood", std::to_string(200 + below(2))});
   }
   return verb == "request" ? words({text, policy(feature)}) : text;
}

std::string History::policy(std::string const& feature) {
   std::string text;
   // Few values, so that policies meet; now and then the most that the field holds.
   auto field = [&](char const* name, uint64_t values, uint64_t most, double often) {
      if (chance(often)) {
         text += (text.empty() ? "" : ",") + std::string(name) + "=";
         text += std::to_string(chance(0.04) ? most : 1 + below(values));
      }
   };
   if (feature != "acl") {
      field("lumen", 2, 127, 1.0);
      field("other", 1, 1, 0.1);
      return text;
   }
   field("qos", 2, 31, 0.85);
   field("pbr", 2, 31, 0.2);
   field("acl", 2, 127, text.empty() ? 1.0 : 0.2);
   field("lumen", 1, 127, 0.1);
   field("other", 2, 2, 0.15);
   return text;
}

std::string History::request() {
   return requester("request");
}

std::string History::withdraw() {
   return requester("withdraw");
}

std::string History::tags() {
   if (chance(0.12)) {
      return "none";
   }
   std::string outer = any(outerTags_);
   return chance(0.15) ? outer + ",7" : outer;
}

std::string History::encapsulation() {
   return words({"encapsulation", any(subInterfaces_), tags()});
}

std::string History::dynamicEncapsulation() {
   return words({"dynamic-encapsulation", any(subInterfaces_), chance(0.5) ? "none" : tags()});
}

std::string History::deleteSubInterface() {
   return words({"delete-subinterface", any(subInterfaces_)});
}

std::string History::programInHw() {
   return words({"program-in-hw", any(subInterfaces_), chance(0.45) ? "off" : "on"});
}

std::string History::internalVlan() {
   return words(
       {"internal-vlan", any(routed_), chance(0.35) ? "none" : std::to_string(4000 + below(2))});
}

std::string History::vlanDomain() {
   bool lag = chance(0.5);
   return words({"vlan-domain", lag ? any(portChannels_) : any(ports_),
                 chance(0.3) ? "none" : any(domains_)});
}

std::string History::unit() {
   return words({"unit", any(units_),
                 any<std::string>({"unavailable", "unavailable", "available", "available",
                                   "available", "type arad", "type 2", "type none", "lookup lumen",
                                   "lookup lumen", "lookup none"})});
}

std::string History::portMap() {
   std::string port = any(ports_);
   return chance(0.3) ? words({"port-map", port, "none"})
                      : words({"port-map", port, any(units_), std::to_string(below(8))});
}

std::string History::systemPort() {
   return words({"system-port", any(ports_), chance(0.3) ? "none" : any(systemPorts_)});
}

std::string History::portMapState() {
   return words({"port-map-state", any<std::string>({"version", "version", "valid", "invalid"})});
}

std::string History::member() {
   return words({"member", any(portChannels_), chance(0.55) ? "add" : "remove", any(ports_)});
}

std::string History::fault() {
   std::string text = words({"chip", std::string(faultNames[below(kFaults)])});
   text += chance(0.9) ? " next " + std::to_string(1 + below(3))
                       : " often " + formatSeconds(static_cast<double>(below(4)) / 10);
   if (chance(0.2)) {
      text += " unit " + any(units_);
   }
   return chance(0.3) ? words({text, "table", std::string(chipTableNames[below(3)])}) : text;
}

std::string History::chip() {
   switch (below(12)) {
   case 0:
      return "chip restart";
   case 1:
      return "chip delay " + duration({0.0, 0.001, 0.01, 0.3});
   case 2:
      return "chip slowness " + duration({0.02, 0.5, 3.0});
   case 3:
      return words({"chip capacity", any(units_), std::to_string(below(3))});
   case 4:
      return words({"chip capacity", any(units_), "none"});
   case 5:
   case 6:
   case 7:
      return "chip replay";
   default:
      return "chip clear-faults";
   }
}

std::string History::advance() {
   return "advance " + duration({0.0, 0.0001, 0.001, 0.005, 0.011, 0.011, 0.1, 0.5, 2.5});
}

std::string History::settle() {
   return "settle";
}

std::string History::set() {
   return clockCost_ > 0.0 ? "set quantum " + duration({0.0, 0.001, 0.1})
                           : "set retry-interval " + duration({0.01, 0.5, 2.0});
}

std::string History::rebuild() {
   return words({"rebuild", std::string(any(std::vector<std::string_view>(machineNames.begin(),
                                                                          machineNames.end())))});
}

std::string History::featureDirectory() {
   return words({"feature-directory", any<std::string>({"red", "blue", "green"}),
                 any<std::string>({"add", "add", "remove", "foreign"})});
}

// A directory, and an interface on a TCAM.
std::string History::featureKey() {
   std::string directory = any<std::string>({"red", "blue", "green"});
   std::string tcam = chance(0.85) ? "own" : any(units_) + ":" + std::to_string(below(2));
   std::string type = std::to_string(any<int>({1, 2, 3, 12}));
   // One of them often, so that directories meet.
   return chance(0.2) ? words({directory, carriers_.front(), "own", "1"})
                      : words({directory, any(carriers_), tcam, type});
}

std::string History::feature() {
   // Most values fit their field.
   uint64_t value = chance(0.9) ? below(32) : below(uint64_t{1} << 32);
   return words({"feature", featureKey(), std::to_string(value)});
}

std::string History::withdrawFeature() {
   return words({"withdraw-feature", featureKey()});
}

std::string History::tcamLayout() {
   std::string text = words({"tcam-layout", any(units_) + ":" + std::to_string(below(2)),
                             std::to_string(any<int>({1, 2, 3, 12}))});
   return chance(0.2) ? words({text, "none"})
                      : words({text, std::to_string(below(64)), std::to_string(1 + below(16))});
}

std::string History::tcamKeyVersion() {
   return "tcam-key-version";
}

std::string History::portChannel() {
   return words({"port-channel", any(portChannels_), chance(0.6) ? "add" : "remove"});
}

std::string History::untaggedVlan() {
   return words({"untagged-vlan", chance(0.5) ? any(ports_) : any(portChannels_),
                 chance(0.25) ? "none" : any(vlans_)});
}

std::string History::encapKind() {
   return words({"encap-kind", any(subInterfaces_), any<std::string>({"0", "4"})});
}

std::string History::startFeaturesFresh() {
   return "start-features-fresh";
}

} // namespace Simulate
