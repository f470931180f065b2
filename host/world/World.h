// Changes of the world around the library: what the rest of a switch would write.
//
// The operations keep the entities of one fact in step (a port's move changes the port map, the
// interface on the port, and the tables of the port-map helper); the order of the writes is part of
// what the machines see and is noted where it matters. They check ranges only: whether a change
// would stop the library is not known here.
#pragma once

#include "host/world/SubIntfEntries.h"
#include "host/world/WorldView.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"

#include <map>
#include <optional>

namespace ShoalHost {

class World : public WorldView {
 public:
   // Fills the entities with the facts of the inventory.
   explicit World(Inventory inventory);

   // All throw HostError (host/text/Errors.h) where the interface is of the wrong kind or was
   // deleted.

   // Sub-interfaces. Zero tags: none.
   void encapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void dynamicEncapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void subInterfaceDel(IntfId subIntf);
   void programInHwIs(IntfId subIntf, bool on);
   void encapKindIs(IntfId subIntf, uint32_t kind); // 4: the chip matches its tags in another type

   // Hides the tags of a sub-interface from the machines, and tells nobody, until they are given
   // back or changed. tags() has them all the same.
   void tagsAsideIs(IntfId subIntf, bool aside);

   // VLANs. 0: none.
   void internalVlanIs(IntfId routedPort, Bridging::VlanIdOrNone vlan);
   void untaggedVlanIs(IntfId intf, Bridging::VlanIdOrNone vlan);
   void taggedVlanIs(IntfId intf, Bridging::VlanId vlan, bool carries);
   // Of a port, or of a port-channel on every unit where it has one. None: removed.
   void vlanDomainIs(IntfId intf, std::optional<Hardware::Shoal::VlanDomain> domain);

   // Units.
   void fapTypeIs(FapId unit, Hardware::Shoal::FapType type); // 0: none recorded
   void fapAvailableIs(FapId unit, bool available);
   void extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type); // 0: none recorded

   // Ports.
   // The place of a port's system port; none: it has none. HostError for a place that is taken.
   // Machines that watch the port map's version see the change with the next version.
   void portMapIs(IntfId port, std::optional<Hardware::Shoal::PortMap> place);
   // The system port of a port; none: the port is gone. HostError for one that is taken, or
   // whose place is.
   void systemPortIs(IntfId port, std::optional<Hardware::Shoal::SystemPhyPortId> systemPort);
   void portMapValidIs(bool valid);
   void portMapVersionInc();

   // Port-channels. One that is removed loses its members first; one that is added has none.
   void portChannelIs(IntfId lag, bool present);
   // HostError for a port of another port-channel, and for removing one that is not a member.
   void memberIs(IntfId lag, IntfId port, bool present);

   // HostError: no machine serves in-LIF features on the interface.
   static void checkServesFeatures(IntfId intf);

   // TCAMs.
   // A feature's place in the words of a TCAM; none: the TCAM has no place for it. Takes effect
   // with the next TCAM key version.
   void tcamLayoutIs(Hardware::Shoal::SystemTcamId tcam,
                     Hardware::ShoalTunnel::InLifFeatureType type,
                     std::optional<ShoalTcam::TcamShareQualInfo> place);
   void tcamKeyVersionInc();

   // Throw what the operations would, and change nothing.
   void requireSubInterface(IntfId subIntf) const;
   void requireVlanDomainOf(IntfId intf) const;
   void requirePlace(IntfId port, std::optional<Hardware::Shoal::PortMap> place) const;
   void requireSystemPort(IntfId port,
                          std::optional<Hardware::Shoal::SystemPhyPortId> systemPort) const;
   void requireMember(IntfId lag, IntfId port, bool present) const;
   static void requireVlanMember(IntfId intf);

   // The VLAN domain of a port-channel as configured, wherever it has members; 0: none.
   uint8_t lagDomain(IntfId lag) const { return lagDomain_.get(lag); }
   // The sub-interfaces of a port or port-channel, and of a port's port-channel.
   std::vector<IntfId> subInterfacesAround(IntfId portOrLag) const;

 private:
   void fill();
   void fillFeatures();
   void joinLag(IntfId lag, IntfId port);
   void leaveLag(IntfId lag, IntfId port);
   void fillPortChannel(InventoryPortChannel const& lag);
   void tellEncapsulation(IntfId subIntf);
   // HostError when another port sits there.
   void requireFree(Hardware::Shoal::PortMap place, IntfId port) const;
   // The tables by place and by port, for a port that leaves or enters a place.
   void leavePlace(IntfId port, Hardware::Shoal::PortMap place);
   void enterPlace(IntfId port, Hardware::Shoal::PortMap place);
   // The entries of the sub-interfaces and port-channels on it.
   void refreshAround(IntfId portOrLag);
   // The port-channel's VLAN domain on each unit where it has members.
   void refreshLagDomains(IntfId lag);
   Hardware::ShoalTunnel::LagFapKey lagKey(IntfId lag, FapId unit) const;

   std::map<IntfId, std::vector<IntfId>> subIntfsOf_;
   SubIntfEntries subIntfEntries_{*this};
   Orv::KeyedByIndex<IntfId, uint8_t> lagDomain_; // of port-channels, as configured
   Orv::KeyedByIndex<IntfId, uint32_t> core_;     // of ports, as in the inventory
};

} // namespace ShoalHost
