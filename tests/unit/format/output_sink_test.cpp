#include "format/output_sink.h"

#include <gtest/gtest.h>

#include <string>

#include "format/time.h"
#include "tests/unit/format/sink_fixture.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kAll = 4294967295u;
constexpr std::uint8_t kMac[6] = {0x00, 0x1a, 0x2b, 0xff, 0x04, 0x05};

TEST(OutputSink, FieldsLieInTheRequest) {
  static_assert(std::is_same_v<OutputSink, RpcRequest>);
  static_assert(offsetof(OutputSink, flags) == 22 && sizeof(OutputSink::flags) == 2);
  static_assert(offsetof(OutputSink, stream) == 24 && offsetof(OutputSink, replylen) == 168);
  static_assert(offsetof(OutputSink, shmsize) == 172 && offsetof(OutputSink, reply) == 176);
}

TEST(OutputSink, AppendsToTheBuffer) {
  BufferSink b(64);
  EXPECT_EQ(out_printf(b.sink, "%s-%d", "ab", 12), 5);
  EXPECT_EQ(out_printf(b.sink, "%c", 'x'), 1);
  EXPECT_EQ(b.text(), "ab-12x");
  EXPECT_TRUE(b.closed());
}

TEST(OutputSink, CutsAtTheRoomThereIs) {
  struct Case {
    std::uint32_t capacity, used;
    const char* text;
    int result;
    std::uint32_t used_after;
  };
  constexpr Case kCases[] = {
      {10, 0, "123456789", 9, 9},    // fits with its NUL
      {10, 0, "1234567890", 9, 9},   // cut
      {10, 0, "12345678901", 9, 9},  // cut
      {10, 9, "x", 0, 9},            // room 1 takes nothing
      {10, 8, "x", 1, 9},            // room 2 takes one character
      {10, 8, "xy", 1, 9},
      {10, 10, "x", 0, 10},
      {10, 11, "x", 0, 11},
      {0, 0, "x", 0, 0},
      {1, 0, "x", 0, 0},
      {10, 5, "", 0, 5},
      {10, 0xffffffff, "x", 0, 0xffffffff},  // -1 bytes in use
      {0x80000000, 0, "x", 0, 0},            // a negative capacity
      {0xffffffff, 0, "x", 0, 0},
      {0x80000000, 0x80000000, "x", 0, 0x80000000},
      {0x7fffffff, 0x80000001, "x", 0, 0x80000001},
  };
  for (const Case& c : kCases) {
    BufferSink b(16);
    b.sink.shmsize = c.capacity;
    b.sink.replylen = c.used;
    EXPECT_EQ(out_printf(b.sink, "%s", c.text), c.result) << c.capacity << " " << c.used;
    EXPECT_EQ(b.sink.replylen, c.used_after) << c.capacity << " " << c.used;
  }
}

TEST(OutputSink, LongTextEndsAtCapacityMinusOne) {
  BufferSink b(32);
  EXPECT_EQ(out_printf(b.sink, "%s", "head "), 5);
  EXPECT_EQ(out_printf(b.sink, "%s", std::string(100, 'z').c_str()), 26);
  EXPECT_EQ(b.text(), "head " + std::string(26, 'z'));
  EXPECT_TRUE(b.closed());
  EXPECT_EQ(out_printf(b.sink, "more"), 0);
  EXPECT_EQ(b.sink.replylen, 31u);
}

TEST(OutputSink, SmallBuffersStayInBounds) {
  for (std::uint32_t capacity = 0; capacity < 40; ++capacity) {
    BufferSink b(capacity);
    out_ip(b.sink, "ip", 0x0a000001);
    out_mac(b.sink, "mac", kMac);
    const std::string all = "ip=10.0.0.1\nmac=00-1a-2b-ff-04-05\n";
    EXPECT_EQ(b.text(), all.substr(0, capacity == 0 ? 0 : capacity - 1)) << capacity;
    if (capacity < 2) {
      EXPECT_TRUE(b.untouched()) << capacity;
    } else {
      EXPECT_TRUE(b.closed()) << capacity;
    }
  }
}

// A wide character that the "C" locale does not have cannot be printed.
TEST(OutputSink, WhatCannotBeFormattedIsNotThere) {
  constexpr wchar_t kUnprintable[] = {0x4f60, 0};
  BufferSink b(32);
  EXPECT_EQ(out_printf(b.sink, "head"), 4);
  EXPECT_EQ(out_printf(b.sink, "%ls", kUnprintable), 0);
  EXPECT_EQ(b.sink.replylen, 4U);
  EXPECT_EQ(out_printf(b.sink, " tail"), 5);
  EXPECT_EQ(b.text(), "head tail");
}

TEST(OutputSink, StreamReceivesEverything) {
  StreamSink s;
  s.sink.replylen = 7;
  EXPECT_EQ(out_printf(s.sink, "%05d", 42), 5);
  EXPECT_EQ(s.text(), "00042");
  EXPECT_EQ(s.sink.replylen, 7u);
}

TEST(OutputSink, OnlyTheLowestFlagChoosesTheStream) {
  BufferSink b;
  b.sink.flags = 0xfffe;
  EXPECT_EQ(out_printf(b.sink, "x"), 1);
  EXPECT_EQ(b.text(), "x");
  StreamSink s;
  s.sink.flags = 0xffff;
  EXPECT_EQ(out_printf(s.sink, "x"), 1);
  EXPECT_EQ(s.text(), "x");
}

