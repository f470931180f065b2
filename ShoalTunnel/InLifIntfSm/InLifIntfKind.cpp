#include "ShoalTunnel/InLifIntfSm/InLifIntfKind.h"

#include "platform/Orv/Failure.h"

namespace Hardware::ShoalTunnel {

void assertIsPhyIntfId(Orv::Name const& name, Plexus::IntfId phyIntfId) {
   ORV_ASSERT(!Plexus::PortChannelIntfId::isPortChannelIntfId(phyIntfId),
              "!Plexus::PortChannelIntfId::isPortChannelIntfId( phyIntfId )", name,
              " cannot contain PortChannelIntfIds ", phyIntfId);
   ORV_ASSERT(!Plexus::SubIntfId::isSubIntfId(phyIntfId),
              "!Plexus::SubIntfId::isSubIntfId( phyIntfId )", name, " cannot contain SubIntfIds ",
              phyIntfId);
   ORV_ASSERT(!Plexus::VlanIntfId::isVlanIntfId(phyIntfId),
              "!Plexus::VlanIntfId::isVlanIntfId( phyIntfId )", name,
              " cannot contain VlanIntfIds ", phyIntfId);
}

Bridging::VlanId vlanIdFromVlanIntfId(Plexus::IntfId intfId) {
   ORV_ASSERT(Plexus::VlanIntfId::isVlanIntfId(intfId),
              "Plexus::VlanIntfId::isVlanIntfId( intfId )", intfId, " is not a VlanIntfId");
   return Bridging::VlanId(Plexus::VlanIntfId::vlanId(intfId));
}

} // namespace Hardware::ShoalTunnel
