#include "host/text/Errors.h"

#include "host/text/Printable.h"

namespace ShoalHost {

HostError::HostError(std::string const& text) : std::runtime_error(printable(text)) {}

} // namespace ShoalHost
