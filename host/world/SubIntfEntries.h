// The component of the switch that programs sub-interfaces: owns their VLAN-tag-to-VSI mapper
// entries.
//
// A sub-interface has one entry per port (its parent, or each member of a port-channel) that sits
// on a unit that shares through in-LIFs, while it is to be programmed and has tags. A fresh entry
// carries no additional data; who wants some in it writes them.
#pragma once

#include "platform/Hardware/ShoalTunnel/VlanTagToVsiMapper.h"
#include "platform/Orv/IndexedMap.h"

#include <vector>

namespace ShoalHost {

class WorldView;

class SubIntfEntries {
 public:
   explicit SubIntfEntries(WorldView const& world) : world_(world) {}

   // Makes the entries what the world says now: those that are right stay untouched.
   void refresh(Plexus::IntfId subIntf);

 private:
   using Key = Hardware::ShoalTunnel::VlanTagToVsiMapperKey;
   struct Entry {
      Key key;
      Hardware::Shoal::FapId unit; // the chip that holds it: a port's move makes another entry
      friend bool operator==(Entry const&, Entry const&) = default;
   };
   std::vector<Entry> wanted(Plexus::IntfId subIntf) const;

   WorldView const& world_;
   Orv::IndexedMap<Plexus::IntfId, std::vector<Entry>> entries_;
   uint32_t lastLif_ = 0;
};

} // namespace ShoalHost
