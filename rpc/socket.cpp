#include "rpc/socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "format/address.h"
#include "format/message.h"
#include "format/number.h"
#include "platform/socket_address.h"

namespace qsvmon {
namespace {

constexpr int kBacklog = 1024;
constexpr std::string_view kUdpPrefix = "udp:";

// The "host:port" form. The host was checked in the dotted syntax; the address itself is the C
// library's reading of it, to which a leading zero means octal.
bool parse_host_port(char* text, char* colon, SocketAddress& out) {
  *colon = '\0';
  const int port = parse_atoi(colon + 1);
  if (port < 1 || port > 65535) return false;
  // 0.0.0.0 is recognised by name, since 0 otherwise means that the text is no address.
  std::uint32_t checked = 0;
  if (std::strcmp(text, "0.0.0.0") != 0 && (parse_ipv4(text, &checked) != 0 || checked == 0)) {
    return false;
  }
  in_addr addr{};
  if (::inet_aton(text, &addr) == 0) addr.s_addr = 0;
  make_ipv4_address(addr.s_addr, static_cast<std::uint16_t>(port), out);
  return true;
}

bool parse_address(char* text, SocketAddress& out) {
  char* colon = std::strchr(text, ':');
  return colon != nullptr ? parse_host_port(text, colon, out) : make_unix_address(text, out);
}

bool skip_udp(char*& text) {
  if (std::string_view(text).substr(0, kUdpPrefix.size()) != kUdpPrefix) return false;
  text += kUdpPrefix.size();
  return true;
}

const char* error_text() {
  return std::strerror(errno);
}

template <class... Parts>
int failed(const Parts&... parts) {
  put_message(parts...);
  return -1;
}

// Closes `fd` without disturbing the errno of the call that failed; returns -1.
int close_failed(int fd) {
  const int saved = errno;
  ::close(fd);
  errno = saved;
  return -1;
}

int bind_failed(int fd, std::string_view what) {
  put_message(what, error_text(), '\n');
  return close_failed(fd);
}

// A client may be gone between poll and accept, which would then wait for another one.
int set_nonblocking(int fd) {
  int on = 1;
  ::ioctl(fd, FIONBIO, &on);
  return fd;
}

bool bind_address(int fd, const SocketAddress& address) {
  const int on = 1;
  // So that a daemon that is started again can bind its port at once.
  if (address.family() == AF_INET) ::setsockopt(fd, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
  return ::bind(fd, address.get(), address.length) == 0;
}

}  // namespace

int socket_connect(char* text) {
  skip_udp(text);
  SocketAddress address;
  if (!parse_address(text, address)) return failed("socket_connect: invalid path\n");
  const int fd = ::socket(address.family(), SOCK_STREAM, 0);
  if (fd < 0) return failed("socket_connect: socket fail with ", error_text(), '\n');
  return connect_address(fd, address) == 0 ? fd : close_failed(fd);
}

int socket_listen(char* text) {
  const char* whole = text;
  const int type = skip_udp(text) ? SOCK_DGRAM : SOCK_STREAM;
  SocketAddress address;
  if (!parse_address(text, address)) return failed("socket_listen: invalid path\n");
  const int fd = ::socket(address.family(), type, 0);
  if (fd < 0) {
    return failed("socket_listen: socket fail with ", error_text(), ", path=", whole, '\n');
  }
  // The file that an ended daemon left behind would make bind fail.
  if (address.family() == AF_UNIX) ::unlink(text);
  if (!bind_address(fd, address)) {
    return bind_failed(fd, address.family() == AF_UNIX ? "bind unix fail " : "bind tcp fail ");
  }
  if (type == SOCK_STREAM && ::listen(fd, kBacklog) != 0) return bind_failed(fd, "listen fail ");
  return set_nonblocking(fd);
}

int udp_listen(std::uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  if (fd < 0) return failed("udp_listen: socket fail with ", error_text(), '\n');
  SocketAddress address;
  make_ipv4_address(INADDR_ANY, port, address);
  // KEEP: the same text as for TCP; log readers look for it.
  if (!bind_address(fd, address)) return bind_failed(fd, "bind tcp fail ");
  return set_nonblocking(fd);
}

int socket_accept(int fd, int timeout_ms) {
  if (timeout_ms > 0 && !wait_readable(fd, timeout_ms)) return -1;
  const int accepted = ::accept(fd, nullptr, nullptr);
  if (accepted < 0 && errno != EDEADLK) {
    put_message("socket_accept: ", error_text(), '(', errno, ")\n");
  }
  return accepted;
}

}  // namespace qsvmon
