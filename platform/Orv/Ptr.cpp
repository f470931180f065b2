#include "platform/Orv/Ptr.h"

namespace Orv {

RefCounted::~RefCounted() = default;

} // namespace Orv
