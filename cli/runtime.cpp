// What the program has in place of the runtime's. Nothing in it throws, so where the C++ library
// would throw for lack of memory the process says so, removes its segment and ends; and a one-shot
// command does not carry, and at every start initialise, the machinery of exceptions.
#include <unistd.h>

#include <cstdlib>
#include <new>

#include "rpc/session.h"

namespace {

[[noreturn]] void end_of_memory() {
  constexpr char kText[] = "out of memory\n";
  const ssize_t ignored = ::write(STDOUT_FILENO, kText, sizeof kText - 1);
  (void)ignored;
  qsvmon::rpc_close_from_signal();
  ::_exit(255);
}

}  // namespace

// The forms that the program uses; another form of new would bring the library's along. Nothing
// asks for no bytes, for which malloc may have nothing.
void* operator new(std::size_t bytes) {
  if (void* memory = std::malloc(bytes)) return memory;
  end_of_memory();
}
void* operator new[](std::size_t bytes) {
  return ::operator new(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return std::malloc(bytes);
}
// With a size or without: as the compiler likes.
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
