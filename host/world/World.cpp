#include "host/world/World.h"

#include "host/text/Errors.h"

#include <algorithm>

namespace ShoalHost {

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

void requireTags(Dot1qEncap encap) {
   for (uint16_t tag : {encap.outer, encap.inner}) {
      if (tag > 4094) {
         throw HostError("a tag is 1 to 4094, or 0 for none, not {}", tag);
      }
   }
}

} // namespace

World::World(Inventory inventory) : WorldView(std::move(inventory)) {
   fill();
   fillFeatures();
}

void World::fill() {
   for (auto const& unit : inventory().units) {
      FapId fapId(unit.fapId);
      shoalStatus->fapNameIs(fapId, unit.name);
      fapTypeIs(fapId, unit.fapType);
      extLkupTypeIs(fapId, unit.extLkupType);
   }
   for (auto const& port : inventory().ports) {
      IntfId intf(port.name);
      core_.set(intf, port.core % Hardware::Shoal::kCoresPerFap);
      PortMap place{FapId(port.fapId), static_cast<uint16_t>(port.unitPort)};
      if (port.vlanDomain != 0) {
         vlanDomainStatus->portTunnelDataIs(
             place, PortTunnelData{VlanDomain(static_cast<uint8_t>(port.vlanDomain))});
      }
      if (port.systemPort != SystemPhyPortId::null) {
         shoalStatus->sysPhyPortIdIs(intf, SystemPhyPortId(port.systemPort));
         portMapIs(intf, place);
      }
   }
   for (auto const& lag : inventory().portChannels) {
      fillPortChannel(lag);
   }
   for (auto const& sub : inventory().subInterfaces) {
      IntfId intf(sub.name);
      Dot1qEncap encap{static_cast<uint16_t>(sub.outer), static_cast<uint16_t>(sub.inner)};
      auto config = Orv::make<Interface::SubIntfConfig>();
      config->dot1qEncapIs(encap);
      subIntfConfigDir->subIntfConfigIs(intf, config);
      subIntfStatusDir->subIntfStatusIs(intf);
      if (!encap.isZero()) {
         subIntfDot1qEncapChange->dot1qEncapIs(intf, encap);
      }
      subIntfsOf_[SubIntfId::parentIntfId(intf)].push_back(intf);
      subIntfEntries_.refresh(intf);
   }
   for (auto const& routed : inventory().routedPorts) {
      intfVlanIdTable->internalVlanIdIs(IntfId(routed.name), VlanIdOrNone(routed.internalVlan));
   }
}

void World::fillPortChannel(InventoryPortChannel const& lag) {
   IntfId intf(lag.name);
   lagDomain_.set(intf, static_cast<uint8_t>(lag.vlanDomain));
   auto status = ethIntfStatusDir->ethLagIntfStatusIs(intf);
   for (auto const& member : lag.members) {
      status->memberIs(IntfId(member));
   }
   refreshLagDomains(intf);
}

void World::requireSubInterface(IntfId subIntf) const {
   if (!SubIntfId::isSubIntfId(subIntf)) {
      throw HostError("{} is not a sub-interface", subIntf.name());
   }
   if (!subIntfConfigDir->subIntfConfigHas(subIntf)) {
      throw HostError("{} was deleted", subIntf.name());
   }
}

void World::encapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   requireSubInterface(subIntf);
   requireTags(encap);
   tagsAsideIs(subIntf, false);
   // The tags before the notification of the change: whoever is notified reads them.
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
   subIntfEntries_.refresh(subIntf);
}

void World::dynamicEncapsulationIs(IntfId subIntf, Dot1qEncap encap) {
   requireSubInterface(subIntf);
   requireTags(encap);
   tagsAsideIs(subIntf, false);
   if (encap.isZero()) {
      dynSubIntfEncap->dot1qEncapDel(subIntf);
   } else {
      dynSubIntfEncap->dot1qEncapIs(subIntf, encap);
   }
   tellEncapsulation(subIntf);
}

