#include "platform/large_memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace qsvmon {
namespace {

constexpr std::size_t kPageBytes = 4096;

void* map_zeroes(std::size_t bytes, int flags) {
  void* at =
      ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
  return at == MAP_FAILED ? nullptr : at;
}

/// The kernel uses large pages only for whole aligned ones: map more and cut both ends off.
void* map_large_pages(std::size_t bytes) {
  const std::size_t whole = bytes + kLargePageBytes;
  if (whole < bytes) return nullptr;
  char* mapped = static_cast<char*>(map_zeroes(whole, 0));
  if (mapped == nullptr) return nullptr;
  const std::size_t past = reinterpret_cast<std::uintptr_t>(mapped) % kLargePageBytes;
  const std::size_t before = past == 0 ? 0 : kLargePageBytes - past;
  const std::size_t used = (bytes + kPageBytes - 1) / kPageBytes * kPageBytes;
  if (before != 0) ::munmap(mapped, before);
  if (whole > before + used) ::munmap(mapped + before + used, whole - before - used);
  ::madvise(mapped + before, used, MADV_HUGEPAGE);  // advice: small pages serve as well
  return mapped + before;
}

}  // namespace

void* large_memory_allocate(std::size_t bytes, Pages pages) {
  if (pages == Pages::kOnTouch) return map_zeroes(bytes, 0);
  return bytes < kLargePageBytes ? map_zeroes(bytes, MAP_POPULATE) : map_large_pages(bytes);
}

void memory_will_be_read(const void* from, std::size_t bytes) {
  const std::size_t past = reinterpret_cast<std::uintptr_t>(from) % kPageBytes;
  void* const first = const_cast<char*>(static_cast<const char*>(from)) - past;
  ::madvise(first, bytes + past, MADV_POPULATE_READ);  // advice: older kernels refuse it
}

void large_memory_free(void* memory, std::size_t bytes) {
  if (memory != nullptr) ::munmap(memory, bytes);
}

}  // namespace qsvmon
