// Everything around the library: the entities that the rest of a switch would write, made from an
// inventory, mounted in Corestate, and changed by commands.
//
// The operations here keep the entities of one fact in step (a port's move changes the port map,
// the interface on the port, and the tables of the port-map helper); the order of the writes is
// part of what the machines see and is noted where it matters. They check ranges only: whether a
// change would stop the library is the business of Rehearsal.
#pragma once

#include "agent/inventory/Inventory.h"
#include "agent/world/SubIntfEntries.h"
#include "platform/Bridging/UntaggedVlanDir.h"
#include "platform/Corestate/Corestate.h"
#include "platform/Hardware/Shoal/LocalPortMapStatus.h"
#include "platform/Hardware/Shoal/Status.h"
#include "platform/Hardware/Shoal/VlanDomainStatus.h"
#include "platform/Hardware/ShoalTunnel/PortMapTables.h"
#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Interface/EthLagIntfStatus.h"
#include "platform/Interface/SubIntf.h"
#include "platform/IntfVlanId/Table.h"
#include "platform/Lag/Config.h"
#include "platform/Lag/LagPhyIntfMapping.h"
#include "platform/ShoalTcam/TcamDbStatusInterface.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

using Hardware::Shoal::FapId;
using Plexus::IntfId;

class World {
 public:
   explicit World(Inventory inventory);

   Inventory const& inventory() const { return inventory_; }
   Corestate::Corestate& corestate() { return corestate_; }
   Corestate::Corestate const& corestate() const { return corestate_; }

   // The interface of this name; also the short form, the bare name where only one unit has it, and
   // "<port>-L3Flood" for the flood entry of a routed port. Throws CommandError with candidates.
   IntfId interface(std::string_view typed) const;
   // Interfaces that a pattern with '*' and '?' names (see matches()), in inventory order; flood
   // entries only where it ends in "-L3Flood". A name without either is looked up as by
   // interface().
   std::vector<IntfId> interfaces(std::string_view pattern) const;
   static bool isPattern(std::string_view typed) {
      return typed.find_first_of("*?") != std::string_view::npos;
   }
   // Whether a pattern matches the unique name. '*' and '?' match any characters but the '.' in
   // front of a sub-interface's number and the mark of a flood entry; a '*' that stands for a whole
   // name, alone or behind a '/', matches those, too.
   static bool matches(std::string_view pattern, IntfId intf);
   // A unit of the inventory by number or name. Throws CommandError.
   FapId unit(std::string_view typed) const;
   InventoryUnit const& inventoryUnit(FapId unit) const;
   // The units on which an interface has ports: one for a port, those of the members for a
   // port-channel, the inventory's for a VLAN interface or tunnel.
   std::vector<FapId> unitsOf(IntfId intf) const;
   bool isRouted(IntfId intf) const;
   static bool isPort(IntfId intf);
   // Where a port sits now; (2048, 256): nowhere.
   Hardware::Shoal::PortMap placeOf(IntfId port) const {
      return shoalStatus->portMap(shoalStatus->sysPhyPortId(port));
   }
   // A port itself, or the members of a port-channel.
   std::vector<IntfId> portsOf(IntfId portOrLag) const;
   // Every TCAM of the inventory's units; by UNIT:CORE (CommandError), and back; those that serve
   // an interface: its ports', or every core's of its unit for a VLAN interface.
   std::vector<Hardware::Shoal::SystemTcamId> tcams() const;
   Hardware::Shoal::SystemTcamId tcam(std::string_view typed) const;
   std::string tcamName(Hardware::Shoal::SystemTcamId tcam) const;
   std::vector<Hardware::Shoal::SystemTcamId> tcamsOf(IntfId intf) const;
   // The tags in force: assigned at run time, else configured; zero: none.
   Bridging::Dot1qEncap encapsulation(IntfId subIntf) const;

   // Changes of the world; CommandError where the interface is of the wrong kind.
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

   // The entities; each is mounted under its name below "world/".
   Orv::Ptr<Hardware::ShoalTunnel::ShoalTunnelCommonSmData> scsd;
   Orv::Ptr<Hardware::Shoal::Status> shoalStatus;
   Orv::Ptr<Hardware::Shoal::VlanDomainStatus> vlanDomainStatus;
   Orv::Ptr<Interface::SubIntfConfigDir> subIntfConfigDir;
   Orv::Ptr<IntfVlanId::Table> intfVlanIdTable;
   Orv::Ptr<Interface::EthLagIntfStatusDir> ethIntfStatusDir;
   Orv::Ptr<Hardware::ShoalTunnel::ShoalTunnelPortMapHelper> portMapHelper;
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperSm> vlanTagToVsiMapperSm;
   Orv::Ptr<Interface::SubIntfStatusDir> subIntfStatusDir;
   Orv::Ptr<Interface::SubIntfDynDot1qEncap> dynSubIntfEncap;
   Orv::Ptr<Hardware::ShoalTunnel::SubIntfDot1qEncapChange> subIntfDot1qEncapChange;
   Orv::Ptr<Hardware::ShoalTunnel::VlanTagToVsiMapperConfig> vtagToVsiConfig;
   Orv::Ptr<Lag::Config> lagConfig;
   Orv::Ptr<Lag::LagPhyIntfMapping> lagPhyIntfMapping;
   Orv::Ptr<Bridging::UntaggedVlanDir> untaggedVlanDir;
   Orv::Ptr<Hardware::Shoal::LocalPortMapStatus> localPortMapStatus;

 private:
   template<class T>
   Orv::Ptr<T> mounted(char const* name) {
      auto entity = Orv::make<T>();
      corestate_.mount(std::string("world/") + name, entity);
      return entity;
   }
   void fill();
   void fillFeatures();
   void joinLag(IntfId lag, IntfId port);
   void leaveLag(IntfId lag, IntfId port);
   void fillPortChannel(InventoryPortChannel const& lag);
   void requireSubInterface(IntfId subIntf) const;
   void tellEncapsulation(IntfId subIntf);
   bool isPortOfInventory(IntfId port) const;
   // CommandError when another port sits there.
   void requireFree(Hardware::Shoal::PortMap place, IntfId port) const;
   // A port came to or left a place: whatever stands on it follows.
   void leavePlace(IntfId port, Hardware::Shoal::PortMap place);
   void enterPlace(IntfId port, Hardware::Shoal::PortMap place);
   void refreshAround(IntfId portOrLag);
   // Entries of a port-channel follow the units of its members.
   void refreshLagDomains(IntfId lag);
   Hardware::ShoalTunnel::LagFapKey lagKey(IntfId lag, FapId unit) const;

   Inventory inventory_;
   Corestate::Corestate corestate_;
   std::vector<IntfId> names_; // every interface, in inventory order
   std::map<IntfId, std::vector<IntfId>> subIntfsOf_;
   SubIntfEntries subIntfEntries_{*this};
   Orv::KeyedByIndex<IntfId, uint8_t> lagDomain_; // of port-channels, as configured
   Orv::KeyedByIndex<IntfId, uint32_t> core_;     // of ports, as in the inventory
};

} // namespace Agent
