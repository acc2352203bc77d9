#include "platform/system.h"

#include <sys/random.h>
#include <time.h>

#include <cstdio>

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
