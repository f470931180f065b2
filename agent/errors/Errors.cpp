#include "agent/errors/Errors.h"

#include "agent/text/Printable.h"

namespace Agent {

CommandError::CommandError(std::string const& text) : std::runtime_error(printable(text)) {}

} // namespace Agent
