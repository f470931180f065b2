// A directory: entities by name. An entry's type is asked of the entry (orvType()).
#pragma once

#include "platform/Orv/Entity.h"

#include <string>

namespace Orv {

class ORV_EXPORT Dir : public Entity {
   ORV_ENTITY(Dir, "Orv::Dir")
   // name -> entity, in order of name; a null entity reads as no entry.
   ORV_COLLECTION(entry, std::string, Ptr<Entity>, OrderedCollection)
};

} // namespace Orv
