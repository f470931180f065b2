// Publishes, for every front-panel interface that the chip-family status knows, the forwarding unit
// on which it sits and the VLAN domain of its port: interface -> system physical port -> port map
// -> VLAN domain, joined.
//
// Follows single changes of an interface's port and of a port map's domain; a new version of the
// port map makes it walk everything. Between walks an interface that went keeps what was published,
// and a walk takes no domain away from an interface that is still there: both on purpose, a port
// map in the middle of being rewritten must not take a domain from under the entries that use it.
//
// Reads the chip-family status (never null) and the VLAN domain status (null
// reads as empty); writes the two published tables. Live from construction. Event thread only.
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
   // Walks everything, unless the port map is not valid.
   void handlePortMapVersion();
   // The interface's system physical port changed.
   void handleSysPhyPortId(Plexus::IntfId const& intf);
   // The port map's VLAN domain changed.
   void handleVlanDomainStatus(Shoal::PortMap const& portMap);

   // The interface that was seen last on a port map, and the reverse.
   ORV_COLLECTION(portMapToIntf, Shoal::PortMap, Plexus::IntfId, Orv::Keyed)
   ORV_COLLECTION(intfToPortMap, Plexus::IntfId, Shoal::PortMap, Orv::KeyedByIndex)

 private:
   struct OrvShoalStatus {
      explicit OrvShoalStatus(VlanDomainSm* sm) : sysPhyPortId(sm), portMapVersion(sm) {}
      Orv::ReactorFor<&VlanDomainSm::handleSysPhyPortId> sysPhyPortId;
      Orv::ReactorFor<&VlanDomainSm::handlePortMapVersion> portMapVersion;
   };
   using OrvVlanDomainStatus = Orv::ReactorFor<&VlanDomainSm::handleVlanDomainStatus>;

   // 0: the port map has none.
   Shoal::VlanDomain vlanDomainOf(Shoal::PortMap const& portMap) const;

   Orv::Ptr<Shoal::Status const> shoalStatus_;
   Orv::Ptr<Shoal::VlanDomainStatus const> vlanDomainStatus_;
   Orv::Ptr<IntfToVlanDomainStatus> intfToVlanDomainStatus_;
   Orv::Ptr<IntfToFapIdStatus> intfToFapIdStatus_;
   OrvShoalStatus orvShoalStatus_;
   OrvVlanDomainStatus orvVlanDomainStatus_;
};

// With the constructor's arguments.
template<class... Args>
Orv::Ptr<VlanDomainSm> VlanDomainSmIs(Args&&... args) {
   return Orv::make<VlanDomainSm>(std::forward<Args>(args)...);
}

} // namespace Hardware::ShoalTunnel
