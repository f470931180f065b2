// The VLAN domain of the port of each front-panel interface. Written by VlanDomainSm.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

class TCAM_SHARING_EXPORT IntfToVlanDomainStatus : public Orv::Entity {
   ORV_ENTITY(IntfToVlanDomainStatus, "Hardware::ShoalTunnel::IntfToVlanDomainStatus")
   ORV_COLLECTION(vlanDomain, Plexus::IntfId, Shoal::VlanDomain, Orv::KeyedByIndex)
};

} // namespace Hardware::ShoalTunnel
