#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "commands/sessionlog/session_query.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// What the words of one `emaillog list` ask for.
struct MailQuery {
  SessionQuery common;
  bool has_mac = false;
  std::uint8_t mac[6] = {};
  std::uint32_t ip_net = 0;  ///< network order; 0 = any
  /// Bytes to look for, the process's own text. An empty one is contained in every mail.
  std::optional<std::string_view> keyword;
};

/// Reads `words`: the common ones, "mac=", "ip=" and "keywd="; others are passed over and a later
/// word overrides an earlier one. On failure the status holds INV_MAC or INV_IP.
Status parse_mail_query(Words words, MailQuery& query);

}  // namespace qsvmon
