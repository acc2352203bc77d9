#pragma once

#include <cstdint>

#include "format/output_sink.h"

// Writers of JSON members, `"key":value`, into an output sink. The comma between members is the
// caller's: the first member of an object has a plain key, every later one a key that begins with
// a comma (",count"), which comes out before the opening quote. Nothing is escaped: keys and texts
// are written as they are. A null key counts as empty.

namespace qsvmon {

/// `"key":`, or `,"key":` for a key that begins with a comma.
void json_key(OutputSink& sink, const char* key);

void json_int(OutputSink& sink, const char* key, std::int32_t value);
void json_uint(OutputSink& sink, const char* key, std::uint32_t value);
void json_ulong(OutputSink& sink, const char* key, std::uint64_t value);

/// A quoted text; `""` for null.
void json_str(OutputSink& sink, const char* key, const char* value);

/// A quoted text made by `format`. A buffer with room for two bytes or less is left alone; one that
/// fills up on the way gets no closing quote.
/// KEEP: onto a stream the closing quote is left out; who reads the stream adds it.
[[gnu::format(printf, 3, 4)]] void json_strf(OutputSink& sink, const char* key, const char* format,
                                             ...);

/// A quoted IPv4 address, given in host order and in network order.
void json_ip(OutputSink& sink, const char* key, std::uint32_t host);
void json_ip_net(OutputSink& sink, const char* key, std::uint32_t net);

/// A quoted IPv6 address of 16 bytes as inet_ntop writes it (RFC 5952); `""` for null.
void json_ip6(OutputSink& sink, const char* key, const std::uint8_t* address16);

/// A quoted range: "any" for 0 to 4294967295; else `low`, followed by "/high" when high < 32 and
/// high < low, by nothing when high is 32 or equals low, by "-high" in every other case.
/// KEEP: the tests are not those of `out_iprange`; here a high of 32 is the length of one host.
void json_iprange(OutputSink& sink, const char* key, std::uint32_t low, std::uint32_t high);

/// Six bytes, quoted, "00-11-22-33-44-55"; a null `mac6` reads as zeros.
void json_mac(OutputSink& sink, const char* key, const std::uint8_t* mac6);

/// Local time "2024-03-05/07:08:09" and its date alone "2024-03-05", quoted.
void json_time(OutputSink& sink, const char* key, std::uint32_t seconds);
void json_date(OutputSink& sink, const char* key, std::uint32_t seconds);

}  // namespace qsvmon
