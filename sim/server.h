#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "rpc/wire/request.h"
#include "sim/appliance.h"
#include "sim/capture.h"

namespace qsvmon::sim {

/// Faults on demand.
enum class Fault {
  kNone,
  kRefuse,        ///< nobody listens
  kClose,         ///< the connection closes in place of a reply
  kHalf,          ///< half a reply, then the connection closes
  kSilence,       ///< no reply, the connection stays open
  kLate,          ///< the reply comes after `delay_ms`
  kError,         ///< the reply is a refusal: status 16, "DAEMON_BUSY"
  kCount,         ///< the reply claims 2147483647 records
  kReplylen,      ///< the reply claims 4294967295 bytes
  kGarbage,       ///< the area is filled with random bytes; the record is that of the reply
  kUnterminated,  ///< the area is filled to its last byte, without a NUL
  kDict,          ///< the reply says that dictionary tables are there when they are not
};

struct FaultPlan {
  Fault fault = Fault::kNone;
  unsigned long after = 0;  ///< this many requests are answered correctly first
  unsigned long delay_ms = 5000;
  std::uint64_t seed = 1;  ///< of the random bytes
};

/// Serves both daemon sockets of the appliance tree in the working directory, many clients at once,
/// in one thread.
class Server {
 public:
  Server(Appliance& appliance, const FaultPlan& plan, const std::string& capture_folder)
      : appliance_(appliance), plan_(plan), capture_(capture_folder) {}
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Opens the sockets. Throws std::runtime_error when one cannot be opened.
  void listen();
  /// Serves until `stop` is set (by a signal handler).
  void run(const volatile std::sig_atomic_t& stop);

 private:
  using Clock = std::chrono::steady_clock;
  struct Connection {
    int fd;
    Daemon daemon;
    std::size_t received = 0;
    bool waiting = false;  ///< the reply is ready and is sent at `due`
    Clock::time_point due;
    RpcRequest request{};
  };

  void close_listeners();
  void accept_client(std::size_t listener);
  /// Reads what has arrived. False when the connection has ended.
  bool receive(Connection& connection);
  bool reply(Connection& connection);
  bool send_late(Connection& connection) const;
  void damage_area(const RpcRequest& request);
  int wait_ms() const;

  Appliance& appliance_;
  FaultPlan plan_;
  Capture capture_;
  unsigned long answered_ = 0;
  int listeners_[2] = {-1, -1};
  std::vector<Connection> connections_;
};

}  // namespace qsvmon::sim
