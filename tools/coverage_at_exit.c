/* Linked into the programs that tools/coverage builds, with --wrap=_exit and --wrap=raise: a
 * command that runs out of memory or gets a signal ends by these, and would leave without writing
 * its counters. Writing them in a signal's handler is safe as long as the tests send signals only
 * to commands that wait for a daemon.
 */
#include <signal.h>

void __gcov_dump(void);
_Noreturn void __real__exit(int status);
int __real_raise(int number);
_Noreturn void __wrap__exit(int status);
int __wrap_raise(int number);

void __wrap__exit(int status) {
  __gcov_dump();
  __real__exit(status);
}

int __wrap_raise(int number) {
  __gcov_dump();
  return __real_raise(number);
}
