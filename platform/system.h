#pragma once

#include <cstddef>
#include <cstdint>

/// What the kernel is asked for.
namespace qsvmon {

/// When the system was started, as seconds since the epoch and microseconds.
struct BootTime {
  std::uint64_t seconds;
  std::uint64_t microseconds;
};

/// Asks the kernel. Returns false when it does not say; `out` is then untouched.
bool read_boot_time(BootTime& out);

/// Fills `bytes` (at most 256) at `seed` with bytes that nobody outside this process can guess.
void random_seed(void* seed, std::size_t bytes);

}  // namespace qsvmon
