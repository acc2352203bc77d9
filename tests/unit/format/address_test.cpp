#include "format/address.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "format/byte_order.h"
#include "format/printer.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kUntouched = 0xdeadbeef;

TEST(ByteOrder, SwapsWireFields) {
  EXPECT_EQ(from_net32(0x0100000a), 0x0a000001u);
  EXPECT_EQ(from_net16(0x5000), 0x0050);
  static_assert(from_net32(0x04030201) == 0x01020304 && from_net16(0x0201) == 0x0102);
}

struct Ipv4Case {
  const char* text;
  int result;
  std::uint32_t addr;
};

constexpr Ipv4Case kIpv4Cases[] = {
    {"10.0.0.1", 0, 0x0a000001},
    {"255.255.255.255", 0, 0xffffffff},
    {"0.0.0.0", 0, 0},
    {"010.008.1.1", 0, 0x0a080101},  // decimal, never octal
    {"10.1", 0, 0x0a000001},
    {"10.1.2", 0, 0x0a010002},
    {"1.2.65535", 0, 0x0102ffff},
    {"1.16777215", 0, 0x01ffffff},
    {"4294967295", 0, 0xffffffff},
    {"5", 0, 5},
    {"", 0, 0},             // KEEP: empty text is address 0
    {"1.", 0, 0x01000000},  // KEEP: an empty part is 0
    {".", 0, 0},
    {"...", 0, 0},
    {".1", 0, 1},
    {"1.2.3.", 0, 0x01020300},
    {"1.2..4", 0, 0x01020004},
    {"1..3.4", 0, 0x01000304},
    {"00000000000000000000", 0, 0},  // twenty digits, and still nothing
    {"1.00000000000000000000", 0, 0x01000000},
    {"00000000000000000000.1", 0, 1},
    {"4294967296", 0, 0},                     // KEEP: one part wraps
    {"4294967301", 0, 5},                     // 2^32 + 5
    {"99999999999999999999", 0, 1661992959},  // 10^20 - 1 modulo 2^32
    {"256.1.1.1", -1, 0},
    {"1.256.1.1", -1, 0},
    {"1.2.256.1", -1, 0},
    {"1.2.3.256", -1, 0},
    {"1.2.65536", -1, 0},
    {"1.16777216", -1, 0},
    {"4294967297.1", -1, 0},  // 1 modulo 2^32, but not below 256
    {"1.4294967297", -1, 0},  // nor at most 16777215
    {"1.2.3.4294967297", -1, 0},
    {"1.2.3.18446744073709551617", -1, 0},
    {"1.2.3.4.5", -1, 0},
    {"1.2.3.4.", -1, 0},
    {"....", -1, 0},
    {"1.2.3.4x", -1, 0},
    {"x", -1, 0},
    {" 1.2.3.4", -1, 0},
    {"1.2.3.4 ", -1, 0},
    {"-1", -1, 0},
    {"+1", -1, 0},
    {"0x10", -1, 0},
    {"any", -1, 0},
    {"1/8", -1, 0},
    {"\xb1.2.3.4", -1, 0},
};

TEST(Address, Ipv4TakesClassicShortForms) {
  for (const Ipv4Case& c : kIpv4Cases) {
    std::uint32_t addr = kUntouched;
    EXPECT_EQ(parse_ipv4(c.text, &addr), c.result) << c.text;
    EXPECT_EQ(addr, c.result == 0 ? c.addr : kUntouched) << c.text;
  }
  std::uint32_t addr = kUntouched;
  const std::string zeros(30, '0');
  EXPECT_EQ(parse_ipv4((zeros + "10." + zeros + "1").c_str(), &addr), 0);
  EXPECT_EQ(addr, 0x0a000001U);
  addr = kUntouched;
  EXPECT_EQ(parse_ipv4("18446744073709551617.1", &addr), -1);  // 2^64 + 1
  EXPECT_EQ(parse_ipv4("1.18446744073709551617", &addr), -1);
  EXPECT_EQ(parse_ipv4(nullptr, &addr), -1);
  EXPECT_EQ(parse_ipv4(std::string(100000, '7').append("x").c_str(), &addr), -1);
  EXPECT_EQ(addr, kUntouched);
}

