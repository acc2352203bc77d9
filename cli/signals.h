#pragma once

namespace qsvmon {

/// Ignores SIGPIPE and SIGXFSZ, so that a write that cannot be done fails; makes SIGINT and SIGTERM
/// end the process with status 1, after closing the session while the process waits for a daemon
/// and after removing the shared-memory segment at any other moment; and SIGSEGV, SIGBUS (the
/// same fault, as one system or the other reports it), SIGILL and SIGFPE (of a damaged dictionary
/// library) remove it and end the process the default way. The handlers do nothing that is not safe
/// in a signal handler.
void install_signal_handlers();

}  // namespace qsvmon
