#pragma once

#include <cerrno>

#include "format/printer.h"

namespace qsvmon {

/// For the floors below the handlers: the transport, the session and the pools say here why
/// something failed. Prints the parts as `Printer::put` does on standard output, in order with
/// everything printed there, and writes them out at once: a daemon that uses the transport owns no
/// printer to flush. Leaves `errno` as it is.
template <class... Parts>
void put_message(const Parts&... parts) {
  const int error = errno;
  standard_out().put(parts...);
  standard_out().flush();
  errno = error;
}

/// Writes out what was printed so far: before a wait for a daemon.
inline void flush_printed() {
  standard_out().flush();
}

}  // namespace qsvmon