// The characters on either side of the digits, at every place of every octet.
TEST(Address, Ipv4OctetsAreDigitsAlone) {
  for (const char wrong : {'/', ':'}) {
    for (std::size_t at = 0; at < 15; ++at) {
      std::string text = "111.122.133.144";
      if (text[at] == '.') continue;
      text[at] = wrong;
      std::uint32_t addr = kUntouched;
      EXPECT_EQ(parse_ipv4(text.c_str(), &addr), -1) << text;
      text.erase(at + 1, 1);  // the octet's last place, or no dot behind it
      EXPECT_EQ(parse_ipv4(text.c_str(), &addr), -1) << text;
      EXPECT_EQ(addr, kUntouched) << text;
    }
  }
}

struct RangeCase {
  const char* text;
  int result;
  std::uint32_t low;
  std::uint32_t high;
  const char* left;  ///< the text afterwards
};

constexpr RangeCase kRangeCases[] = {
    {"10.0.0.5", 0, 0x0a000005, 0x0a000005, "10.0.0.5"},
    {"", 0, 0, 0, ""},
    {"10.0.0.1-10.0.0.9", 0, 0x0a000001, 0x0a000009, "10.0.0.1"},
    {"10.0.0.9-10.0.0.1", 0, 0x0a000009, 0x0a000001, "10.0.0.9"},  // order is not checked
    {"1-2", 0, 1, 2, "1"},
    {"-", 0, 0, 0, ""},
    {"10.0.0.1-", 0, 0x0a000001, 0, "10.0.0.1"},
    {"10.0.0.5/24", 0, 0x0a000000, 0x0a0000ff, "10.0.0.5"},
    {"10.0.0.5/32", 0, 0x0a000005, 0x0a000005, "10.0.0.5"},
    {"10.0.0.5/31", 0, 0x0a000004, 0x0a000005, "10.0.0.5"},
    {"200.1.1.1/1", 0, 0x80000000, 0xffffffff, "200.1.1.1"},
    {"10.1.2.3/8", 0, 0x0a000000, 0x0affffff, "10.1.2.3"},
    {"10.1/24x", 0, 0x0a000000, 0x0a0000ff, "10.1"},  // atoi ignores what follows
    {"10.1/ +24", 0, 0x0a000000, 0x0a0000ff, "10.1"},
    {"/8", 0, 0, 0x00ffffff, ""},
    {"10.0.0.5/4294967304", 0, 0x0a000000, 0x0affffff, "10.0.0.5"},  // 2^32 + 8 wraps to 8
    {"10.0.0.5/0", -1, kUntouched, kUntouched, "10.0.0.5"},
    {"10.0.0.5/33", -1, kUntouched, kUntouched, "10.0.0.5"},
    {"10.0.0.5/", -1, kUntouched, kUntouched, "10.0.0.5"},
    {"10.0.0.5/x", -1, kUntouched, kUntouched, "10.0.0.5"},
    {"10.0.0.5/-1", -1, kUntouched, kUntouched, "10.0.0.5/"},  // cut at the dash, not the slash
    {"10.0.0.5/255.255.255.0", -1, kUntouched, kUntouched, "10.0.0.5"},  // 255
    {"10.0.0.0/8-11.0.0.0", -1, kUntouched, kUntouched, "10.0.0.0/8"},
    {"1-2-3", -1, kUntouched, kUntouched, "1"},
    {"1-x", -1, kUntouched, kUntouched, "1"},
    {"x-1", -1, kUntouched, kUntouched, "x"},
    {"x/8", -1, kUntouched, kUntouched, "x"},
    {"256.1.1.1", -1, kUntouched, kUntouched, "256.1.1.1"},
    {"any", -1, 0, 0xffffffff, "any"},  // KEEP: refused with the values set
    {"any ", -1, kUntouched, kUntouched, "any "},
    {"ANY", -1, kUntouched, kUntouched, "ANY"},
};

TEST(Address, Ipv4Range) {
  for (const RangeCase& c : kRangeCases) {
    char text[64];
    std::strcpy(text, c.text);
    std::uint32_t low = kUntouched;
    std::uint32_t high = kUntouched;
    EXPECT_EQ(parse_ipv4_range(text, &low, &high), c.result) << c.text;
    EXPECT_EQ(low, c.low) << c.text;
    EXPECT_EQ(high, c.high) << c.text;
    EXPECT_STREQ(text, c.left) << c.text;
  }
  std::uint32_t low = kUntouched;
  EXPECT_EQ(parse_ipv4_range(nullptr, &low, &low), -1);
}

struct AnyCase {
  const char* text;
  int result;
  std::uint32_t family;
  std::uint32_t low;   ///< or the first four bytes of the IPv6 address, in order
  std::uint32_t high;  ///< or its last four
  std::uint32_t prefixlen;
};

