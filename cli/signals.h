#pragma once

namespace qsvmon {

/// Ignores SIGPIPE; makes SIGINT and SIGTERM remove the shared-memory segment and end the process
/// with status 1, and SIGSEGV remove it and end the process the default way. The handlers do
/// nothing that is not safe in a signal handler.
void install_signal_handlers();

}  // namespace qsvmon
