// Any bytes as a toggle file: a value, none, or an error.
#include "platform/Toggle/Toggle.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   try {
      (void)Toggle::findToggle({reinterpret_cast<char const*>(data), size}, "DynamicISemData");
   } catch (std::runtime_error const&) {
      // As it should be.
   }
   return 0;
}