constexpr AnyCase kAnyCases[] = {
    {"10.0.0.1", 0, 0, 0x0a000001, 0x0a000001, 77},
    {"1.2-3.4", 0, 0, 0x01000002, 0x03000004, 77},
    {"192.168.0.0/16", 0, 0, 0xc0a80000, 0xc0a8ffff, 77},
    {"1234.", -1, 0, kUntouched, kUntouched, 77},      // dot is the fifth character
    {"::1.2.3.4", -1, 0, kUntouched, kUntouched, 77},  // KEEP: a dot that early means IPv4
    {"2001:db8::1", 0, 1, 0x20010db8, 1, 128},
    {"2001:db8::1/64", 0, 1, 0x20010db8, 1, 64},
    {"2001:db8::1/1", 0, 1, 0x20010db8, 1, 1},
    {"2001:db8::1/128", 0, 1, 0x20010db8, 1, 128},
    {"::/12x", 0, 1, 0, 0, 12},
    {"::ffff:1.2.3.4", 0, 1, 0, 0x01020304, 128},
    {"2001:db8::1/0", -1, 99, kUntouched, kUntouched, 77},
    {"2001:db8::1/129", -1, 99, kUntouched, kUntouched, 77},
    {"2001:db8::1/", -1, 99, kUntouched, kUntouched, 77},
    {"2001:db8::1/-1", -1, 99, kUntouched, kUntouched, 77},
    {"12345.1.1.1", -1, 99, kUntouched, kUntouched, 77},  // dot is the sixth: not an IPv4 text
    {"10/8", -1, 99, kUntouched, kUntouched, 77},
    {"", -1, 99, kUntouched, kUntouched, 77},
    {"any", -1, 99, kUntouched, kUntouched, 77},
    {"2001:db8::g", -1, 99, kUntouched, kUntouched, 77},
};

TEST(Address, AnyFamily) {
  for (const AnyCase& c : kAnyCases) {
    char text[64];
    std::strcpy(text, c.text);
    IpAddrSpec spec;
    spec.family = 99;
    std::memset(spec.v6, 0x55, sizeof spec.v6);
    spec.v4 = {kUntouched, kUntouched};
    spec.prefixlen = 77;
    EXPECT_EQ(parse_ip_any(text, &spec), c.result) << c.text;
    ASSERT_EQ(spec.family, c.family) << c.text;
    EXPECT_EQ(spec.prefixlen, c.prefixlen) << c.text;
    if (c.family == 1) {
      std::uint32_t first = 0;
      std::uint32_t last = 0;
      std::memcpy(&first, spec.v6, 4);
      std::memcpy(&last, spec.v6 + 12, 4);
      EXPECT_EQ(from_net32(first), c.low) << c.text;
      EXPECT_EQ(from_net32(last), c.high) << c.text;
    } else {
      EXPECT_EQ(spec.v4.low, c.low) << c.text;
      EXPECT_EQ(spec.v4.high, c.high) << c.text;
    }
  }
  IpAddrSpec spec;
  EXPECT_EQ(parse_ip_any(nullptr, &spec), -1);
  static_assert(sizeof(IpAddrSpec) == 24);
  static_assert(offsetof(IpAddrSpec, v4) == 4 && offsetof(IpAddrSpec, v6) == 4);
  static_assert(offsetof(IpAddrSpec, prefixlen) == 20);
}

TEST(Address, FamilyNumbersAreTheAppliances) {
  std::uint8_t out[16];
  std::memset(out, 0xee, sizeof out);
  EXPECT_EQ(ip_family("10.0.0.1", out), 2);
  const std::uint8_t v4[] = {10, 0, 0, 1, 0xee};
  EXPECT_EQ(std::memcmp(out, v4, sizeof v4), 0);
  EXPECT_EQ(ip_family("2001:db8::ff", out), 28);
  const std::uint8_t v6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff};
  EXPECT_EQ(std::memcmp(out, v6, sizeof v6), 0);
  for (const char* bad : {"", "10.1", "10.0.0.256", "x", "2001:db8::/32", ":", "1:2"}) {
    EXPECT_EQ(ip_family(bad, out), -1) << bad;
  }
  EXPECT_EQ(ip_family(nullptr, out), -1);
}

struct MacCase {
  const char* text;
  int result;
  std::uint8_t mac[6];
};

