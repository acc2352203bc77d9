#pragma once

#include <sys/socket.h>

#include <cstdint>

namespace qsvmon {

/// A socket address record in the layout that this system's kernel demands.
struct SocketAddress {
  sockaddr_storage storage;  ///< zero-filled behind the record
  socklen_t length;          ///< what is passed to `bind` and `connect`

  int family() const { return storage.ss_family; }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

/// Makes the record of UNIX-domain path `path`; with the record of an empty path the system refuses
/// to bind or connect. Returns false when the path is longer than the record has room for (104
/// bytes on FreeBSD, 108 on Linux; no NUL is needed).
bool make_unix_address(const char* path, SocketAddress& out);

/// Makes the record of an IPv4 address (network byte order) and a port (host byte order).
void make_ipv4_address(std::uint32_t addr_net, std::uint16_t port, SocketAddress& out);

}  // namespace qsvmon
