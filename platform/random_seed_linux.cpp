#include "platform/random_seed.h"

#include <sys/random.h>
#include <time.h>

#include <cstdint>

namespace qsvmon {

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
