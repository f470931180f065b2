// The port-channels that are configured, whether or not they have members yet.
#pragma once

#include "platform/Orv/Entity.h"
#include "platform/Plexus/IntfId.h"

namespace Lag {

class ORV_EXPORT Config : public Orv::Entity {
   ORV_ENTITY(Config, "Lag::Config")
   ORV_SET(lag, Plexus::IntfId, Orv::KeyedByIndex)
};

} // namespace Lag
