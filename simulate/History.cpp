#include "simulate/History.h"

#include "host/pipelines/Observer.h"

#include <algorithm>
#include <set>

namespace Simulate {

namespace {

// The kinds of commands with their weights, and what they are made of. An alternative that stands
// twice is drawn twice as often.
struct Rule {
   double weight; // 0: part of others
   char const* name;
   std::vector<std::string> alternatives;
};

std::vector<Rule> const& grammar() {
   static std::vector<Rule> const rules{
       {20, "request", {"request {ask}"}},
       {9, "withdraw", {"withdraw {requested}"}},
       {5, "encapsulation", {"encapsulation {sub} {tags}"}},
       {3,
        "dynamic-encapsulation",
        {"dynamic-encapsulation {sub} none", "dynamic-encapsulation {sub} {tags}"}},
       {0.1, "delete-subinterface", {"delete-subinterface {sub}"}},
       {4, "program-in-hw", {"program-in-hw {sub} on", "program-in-hw {sub} off"}},
       {3,
        "internal-vlan",
        {"internal-vlan {routed} none", "internal-vlan {routed} 4000",
         "internal-vlan {routed} 4001"}},
       {2.5,
        "vlan-domain",
        {"vlan-domain {lag} {domain}", "vlan-domain {port} {domain}", "vlan-domain {lag} {domain}",
         "vlan-domain {port} {domain}", "vlan-domain {lag} none", "vlan-domain {port} none"}},
       {3,
        "unit",
        {"unit {unit} unavailable", "unit {unit} unavailable", "unit {unit} available",
         "unit {unit} available", "unit {unit} available", "unit {unit} type arad",
         "unit {unit} type 2", "unit {unit} type none", "unit {unit} lookup lumen",
         "unit {unit} lookup lumen", "unit {unit} lookup none"}},
       {1.5, "port-map", {"port-map {port} none", "{place}", "{place}"}},
       {0, "place", {"port-map {port} {unit} {0-7}"}},
       {1.5,
        "system-port",
        {"system-port {port} none", "system-port {port} {system}", "system-port {port} {system}"}},
       {1.5,
        "port-map-state",
        {"port-map-state version", "port-map-state version", "port-map-state valid",
         "port-map-state invalid"}},
       {2.5, "member", {"member {lag} add {port}", "member {lag} remove {port}"}},
       {4,
        "chip-fault",
        {"chip {fault} {often}", "chip {fault} {often}", "chip {fault} {often} unit {unit}",
         "chip {fault} {often} table {table}"}},
       {2,
        "chip",
        {"chip restart", "chip delay {delay}", "chip slowness {slowness}",
         "chip capacity {unit} {0-2}", "chip capacity {unit} none", "chip replay", "chip replay",
         "chip replay", "chip clear-faults", "chip clear-faults", "chip clear-faults"}},
       {20, "advance", {"advance {time}"}},
       {9, "settle", {"settle"}},
       {0.7, "set", {"set {constant}"}},
       {1.2, "rebuild", {"rebuild {machine}"}},
       {1, "encap-kind", {"encap-kind {sub} 0", "encap-kind {sub} 4"}},
       {1,
        "feature-directory",
        {"feature-directory {directory} add", "feature-directory {directory} add",
         "feature-directory {directory} remove", "feature-directory {directory} foreign"}},
       {12, "feature", {"feature {key} {value}"}},
       {6, "withdraw-feature", {"withdraw-feature {key}"}},
       {0.7,
        "tcam-layout",
        {"tcam-layout {unit}:{0-1} {type} none", "{field}", "{field}", "{field}"}},
       {0, "field", {"tcam-layout {unit}:{0-1} {type} {0-63} {width}"}},
       {0.7, "tcam-key-version", {"tcam-key-version"}},
       {0.4, "port-channel", {"port-channel {lag} add", "port-channel {lag} remove"}},
       {3,
        "untagged-vlan",
        {"untagged-vlan {port} {vlan}", "untagged-vlan {lag} {vlan}", "untagged-vlan {port} {tag}",
         "untagged-vlan {port} none", "untagged-vlan {lag} none"}},
       {2,
        "tagged-vlan",
        {"tagged-vlan {port} {carried} on", "tagged-vlan {lag} {carried} on",
         "tagged-vlan {port} {carried} off", "tagged-vlan {lag} {carried} off"}},
       {0.1, "start-features-fresh", {"start-features-fresh"}},

       {0, "own", {"own", "own", "own", "own", "own", "own", "own", "own", "{unit}"}},
       {0,
        "requested",
        {"acl {target} {own}", "acl {target} {own}", "acl {target} {own}", "acl {flooded}",
         "lumen {target} {own}", "rampart {target} {own}"}},
       {0,
        "ask",
        {"acl {target} {own} {policy}", "acl {target} {own} {policy}",
         "acl {target} {own} {policy}", "acl {target} {own} {policy}",
         "acl {target} {own} {policy}", "acl {flooded} {policy}", "lumen {target} {own} {label}",
         "rampart {target} {own} {label}"}},
       {0, "flooded", {"{routed}-L3Flood {own} flood 200", "{routed}-L3Flood {own} flood 201"}},
       // Few values, so that policies meet; now and then the largest that the field holds.
       {0, "few", {"1", "2", "1", "2", "1", "2", "1", "2", "1", "2", "31"}},
       {0,
        "policy",
        {"qos={few}", "qos={few}", "qos={few}", "qos={few}", "qos={few}", "qos={few},pbr={few}",
         "qos={few},acl={few}", "pbr={few}", "acl={few}", "acl=127", "qos={few},lumen={few}",
         "qos={few},other={few}", "lumen=1", "other={few}"}},
       {0, "label", {"lumen=1", "lumen=2", "lumen=1", "lumen=127", "lumen=2,other=1"}},
       {0, "tags", {"{tag}", "{tag}", "{tag}", "{tag}", "{tag}", "{tag}", "{tag},7", "none"}},
       {0, "fault", {"refuse", "lose", "duplicate", "reorder", "slow", "defer"}},
       {0, "table", {"isem", "mapper", "tunnel", "port-word", "sub-interface-word"}},
       // Some are the tags of sub-interfaces.
       {0, "carried", {"{vlan}", "{tag}", "4000"}},
       {0,
        "often",
        {"next 1", "next 2", "next 3", "next 1", "next 2", "next 3", "next 1", "next 2", "often 0",
         "often 0.1", "often 0.3"}},
       {0, "delay", {"0", "0.001", "0.01", "0.3"}},
       {0, "slowness", {"0.02", "0.5", "3"}},
       {0, "time", {"0", "0.0001", "0.001", "0.005", "0.011", "0.011", "0.1", "0.5", "2.5"}},
       {0, "directory", {"red", "blue", "green"}},
       {0, "tcam", {"own", "own", "own", "own", "own", "own", "{unit}:0", "{unit}:1"}},
       {0, "type", {"1", "2", "3", "12"}},
       // One key often, so that directories meet.
       {0,
        "key",
        {"{directory} {meeting} own 1", "{directory} {carrier} {tcam} {type}",
         "{directory} {carrier} {tcam} {type}", "{directory} {carrier} {tcam} {type}",
         "{directory} {carrier} {tcam} {type}"}},
       // Most values fit their field.
       {0, "value", {"{0-31}", "{0-31}", "{0-31}", "{0-31}", "{0-31}", "{0-31}", "{0-4294967295}"}},
       {0, "width", {"1", "2", "4", "5", "8", "16"}}};
   return rules;
}

template<class T, class Suits>
std::vector<std::string> namesOf(std::vector<T> const& list, Suits suits) {
   std::vector<std::string> names;
   for (T const& each : list) {
      if (suits(each)) {
         names.push_back(each.name);
      }
   }
   return names;
}

void add(std::vector<std::string>& to, std::vector<std::string> const& names) {
   to.insert(to.end(), names.begin(), names.end());
}

} // namespace

History::History(Inventory const& inventory, uint64_t seed) : random_(seed) {
   for (Rule const& rule : grammar()) {
      alternatives_[rule.name] = rule.alternatives;
   }
   names("machine").assign(Agent::machineNames.begin(), Agent::machineNames.end());
   chooseInterfaces(inventory);
   chooseWeights();
}

History::Names History::some(Names names, std::size_t count) {
   while (names.size() > count) {
      names.erase(names.begin() + static_cast<std::ptrdiff_t>(below(names.size())));
   }
   return names;
}

void History::chooseOn(Inventory const& inventory, uint32_t unit) {
   auto here = [unit](auto const& each) { return each.fapId == unit; };
   Names ports = namesOf(inventory.ports, here);
   Names lags = some(namesOf(inventory.portChannels, here), 1);
   // Parents whose sub-interfaces meet: the port-channel and one port.
   std::set<std::string> parents(lags.begin(), lags.end());
   for (auto const& sub : inventory.subInterfaces) {
      if (parents.size() < lags.size() + 1 && chance(0.4) &&
          std::find(ports.begin(), ports.end(), sub.parent) != ports.end()) {
         parents.insert(sub.parent);
      }
   }
   for (std::string const& parent : parents) {
      auto below = [&](auto const& each) { return each.parent == parent; };
      add(names("sub"), some(namesOf(inventory.subInterfaces, below), 1 + this->below(3)));
      if (lags.empty() || parent != lags.front()) {
         names("port").push_back(parent);
      }
   }
   add(names("unit"), {std::to_string(unit)});
   add(names("lag"), lags);
   add(names("routed"), some(namesOf(inventory.routedPorts, here), 1));
   add(names("target"), some(namesOf(inventory.tunnels, here), 1));
   Names vlans = some(namesOf(inventory.vlanInterfaces, here), 2);
   add(names("carrier"), vlans);
   for (auto const& each : inventory.vlanInterfaces) {
      if (std::find(vlans.begin(), vlans.end(), each.name) != vlans.end()) {
         names("vlan").push_back(std::to_string(each.vlanId));
      }
   }
   add(names("target"), some(vlans, 1));
   for (auto const& lag : inventory.portChannels) {
      if (!lags.empty() && lag.name == lags.front()) {
         add(names("port"), lag.members);
      }
   }
   add(names("port"), some(ports, 1));
}

void History::chooseInterfaces(Inventory const& inventory) {
   std::set<uint32_t> units;
   std::size_t count = std::min<std::size_t>(1 + below(2), inventory.units.size());
   while (units.size() < count) {
      units.insert(inventory.units[below(inventory.units.size())].fapId);
   }
   for (uint32_t unit : units) {
      chooseOn(inventory, unit);
   }
   Names& ports = names("port");
   std::sort(ports.begin(), ports.end());
   ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
   for (char const* list : {"port", "lag", "sub"}) {
      add(names("carrier"), names(list));
   }
   add(names("target"), names("routed"));
   for (int i = 0; i < 2; ++i) { // sharers come from here, so they weigh more
      add(names("target"), names("sub"));
   }
   for (auto const& port : inventory.ports) {
      if (std::find(ports.begin(), ports.end(), port.name) != ports.end()) {
         names("system").push_back(std::to_string(port.systemPort));
         names("domain").push_back(std::to_string(std::max(1U, port.vlanDomain)));
      }
   }
   names("system").push_back("16000");
   names("tag") = {"10", std::to_string(11 + below(3))};
   // What the inventory does not have is drawn all the same, and refused.
   for (char const* list :
        {"port", "lag", "sub", "routed", "target", "carrier", "vlan", "domain"}) {
      if (names(list).empty()) {
         names(list).emplace_back("none");
      }
   }
   names("meeting") = {names("carrier").front()};
}

void History::chooseWeights() {
   // Each history does some things often, some rarely, some not at all.
   static constexpr double factors[] = {0.0, 0.1, 0.5, 1.0, 1.0, 1.0, 2.0};
   for (Rule const& rule : grammar()) {
      if (rule.weight > 0.0) {
         weights_.emplace_back(rule.weight * factors[below(std::size(factors))], rule.name);
         weight_ += weights_.back().first;
      }
   }
}

std::string History::drawn(std::string_view text) {
   std::string command;
   draw(command, text);
   return command;
}

void History::draw(std::string& command, std::string_view text) {
   for (;;) {
      auto begin = text.find('{');
      command += text.substr(0, begin);
      if (begin == std::string_view::npos) {
         return;
      }
      auto end = text.find('}', begin);
      std::string_view name = text.substr(begin + 1, end - begin - 1);
      text.remove_prefix(end + 1);
      auto alternatives = alternatives_.find(name);
      if (alternatives == alternatives_.end()) { // a range of numbers, "0-7"
         command += std::to_string(below(std::stoull(std::string(name.substr(2))) + 1));
      } else {
         draw(command, alternatives->second[below(alternatives->second.size())]);
      }
   }
}

std::string History::next() {
   double place = static_cast<double>(below(1U << 30)) / (1U << 30) * weight_;
   for (auto const& [weight, name] : weights_) {
      place -= weight;
      if (place < 0.0) {
         return drawn("{" + name + "}");
      }
   }
   return "settle";
}

std::vector<std::string> History::opening() {
   names("cost") = {"0", "0", "0", "0.00001", "0.001"};
   std::string cost = drawn("{cost}");
   names("quantum") = {"0", "0.0001", "0.01", "0.1", "0.1"};
   // A pass takes time, too: it must come to an end before the next one.
   names("interval") = cost == "0.001" ? Names{"2", "30"} : Names{"0.05", "0.5", "2"};
   names("constant") = cost != "0"
                           ? Names{"quantum 0", "quantum 0.001", "quantum 0.1"}
                           : Names{"retry-interval 0.01", "retry-interval 0.5", "retry-interval 2"};
   Names commands{"set cost-per-reading " + cost,
                  drawn("set quantum {quantum}"),
                  drawn("set retry-interval {interval}"),
                  drawn("chip seed {0-999999}"),
                  drawn("chip delay {delay}"),
                  drawn("chip slowness {slowness}")};
   // The inventory's units are mostly of one generation.
   for (std::string const& unit : names("unit")) {
      if (chance(0.45)) {
         commands.push_back("unit " + unit + (chance(0.3) ? " type none" : " type 2"));
      }
   }
   add(commands, {"feature-directory red add", "feature-directory blue add"});
   for (std::string const& subIntf : names("sub")) {
      if (chance(0.7)) {
         commands.push_back("encapsulation " + subIntf + drawn(" {tag}"));
      }
   }
   return commands;
}

std::vector<std::string> History::closing() {
   Names commands{"chip clear-faults"};
   for (std::string const& unit : names("unit")) {
      commands.push_back("chip capacity " + unit + " none");
   }
   // In some histories words still wait for a version.
   if (chance(0.7)) {
      add(commands, {"port-map-state valid", "tcam-key-version", "port-map-state version"});
   }
   commands.emplace_back("settle");
   return commands;
}

} // namespace Simulate
