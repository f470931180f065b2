#include "ShoalTunnel/VlanDomainSm/VlanDomainSm.h"

#include "platform/Orv/Failure.h"
#include "platform/Trace/Trace.h"

namespace Hardware::ShoalTunnel {

using Plexus::IntfId;
using Shoal::PortMap;
using Shoal::VlanDomain;

VlanDomainSm::VlanDomainSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                           Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus,
                           Orv::Ptr<IntfToVlanDomainStatus> intfToVlanDomainStatus,
                           Orv::Ptr<IntfToFapIdStatus> intfToFapIdStatus)
    : shoalStatus_(ORV_NOT_NULL(shoalStatus)), vlanDomainStatus_(std::move(vlanDomainStatus)),
      intfToVlanDomainStatus_(ORV_NOT_NULL(intfToVlanDomainStatus)),
      intfToFapIdStatus_(ORV_NOT_NULL(intfToFapIdStatus)), orvShoalStatus_(this),
      orvVlanDomainStatus_(this) {
   shoalStatus_->sysPhyPortIdCollection().watch(orvShoalStatus_.sysPhyPortId);
   shoalStatus_->portMapVersionAttribute().watch(orvShoalStatus_.portMapVersion);
   if (vlanDomainStatus_) {
      vlanDomainStatus_->portTunnelDataCollection().watch(orvVlanDomainStatus_);
   }
   handleInitialized();
}

void VlanDomainSm::handleInitialized() {
   SHOAL_TRACE(8, "VlanDomainSm::", __func__);
   handlePortMapVersion();
}

VlanDomain VlanDomainSm::vlanDomainOf(PortMap const& portMap) const {
   return vlanDomainStatus_ ? vlanDomainStatus_->portTunnelData(portMap).vlanDomain : VlanDomain();
}

void VlanDomainSm::handlePortMapVersion() {
   SHOAL_TRACE(8, "VlanDomainSm::", __func__);
   if (!shoalStatus_->portMapValid()) {
      return;
   }
   for (auto const& [intf, port] : shoalStatus_->sysPhyPortIdIter()) {
      PortMap portMap = shoalStatus_->portMap(port);
      if (portMap.isNull()) {
         continue;
      }
      // A missing domain is left as published: only a single change takes one away.
      if (VlanDomain vlanDomain = vlanDomainOf(portMap); vlanDomain != VlanDomain()) {
         intfToVlanDomainStatus_->vlanDomainIs(intf, vlanDomain);
      }
      portMapToIntfIs(portMap, intf);
      intfToPortMapIs(intf, portMap);
      intfToFapIdStatus_->intfToFapIs(intf, portMap.fapId);
   }
   // Interfaces that went lose what was published; what this machine remembers of them stays.
   for (auto const& [intf, vlanDomain] : intfToVlanDomainStatus_->vlanDomainIter()) {
      if (!shoalStatus_->sysPhyPortIdHas(intf)) {
         intfToVlanDomainStatus_->vlanDomainDel(intf);
      }
   }
   for (auto const& [intf, fapId] : intfToFapIdStatus_->intfToFapIter()) {
      if (!shoalStatus_->sysPhyPortIdHas(intf)) {
         intfToFapIdStatus_->intfToFapDel(intf);
      }
   }
}

void VlanDomainSm::handleSysPhyPortId(IntfId const& intf) {
   SHOAL_TRACE(8, "VlanDomainSm::", __func__);
   PortMap portMap = shoalStatus_->portMap(shoalStatus_->sysPhyPortId(intf));
   if (portMap.isNull()) {
      // The port is gone: what was published stays until the port map's next version.
      return;
   }
   VlanDomain vlanDomain = vlanDomainOf(portMap);
   if (vlanDomain != VlanDomain()) {
      intfToVlanDomainStatus_->vlanDomainIs(intf, vlanDomain);
   } else {
      intfToVlanDomainStatus_->vlanDomainDel(intf);
   }
   PortMap previous = intfToPortMap(intf);
   if (portMap == previous) {
      return;
   }
   // Whoever moved onto the old place meanwhile loses its way back, until the next walk.
   portMapToIntfDel(previous);
   portMapToIntfIs(portMap, intf);
   intfToPortMapIs(intf, portMap);
   intfToFapIdStatus_->intfToFapIs(intf, portMap.fapId);
}

void VlanDomainSm::handleVlanDomainStatus(PortMap const& portMap) {
   SHOAL_TRACE(8, "VlanDomainSm::", __func__);
   IntfId intf = portMapToIntf(portMap);
   if (intf == IntfId()) {
      return;
   }
   VlanDomain vlanDomain = vlanDomainOf(portMap);
   if (vlanDomain == VlanDomain()) {
      intfToVlanDomainStatus_->vlanDomainDel(intf);
   } else {
      intfToVlanDomainStatus_->vlanDomainIs(intf, vlanDomain);
   }
}

} // namespace Hardware::ShoalTunnel
