#include "platform/Orv/Exception.h"

namespace Orv {

// Out of line, so that each type has one home for its vtable across shared objects.
RangeException::~RangeException() = default;
NullArgumentException::~NullArgumentException() = default;
NoImplementationException::~NoImplementationException() = default;

} // namespace Orv
