#pragma once

#include <cstdint>

namespace qsvmon {

/// The resident daemons. Each command belongs to one; `daemon_path` (rpc/session.h) gives its
/// socket.
enum class Daemon : std::uint8_t {
  kLog,   ///< logs, workers, disks and the first IP tables (commands of group A)
  kMgmt,  ///< traffic listings and the other IP tables (commands of group B)
};

}  // namespace qsvmon