void World::tagsAsideIs(IntfId subIntf, bool aside) {
   auto hidden = tagsAside_.find(subIntf);
   if (aside == (hidden != tagsAside_.end())) {
      return;
   }
   requireSubInterface(subIntf);
   auto const& config = subIntfConfigDir->subIntfConfig(subIntf);
   if (aside) {
      tagsAside_[subIntf] = tags(subIntf);
      config->dot1qEncapIs({});
      dynSubIntfEncap->dot1qEncapDel(subIntf);
      return;
   }
   Tags both = hidden->second;
   tagsAside_.erase(hidden);
   config->dot1qEncapIs(both.configured);
   if (!both.dynamic.isZero()) {
      dynSubIntfEncap->dot1qEncapIs(subIntf, both.dynamic);
   }
}

void World::subInterfaceDel(IntfId subIntf) {
   requireSubInterface(subIntf);
   tagsAside_.erase(subIntf);
   subIntfConfigDir->subIntfConfigDel(subIntf);
   dynSubIntfEncap->dot1qEncapDel(subIntf);
   subIntfDot1qEncapChange->dot1qEncapDel(subIntf);
   subIntfStatusDir->subIntfStatusDel(subIntf);
   subIntfEntries_.refresh(subIntf);
}

void World::programInHwIs(IntfId subIntf, bool on) {
   requireSubInterface(subIntf);
   // The flag first: a policy is removed before the entry that carries it.
   subIntfStatusDir->subIntfStatusIs(subIntf)->programInHwIs(on);
   subIntfEntries_.refresh(subIntf);
}

void World::encapKindIs(IntfId subIntf, uint32_t kind) {
   requireSubInterface(subIntf);
   subIntfStatusDir->subIntfStatusIs(subIntf)->encapKindIs(kind);
   subIntfEntries_.refresh(subIntf);
}

void World::internalVlanIs(IntfId routedPort, VlanIdOrNone vlan) {
   if (!isRouted(routedPort)) {
      throw HostError("{} is not a routed port", routedPort.name());
   }
   // 0 counts as none; the entry stays, so that the port is still known as routed.
   intfVlanIdTable->internalVlanIdIs(routedPort, vlan);
}

void World::requireVlanDomainOf(IntfId intf) const {
   if (SubIntfId::isSubIntfId(intf) ||
       (!isPort(intf) && !PortChannelIntfId::isPortChannelIntfId(intf))) {
      throw HostError("{} is neither a port nor a port-channel", intf.name());
   }
   if (isPort(intf) && placeOf(intf).isNull()) {
      throw HostError("{} is on no unit", intf.name());
   }
}

