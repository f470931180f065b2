// Reads a Blipline file back into the words of its trace points.
#pragma once

#include "platform/Export.h"

#include <iosfwd>
#include <stdexcept>
#include <string>

namespace Trace {

// The file is no Blipline file or is damaged; the text names the byte offset and the reason.
class ORV_EXPORT BliplineError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
   ~BliplineError() override;
};

// Prints "<seconds> <level> <words>" per record, oldest first, then "lost: N" when N older records
// were overwritten and "dictionary lost: N" when N entries found no room. `content` is the whole
// file, in any state: nothing in it is trusted.
ORV_EXPORT void printBlipline(std::string const& content, std::ostream& out);

} // namespace Trace
