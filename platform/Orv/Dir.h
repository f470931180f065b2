// A directory: entities of any type, by name. Entity::orvType() gives the type of an entry.
#pragma once

#include "platform/Orv/Entity.h"

#include <string>

namespace Orv {

class ORV_EXPORT Dir : public Entity {
   ORV_ENTITY(Dir, "Orv::Dir")
   // Name -> entity, in order of name. A null entity counts as no entry.
   ORV_COLLECTION(entry, std::string, Ptr<Entity>, OrderedCollection)
};

} // namespace Orv
