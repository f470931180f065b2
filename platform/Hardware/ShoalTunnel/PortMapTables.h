// Port maps and encapsulation changes that other components of the tunnel family maintain.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::ShoalTunnel {

class ORV_EXPORT ShoalTunnelCommonSmData : public Orv::Entity {
   ORV_ENTITY(ShoalTunnelCommonSmData, "Hardware::ShoalTunnel::ShoalTunnelCommonSmData")
   // The interface on a unit's port, in order of port map.
   ORV_COLLECTION(portMapToIntf, Shoal::PortMap, Plexus::IntfId, Orv::OrderedCollection)
};

// Units of interfaces that the live port map may no longer show.
class ORV_EXPORT ShoalTunnelPortMapHelper : public Orv::Entity {
   ORV_ENTITY(ShoalTunnelPortMapHelper, "Hardware::ShoalTunnel::ShoalTunnelPortMapHelper")
   ORV_COLLECTION(intfToFap, Plexus::IntfId, Shoal::FapId, Orv::KeyedByIndex)
   // The unit that an interface had before its mapping changed.
   ORV_COLLECTION(changedIntfToFap, Plexus::IntfId, Shoal::FapId, Orv::KeyedByIndex)
};

// Changes of sub-interface encapsulations: an entry is written when an encapsulation is added or
// changed, and deleted when the encapsulation is removed.
class ORV_EXPORT SubIntfDot1qEncapChange : public Orv::Entity {
   ORV_ENTITY(SubIntfDot1qEncapChange, "Hardware::ShoalTunnel::SubIntfDot1qEncapChange")
   ORV_COLLECTION(dot1qEncap, Plexus::IntfId, Bridging::Dot1qEncap, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
