// Reads a Blipline file back into the words of its trace points.
#pragma once

#include "platform/Orv/Export.h"

#include <iosfwd>
#include <stdexcept>
#include <string>

namespace Trace {

// The file is no Blipline file or is damaged; the text names the byte offset and the reason, or the
// reason alone for what is not a regular file.
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
