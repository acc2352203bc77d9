#include <cstdio>

#include "platform/boot_time.h"

namespace qsvmon {

// The "btime" line of /proc/stat: unlike the difference of two clocks it is the same at every call.
bool read_boot_time(BootTime& out) {
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

}  // namespace qsvmon
