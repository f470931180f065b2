// The forwarding unit of each front-panel interface. Written by VlanDomainSm.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT IntfToFapIdStatus : public Orv::Entity {
   ORV_ENTITY(IntfToFapIdStatus, "Hardware::ShoalTunnel::IntfToFapIdStatus")
   ORV_COLLECTION(intfToFap, Plexus::IntfId, Shoal::FapId, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
