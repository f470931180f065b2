// VLAN domain per port, as the chip's driver assigned it.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"

namespace Hardware::Shoal {

// The tunnel data of a port.
struct PortTunnelData {
   VlanDomain vlanDomain;

   ORV_VALUE(PortTunnelData, "Hardware::Shoal::PortTunnelData", vlanDomain)
};

class ORV_EXPORT VlanDomainStatus : public Orv::Entity {
   ORV_ENTITY(VlanDomainStatus, "Hardware::Shoal::VlanDomainStatus")
   ORV_COLLECTION(portTunnelData, PortMap, PortTunnelData, Orv::Keyed)
};

} // namespace Hardware::Shoal
