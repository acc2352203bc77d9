#include <fcntl.h>
#include <unistd.h>

#include "cli/dispatch.h"
#include "format/printer.h"

// What what(1) and strings(1) find in the program; nothing prints it, and the linker is told to
// keep it.
extern "C" {
extern const char qsvmon_version[];
const char qsvmon_version[] = "@(#)qsvmon " QSVMON_VERSION;
}

namespace {

// The program may have been started with descriptors 0 to 2 closed. The daemon's socket would then
// get one of these numbers and receive what is printed, so the closed ones are opened on /dev/null;
// in ascending order, since open returns the lowest free number.
void open_standard_descriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) < 0) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  open_standard_descriptors();
  const int result = qsvmon::dispatch(argc, argv);
  qsvmon::standard_out().flush();
  return result;
}
