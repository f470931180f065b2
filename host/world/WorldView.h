// The world as it is read: names of the inventory to ids and back, and who stands where now.
//
// Nothing here changes the entities. Look-ups of what a user typed throw HostError with
// candidates.
#pragma once

#include "host/world/Inventory.h"
#include "host/world/WorldEntities.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ShoalHost {

using Hardware::Shoal::FapId;
using Plexus::IntfId;

class WorldView : public WorldEntities {
 public:
   Inventory const& inventory() const { return inventory_; }

   // Names.

   // The interface of this name; also the short form, the bare name where only one unit has it, and
   // "<port>-L3Flood" for the flood entry of a routed port.
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
   // A unit of the inventory by number or name.
   FapId unit(std::string_view typed) const;
   InventoryUnit const& inventoryUnit(FapId unit) const;
   // A TCAM by UNIT:CORE, and back; "none" for one of no unit.
   Hardware::Shoal::SystemTcamId tcam(std::string_view typed) const;
   std::string tcamName(Hardware::Shoal::SystemTcamId tcam) const;

   // Places.

   static bool isPort(IntfId intf);
   bool isPortOfInventory(IntfId port) const;
   bool isRouted(IntfId intf) const;
   // Where a port sits now; (2048, 256): nowhere.
   Hardware::Shoal::PortMap placeOf(IntfId port) const {
      return shoalStatus->portMap(shoalStatus->sysPhyPortId(port));
   }
   // A port itself, or the members of a port-channel.
   std::vector<IntfId> portsOf(IntfId portOrLag) const;
   // The unit on which the machines look for a sub-interface's parent: where it is or, if it is
   // nowhere, where it was last; null: never anywhere.
   FapId unitOfParent(IntfId subIntf) const;
   // The units on which an interface has ports: one for a port, those of the members for a
   // port-channel, the inventory's for a VLAN interface or tunnel.
   std::vector<FapId> unitsOf(IntfId intf) const;
   // Every TCAM of the inventory's units.
   std::vector<Hardware::Shoal::SystemTcamId> tcams() const;
   // Those that serve an interface: its ports', or every core's of its unit for a VLAN interface.
   std::vector<Hardware::Shoal::SystemTcamId> tcamsOf(IntfId intf) const;
   struct Tags {
      Bridging::Dot1qEncap configured; // zero: none
      Bridging::Dot1qEncap dynamic;    // assigned at run time; zero: none
   };
   Tags tags(IntfId subIntf) const;
   // They are hidden from the machines for a moment.
   bool tagsAreAside(IntfId subIntf) const { return tagsAside_.contains(subIntf); }
   // Those in force: assigned at run time, else configured; zero: none.
   Bridging::Dot1qEncap encapsulation(IntfId subIntf) const;

 protected:
   explicit WorldView(Inventory inventory);

   std::map<IntfId, Tags> tagsAside_; // hidden from the machines

 private:
   Inventory inventory_;
   std::vector<IntfId> interfaces_; // all, in inventory order
   std::vector<bool> named_;        // by index: whether it is one of them
};

} // namespace ShoalHost
