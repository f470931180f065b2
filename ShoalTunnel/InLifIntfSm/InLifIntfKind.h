// Checks of interface kinds for the machines of this folder.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"
#include "ShoalTunnel/Export.h"

namespace Hardware::ShoalTunnel {

// A port-channel, sub-interface or VLAN interface is an invariant failure; `name` is the table that
// must not contain it.
TCAM_SHARING_EXPORT void assertIsPhyIntfId(Orv::Name const& name, Plexus::IntfId phyIntfId);

// An interface that is not a VLAN interface is an invariant failure. Throws Orv::RangeException for
// a VLAN outside 1 to 4094.
TCAM_SHARING_EXPORT Bridging::VlanId vlanIdFromVlanIntfId(Plexus::IntfId intfId);

} // namespace Hardware::ShoalTunnel
