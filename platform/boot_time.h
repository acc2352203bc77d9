#pragma once

#include <cstdint>

namespace qsvmon {

/// When the system was started, as seconds since the epoch and microseconds.
struct BootTime {
  std::uint64_t seconds;
  std::uint64_t microseconds;
};

/// Asks the kernel. Returns false when it does not say; `out` is then untouched.
bool read_boot_time(BootTime& out);

}  // namespace qsvmon
