// The framework's exceptions: range, null argument, missing implementation. Every other error is
// either an invariant failure (Failure.h) or a status.
#pragma once

#include "platform/Orv/Export.h"

#include <stdexcept>

namespace Orv {

// A value outside its type's range; the text names the type and the range.
class ORV_EXPORT RangeException : public std::range_error {
 public:
   using std::range_error::range_error;
   ~RangeException() override;
};

class ORV_EXPORT NullArgumentException : public std::invalid_argument {
 public:
   using std::invalid_argument::invalid_argument;
   ~NullArgumentException() override;
};

// A call of a base-class operation that a derived class has to override.
class ORV_EXPORT NoImplementationException : public std::logic_error {
 public:
   using std::logic_error::logic_error;
   ~NoImplementationException() override;
};

} // namespace Orv
