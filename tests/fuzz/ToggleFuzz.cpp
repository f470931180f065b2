// Any bytes as a toggle file: a value, and what there is to say about the file.
#include "platform/Toggle/Toggle.h"
#include "tests/fuzz/InputFile.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
   Toggle::getToggleState("DynamicISemData", Fuzz::inputFile(data, size), true);
   (void)Toggle::warnings();
   return 0;
}
