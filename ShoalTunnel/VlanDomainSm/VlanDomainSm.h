// Publishes, for every front-panel interface that the chip-family status knows, the forwarding unit
// on which it sits and the VLAN domain of its port: interface -> system physical port -> port map
// -> VLAN domain, joined.
//
// Changes of the port of one interface or of the domain of one port map are published at once. A
// new port map version walks all interfaces. Between walks a deleted interface keeps what was
// published, and a walk does not remove the domain of an existing interface. Both are intended:
// while the port map is being rewritten, entries must not lose the domain that they use.
//
// Reads the chip-family status (never null) and the VLAN domain status (null reads as empty);
// writes the two published tables. Ready after construction. Event thread only.
#pragma once

#include "platform/Hardware/Shoal/Status.h"
#include "platform/Hardware/Shoal/VlanDomainStatus.h"
#include "ShoalTunnel/VlanDomainSm/IntfToFapIdStatus.h"
#include "ShoalTunnel/VlanDomainSm/IntfToVlanDomainStatus.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT VlanDomainSm : public Orv::RefCounted {
 public:
   VlanDomainSm(Orv::Ptr<Shoal::Status const> shoalStatus,
                Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus,
                Orv::Ptr<IntfToVlanDomainStatus> intfToVlanDomainStatus,
                Orv::Ptr<IntfToFapIdStatus> intfToFapIdStatus);

   void handleInitialized();
   // Publishes all interfaces; does nothing while the port map is not valid.
   void handlePortMapVersion();
   // The interface's system physical port changed.
   void handleSysPhyPortId(Plexus::IntfId const& intf);
   // The VLAN domain of the port map changed.
   void handleVlanDomainStatus(Shoal::PortMap const& portMap);

   // Port map -> the interface last seen there, and the reverse.
   ORV_COLLECTION(portMapToIntf, Shoal::PortMap, Plexus::IntfId, Orv::Keyed)
   ORV_COLLECTION(intfToPortMap, Plexus::IntfId, Shoal::PortMap, Orv::KeyedByIndex)

 private:
   struct OrvShoalStatus {
      explicit OrvShoalStatus(VlanDomainSm* sm) : sysPhyPortId(sm), portMapVersion(sm) {}
      Orv::ReactorFor<&VlanDomainSm::handleSysPhyPortId> sysPhyPortId;
      Orv::ReactorFor<&VlanDomainSm::handlePortMapVersion> portMapVersion;
   };
   using OrvVlanDomainStatus = Orv::ReactorFor<&VlanDomainSm::handleVlanDomainStatus>;

   // 0 if the port map has no domain.
   Shoal::VlanDomain vlanDomainOf(Shoal::PortMap const& portMap) const;

   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus_;
   Orv::Ptr<IntfToVlanDomainStatus> intfToVlanDomainStatus_;
   Orv::Ptr<IntfToFapIdStatus> intfToFapIdStatus_;
   OrvShoalStatus orvShoalStatus_;
   OrvVlanDomainStatus orvVlanDomainStatus_;
};

template<class... Args>
Orv::Ptr<VlanDomainSm> VlanDomainSmIs(Args&&... args) {
   return Orv::make<VlanDomainSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