TEST(OutputSink, WithoutDestinationIgnoresWhatIsWritten) {
  OutputSink nowhere{};
  nowhere.shmsize = 100;
  EXPECT_EQ(out_printf(nowhere, "x"), 0);
  nowhere.flags = kSinkToStream;
  EXPECT_EQ(out_printf(nowhere, "x"), 0);
  EXPECT_EQ(nowhere.replylen, 0u);
}

struct LabelCase {
  const char* label;
  const char* alone;    ///< out_label
  const char* with_ip;  ///< out_ip of 1.2.3.4
};

// KEEP: "=" depends on the last character, the newline on the first.
constexpr LabelCase kLabels[] = {
    {"ip", "ip=", "ip=1.2.3.4\n"},
    {"ip ", "ip ", "ip 1.2.3.4\n"},
    {" ip", " ip=", " ip=1.2.3.4"},
    {" ip ", " ip ", " ip 1.2.3.4"},
    {" ", " ", " 1.2.3.4"},
    {"", "=", "=1.2.3.4\n"},
    {"ip\t", "ip\t=", "ip\t=1.2.3.4\n"},
    {"\tip", "\tip=", "\tip=1.2.3.4\n"},
    {"100%", "100%=", "100%=1.2.3.4\n"},
    {nullptr, "", "1.2.3.4"},
};

TEST(OutputSink, LabelsAndLineEnds) {
  for (const LabelCase& c : kLabels) {
    EXPECT_EQ(written([&](OutputSink& s) { out_label(s, c.label); }), c.alone);
    EXPECT_EQ(written([&](OutputSink& s) { out_ip(s, c.label, 0x01020304); }), c.with_ip);
  }
}

TEST(OutputSink, EveryPlainWriterFollowsTheLabelRules) {
  ::setenv("TZ", "UTC", 1);
  reset_local_time();
  EXPECT_EQ(written([](OutputSink& s) {
              out_iprange(s, " a ", 0, kAll);
              out_iprange(s, "b", 1, 2);
              out_iprange(s, nullptr, 3, 3);
              out_mac(s, " c ", kMac);
              out_mac(s, "d", kMac);
              out_mac(s, nullptr, kMac);
              out_count(s, " e ", 5);
              out_count(s, "f", 6);
              out_count(s, nullptr, 7);
            }),
            " a anyb=0.0.0.1-0.0.0.2\n0.0.0.3/3"
            " c 00-1a-2b-ff-04-05d=00-1a-2b-ff-04-05\n00-1a-2b-ff-04-05"
            " e 5f=6\n7");
}

TEST(OutputSink, TimeLabelAlwaysGetsItsEquals) {
  ::setenv("TZ", "Asia/Kathmandu", 1);
  reset_local_time();
  EXPECT_EQ(written([](OutputSink& s) {
              out_time(s, "t", 1700000000);
              out_time(s, "t ", 1700000000);   // KEEP: "=" after the blank
              out_time(s, " t ", 1700000000);  // and no newline
              out_time(s, nullptr, 0);
            }),
            "t=2023-11-15/03:58:20\nt =2023-11-15/03:58:20\n t =2023-11-15/03:58:20"
            "1970-01-01/05:30:00");
  ::setenv("TZ", "UTC", 1);
  reset_local_time();
}

struct RangeCase {
  std::uint32_t low, high;
  const char* line;
};

constexpr RangeCase kRanges[] = {
    {0, kAll, "r=any\n"},
    {0x0a000000, 24, "r=10.0.0.0/24\n"},
    {0x0a000001, 0x0a000009, "r=10.0.0.1-10.0.0.9\n"},
    {0x0a000009, 0x0a000001, "r=10.0.0.9\n"},  // low > high and high of 32 or more
    {0x0a000001, 32, "r=10.0.0.1\n"},
    {0x0a000001, 31, "r=10.0.0.1/31\n"},
    {0x0a000001, 0, "r=10.0.0.1/0\n"},
    {0x0a000001, 0x0a000001, "r=10.0.0.1\n"},
    {0, 0, "r=0.0.0.0/0\n"},  // equal and below 32
    {5, 7, "r=0.0.0.5-0.0.0.7\n"},
    {7, 5, "r=0.0.0.7/5\n"},
    {1, kAll, "r=0.0.0.1-255.255.255.255\n"},
    {0, kAll - 1, "r=0.0.0.0-255.255.255.254\n"},
    {kAll, kAll, "r=255.255.255.255\n"},
};

TEST(OutputSink, Ranges) {
  for (const RangeCase& c : kRanges) {
    EXPECT_EQ(written([&](OutputSink& s) { out_iprange(s, "r", c.low, c.high); }), c.line);
  }
}

TEST(OutputSink, Counts) {
  struct Case {
    std::uint64_t value;
    const char* line;
  };
  constexpr Case kCases[] = {
      {0, "n=0\n"},
      {999, "n=999\n"},
      {1000, "n=1.00K\n"},
      {1234, "n=1.23K\n"},
      {999999, "n=1000.00K\n"},
      {1000000, "n=1.00M\n"},
      {12345678, "n=12.35M\n"},
      {18446744073709551615u, "n=18446744073709.55M\n"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(written([&](OutputSink& s) { out_count(s, "n", c.value); }), c.line);
  }
}

TEST(OutputSink, MissingMacIsZeros) {
  EXPECT_EQ(written([](OutputSink& s) { out_mac(s, "m", nullptr); }), "m=00-00-00-00-00-00\n");
}

}  // namespace
}  // namespace qsvmon
