// Any bytes as a Blipline file: words, or an error.
#include "platform/Trace/BliplineReader.h"
#include "tests/fuzz/InputFile.h"

#include <ostream>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
   try {
      std::ostream nowhere(nullptr);
      Trace::printBlipline(Fuzz::inputFile(data, size), nowhere);
   } catch (Trace::BliplineError const&) {
      // As it should be.
   }
   return 0;
}
