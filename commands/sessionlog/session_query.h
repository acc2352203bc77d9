#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "commands/listing/page.h"
#include "format/status.h"
#include "rpc/words.h"

namespace qsvmon {

/// What the words that the session lists share ask for.
struct SessionQuery {
  int page = 1;
  int limit = 100;
  bool download = false;  ///< all records into a file instead of one page as JSON

  PageRange range() const { return download ? PageRange{} : page_range(page, limit); }
};

/// What the words of one `emaillog list` ask for.
struct MailQuery {
  SessionQuery common;
  bool has_mac = false;
  std::uint8_t mac[6] = {};
  std::uint32_t ip_net = 0;  ///< network order; 0 = any
  /// Bytes to look for, the process's own text. An empty one is contained in every mail.
  std::optional<std::string_view> keyword;
};

/// Reads the words of a list without filters: "page=", "limit=" and "download="; others are ignored
/// ("json=" is no longer used). Numbers are read as atoi reads them. A later word overrides an
/// earlier one.
SessionQuery parse_session_query(Words words);

/// Reads the same words, and "mac=", "ip=" and "keywd=". On failure the status holds INV_MAC or
/// INV_IP.
Status parse_mail_query(Words words, MailQuery& query);

}  // namespace qsvmon
