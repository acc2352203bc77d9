#include <fcntl.h>
#include <unistd.h>

#include "cli/dispatch.h"
#include "format/printer.h"

namespace {

// Whoever started the program may have closed descriptors 0 to 2. The next one opened, the daemon's
// socket, would then take such a number and get what is printed, so they are opened on nothing. In
// order, since the lowest number that is free is given out.
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
