// The VLAN that untagged frames of an interface belong to: its default VLAN.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Bridging {

class ORV_EXPORT UntaggedVlanDir : public Orv::Entity {
   ORV_ENTITY(UntaggedVlanDir, "Bridging::UntaggedVlanDir")
   // Port or port-channel -> VLAN; absent or 0 for none.
   ORV_COLLECTION(untaggedVlan, Plexus::IntfId, VlanIdOrNone, Orv::KeyedByIndex)
};

} // namespace Bridging
