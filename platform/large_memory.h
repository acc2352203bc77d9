#pragma once

#include <cstddef>

/// Memory for tables that may become large, allocated from the system by whole pages: zero-filled,
/// never an abort.
namespace qsvmon {

constexpr std::size_t kLargePageBytes = std::size_t{2} << 20;

/// How the memory is to be backed. On Linux 4 KiB cost 1.4 us on touch, 0.8 us at once and 0.5 us
/// in large pages.
enum class Pages {
  kOnTouch,  ///< page by page as it is touched, for what may stay mostly empty
  kWhole,    ///< for what will be filled: large pages where they pay and the system has them,
             ///< otherwise small ones at once, either of which spares a fault for every page
};

/// `bytes` (above 0) of zeroes, aligned to a page; null when there is no memory.
void* large_memory_allocate(std::size_t bytes, Pages pages);

/// Says that `bytes` at `from`, which are there already, will all be read: the system maps them at
/// once where it can, instead of with a fault for each page. 2 MiB of shared memory take 0.1 ms so,
/// and 0.4 ms by faults.
void memory_will_be_read(const void* from, std::size_t bytes);

/// Frees what `large_memory_allocate(bytes, ...)` returned; null is ignored.
void large_memory_free(void* memory, std::size_t bytes);

/// Where a listing takes its memory from; tests pass functions that fail.
struct LargeMemory {
  void* (*allocate)(std::size_t bytes, Pages pages) = large_memory_allocate;
  void (*free)(void* memory, std::size_t bytes) = large_memory_free;
};

}  // namespace qsvmon