void World::vlanDomainIs(IntfId intf, std::optional<VlanDomain> domain) {
   requireVlanDomainOf(intf);
   if (!isPort(intf)) {
      lagDomain_.set(intf, domain ? domain->value() : 0);
      refreshLagDomains(intf);
      return;
   }
   PortMap place = placeOf(intf);
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
   for (auto const& [parent, subIntfs] : subIntfsOf_) {
      refreshAround(parent);
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

// The helper's tables first: a machine that resolves the port meanwhile still finds a unit.
void World::leavePlace(IntfId port, PortMap place) {
   if (!place.isNull()) {
      portMapHelper->changedIntfToFapIs(port, place.fapId);
      scsd->portMapToIntfDel(place);
      localPortMapStatus->portMapDel(port);
      shoalStatus->sysTcamIdDel(port);
   }
}

void World::enterPlace(IntfId port, PortMap place) {
   if (!place.isNull()) {
      portMapHelper->intfToFapIs(port, place.fapId);
      scsd->portMapToIntfIs(place, port);
      localPortMapStatus->portMapIs(port, place);
      shoalStatus->sysTcamIdIs(port, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(
                                         shoalStatus, place.fapId, core_.get(port)));
   }
}

void World::requireFree(PortMap place, IntfId port) const {
   IntfId other = scsd->portMapToIntf(place);
   if (other != IntfId() && other != port) {
      throw HostError("port {} of unit {} is taken by {}", place.fapPortId, place.fapId.value(),
                      other.name());
   }
}

void World::requirePlace(IntfId port, std::optional<PortMap> place) const {
   if (shoalStatus->sysPhyPortId(port).value() == SystemPhyPortId::null) {
      throw HostError("{} {}", port.name(),
                      isPortOfInventory(port) ? "has no system port"
                                              : "is not a port of the inventory");
   }
   if (place) {
      requireFree(*place, port);
   }
}

void World::portMapIs(IntfId port, std::optional<PortMap> place) {
   requirePlace(port, place);
   SystemPhyPortId systemPort = shoalStatus->sysPhyPortId(port);
   PortMap old = shoalStatus->portMap(systemPort);
   leavePlace(port, old);
   if (place) {
      enterPlace(port, *place);
      shoalStatus->portMapIs(systemPort, *place);
   } else {
      shoalStatus->portMapDel(systemPort);
   }
   refreshAround(port);
}

void World::requireSystemPort(IntfId port, std::optional<SystemPhyPortId> systemPort) const {
   if (!isPortOfInventory(port)) {
      throw HostError("{} is not a port of the inventory", port.name());
   }
   for (auto const& [other, taken] : shoalStatus->sysPhyPortIdIter()) {
      if (systemPort && other != port && taken == *systemPort) {
         throw HostError("system port {} is taken by {}", taken.value(), other.name());
      }
   }
   requireFree(systemPort ? shoalStatus->portMap(*systemPort) : PortMap(), port);
}

void World::systemPortIs(IntfId port, std::optional<SystemPhyPortId> systemPort) {
   requireSystemPort(port, systemPort);
   PortMap place = systemPort ? shoalStatus->portMap(*systemPort) : PortMap();
   leavePlace(port, placeOf(port));
   if (systemPort) {
      enterPlace(port, place);
      shoalStatus->sysPhyPortIdIs(port, *systemPort);
   } else {
      shoalStatus->sysPhyPortIdDel(port);
   }
   refreshAround(port);
}

void World::portMapValidIs(bool valid) {
   shoalStatus->portMapValidIs(valid);
}

void World::portMapVersionInc() {
   shoalStatus->portMapVersionIs(shoalStatus->portMapVersion() + 1);
}

void World::refreshAround(IntfId portOrLag) {
   for (auto const& [lag, status] : ethIntfStatusDir->ethLagIntfStatusIter()) {
      if (status->memberHas(portOrLag)) {
         refreshLagDomains(lag);
         refreshAround(lag);
      }
   }
   if (auto found = subIntfsOf_.find(portOrLag); found != subIntfsOf_.end()) {
      for (IntfId subIntf : found->second) {
         subIntfEntries_.refresh(subIntf);
      }
   }
}

std::vector<IntfId> World::subInterfacesAround(IntfId portOrLag) const {
   std::vector<IntfId> found;
   for (IntfId parent : {portOrLag, lagPhyIntfMapping->phyIntfLag(portOrLag)}) {
      if (auto of = subIntfsOf_.find(parent); parent != IntfId() && of != subIntfsOf_.end()) {
         found.insert(found.end(), of->second.begin(), of->second.end());
      }
   }
   return found;
}

void World::requireMember(IntfId lag, IntfId port, bool present) const {
   auto status = ethIntfStatusDir->ethLagIntfStatus(lag);
   if (!status || !isPortOfInventory(port)) {
      throw HostError("{} and {} are not a port-channel and a port", lag.name(), port.name());
   }
   for (auto const& [other, otherStatus] : ethIntfStatusDir->ethLagIntfStatusIter()) {
      if (present && other != lag && otherStatus->memberHas(port)) {
         throw HostError("{} is a member of {}; remove it there first", port.name(), other.name());
      }
   }
   if (!present && !status->memberHas(port)) {
      throw HostError("{} is not a member of {}", port.name(), lag.name());
   }
}

void World::memberIs(IntfId lag, IntfId port, bool present) {
   requireMember(lag, port, present);
   auto status = ethIntfStatusDir->ethLagIntfStatus(lag);
   if (present == status->memberHas(port)) {
      return;
   }
   if (present) {
      status->memberIs(port);
      joinLag(lag, port);
   } else {
      status->memberDel(port);
      leaveLag(lag, port);
   }
   refreshLagDomains(lag);
   refreshAround(lag);
}

LagFapKey World::lagKey(IntfId lag, FapId unit) const {
   return {lag, Hardware::Shoal::fapLocalCoreIdToSystemTcamId(shoalStatus, unit, 0)};
}

void World::refreshLagDomains(IntfId lag) {
   auto manager = vlanTagToVsiMapperSm->vlanDomainManager();
   auto units = unitsOf(lag);
   uint8_t domain = lagDomain_.get(lag);
   for (auto const& unit : inventory().units) {
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
         PortMap place = placeOf(member);
         if (place.fapId == fapId) {
            entry->memberPortIs(place.fapPortId);
         }
      }
   }
}

} // namespace ShoalHost
