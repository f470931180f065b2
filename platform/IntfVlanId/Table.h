// Internal VLANs of routed ports, as the bridging agent allocated them.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace IntfVlanId {

class ORV_EXPORT Table : public Orv::Entity {
   ORV_ENTITY(Table, "IntfVlanId::Table")
   // An id of 0 counts as no internal VLAN.
   ORV_COLLECTION(internalVlanId, Plexus::IntfId, Bridging::VlanIdOrNone, Orv::KeyedByIndex)
};

} // namespace IntfVlanId
