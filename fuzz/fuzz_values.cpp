// Every parser of words and every formatter of values. The first byte chooses one, the rest is its
// text, in a block of exactly its size so that a read past the NUL is seen. Where the C library
// has an answer of its own it is compared.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "format/address.h"
#include "format/byte_order.h"
#include "format/lookup2.h"
#include "format/number.h"
#include "format/text.h"
#include "format/time.h"
#include "rpc/wire/request.h"

namespace {

using namespace qsvmon;

void require(bool holds) {
  if (!holds) std::abort();
}

/// The input as a text of its own.
class Text {
 public:
  Text(const std::uint8_t* data, std::size_t size) : chars_(new char[size + 1]) {
    if (size > 0) std::memcpy(chars_.get(), data, size);
    chars_[size] = '\0';
  }
  char* get() { return chars_.get(); }
  std::size_t length() const { return std::strlen(chars_.get()); }

 private:
  std::unique_ptr<char[]> chars_;
};

void check_ipv4(Text text) {
  std::uint32_t addr = 0x55555555;
  const int result = parse_ipv4(text.get(), &addr);
  require(result == 0 || (result == -1 && addr == 0x55555555));
  in_addr full;
  if (::inet_pton(AF_INET, text.get(), &full) == 1) {
    require(result == 0 && addr == from_net32(full.s_addr));
  }
  char dst[16];
  *format_ipv4(dst, addr) = '\0';
  std::uint32_t again = 0;
  require(parse_ipv4(dst, &again) == 0 && again == addr);
}

void check_range(Text text) {
  const bool cidr = std::strchr(text.get(), '-') == nullptr && std::strchr(text.get(), '/');
  std::uint32_t low = 1;
  std::uint32_t high = 0;
  const int result = parse_ipv4_range(text.get(), &low, &high);
  require(result == 0 || result == -1);
  if (result == -1) require((low == 1 && high == 0) || std::strcmp(text.get(), "any") == 0);
  if (result == 0 && cidr) {
    const std::uint32_t count = high - low + 1;
    require(low <= high && (count & (count - 1)) == 0 && (low & (count - 1)) == 0);
  }
}

void check_any(Text text) {
  IpAddrSpec spec{};
  spec.family = 9;
  const int result = parse_ip_any(text.get(), &spec);
  require(result == 0 || result == -1);
  require(spec.family == 0 || (result == 0 && spec.family == 1) || spec.family == 9);
  if (result == 0 && spec.family == 1) require(spec.prefixlen >= 1 && spec.prefixlen <= 128);
}

void check_family(Text text) {
  auto out = std::make_unique<std::uint8_t[]>(16);
  const int family = ip_family(text.get(), out.get());
  require(family == -1 || family == (std::strchr(text.get(), ':') ? 28 : 2));
}

void check_mac(Text text) {
  std::uint8_t mac[6] = {};
  const int result = parse_mac(text.get(), mac);
  if (text.length() < 2) {
    require(result == -1);
    return;
  }
  const char* t = text.get();
  unsigned f[6];
  int fields = 0;
  if (t[1] == ':' || t[2] == ':') {
    fields = std::sscanf(t, "%x:%x:%x:%x:%x:%x", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
  } else if (t[1] == '-' || t[2] == '-') {
    fields = std::sscanf(t, "%x-%x-%x-%x-%x-%x", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
  } else if (t[1] == '.' || t[2] == '.') {
    fields = std::sscanf(t, "%x.%x.%x.%x.%x.%x", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
  }
  require(result == (fields == 6 ? 0 : -1));
  for (int i = 0; result == 0 && i < 6; ++i) require(mac[i] == (f[i] & 0xff));
}

void check_numbers(Text text) {
  parse_size(text.get());
  parse_atoi(text.get());
  int value = 0;
  const int inside = parse_int_in(text.get(), 0, 100, &value);
  require(inside == 0 || (is_digits(text.get()) == 1 && value >= 0 && value <= 100));
}

void check_copy(Text text) {
  const std::size_t length = text.length();
  auto dst = std::make_unique<char[]>(length + 1);
  require(copy_len_in(text.get(), 0, static_cast<int>(length), dst.get()) == 1);
  require(std::strcmp(dst.get(), text.get()) == 0);
  require(copy_len_in(text.get(), static_cast<int>(length) + 1, 1 << 30, dst.get()) == 0);
}

void check_trim(Text text) {
  const std::size_t before = text.length();
  const char* trimmed = trim(text.get());
  const std::size_t length = std::strlen(trimmed);
  require(trimmed >= text.get() && trimmed + length <= text.get() + before);
  require(std::strpbrk(trimmed, "\t\r\n") == nullptr);
  require(length == 0 || trimmed[length - 1] != ' ');
}

void check_words(Text text) {
  const char* end = text.get() + text.length();
  char* save = text.get();
  char* value = nullptr;
  while (const char* key = next_keyvalue(save, &value, &save)) {
    require(std::strpbrk(key, " =") == nullptr && std::strchr(value, ' ') == nullptr);
    require(key < value && value <= end && save <= end);
  }
  require(value == nullptr);
}

void check_escape(Text text) {
  auto dst = std::make_unique<char[]>(2 * text.length() + 1);
  require(escape_ctl(text.get(), dst.get()) == dst.get());
  require(std::strpbrk(dst.get(), "\t\n\f\r\x18 ()") == nullptr);
}

void check_error(Text text) {
  auto request = std::make_unique<RpcRequest>();
  set_request_error(*request, text.get());
  require(request->status == 22 && ::strnlen(request->errtext, 120) < 120);
}

void check_values(const std::uint8_t* data, std::size_t size) {
  std::uint64_t value = 0;
  if (size > 0) std::memcpy(&value, data, size < 8 ? size : 8);
  char text[32];
  require(format_bytes(value, text, sizeof text) == static_cast<int>(std::strlen(text)));
  require(format_count(value, text, sizeof text) == static_cast<int>(std::strlen(text)));
  const auto seconds = static_cast<std::uint32_t>(value);
  const auto when = static_cast<std::time_t>(seconds);
  std::tm tm{};
  require(::localtime_r(&when, &tm) != nullptr);
  char expected[80];
  std::snprintf(expected, sizeof expected, "%2d-%02d-%02d/%02d:%02d:%02d", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
  format_time(text, seconds);
  require(std::strcmp(text, expected) == 0);
}

void check_hash(Text text) {
  const std::size_t length = text.length();
  const std::uint32_t whole = lookup2(text.get(), length, 7);
  const std::uint32_t name = lookup2_name(text.get(), length, 7);
  require(length > 16 || whole == name);
}

constexpr void (*kTextChecks[])(Text) = {check_ipv4,  check_range,   check_any,   check_family,
                                         check_mac,   check_numbers, check_copy,  check_trim,
                                         check_words, check_escape,  check_error, check_hash};
constexpr std::size_t kTextCheckCount = sizeof kTextChecks / sizeof kTextChecks[0];

/// A zone with changes twice a year, whatever the machine's is.
bool set_zone() {
  ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  reset_local_time();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool zone_set = set_zone();
  if (!zone_set || size == 0) return 0;
  const std::size_t choice = (data[0] - std::size_t{'a'}) % (kTextCheckCount + 1);
  if (choice == kTextCheckCount) {
    check_values(data + 1, size - 1);
  } else {
    kTextChecks[choice](Text(data + 1, size - 1));
  }
  return 0;
}
