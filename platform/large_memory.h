#pragma once

#include <cstddef>

/// Memory for tables that may become large, taken from the system in whole pieces: zero-filled,
/// never an abort.
namespace qsvmon {

constexpr std::size_t kLargePageBytes = std::size_t{2} << 20;

/// Large pages spare millions of faults in a table that will be filled, but the first touch of one
/// clears all of it, which a short listing would wait for.
enum class Pages { kSmall, kLarge };

/// `bytes` (above 0) of zeroes, aligned to a small page at least; null when there is no memory.
/// With `Pages::kLarge`, aligned to and backed by large pages where the system has them.
void* large_memory_take(std::size_t bytes, Pages pages);

/// Gives back what `large_memory_take(bytes, ...)` returned; null is ignored.
void large_memory_give(void* piece, std::size_t bytes);

/// Fills `bytes` at `seed` with bytes that nobody outside this process can guess.
void random_seed(void* seed, std::size_t bytes);

}  // namespace qsvmon
