#include "format/json_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "format/time.h"
#include "tests/unit/format/sink_fixture.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kAll = 4294967295u;

TEST(JsonWriter, KeyCarriesItsComma) {
  struct Case {
    const char* key;
    const char* text;
  };
  constexpr Case kCases[] = {
      {"name", "\"name\":"}, {",name", ",\"name\":"}, {"", "\"\":"},
      {",", ",\"\":"},       {",,a", ",\",a\":"},     {"a,b", "\"a,b\":"},
      {"a\"b", "\"a\"b\":"}, {"%s", "\"%s\":"},       {nullptr, "\"\":"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(written([&](OutputSink& s) { json_key(s, c.key); }), c.text);
  }
}

TEST(JsonWriter, Numbers) {
  EXPECT_EQ(written([](OutputSink& s) {
              json_int(s, "a", 0);
              json_int(s, ",b", -2147483647 - 1);
              json_int(s, ",c", 2147483647);
              json_uint(s, ",d", 0);
              json_uint(s, ",e", 4294967295u);
              json_ulong(s, ",f", 18446744073709551615u);
              json_ulong(s, ",g", 7);
            }),
            "\"a\":0,\"b\":-2147483648,\"c\":2147483647,\"d\":0,\"e\":4294967295,"
            "\"f\":18446744073709551615,\"g\":7");
}

TEST(JsonWriter, TextsAreNotEscaped) {
  EXPECT_EQ(written([](OutputSink& s) {
              json_str(s, "a", "plain");
              json_str(s, ",b", "");
              json_str(s, ",c", nullptr);
              json_str(s, ",d", "say \"hi\"\\\n%d");
            }),
            "\"a\":\"plain\",\"b\":\"\",\"c\":\"\",\"d\":\"say \"hi\"\\\n%d\"");
}

TEST(JsonWriter, Addresses) {
  constexpr std::uint8_t kV6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  constexpr std::uint8_t kAny[16] = {};
  constexpr std::uint8_t kMac[6] = {0x00, 0x1a, 0x2b, 0xff, 0x04, 0x05};
  EXPECT_EQ(written([&](OutputSink& s) {
              json_ip(s, "a", 0x0a0000ff);
              json_ip_net(s, ",b", 0xff00000a);
              json_ip(s, ",c", 0);
              json_ip(s, ",d", kAll);
              json_ip6(s, ",e", kV6);
              json_ip6(s, ",f", kAny);
              json_ip6(s, ",g", nullptr);
              json_mac(s, ",h", kMac);
              json_mac(s, ",i", nullptr);
            }),
            "\"a\":\"10.0.0.255\",\"b\":\"10.0.0.255\",\"c\":\"0.0.0.0\","
            "\"d\":\"255.255.255.255\",\"e\":\"2001:db8::1\",\"f\":\"::\",\"g\":\"\","
            "\"h\":\"00-1a-2b-ff-04-05\",\"i\":\"00-00-00-00-00-00\"");
}

TEST(JsonWriter, Ranges) {
  struct Case {
    std::uint32_t low, high;
    const char* text;
  };
  constexpr Case kCases[] = {
      {0, kAll, "\"r\":\"any\""},
      {0x0a000000, 24, "\"r\":\"10.0.0.0/24\""},
      {0x0a000001, 0x0a000009, "\"r\":\"10.0.0.1-10.0.0.9\""},
      {0x0a000001, 32, "\"r\":\"10.0.0.1\""},
      {5, 32, "\"r\":\"0.0.0.5\""},  // KEEP: 32 adds nothing, even when it is an upper end
      {0x0a000001, 0x0a000001, "\"r\":\"10.0.0.1\""},
      {0, 0, "\"r\":\"0.0.0.0\""},
      {32, 32, "\"r\":\"0.0.0.32\""},
      {0x0a000001, 0, "\"r\":\"10.0.0.1/0\""},
      {0x0a000001, 31, "\"r\":\"10.0.0.1/31\""},
      {0x0a000001, 33, "\"r\":\"10.0.0.1-0.0.0.33\""},
      {5, 7, "\"r\":\"0.0.0.5-0.0.0.7\""},  // below 32 but not below low
      {7, 5, "\"r\":\"0.0.0.7/5\""},
      {0x0a000009, 0x0a000001, "\"r\":\"10.0.0.9-10.0.0.1\""},  // KEEP: unlike the plain writer
      {0, kAll - 1, "\"r\":\"0.0.0.0-255.255.255.254\""},
      {1, kAll, "\"r\":\"0.0.0.1-255.255.255.255\""},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(written([&](OutputSink& s) { json_iprange(s, "r", c.low, c.high); }), c.text);
  }
  EXPECT_EQ(written([&](OutputSink& s) { json_iprange(s, ",r", 0, kAll); }), ",\"r\":\"any\"");
}

TEST(JsonWriter, LocalTimes) {
  ::setenv("TZ", "Asia/Kathmandu", 1);
  reset_local_time();
  EXPECT_EQ(written([](OutputSink& s) {
              json_time(s, "a", 1700000000);
              json_date(s, ",b", 1700000000);
              json_time(s, ",c", 0);
              json_date(s, ",d", 0);
              json_time(s, ",e", 4294967295u);
            }),
            "\"a\":\"2023-11-15/03:58:20\",\"b\":\"2023-11-15\",\"c\":\"1970-01-01/05:30:00\","
            "\"d\":\"1970-01-01\",\"e\":\"2106-02-07/12:13:15\"");
  ::setenv("TZ", "UTC", 1);
  reset_local_time();
}

TEST(JsonWriter, FormattedTextIntoABuffer) {
  BufferSink b;
  json_strf(b.sink, "a", "%d-%s", 7, "x");
  json_strf(b.sink, ",b", "%.2f%%", 1.5);
  json_strf(b.sink, nullptr, "%s", "");
  EXPECT_EQ(b.text(), "\"a\":\"7-x\",\"b\":\"1.50%\"\"\":\"\"");
  EXPECT_TRUE(b.closed());
}

TEST(JsonWriter, FormattedTextOntoAStreamStaysOpen) {
  StreamSink s;
  json_strf(s.sink, "a", "%d-%s", 7, "x");
  json_strf(s.sink, ",b", "%s", "y");
  EXPECT_EQ(s.text(), "\"a\":\"7-x,\"b\":\"y");  // KEEP: no closing quotes
}

TEST(JsonWriter, FormattedTextIsCutInTheRoomThereIs) {
  struct Case {
    std::uint32_t capacity;
    const char* text;
  };
  // The whole is ,"k":"ab" - nine characters.
  constexpr Case kCases[] = {
      {0, ""},
      {1, ""},
      {2, ""},
      {3, ",\""},
      {4, ",\"k"},
      {5, ",\"k\""},
      {6, ",\"k\":"},
      {7, ",\"k\":\""},
      {8, ",\"k\":\"a"},
      {9, ",\"k\":\"ab"},
      {10, ",\"k\":\"ab\""},
      {11, ",\"k\":\"ab\""},
  };
  for (const Case& c : kCases) {
    BufferSink b(c.capacity);
    json_strf(b.sink, ",k", "%s", "ab");
    EXPECT_EQ(b.text(), c.text) << c.capacity;
    EXPECT_EQ(c.capacity <= 2 ? b.untouched() : b.closed(), true) << c.capacity;
  }
  BufferSink b(8);
  b.sink.replylen = 6;  // room 2: nothing, where json_str would still write a quote
  json_strf(b.sink, "k", "%s", "ab");
  EXPECT_EQ(b.sink.replylen, 6u);
  json_str(b.sink, "k", "ab");
  EXPECT_EQ(b.sink.replylen, 7u);
}

TEST(JsonWriter, EveryWriterStaysInASmallBuffer) {
  constexpr std::uint8_t kV6[16] = {0xfe, 0x80};
  const std::string all =
      "\"a\":-1,\"b\":2,\"c\":3,\"d\":\"t\",\"e\":\"1.2.3.4\",\"f\":\"4.3.2.1\","
      "\"g\":\"fe80::\",\"h\":\"1.2.3.4/8\",\"i\":\"00-00-00-00-00-00\","
      "\"j\":\"1970-01-01/00:00:00\",\"k\":\"1970-01-01\"";
  ::setenv("TZ", "UTC", 1);
  reset_local_time();
  for (std::uint32_t capacity = 0; capacity < 170; ++capacity) {
    BufferSink b(capacity);
    json_int(b.sink, "a", -1);
    json_uint(b.sink, ",b", 2);
    json_ulong(b.sink, ",c", 3);
    json_str(b.sink, ",d", "t");
    json_ip(b.sink, ",e", 0x01020304);
    json_ip_net(b.sink, ",f", 0x01020304);
    json_ip6(b.sink, ",g", kV6);
    json_iprange(b.sink, ",h", 0x01020304, 8);
    json_mac(b.sink, ",i", nullptr);
    json_time(b.sink, ",j", 0);
    json_date(b.sink, ",k", 0);
    EXPECT_EQ(b.text(), all.substr(0, capacity == 0 ? 0 : capacity - 1)) << capacity;
    EXPECT_TRUE(capacity < 2 ? b.untouched() : b.closed()) << capacity;
  }
}

}  // namespace
}  // namespace qsvmon
