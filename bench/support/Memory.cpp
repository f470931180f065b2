#include "bench/support/Memory.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace Bench {
std::size_t heapInUse = 0;
} // namespace Bench

void* operator new(std::size_t size) {
   void* memory = std::malloc(size);
   if (memory == nullptr) {
      throw std::bad_alloc();
   }
   // Includes the allocator's header.
   Bench::heapInUse += malloc_usable_size(memory) + sizeof(std::size_t);
   return memory;
}

void operator delete(void* memory) noexcept {
   if (memory != nullptr) {
      Bench::heapInUse -= malloc_usable_size(memory) + sizeof(std::size_t);
      std::free(memory);
   }
}
void operator delete(void* memory, std::size_t) noexcept {
   operator delete(memory);
}
void* operator new[](std::size_t size) {
   return operator new(size);
}
void operator delete[](void* memory) noexcept {
   operator delete(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
   operator delete(memory);
}
