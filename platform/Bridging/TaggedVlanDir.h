// The VLANs whose tagged frames an interface carries.
#pragma once

#include "platform/Bridging/VlanId.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Bridging {

struct VlanMember {
   Plexus::IntfId intfId; // port or port-channel
   VlanIdOrNone vlanId;

   ORV_VALUE(VlanMember, "Bridging::VlanMember", intfId, vlanId)
};

class ORV_EXPORT TaggedVlanDir : public Orv::Entity {
   ORV_ENTITY(TaggedVlanDir, "Bridging::TaggedVlanDir")
   ORV_SET(taggedVlan, VlanMember, Orv::Keyed)
};

} // namespace Bridging
