#pragma once

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>

namespace qsvmon::hostile {

/// What one reply may do, drawn anew for every exchange from the seed.
struct Mix {
  unsigned close_early = 2;   ///< percent of exchanges cut before or inside the reply
  unsigned bad_status = 4;    ///< percent that carry a random status and error text
  unsigned dictionary = 10;   ///< percent that claim dictionary tables
  unsigned last = 60;         ///< percent that end the listing
  unsigned most_batches = 5;  ///< after so many the listing always ends
  unsigned changing = 0;      ///< percent after which the area goes on changing while it is read
};

/// A daemon that answers every request with damage: random records, counts, lengths, flags,
/// pointers and error texts without NUL. Serves both sockets of the appliance root "." from one
/// thread.
class HostileDaemon {
 public:
  HostileDaemon(std::uint64_t seed, const Mix& mix);
  ~HostileDaemon();
  HostileDaemon(const HostileDaemon&) = delete;
  HostileDaemon& operator=(const HostileDaemon&) = delete;

  /// Starts a new command: its listing has no batches behind it, and what follows depends on the
  /// seed and `number` alone. REQUIRES: no exchange is under way.
  void begin_command(std::uint64_t number);

  std::uint64_t replies() const { return replies_; }

 private:
  void serve();
  void answer(int fd);
  void damage_area(char* area, std::size_t bytes);
  void go_on_changing(char* area, std::size_t bytes);
  bool is_asked() const;
  std::uint32_t draw(std::uint32_t below);
  bool percent(unsigned chance) { return draw(100) < chance; }

  std::uint64_t seed_;
  Mix mix_;
  std::mt19937_64 random_;
  unsigned batches_ = 0;
  std::atomic<std::uint64_t> replies_{0};
  std::atomic<bool> stop_{false};
  int listeners_[2] = {-1, -1};
  std::thread thread_;
};

}  // namespace qsvmon::hostile
