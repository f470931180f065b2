// Decodes a Blipline file into the words of its trace points.
#pragma once

#include "platform/Orv/Export.h"

#include <iosfwd>
#include <stdexcept>
#include <string>

namespace Trace {

// The file is damaged or not a Blipline file. The text is "offset N: reason", or the reason alone
// when the file is not a regular one.
class ORV_EXPORT BliplineError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
   ~BliplineError() override;
};

// Prints "<seconds> <level> <words>" per record, oldest first, then "lost: N" when N older records
// were overwritten and "dictionary lost: N" when N entries found no room. Nothing in the file is
// trusted: what the header promises is checked before it is read, and records are read one by one.
// Throws std::system_error when there is no file that can be read; anything but a regular file is
// refused.
ORV_EXPORT void printBlipline(std::string const& path, std::ostream& out);

} // namespace Trace
