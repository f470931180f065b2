// What the machines of this folder take for granted about interfaces.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

// Port-channels, sub-interfaces and VLAN interfaces are invariant failures; `name` is the table
// that may not contain them.
TCAM_SHARING_EXPORT void assertIsPhyIntfId(Orv::Name const& name, Plexus::IntfId phyIntfId);

// Anything but a VLAN interface is an invariant failure. Throws Orv::RangeException for a VLAN
// outside 1 to 4094.
TCAM_SHARING_EXPORT Bridging::VlanId vlanIdFromVlanIntfId(Plexus::IntfId intfId);

} // namespace Hardware::ShoalTunnel
