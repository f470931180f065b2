// The port map of the chips on this card.
#pragma once

#include "platform/Hardware/Shoal/Ids.h"
#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Hardware::Shoal {

class ORV_EXPORT LocalPortMapStatus : public Orv::Entity {
   ORV_ENTITY(LocalPortMapStatus, "Hardware::Shoal::LocalPortMapStatus")
   // Port -> its place.
   ORV_COLLECTION(portMap, Plexus::IntfId, PortMap, Orv::KeyedByIndex)
};

} // namespace Hardware::Shoal
