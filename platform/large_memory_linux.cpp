#include "platform/large_memory.h"

#include <sys/mman.h>
#include <sys/random.h>
#include <time.h>

#include <cstdint>
#include <cstring>

namespace qsvmon {

namespace {

void* map_zeroes(std::size_t bytes) {
  void* at = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return at == MAP_FAILED ? nullptr : at;
}

}  // namespace

void* large_memory_take(std::size_t bytes, Pages pages) {
  if (pages == Pages::kSmall) return map_zeroes(bytes);
  // The kernel uses large pages only for whole aligned ones: map more and cut both ends off.
  const std::size_t whole = bytes + kLargePageBytes;
  if (whole < bytes) return nullptr;
  char* mapped = static_cast<char*>(map_zeroes(whole));
  if (mapped == nullptr) return nullptr;
  const std::size_t past = reinterpret_cast<std::uintptr_t>(mapped) % kLargePageBytes;
  const std::size_t before = past == 0 ? 0 : kLargePageBytes - past;
  constexpr std::size_t kPageBytes = 4096;
  const std::size_t used = (bytes + kPageBytes - 1) / kPageBytes * kPageBytes;
  if (before != 0) ::munmap(mapped, before);
  if (whole > before + used) ::munmap(mapped + before + used, whole - before - used);
  ::madvise(mapped + before, bytes, MADV_HUGEPAGE);  // advice: small pages serve as well
  return mapped + before;
}

void large_memory_give(void* piece, std::size_t bytes) {
  if (piece != nullptr) ::munmap(piece, bytes);
}

void random_seed(void* seed, std::size_t bytes) {
  if (::getentropy(seed, bytes) == 0) return;
  // A kernel without a random source still has a clock and places the stack at random.
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  std::uint64_t word = static_cast<std::uint64_t>(now.tv_nsec) * 0x9e3779b97f4a7c15u ^
                       reinterpret_cast<std::uintptr_t>(&now);
  for (std::size_t i = 0; i < bytes; ++i) {
    word = word * 6364136223846793005u + 1442695040888963407u;
    static_cast<unsigned char*>(seed)[i] = static_cast<unsigned char>(word >> 56);
  }
}

}  // namespace qsvmon
