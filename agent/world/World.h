// Changes of the world around the library: what the rest of a switch would write.
//
// The operations keep the entities of one fact in step (a port's move changes the port map, the
// interface on the port, and the tables of the port-map helper); the order of the writes is part of
// what the machines see and is noted where it matters. They check ranges only: whether a change
// would stop the library is not known here.
#pragma once

#include "agent/world/SubIntfEntries.h"
#include "agent/world/WorldView.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"

#include <map>
#include <optional>

namespace Agent {

class World : public WorldView {
 public:
   // Fills the entities with the facts of the inventory.
   explicit World(Inventory inventory);

   // CommandError where the interface is of the wrong kind or was deleted.

   void encapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap); // zero: disabled
   void dynamicEncapsulationIs(IntfId subIntf, Bridging::Dot1qEncap encap);
   void subInterfaceDel(IntfId subIntf);
   void programInHwIs(IntfId subIntf, bool on);
   void encapKindIs(IntfId subIntf, uint32_t kind); // 4: the chip matches its tags in another type
   void internalVlanIs(IntfId routedPort, Bridging::VlanIdOrNone vlan);
   // A port's domain, or a port-channel's on every unit where it has one. None: taken away.
   void vlanDomainIs(IntfId intf, std::optional<Hardware::Shoal::VlanDomain> domain);
   void fapTypeIs(FapId unit, Hardware::Shoal::FapType type); // 0: none recorded
   void fapAvailableIs(FapId unit, bool available);
   void extLkupTypeIs(FapId unit, Hardware::Shoal::ExtLkupType type); // 0: none recorded
   // The place of a port's system port; none: it has none. CommandError for a place that is taken.
   // Who follows the port map's version hears of it with the next one.
   void portMapIs(IntfId port, std::optional<Hardware::Shoal::PortMap> place);
   // The system port of a port; none: the port is gone. CommandError for one that is taken, or
   // whose place is.
   void systemPortIs(IntfId port, std::optional<Hardware::Shoal::SystemPhyPortId> systemPort);
   void portMapValidIs(bool valid);
   void portMapVersionInc();
   void memberIs(IntfId lag, IntfId port, bool present);
   // A port-channel goes with its members out of it first, or comes without any.
   void portChannelIs(IntfId lag, bool present);
   void untaggedVlanIs(IntfId intf, Bridging::VlanIdOrNone vlan);
   // A feature's place in the words of a TCAM; none: the TCAM has no place for it. Shows with the
   // next TCAM key version.
   void tcamLayoutIs(Hardware::Shoal::SystemTcamId tcam,
                     Hardware::ShoalTunnel::InLifFeatureType type,
                     std::optional<ShoalTcam::TcamShareQualInfo> place);
   void tcamKeyVersionInc();

 private:
   void fill();
   void fillFeatures();
   void joinLag(IntfId lag, IntfId port);
   void leaveLag(IntfId lag, IntfId port);
   void fillPortChannel(InventoryPortChannel const& lag);
   void requireSubInterface(IntfId subIntf) const;
   void tellEncapsulation(IntfId subIntf);
   // CommandError when another port sits there.
   void requireFree(Hardware::Shoal::PortMap place, IntfId port) const;
   // A port came to or left a place: whatever stands on it follows.
   void leavePlace(IntfId port, Hardware::Shoal::PortMap place);
   void enterPlace(IntfId port, Hardware::Shoal::PortMap place);
   void refreshAround(IntfId portOrLag);
   // Entries of a port-channel follow the units of its members.
   void refreshLagDomains(IntfId lag);
   Hardware::ShoalTunnel::LagFapKey lagKey(IntfId lag, FapId unit) const;

   std::map<IntfId, std::vector<IntfId>> subIntfsOf_;
   SubIntfEntries subIntfEntries_{*this};
   Orv::KeyedByIndex<IntfId, uint8_t> lagDomain_; // of port-channels, as configured
   Orv::KeyedByIndex<IntfId, uint32_t> core_;     // of ports, as in the inventory
};

} // namespace Agent
