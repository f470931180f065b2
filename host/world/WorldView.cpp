#include "host/world/WorldView.h"

#include "host/text/Errors.h"
#include "host/world/InterfaceName.h"

#include <algorithm>

namespace ShoalHost {

using Hardware::Shoal::kCoresPerFap;
using Hardware::Shoal::SystemTcamId;
using Plexus::SubIntfId;

namespace {

constexpr std::string_view floodMark = "-L3Flood";

bool matchesText(std::string_view pattern, std::string_view name) {
   // Backtracks to the last '*' only, so the cost is at most pattern times name.
   std::size_t p = 0;
   std::size_t n = 0;
   std::size_t star = std::string_view::npos;
   std::size_t retry = 0;
   while (n < name.size()) {
      if (p < pattern.size() && pattern[p] == '*') {
         star = p++;
         retry = n;
      } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
         ++p;
         ++n;
      } else if (star != std::string_view::npos) {
         p = star + 1;
         n = ++retry;
      } else {
         return false;
      }
   }
   while (p < pattern.size() && pattern[p] == '*') {
      ++p;
   }
   return p == pattern.size();
}

} // namespace

WorldView::WorldView(Inventory inventory) : inventory_(std::move(inventory)) {
   auto add = [this](auto const& list) {
      for (auto const& each : list) {
         interfaces_.emplace_back(each.name);
      }
   };
   add(inventory_.ports);
   add(inventory_.portChannels);
   add(inventory_.subInterfaces);
   add(inventory_.vlanInterfaces);
   add(inventory_.tunnels);
   for (IntfId intf : interfaces_) {
      named_.resize(std::max<std::size_t>(named_.size(), intf.index() + 1));
      named_[intf.index()] = true;
   }
}

bool WorldView::isPort(IntfId intf) {
   return intf.fields().kind == Plexus::IntfKind::port && !SubIntfId::isSubIntfId(intf);
}

IntfId WorldView::interface(std::string_view typed) const {
   // The name itself needs no look-up of bare names and short forms.
   IntfId same = IntfId::existing(typed);
   if (same.index() < named_.size() && named_[same.index()]) {
      return same;
   }
   bool flood = typed.ends_with(floodMark);
   auto found = inventory_.find(flood ? typed.substr(0, typed.size() - floodMark.size()) : typed);
   if (found.name.empty()) {
      bool any = !found.candidates.empty();
      found.candidates.resize(std::min<std::size_t>(found.candidates.size(), 5));
      throw HostError("there is no interface '{}'{}{}", typed, any ? "; did you mean " : "",
                      join(found.candidates, ", "));
   }
   if (!flood) {
      return IntfId(found.name);
   }
   if (!isRouted(IntfId(found.name))) {
      throw HostError("{} is not a routed port, so it has no flood entry", found.name);
   }
   return IntfId(found.name + std::string(floodMark));
}

bool WorldView::matches(std::string_view pattern, IntfId intf) {
   std::string_view name = intf.name();
   if (bareName(pattern) == "*") {
      return matchesText(pattern, name);
   }
   if (name.ends_with(floodMark) || pattern.ends_with(floodMark)) {
      if (!name.ends_with(floodMark) || !pattern.ends_with(floodMark)) {
         return false;
      }
      return matches(pattern.substr(0, pattern.size() - floodMark.size()),
                     IntfId::existing(name.substr(0, name.size() - floodMark.size())));
   }
   auto dot = pattern.rfind('.');
   if (SubIntfId::isSubIntfId(intf)) {
      auto end = name.rfind('.');
      return dot != std::string_view::npos &&
             matchesText(pattern.substr(0, dot), name.substr(0, end)) &&
             matchesText(pattern.substr(dot + 1), name.substr(end + 1));
   }
   // A '.' in the unit's name does not count.
   bool dotted = bareName(pattern).find('.') != std::string_view::npos;
   return (!dotted || bareName(name).find('.') != std::string_view::npos) &&
          matchesText(pattern, name);
}

std::vector<IntfId> WorldView::interfaces(std::string_view pattern) const {
   if (!isPattern(pattern)) {
      return {interface(pattern)};
   }
   bool flood = pattern.ends_with(floodMark);
   std::vector<IntfId> found;
   for (IntfId intf : interfaces_) {
      if (flood && !isRouted(intf)) {
         continue;
      }
      IntfId named = flood ? IntfId(intf.name() + std::string(floodMark)) : intf;
      if (matches(pattern, named)) {
         found.push_back(named);
      }
   }
   if (found.empty()) {
      throw HostError("no interface matches '{}'", pattern);
   }
   return found;
}

FapId WorldView::unit(std::string_view typed) const {
   for (auto const& unit : inventory_.units) {
      if (typed == unit.name || typed == unit.key || typed == std::to_string(unit.fapId)) {
         return FapId(unit.fapId);
      }
   }
   throw HostError("the inventory has no unit '{}'; it has {}", typed,
                   join(inventory_.units, ", ", [](InventoryUnit const& unit) {
                      return formatted("{} ({})", unit.fapId, unit.name);
                   }));
}

InventoryUnit const& WorldView::inventoryUnit(FapId unit) const {
   auto found = std::find_if(
       inventory_.units.begin(), inventory_.units.end(),
       [&](InventoryUnit const& candidate) { return candidate.fapId == unit.value(); });
   return *found;
}

