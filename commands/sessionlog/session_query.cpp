#include "commands/sessionlog/session_query.h"

#include "format/address.h"
#include "format/byte_order.h"
#include "format/number.h"

namespace qsvmon {

SessionQuery parse_session_query(Words words) {
  SessionQuery query;
  for (const char* word : words) {
    if (const char* text = after_prefix(word, "page=")) query.page = parse_atoi(text);
    if (const char* text = after_prefix(word, "limit=")) query.limit = parse_atoi(text);
    if (const char* text = after_prefix(word, "download=")) query.download = parse_atoi(text) != 0;
  }
  return query;
}

Status parse_mail_query(Words words, MailQuery& query) {
  query.common = parse_session_query(words);
  for (const char* word : words) {
    if (const char* text = after_prefix(word, "mac=")) {
      if (parse_mac(text, query.mac) != 0) return Status::error("INV_MAC");
      query.has_mac = true;
    } else if (const char* keyword = after_prefix(word, "keywd=")) {
      query.keyword = keyword;
    } else if (const char* address = after_prefix(word, "ip=")) {
      std::uint32_t ip = 0;
      if (parse_ipv4(address, &ip) != 0) return Status::error("INV_IP");
      query.ip_net = from_net32(ip);
    }
  }
  return Status::good();
}

}  // namespace qsvmon
