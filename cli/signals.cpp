#include "cli/signals.h"

#include <signal.h>
#include <unistd.h>

#include "rpc/session.h"
#include "rpc/socket.h"

namespace qsvmon {
namespace {

// A fault may be the stack's own end, so its handler brings a stack.
alignas(16) char fault_stack[32 * 1024];

// While the process waits for a daemon the whole session can be closed from here; what was printed
// was written out before the wait. At any other moment memory or the loader may be half changed, so
// that only system calls are safe. The segment is removed first in either case: unloading runs the
// dictionary library's own code, which may fault, or hang until the user sends a second signal. The
// session has then dropped the library already, so that the second signal ends the process.
void end_quietly(int) {
  rpc_close_from_signal();
  if (socket_is_waiting()) rpc_close(true);
  ::_exit(1);
}

// Raised again for the signal that was sent and not suffered: it is held until the handler returns,
// as the fault recurs when the faulting instruction is run again.
void end_by_fault(int number) {
  rpc_close_from_signal();
  ::signal(number, SIG_DFL);
  ::raise(number);
}

// Every other signal waits for the handler's end, but not with SA_NODEFER.
void handle(int number, void (*handler)(int), int flags) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  if ((flags & SA_NODEFER) == 0) sigfillset(&action.sa_mask);
  ::sigaction(number, &action, nullptr);
}

}  // namespace

void install_signal_handlers() {
  stack_t stack = {};
  stack.ss_sp = fault_stack;
  stack.ss_size = sizeof fault_stack;
  ::sigaltstack(&stack, nullptr);
  handle(SIGPIPE, SIG_IGN, 0);
  handle(SIGXFSZ, SIG_IGN, 0);
  for (const int fault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE}) handle(fault, end_by_fault, SA_ONSTACK);
  handle(SIGTERM, end_quietly, SA_NODEFER);
  handle(SIGINT, end_quietly, SA_NODEFER);
}

}  // namespace qsvmon
