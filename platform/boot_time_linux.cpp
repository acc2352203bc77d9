#include <cstdio>
#include <ctime>

#include "platform/boot_time.h"

namespace qsvmon {
namespace {

// The "btime" line of /proc/stat: the kernel's own answer, the same at every call.
bool from_proc_stat(BootTime& out) {
  std::FILE* file = std::fopen("/proc/stat", "r");
  if (file == nullptr) return false;
  char line[512];
  unsigned long long seconds = 0;
  bool found = false;
  while (!found && std::fgets(line, sizeof line, file) != nullptr) {
    found = std::sscanf(line, "btime %llu", &seconds) == 1;
  }
  std::fclose(file);
  if (found) out = {seconds, 0};
  return found;
}

bool from_clocks(BootTime& out) {
  timespec now{};
  timespec up{};
  if (::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::clock_gettime(CLOCK_BOOTTIME, &up) != 0) {
    return false;
  }
  constexpr long long kNanos = 1000000000;
  const long long boot = (now.tv_sec - up.tv_sec) * kNanos + (now.tv_nsec - up.tv_nsec);
  if (boot < 0) return false;
  out.seconds = static_cast<std::uint64_t>(boot / kNanos);
  out.microseconds = static_cast<std::uint64_t>(boot % kNanos / 1000);
  return true;
}

}  // namespace

bool read_boot_time(BootTime& out) {
  return from_proc_stat(out) || from_clocks(out);
}

}  // namespace qsvmon
