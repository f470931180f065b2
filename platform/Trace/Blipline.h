// The fast trace: fixed-size binary records in a ring buffer that is a memory-mapped file, so that
// the last of it survives whatever ends the process. Read it with BliplineReader.
#pragma once

#include "platform/Orv/Export.h"

#include <cstdint>
#include <string>

namespace Trace::Blipline {

// Starts (or replaces) the file; `records` is the capacity of the ring, 1 to 2^24. A file that was
// there, whoever writes it, stays as it is for those who have it open. Throws std::runtime_error
// when the file cannot be made, all of it; the one before goes on then. Records are written once a
// level is on (Trace::blipLevelIs).
ORV_EXPORT void open(std::string const& path, uint64_t records);
ORV_EXPORT void close();
// Whether this file, by whatever name, is the one being written. Cutting it would end the process.
ORV_EXPORT bool writes(std::string const& path);

} // namespace Trace::Blipline
