// Socket addresses of any text. Nothing is connected: the system's calls are replaced by ones that
// look at what they are given and refuse.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "rpc/socket.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
int asked_family = 0;
int connects = 0;
}  // namespace

extern "C" int socket(int domain, int, int) noexcept {
  asked_family = domain;
  return 1000;  // no file: closing it does nothing
}

extern "C" int connect(int, const sockaddr* address, socklen_t length) {
  ++connects;
  if (address->sa_family != asked_family) std::abort();
  if (asked_family == AF_INET) {
    sockaddr_in in;
    if (length != sizeof in) std::abort();
    std::memcpy(&in, address, sizeof in);
    if (in.sin_port == 0) std::abort();
  } else {
    sockaddr_un un;
    if (asked_family != AF_UNIX || length > sizeof un) std::abort();
    std::memcpy(&un, address, length);
  }
  errno = ECONNREFUSED;
  return -1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In a block of its own size, so that the sanitizer sees one byte too many.
  std::vector<char> text(data, data + size);
  text.push_back('\0');
  if (qsvmon::socket_connect(text.data()) != -1) std::abort();
  if (connects > 1) std::abort();
  connects = 0;
  return 0;
}
