#include "agent/world/World.h"

#include "agent/command/Registry.h"

#include <algorithm>
#include <set>

namespace Agent {

using Bridging::Dot1qEncap;
using Bridging::VlanIdOrNone;
using Hardware::Shoal::PortMap;
using Hardware::Shoal::PortTunnelData;
using Hardware::Shoal::SystemPhyPortId;
using Hardware::Shoal::VlanDomain;
using Hardware::ShoalTunnel::LagFapKey;
using Plexus::PortChannelIntfId;
using Plexus::SubIntfId;

namespace {

constexpr std::string_view floodMark = "-L3Flood";

bool matches(std::string_view pattern, std::string_view name) {
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

bool isPort(IntfId intf) {
   return intf.fields().kind == Plexus::IntfKind::port && !SubIntfId::isSubIntfId(intf);
}

} // namespace

World::World(Inventory inventory) : inventory_(std::move(inventory)) {
   scsd = mounted<Hardware::ShoalTunnel::ShoalTunnelCommonSmData>("scsd");
   shoalStatus = mounted<Hardware::Shoal::Status>("shoalStatus");
   vlanDomainStatus = mounted<Hardware::Shoal::VlanDomainStatus>("vlanDomainStatus");
   subIntfConfigDir = mounted<Interface::SubIntfConfigDir>("subIntfConfigDir");
   intfVlanIdTable = mounted<IntfVlanId::Table>("intfVlanIdTable");
   ethIntfStatusDir = mounted<Interface::EthLagIntfStatusDir>("ethIntfStatusDir");
   portMapHelper = mounted<Hardware::ShoalTunnel::ShoalTunnelPortMapHelper>("portMapHelper");
   vlanTagToVsiMapperSm =
       mounted<Hardware::ShoalTunnel::VlanTagToVsiMapperSm>("vlanTagToVsiMapper");
   subIntfStatusDir = mounted<Interface::SubIntfStatusDir>("subIntfStatusDir");
   dynSubIntfEncap = mounted<Interface::SubIntfDynDot1qEncap>("dynSubIntfEncap");
   subIntfDot1qEncapChange =
       mounted<Hardware::ShoalTunnel::SubIntfDot1qEncapChange>("subIntfDot1qEncapChange");
   fill();
}

void World::fill() {
   for (auto const& unit : inventory_.units) {
      FapId fapId(unit.fapId);
      shoalStatus->fapNameIs(fapId, unit.name);
      fapTypeIs(fapId, unit.fapType);
      extLkupTypeIs(fapId, unit.extLkupType);
   }
   for (auto const& port : inventory_.ports) {
      IntfId intf(port.name);
      names_.push_back(intf);
      PortMap place{FapId(port.fapId), static_cast<uint16_t>(port.unitPort)};
      if (port.vlanDomain != 0) {
         vlanDomainStatus->portTunnelDataIs(
             place, PortTunnelData{VlanDomain(static_cast<uint8_t>(port.vlanDomain))});
      }
      shoalStatus->sysPhyPortIdIs(intf, SystemPhyPortId(port.systemPort));
      portMapIs(intf, place);
   }
   for (auto const& lag : inventory_.portChannels) {
      fillPortChannel(lag);
   }
   for (auto const& sub : inventory_.subInterfaces) {
      IntfId intf(sub.name);
      names_.push_back(intf);
      Dot1qEncap encap{static_cast<uint16_t>(sub.outer), static_cast<uint16_t>(sub.inner)};
      auto config = Orv::make<Interface::SubIntfConfig>();
      config->dot1qEncapIs(encap);
      subIntfConfigDir->subIntfConfigIs(intf, config);
      subIntfStatusDir->subIntfStatusIs(intf);
      if (!encap.isZero()) {
         subIntfDot1qEncapChange->dot1qEncapIs(intf, encap);
      }
   }
   for (auto const& svi : inventory_.vlanInterfaces) {
      names_.emplace_back(svi.name);
   }
   for (auto const& tunnel : inventory_.tunnels) {
      names_.emplace_back(tunnel.name);
   }
   for (auto const& routed : inventory_.routedPorts) {
      intfVlanIdTable->internalVlanIdIs(IntfId(routed.name), VlanIdOrNone(routed.internalVlan));
   }
}

void World::fillPortChannel(InventoryPortChannel const& lag) {
   IntfId intf(lag.name);
   names_.push_back(intf);
   lagDomain_.set(intf, static_cast<uint8_t>(lag.vlanDomain));
   auto status = ethIntfStatusDir->ethLagIntfStatusIs(intf);
   for (auto const& member : lag.members) {
      status->memberIs(IntfId(member));
   }
   refreshLagDomains(intf);
}

IntfId World::interface(std::string_view typed) const {
   auto mark = typed.rfind(floodMark);
   bool flood = mark != std::string_view::npos && mark + floodMark.size() == typed.size();
   auto found = inventory_.find(flood ? typed.substr(0, mark) : typed);
   if (found.name.empty()) {
      std::string text = "there is no interface '" + std::string(typed) + "'";
      for (std::size_t i = 0; i < std::min<std::size_t>(found.candidates.size(), 5); ++i) {
         text += (i == 0 ? "; did you mean " : ", ") + found.candidates[i];
      }
      throw CommandError(text);
   }
   if (!flood) {
      return IntfId(found.name);
   }
   if (!isRouted(IntfId(found.name))) {
      throw CommandError(found.name + " is no routed port, so it has no flood entry");
   }
   return IntfId(found.name + std::string(floodMark));
}

std::vector<IntfId> World::interfaces(std::string_view pattern) const {
   if (pattern.find_first_of("*?") == std::string_view::npos) {
      return {interface(pattern)};
   }
   auto mark = pattern.rfind(floodMark);
   bool flood = mark != std::string_view::npos && mark + floodMark.size() == pattern.size();
   std::vector<IntfId> found;
   for (IntfId intf : names_) {
      if (matches(flood ? pattern.substr(0, mark) : pattern, intf.name()) &&
          (!flood || isRouted(intf))) {
         found.push_back(flood ? IntfId(intf.name() + std::string(floodMark)) : intf);
      }
   }
   if (found.empty()) {
      throw CommandError("no interface matches '" + std::string(pattern) + "'");
   }
   return found;
}

FapId World::unit(std::string_view typed) const {
   for (auto const& unit : inventory_.units) {
      if (typed == unit.name || typed == unit.key || typed == std::to_string(unit.fapId)) {
         return FapId(unit.fapId);
      }
   }
   std::string known;
   for (auto const& unit : inventory_.units) {
      known += (known.empty() ? "" : ", ") + std::to_string(unit.fapId) + " (" + unit.name + ")";
   }
   throw CommandError("the inventory has no unit '" + std::string(typed) + "'; it has " + known);
}

InventoryUnit const& World::inventoryUnit(FapId unit) const {
   auto found = std::find_if(
       inventory_.units.begin(), inventory_.units.end(),
       [&](InventoryUnit const& candidate) { return candidate.fapId == unit.value(); });
   return *found;
}

std::vector<FapId> World::unitsOf(IntfId intf) const {
   std::string name = intf.name();
   if (auto mark = name.rfind(floodMark); mark != std::string::npos) {
      intf = IntfId(name.substr(0, mark));
   }
   if (SubIntfId::isSubIntfId(intf)) {
      intf = SubIntfId::parentIntfId(intf);
   }
   std::set<FapId> units;
   auto addPort = [&](IntfId port) {
      FapId unit = shoalStatus->portMap(shoalStatus->sysPhyPortId(port)).fapId;
      if (!unit.isNull()) {
         units.insert(unit);
      }
   };
   if (PortChannelIntfId::isPortChannelIntfId(intf)) {
      if (auto status = ethIntfStatusDir->ethLagIntfStatus(intf)) {
         for (auto const& [member, present] : status->memberIter()) {
            addPort(member);
         }
      }
   } else if (isPort(intf)) {
      addPort(intf);
   }
   for (auto const& svi : inventory_.vlanInterfaces) {
      if (svi.name == intf.name()) {
         units.insert(FapId(svi.fapId));
      }
   }
   for (auto const& tunnel : inventory_.tunnels) {
      if (tunnel.name == intf.name()) {
         units.insert(FapId(tunnel.fapId));
      }
   }
   return {units.begin(), units.end()};
}

bool World::isRouted(IntfId intf) const {
   return intfVlanIdTable->internalVlanIdHas(intf);
}

void World::requireSubInterface(IntfId subIntf) const {
   if (!SubIntfId::isSubIntfId(subIntf)) {
      throw CommandError(subIntf.name() + " is no sub-interface");
   }
   if (!subIntfConfigDir->subIntfConfigHas(subIntf)) {
      throw CommandError(subIntf.name() + " was deleted");
   }
}

void World::encapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   requireSubInterface(subIntf);
   // The fact first, then the news of it: who hears of the change finds it in place.
   subIntfConfigDir->subIntfConfig(subIntf)->dot1qEncapIs(encap);
   tellEncapsulation(subIntf);
}

void World::tellEncapsulation(IntfId subIntf) {
   Dot1qEncap encap = encapsulation(subIntf);
   if (encap.isZero()) {
      subIntfDot1qEncapChange->dot1qEncapDel(subIntf);
   } else {
      subIntfDot1qEncapChange->dot1qEncapIs(subIntf, encap);
   }
}

Dot1qEncap World::encapsulation(IntfId subIntf) const {
   Dot1qEncap dynamic = dynSubIntfEncap->dot1qEncap(subIntf);
   auto config = subIntfConfigDir->subIntfConfig(subIntf);
   return !dynamic.isZero() ? dynamic : config ? config->dot1qEncap() : Dot1qEncap();
}

void World::dynamicEncapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   requireSubInterface(subIntf);
   if (encap.isZero()) {
      dynSubIntfEncap->dot1qEncapDel(subIntf);
   } else {
      dynSubIntfEncap->dot1qEncapIs(subIntf, encap);
   }
   tellEncapsulation(subIntf);
}

