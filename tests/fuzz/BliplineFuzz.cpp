// Any bytes as a Blipline file: words, or an error.
#include "platform/Trace/BliplineReader.h"

#include <ostream>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   try {
      std::ostream nowhere(nullptr);
      std::istringstream in(std::string(reinterpret_cast<char const*>(data), size));
      Trace::printBlipline(in, size, nowhere);
   } catch (Trace::BliplineError const&) {
      // As it should be.
   }
   return 0;
}