FapId WorldView::unitOfParent(IntfId subIntf) const {
   IntfId parent = SubIntfId::parentIntfId(subIntf);
   FapId unit = placeOf(parent).fapId;
   if (unit.isNull()) {
      unit = portMapHelper->intfToFap(parent);
   }
   return unit.isNull() ? portMapHelper->changedIntfToFap(parent) : unit;
}

std::vector<FapId> WorldView::unitsOf(IntfId intf) const {
   if (auto mark = intf.l3Flood() ? intf.name().rfind(floodMark) : std::string::npos;
       mark != std::string::npos) {
      intf = IntfId(intf.name().substr(0, mark));
   }
   if (SubIntfId::isSubIntfId(intf)) {
      intf = SubIntfId::parentIntfId(intf);
   }
   std::vector<FapId> units; // in order of number
   auto add = [&](FapId unit) {
      auto place = std::lower_bound(units.begin(), units.end(), unit);
      if (place == units.end() || *place != unit) {
         units.insert(place, unit);
      }
   };
   for (IntfId port : portsOf(intf)) {
      if (FapId unit = placeOf(port).fapId; !unit.isNull()) {
         add(unit);
      }
   }
   auto addNamed = [&](auto const& list) {
      for (auto const& each : list) {
         if (each.name == intf.name()) {
            add(FapId(each.fapId));
         }
      }
   };
   // By kind, as loading asks this for every port-channel.
   if (Plexus::VlanIntfId::isVlanIntfId(intf)) {
      addNamed(inventory_.vlanInterfaces);
   } else if (Plexus::TunnelIntfId::isTunnelIntfId(intf)) {
      addNamed(inventory_.tunnels);
   }
   return units;
}

bool WorldView::isRouted(IntfId intf) const {
   return intfVlanIdTable->internalVlanIdHas(intf);
}

std::vector<IntfId> WorldView::portsOf(IntfId portOrLag) const {
   std::vector<IntfId> ports;
   if (isPort(portOrLag)) {
      ports.push_back(portOrLag);
   } else if (auto status = ethIntfStatusDir->ethLagIntfStatus(portOrLag)) {
      for (auto const& [member, present] : status->memberIter()) {
         ports.push_back(member);
      }
   }
   return ports;
}

bool WorldView::isPortOfInventory(IntfId port) const {
   return std::any_of(inventory_.ports.begin(), inventory_.ports.end(),
                      [&](InventoryPort const& each) { return each.name == port.name(); });
}

std::vector<SystemTcamId> WorldView::tcams() const {
   std::vector<SystemTcamId> found;
   for (auto const& unit : inventory_.units) {
      for (uint32_t core = 0; core < kCoresPerFap; ++core) {
         found.push_back(
             Hardware::Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus, FapId(unit.fapId), core));
      }
   }
   return found;
}

SystemTcamId WorldView::tcam(std::string_view typed) const {
   auto colon = typed.rfind(':');
   if (colon == std::string_view::npos || typed.substr(colon + 1).size() != 1 ||
       typed[colon + 1] < '0' || typed[colon + 1] >= static_cast<char>('0' + kCoresPerFap)) {
      throw HostError("a TCAM is UNIT:CORE with core 0 or 1, not '{}'", typed);
   }
   return Hardware::Shoal::fapLocalCoreIdToSystemTcamId(
       shoalStatus, unit(typed.substr(0, colon)), static_cast<uint32_t>(typed[colon + 1] - '0'));
}

std::string WorldView::tcamName(SystemTcamId tcam) const {
   for (auto const& unit : inventory_.units) {
      for (uint32_t core = 0; core < kCoresPerFap; ++core) {
         if (tcam ==
             Hardware::Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus, FapId(unit.fapId), core)) {
            return formatted("{}:{}", unit.name, core);
         }
      }
   }
   return "none";
}

std::vector<SystemTcamId> WorldView::tcamsOf(IntfId intf) const {
   std::vector<SystemTcamId> found;
   auto add = [&](SystemTcamId tcam) {
      if (tcam != SystemTcamId() && std::find(found.begin(), found.end(), tcam) == found.end()) {
         found.push_back(tcam);
      }
   };
   if (Plexus::VlanIntfId::isVlanIntfId(intf)) {
      for (FapId fap : unitsOf(intf)) {
         for (uint32_t core = 0; core < kCoresPerFap; ++core) {
            add(Hardware::Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus, fap, core));
         }
      }
   }
   IntfId base = SubIntfId::isSubIntfId(intf) ? SubIntfId::parentIntfId(intf) : intf;
   for (IntfId port : portsOf(base)) {
      add(shoalStatus->sysTcamId(port));
   }
   return found;
}

WorldView::Tags WorldView::tags(IntfId subIntf) const {
   if (auto aside = tagsAside_.find(subIntf); aside != tagsAside_.end()) {
      return aside->second;
   }
   auto config = subIntfConfigDir->subIntfConfig(subIntf);
   return {config ? config->dot1qEncap() : Bridging::Dot1qEncap(),
           dynSubIntfEncap->dot1qEncap(subIntf)};
}

Bridging::Dot1qEncap WorldView::encapsulation(IntfId subIntf) const {
   Tags both = tags(subIntf);
   return both.dynamic.isZero() ? both.configured : both.dynamic;
}

} // namespace ShoalHost
