#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <cstring>

#include "platform/socket_address.h"

namespace qsvmon {

bool make_unix_address(const char* path, SocketAddress& out) {
  sockaddr_un record{};
  const std::size_t length = std::strlen(path);
  if (length > sizeof record.sun_path) return false;
  record.sun_family = AF_UNIX;
  std::memcpy(record.sun_path, path, length);
  out = {};
  std::memcpy(&out.storage, &record, sizeof record);
  // A record without a path would name a socket outside the file system; one without bytes is
  // refused.
  out.length = length == 0 ? 0 : sizeof record;
  return true;
}

void make_ipv4_address(std::uint32_t addr_net, std::uint16_t port, SocketAddress& out) {
  sockaddr_in record{};
  record.sin_family = AF_INET;
  record.sin_port = htons(port);
  record.sin_addr.s_addr = addr_net;
  out = {};
  std::memcpy(&out.storage, &record, sizeof record);
  out.length = sizeof record;
}

}  // namespace qsvmon
