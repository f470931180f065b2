// The fast trace: fixed-size binary records in a ring buffer that is a memory-mapped file, so that
// the last of it survives whatever ends the process. Read it with BliplineReader.
#pragma once

#include "platform/Export.h"

#include <cstdint>
#include <string>

namespace Trace::Blipline {

// Starts (or replaces) the file; `records` is the capacity of the ring, 1 to 2^24. Throws
// std::runtime_error when the file cannot be made. Records are written once a level is on
// (Trace::blipLevelIs).
ORV_EXPORT void open(std::string const& path, uint64_t records);
ORV_EXPORT void close();

} // namespace Trace::Blipline