void World::subInterfaceDel(IntfId subIntf) {
   requireSubInterface(subIntf);
   subIntfConfigDir->subIntfConfigDel(subIntf);
   dynSubIntfEncap->dot1qEncapDel(subIntf);
   subIntfDot1qEncapChange->dot1qEncapDel(subIntf);
   subIntfStatusDir->subIntfStatusDel(subIntf);
}

void World::programInHwIs(IntfId subIntf, bool on) {
   requireSubInterface(subIntf);
   subIntfStatusDir->subIntfStatusIs(subIntf)->programInHwIs(on);
}

void World::internalVlanIs(IntfId routedPort, VlanIdOrNone vlan) {
   if (!isRouted(routedPort)) {
      throw CommandError(routedPort.name() + " is no routed port");
   }
   // 0 counts as none; the entry stays, so that the port is still known as routed.
   intfVlanIdTable->internalVlanIdIs(routedPort, vlan);
}

void World::vlanDomainIs(IntfId intf, std::optional<VlanDomain> domain) {
   if (SubIntfId::isSubIntfId(intf) ||
       (!isPort(intf) && !PortChannelIntfId::isPortChannelIntfId(intf))) {
      throw CommandError(intf.name() + " is neither a port nor a port-channel");
   }
   if (!isPort(intf)) {
      lagDomain_.set(intf, domain ? domain->value() : 0);
      refreshLagDomains(intf);
      return;
   }
   PortMap place = shoalStatus->portMap(shoalStatus->sysPhyPortId(intf));
   if (place.isNull()) {
      throw CommandError(intf.name() + " is on no unit");
   }
   if (domain) {
      vlanDomainStatus->portTunnelDataIs(place, PortTunnelData{*domain});
   } else {
      vlanDomainStatus->portTunnelDataDel(place);
   }
}

