#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

// IPv4 addresses are 32-bit values in host order, first octet in the high byte; MAC addresses are
// 6 bytes. A null text is refused by every parser here.

/// Reads dotted decimal with the classic short forms: the last part fills all bytes that the parts
/// before it leave ("10.1" is 10.0.0.1). Digits and dots only, up to the NUL.
/// Returns 0, or -1 with `*addr` untouched.
/// KEEP: an empty part counts as 0, so "" is address 0 and "1." is 1.0.0.0; and a value without
/// dots wraps at 32 bits instead of failing. Configuration files and scripts rely on both.
int parse_ipv4(const char* text, std::uint32_t* addr);

/// Reads "a", "a-b" (not checked for order) or "a/len" with len 1..32. Cuts `text` at the
/// separator. Returns 0, or -1 with the two values untouched, but for the word "any". KEEP: "any"
/// sets 0 and 4294967295 and still returns -1; callers that allow it read the values.
int parse_ipv4_range(char* text, std::uint32_t* low, std::uint32_t* high);

/// The addresses of an IPv4 range, both inclusive.
struct Ipv4Bounds {
  std::uint32_t low;
  std::uint32_t high;
};

/// What `parse_ip_any` read.
struct IpAddrSpec {
  std::uint32_t family;  ///< 0 = IPv4, 1 = IPv6
  union {
    Ipv4Bounds v4;
    std::uint8_t v6[16];
  };
  std::uint32_t prefixlen;  ///< IPv6 only, 1..128
};

/// Reads an IPv4 range, or an IPv6 address with an optional "/len" (1..128, without it 128). Cuts
/// `text` at the separator. Returns 0, or -1; a failed IPv4 range leaves `family` 0 and the bounds
/// as `parse_ipv4_range` does, a failed IPv6 text leaves `*spec` untouched.
/// KEEP: a "." within the first 5 characters means IPv4, so "::1.2.3.4" is refused.
int parse_ip_any(char* text, IpAddrSpec* spec);

/// The appliance's numbers of the two address families, whatever the build platform's are.
constexpr int kFamilyIpv4 = 2;
constexpr int kFamilyIpv6 = 28;

/// Reads a full IPv6 (the text holds ":") or IPv4 address as inet_pton does and writes its 16 or 4
/// bytes, network order, to `out16`. Returns kFamilyIpv6 or kFamilyIpv4, or -1.
int ip_family(const char* text, void* out16);

/// Reads six hexadecimal fields separated by ":", "-" or ".", which is told by the second and third
/// characters. A field is what sscanf's %x takes, its low 8 bits count, text after the sixth is
/// ignored. Returns 0, or -1 with `out6` untouched.
int parse_mac(const char* text, std::uint8_t* out6);

constexpr std::size_t kIpv4TextBytes = 15;
constexpr std::size_t kMacTextBytes = 17;

/// Writes "a.b.c.d" without a NUL and returns its end. May write to any of the kIpv4TextBytes bytes
/// at `dst`.
char* format_ipv4(char* dst, std::uint32_t host);

/// Writes "00-11-22-33-44-55" (kMacTextBytes bytes, lower case, no NUL) and returns its end.
char* format_mac(char* dst, const std::uint8_t* mac6);

/// Prints as `format_ipv4` writes.
struct Ipv4Text {
  static constexpr std::size_t kMostBytes = kIpv4TextBytes;
  std::uint32_t host;
};
inline char* write_value(char* at, Ipv4Text address) {
  return format_ipv4(at, address.host);
}

/// Prints the 6 bytes as `format_mac` writes them. The bytes must outlive the call alone.
struct MacText {
  static constexpr std::size_t kMostBytes = kMacTextBytes;
  const std::uint8_t* bytes;
};
inline char* write_value(char* at, MacText mac) {
  return format_mac(at, mac.bytes);
}

}  // namespace qsvmon
