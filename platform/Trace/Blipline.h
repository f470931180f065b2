// The fast trace: fixed-size binary records in a ring buffer. The ring is a memory-mapped file, so
// that the last records survive the end of the process. BliplineReader.h decodes it.
#pragma once

#include "platform/Orv/Export.h"

#include <cstdint>
#include <string>

namespace Trace::Blipline {

// Starts a file, in place of the previous one; `records` is the capacity of the ring, 1 to 2^24. An
// existing file at `path` is replaced, not overwritten: a process that has it open keeps its
// content. Throws std::runtime_error when the file cannot be made in its full size; the trace then
// goes on in the previous file. Records are written while a level is on (Trace::blipLevelIs).
ORV_EXPORT void open(std::string const& path, uint64_t records);
ORV_EXPORT void close();
// Whether `path` is a name of the file that is being written, which must not be truncated: a write
// to the lost part would end the process.
ORV_EXPORT bool writes(std::string const& path);

} // namespace Trace::Blipline