void World::fapTypeIs(FapId unit, Hardware::Shoal::FapType type) {
   if (type == 0) {
      shoalStatus->fapTypeDel(unit);
   } else {
      shoalStatus->fapTypeIs(unit, type);
   }
}

void World::fapAvailableIs(FapId unit, bool available) {
   if (available) {
      shoalStatus->fapNameIs(unit, inventoryUnit(unit).name);
   } else {
      shoalStatus->fapNameDel(unit);
   }
}

void World::extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type) {
   if (type == 0) {
      shoalStatus->fapExtLkupTypeDel(unit);
   } else {
      shoalStatus->fapExtLkupTypeIs(unit, type);
   }
}

void World::portMapIs(IntfId port, std::optional<PortMap> place) {
   SystemPhyPortId systemPort = shoalStatus->sysPhyPortId(port);
   if (systemPort.value() == SystemPhyPortId::null) {
      throw CommandError(port.name() + " is no port of the inventory");
   }
   PortMap old = shoalStatus->portMap(systemPort);
   if (place && *place != old && scsd->portMapToIntfHas(*place)) {
      throw CommandError("port " + std::to_string(place->fapPortId) + " of unit " +
                         std::to_string(place->fapId.value()) + " is taken by " +
                         scsd->portMapToIntf(*place).name());
   }
   // The helper's tables first: who resolves in between still finds a unit.
   if (!old.isNull()) {
      portMapHelper->changedIntfToFapIs(port, old.fapId);
      scsd->portMapToIntfDel(old);
   }
   if (place) {
      portMapHelper->intfToFapIs(port, place->fapId);
      scsd->portMapToIntfIs(*place, port);
      shoalStatus->portMapIs(systemPort, *place);
   } else {
      shoalStatus->portMapDel(systemPort);
   }
   for (auto const& [lag, status] : ethIntfStatusDir->ethLagIntfStatusIter()) {
      if (status->memberHas(port)) {
         refreshLagDomains(lag);
      }
   }
}

