#pragma once

#include <cstdint>

namespace qsvmon {

/// Who talked to whom: addresses and ports in network order, as the records have them.
struct Endpoints {
  std::uint32_t src_net;
  std::uint32_t dst_net;
  std::uint16_t sport_net;
  std::uint16_t dport_net;
  std::uint8_t mac[6];  ///< the client's
};

}  // namespace qsvmon
