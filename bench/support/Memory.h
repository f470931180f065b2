// Counts the heap in use by the program and its libraries. Memory.cpp replaces the global
// allocation functions.
#pragma once

#include <cstddef>

namespace Bench {

extern std::size_t heapInUse; // bytes, rounded as the allocator does

} // namespace Bench
