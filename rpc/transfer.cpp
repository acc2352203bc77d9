// The part of rpc/socket.h that may wait for the peer. It is a unit of its own because the build
// binds all its calls when the program starts (CMakeLists.txt). The calls of address texts and of
// listening sockets, bound that early, cost every command 2,600 of 133,000 instructions.
#include <poll.h>
#include <sys/socket.h>

#include <atomic>

#include "platform/socket_address.h"
#include "rpc/socket.h"

namespace qsvmon {
namespace {

constexpr std::size_t kChunkBytes = 1400;  // with its headers it fits an Ethernet frame
constexpr int kWaitMs = 1000;

std::atomic<bool> waiting = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// The time of the calls that may wait for the peer. Between its begin and its end stand those calls
// and arithmetic on locals, nothing else: that is what `socket_is_waiting` promises.
class Wait {
 public:
  Wait() { waiting = true; }
  ~Wait() { waiting = false; }
  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;
};

}  // namespace

bool socket_is_waiting() {
  return waiting;
}

int connect_address(int fd, const SocketAddress& address) {
  const Wait wait;
  return ::connect(fd, address.get(), address.length);
}

bool wait_readable(int fd, int timeout_ms) {
  pollfd wanted{fd, POLLIN, 0};
  return ::poll(&wanted, 1, timeout_ms) > 0;
}

int send_all(int fd, const void* bytes, std::size_t length) {
  const Wait wait;
  const char* at = static_cast<const char*>(bytes);
  while (length > 0) {
    const ssize_t n = ::send(fd, at, length < kChunkBytes ? length : kChunkBytes, 0);
    if (n < 1) return -1;
    at += n;
    length -= static_cast<std::size_t>(n);
  }
  return 0;
}

int receive_all(int fd, void* bytes, std::size_t length) {
  const Wait wait;
  char* at = static_cast<char*>(bytes);
  std::size_t timeouts = length / 8192 + 2;
  while (length > 0) {
    if (!wait_readable(fd, kWaitMs) && --timeouts == 0) return -1;
    const ssize_t n = ::recv(fd, at, length < kChunkBytes ? length : kChunkBytes, 0);
    if (n < 1) return -1;
    at += n;
    length -= static_cast<std::size_t>(n);
  }
  return 0;
}

}  // namespace qsvmon
