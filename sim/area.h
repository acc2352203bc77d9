#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <span>
#include <tuple>

namespace qsvmon::sim {

/// Tells one client run from another: a segment's number may come back, its maker and its time of
/// making do not come back with it.
struct ClientKey {
  int shmid = -1;
  int maker_pid = 0;
  std::time_t made_at = 0;
  friend bool operator<(const ClientKey& a, const ClientKey& b) {
    return std::tie(a.shmid, a.maker_pid, a.made_at) < std::tie(b.shmid, b.maker_pid, b.made_at);
  }
};

/// A client's shared segment, attached as long as the object lives. Its size is the kernel's word,
/// never the request's.
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
bool client_lives(const ClientKey& client);

}  // namespace qsvmon::sim
