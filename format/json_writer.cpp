#include "format/json_writer.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdarg>

#include "format/byte_order.h"
#include "format/time.h"

namespace qsvmon {
namespace {

const char* text_or_empty(const char* text) {
  return text == nullptr ? "" : text;
}

// A member whose value `write` puts between quotes.
template <class Write>
void json_quoted(OutputSink& sink, const char* key, Write write) {
  json_key(sink, key);
  out_printf(sink, "\"");
  write();
  out_printf(sink, "\"");
}

}  // namespace

void json_key(OutputSink& sink, const char* key) {
  key = text_or_empty(key);
  if (key[0] == ',') {
    out_printf(sink, ",\"%s\":", key + 1);
  } else {
    out_printf(sink, "\"%s\":", key);
  }
}

void json_int(OutputSink& sink, const char* key, std::int32_t value) {
  json_key(sink, key);
  out_printf(sink, "%d", value);
}

void json_uint(OutputSink& sink, const char* key, std::uint32_t value) {
  json_key(sink, key);
  out_printf(sink, "%u", value);
}

void json_ulong(OutputSink& sink, const char* key, std::uint64_t value) {
  json_key(sink, key);
  out_printf(sink, "%lu", static_cast<unsigned long>(value));
}

void json_str(OutputSink& sink, const char* key, const char* value) {
  json_key(sink, key);
  out_printf(sink, "\"%s\"", text_or_empty(value));
}

void json_strf(OutputSink& sink, const char* key, const char* format, ...) {
  key = text_or_empty(key);
  const bool to_stream = (sink.flags & kSinkToStream) != 0;
  if (!to_stream && out_room(sink) <= 2) return;  // less than a pair of quotes and the NUL
  if (key[0] == ',') {
    out_printf(sink, ",");
    ++key;
  }
  out_printf(sink, "\"%s\":\"", key);
  std::va_list args;
  va_start(args, format);
  out_vprintf(sink, format, args);
  va_end(args);
  if (!to_stream) out_printf(sink, "\"");  // KEEP: a stream's reader closes the quote itself
}

void json_ip(OutputSink& sink, const char* key, std::uint32_t host) {
  json_quoted(sink, key, [&] { out_ip(sink, nullptr, host); });
}

void json_ip_net(OutputSink& sink, const char* key, std::uint32_t net) {
  json_ip(sink, key, from_net32(net));
}

void json_ip6(OutputSink& sink, const char* key, const std::uint8_t* address16) {
  char text[INET6_ADDRSTRLEN] = "";
  if (address16 != nullptr) ::inet_ntop(AF_INET6, address16, text, sizeof text);
  json_str(sink, key, text);
}

void json_iprange(OutputSink& sink, const char* key, std::uint32_t low, std::uint32_t high) {
  if (low == 0 && high == 0xffffffff) return json_str(sink, key, "any");
  json_quoted(sink, key, [&] {
    out_ip(sink, nullptr, low);
    if (high == 32 || high == low) return;
    if (high < 32 && high < low) {
      out_printf(sink, "/%u", high);
    } else {
      out_printf(sink, "-");
      out_ip(sink, nullptr, high);
    }
  });
}

void json_mac(OutputSink& sink, const char* key, const std::uint8_t* mac6) {
  json_quoted(sink, key, [&] { out_mac(sink, nullptr, mac6); });
}

void json_time(OutputSink& sink, const char* key, std::uint32_t seconds) {
  json_quoted(sink, key, [&] { out_time(sink, nullptr, seconds); });
}

void json_date(OutputSink& sink, const char* key, std::uint32_t seconds) {
  char text[kDateTextBytes];  // without a NUL
  format_local_date(text, seconds);
  json_key(sink, key);
  out_printf(sink, "\"%.*s\"", static_cast<int>(sizeof text), text);
}

}  // namespace qsvmon
