#pragma once

#include <cstddef>

/// Memory for tables that may become large, taken from the system in whole pieces: zero-filled,
/// never an abort.
namespace qsvmon {

constexpr std::size_t kLargePageBytes = std::size_t{2} << 20;

/// How the memory is to be backed.
enum class Pages {
  kOnTouch,  ///< page by page as it is touched, for what may stay mostly empty
  kWhole,    ///< for what will be filled: large pages where they pay and the system has them,
             ///< otherwise small ones at once, either of which spares a fault for every page
};

/// `bytes` (above 0) of zeroes, aligned to a page; null when there is no memory.
void* large_memory_take(std::size_t bytes, Pages pages);

/// Gives back what `large_memory_take(bytes, ...)` returned; null is ignored.
void large_memory_give(void* piece, std::size_t bytes);

}  // namespace qsvmon
