#include <sys/types.h>

#include <stdlib.h>
#include <sys/sysctl.h>
#include <sys/time.h>

#include "platform/system.h"

namespace qsvmon {

bool read_boot_time(BootTime& out) {
  timeval boot{};
  std::size_t size = sizeof boot;
  if (::sysctlbyname("kern.boottime", &boot, &size, nullptr, 0) != 0) return false;
  out.seconds = static_cast<std::uint64_t>(boot.tv_sec);
  out.microseconds = static_cast<std::uint64_t>(boot.tv_usec);
  return true;
}

void random_seed(void* seed, std::size_t bytes) {
  ::arc4random_buf(seed, bytes);
}

}  // namespace qsvmon
