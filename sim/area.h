#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <span>
#include <tuple>

namespace qsvmon::sim {

/// Identifies one run of a client. A segment's number may be used again, but not with the same
/// creator and time of creation.
struct ClientKey {
  int shmid = -1;
  int creator_pid = 0;
  std::time_t created_at = 0;
  friend bool operator<(const ClientKey& a, const ClientKey& b) {
    return std::tie(a.shmid, a.creator_pid, a.created_at) <
           std::tie(b.shmid, b.creator_pid, b.created_at);
  }
};

/// A client's shared segment, attached as long as the object lives. Its size is what the
/// kernel says, never what the request says.
class ClientArea {
 public:
  explicit ClientArea(int shmid);
  ~ClientArea();
  ClientArea(const ClientArea&) = delete;
  ClientArea& operator=(const ClientArea&) = delete;

  bool attached() const { return data_ != nullptr; }
  std::span<char> bytes() const { return {data_, size_}; }
  const ClientKey& client() const { return client_; }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  ClientKey client_;
};

/// True while the client's segment exists.
bool segment_exists(const ClientKey& client);

}  // namespace qsvmon::sim
