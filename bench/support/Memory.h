// Heap in use, counted by the allocation functions that Memory.cpp puts in place of the standard
// ones, for the whole program and its libraries.
#pragma once

#include <cstddef>

namespace Bench {

extern std::size_t heapInUse; // bytes, as the allocator rounds them

} // namespace Bench
