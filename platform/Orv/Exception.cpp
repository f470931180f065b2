#include "platform/Orv/Exception.h"

namespace Orv {

// Defined here, so that one shared object has the vtable and type information of each exception.
RangeException::~RangeException() = default;
NullArgumentException::~NullArgumentException() = default;
NoImplementationException::~NoImplementationException() = default;

} // namespace Orv
