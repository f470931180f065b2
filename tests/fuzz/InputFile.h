// A fuzzer's input as a file, for readers that take a path. The file is in memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace Fuzz {

// The path of the file that holds these bytes until the next call.
inline std::string const& inputFile(uint8_t const* data, std::size_t size) {
   static int const file = ::memfd_create("input", MFD_CLOEXEC);
   static std::string const path = "/proc/self/fd/" + std::to_string(file);
   if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
      std::abort();
   }
   return path;
}

} // namespace Fuzz