constexpr MacCase kMacCases[] = {
    {"00:11:22:33:44:55", 0, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
    {"0-11-22-33-44-55", 0, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
    {"00.11.22.33.44.55", 0, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
    {"aA:Bb:cC:Dd:eE:Ff", 0, {0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff}},
    {"1:2:3:4:5:6", 0, {1, 2, 3, 4, 5, 6}},
    {"1:2:3:4:5:6 tail", 0, {1, 2, 3, 4, 5, 6}},
    {"1:2:3:4:5:6:7", 0, {1, 2, 3, 4, 5, 6}},
    {"12:345:6:7:8:1ff", 0, {0x12, 0x45, 6, 7, 8, 0xff}},  // the low 8 bits count
    {"12:12345678:6:7:8:9", 0, {0x12, 0x78, 6, 7, 8, 9}},
    {"12:123456789:6:7:8:9", 0, {0x12, 0x89, 6, 7, 8, 9}},  // more than 32 bits
    {"12:0x34:0X56:7:8:0xfe", 0, {0x12, 0x34, 0x56, 7, 8, 0xfe}},
    {" 1: 2: 3: 4: 5:\t6", 0, {1, 2, 3, 4, 5, 6}},  // blanks before a field
    {"+1:+2:3:4:5:6", 0, {1, 2, 3, 4, 5, 6}},
    {"1:-2:3:4:5:-1", 0, {1, 0xfe, 3, 4, 5, 0xff}},
    {"1:2:3:4:5:0x6", 0, {1, 2, 3, 4, 5, 6}},
    {"1-0x22-3-4-5-6", 0, {1, 0x22, 3, 4, 5, 6}},
    {"1.0x22.3.4.5.6", 0, {1, 0x22, 3, 4, 5, 6}},
    {"1-0x22-3-4-5:6", -1, {}},
    {"1.0x22.3.4.5-6", -1, {}},
    {"1:2:3:4:5:0X6", 0, {1, 2, 3, 4, 5, 6}},
    {"1:2:3:4:5:6x", 0, {1, 2, 3, 4, 5, 6}},
    {"00:11:22:33:44", -1, {}},
    {"00:11:22:33:44:", -1, {}},
    {"00:11:22:33:44:g", -1, {}},
    {"00-11:22:33:44:55", -1, {}},
    {"00:11-22:33:44:55", -1, {}},
    {"0:-11-22-33-44-55", -1, {}},   // ":" goes before "-"
    {"001:11:22:33:44:55", -1, {}},  // no separator at the second or third character
    {"001122334455", -1, {}},
    {"::::::", -1, {}},
    {"1 :2:3:4:5:6", -1, {}},
    {"", -1, {}},
    {"1", -1, {}},
    {":", -1, {}},
    {"1:", -1, {}},
    {"11", -1, {}},
    {"10.0.0.1", -1, {}},
};

TEST(Address, MacInThreeNotations) {
  for (const MacCase& c : kMacCases) {
    std::uint8_t mac[6] = {9, 9, 9, 9, 9, 9};
    const std::uint8_t untouched[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(parse_mac(c.text, mac), c.result) << c.text;
    EXPECT_EQ(std::memcmp(mac, c.result == 0 ? c.mac : untouched, 6), 0) << c.text;
  }
  std::uint8_t mac[6];
  EXPECT_EQ(parse_mac(nullptr, mac), -1);
}

TEST(Address, PrintsIpv4AndMac) {
  MemoryPrinter out;
  const std::uint8_t mac[6] = {0x00, 0x1a, 0xff, 0x07, 0xa0, 0x0b};
  out.put(Ipv4Text{0}, ' ', Ipv4Text{0xffffffff}, ' ', Ipv4Text{0x0a00647f}, ' ',
          Ipv4Text{0xc0090a63}, ' ', MacText{mac});
  EXPECT_EQ(out.str(), "0.0.0.0 255.255.255.255 10.0.100.127 192.9.10.99 00-1a-ff-07-a0-0b");
}

TEST(Address, FormattersStayInTheirBytes) {
  char dst[kIpv4TextBytes + 1];
  for (const std::uint32_t addr : {0u, 0xffffffffu, 0x01020304u, 0x0a0a0a0au}) {
    std::memset(dst, '#', sizeof dst);
    format_ipv4(dst, addr);
    EXPECT_EQ(dst[kIpv4TextBytes], '#') << addr;
  }
  char mac_text[kMacTextBytes + 1] = {};
  mac_text[kMacTextBytes] = '#';
  const std::uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(format_mac(mac_text, mac), mac_text + 17);
  EXPECT_EQ(mac_text[kMacTextBytes], '#');
}

}  // namespace
}  // namespace qsvmon
