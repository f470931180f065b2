#include "platform/Orv/Entity.h"

namespace Orv {

Entity::~Entity() = default;

} // namespace Orv
