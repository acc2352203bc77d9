#include "cli/signals.h"

#include <signal.h>
#include <unistd.h>

#include "rpc/session.h"

namespace qsvmon {
namespace {

// A fault may be the stack's own end, so its handler brings a stack.
alignas(16) char fault_stack[32 * 1024];

void end_quietly(int) {
  rpc_close_from_signal();
  ::_exit(1);
}

// Raised again for the signal that was sent and not suffered: it is held until the handler returns,
// as the fault recurs when the faulting instruction is run again.
void end_by_fault(int number) {
  rpc_close_from_signal();
  ::signal(number, SIG_DFL);
  ::raise(number);
}

void handle(int number, void (*handler)(int), int flags) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigfillset(&action.sa_mask);
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
  handle(SIGSEGV, end_by_fault, SA_ONSTACK);
  handle(SIGBUS, end_by_fault, SA_ONSTACK);
  handle(SIGTERM, end_quietly, 0);
  handle(SIGINT, end_quietly, 0);
}

}  // namespace qsvmon
