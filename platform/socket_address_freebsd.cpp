#include <sys/types.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

#include "platform/socket_address.h"

namespace qsvmon {
namespace {

// The daemons' peers were always sent records whose length byte (byte 0) is 0; the kernel goes by
// the length that is passed beside the record.
constexpr std::size_t kUnixRecordBytes = 106;
constexpr std::size_t kUnixPathAt = 2;
constexpr std::size_t kIpv4RecordBytes = 16;

}  // namespace

bool make_unix_address(const char* path, SocketAddress& out) {
  const std::size_t length = std::strlen(path);
  if (length > kUnixRecordBytes - kUnixPathAt) return false;
  out = {};
  auto* bytes = reinterpret_cast<unsigned char*>(&out.storage);
  bytes[1] = AF_UNIX;
  std::memcpy(bytes + kUnixPathAt, path, length);
  out.length = kUnixRecordBytes;
  return true;
}

void make_ipv4_address(std::uint32_t addr_net, std::uint16_t port, SocketAddress& out) {
  out = {};
  auto* bytes = reinterpret_cast<unsigned char*>(&out.storage);
  const std::uint16_t port_net = htons(port);
  bytes[1] = AF_INET;
  std::memcpy(bytes + 2, &port_net, sizeof port_net);
  std::memcpy(bytes + 4, &addr_net, sizeof addr_net);
  out.length = kIpv4RecordBytes;
}

}  // namespace qsvmon
