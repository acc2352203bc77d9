#include "platform/large_memory.h"

#include <sys/mman.h>

namespace qsvmon {

// The kernel promotes filled runs of an aligned mapping to superpages by itself.
void* large_memory_allocate(std::size_t bytes, Pages pages) {
  const int aligned = pages == Pages::kOnTouch ? 0 : MAP_ALIGNED_SUPER;
  void* at =
      ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON | aligned, -1, 0);
  return at == MAP_FAILED ? nullptr : at;
}

void memory_will_be_read(const void* from, std::size_t bytes) {
  ::madvise(const_cast<void*>(from), bytes, MADV_WILLNEED);
}

void large_memory_free(void* memory, std::size_t bytes) {
  if (memory != nullptr) ::munmap(memory, bytes);
}

}  // namespace qsvmon