void World::memberIs(IntfId lag, IntfId port, bool present) {
   auto status = ethIntfStatusDir->ethLagIntfStatus(lag);
   if (!status || !isPort(port)) {
      throw CommandError(lag.name() + " and " + port.name() + " are no port-channel and port");
   }
   for (auto const& [other, otherStatus] : ethIntfStatusDir->ethLagIntfStatusIter()) {
      if (present && other != lag && otherStatus->memberHas(port)) {
         throw CommandError(port.name() + " is a member of " + other.name() +
                            "; remove it there first");
      }
   }
   if (present) {
      status->memberIs(port);
   } else {
      status->memberDel(port);
   }
   refreshLagDomains(lag);
}

LagFapKey World::lagKey(IntfId lag, FapId unit) const {
   return {lag, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus, unit, 0)};
}

void World::refreshLagDomains(IntfId lag) {
   auto manager = vlanTagToVsiMapperSm->vlanDomainManager();
   auto units = unitsOf(lag);
   uint8_t domain = lagDomain_.get(lag);
   for (auto const& unit : inventory_.units) {
      FapId fapId(unit.fapId);
      LagFapKey key = lagKey(lag, fapId);
      if (domain == 0 || std::find(units.begin(), units.end(), fapId) == units.end()) {
         manager->vlanDomainPerLagFapDel(key);
         continue;
      }
      auto entry = manager->vlanDomainPerLagFapIs(key);
      entry->vlanDomainIs(VlanDomain(domain));
      entry->memberPortDelAll();
      for (auto const& [member, present] : ethIntfStatusDir->ethLagIntfStatus(lag)->memberIter()) {
         PortMap place = shoalStatus->portMap(shoalStatus->sysPhyPortId(member));
         if (place.fapId == fapId) {
            entry->memberPortIs(place.fapPortId);
         }
      }
   }
}

} // namespace Agent
