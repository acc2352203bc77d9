#include "format/row_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "format/address.h"
#include "format/time.h"

namespace qsvmon {
namespace {

TEST(RowText, PartsStandBehindEachOther) {
  const std::uint8_t mac[6] = {0, 0x1A, 0xFF, 9, 0xA0, 0x10};
  MemoryPrinter out;
  out.put("before ");
  {
    RowText row(out, 200);
    row.put("{", std::uint16_t{65535}, ",", std::uint32_t{4294967295U}, ",", std::uint32_t{0});
    row.put("|", std::string_view("text"), std::string_view(), "|", Ipv4Text{0x0A0000FF}, "|");
    row.put(Ipv4Text{0xFFFFFFFF}, "|", Ipv4Text{0}, "|", MacText{mac}, "}");
  }
  out.put(" behind");
  EXPECT_EQ(out.str(),
            "before {65535,4294967295,0|text|10.0.0.255|255.255.255.255|0.0.0.0|00-1a-ff-09-a0-10} "
            "behind");
}

// Where the number of digits changes, and where fours of digits begin.
TEST(RowText, NumbersOfEveryLength) {
  MemoryPrinter out;
  {
    RowText row(out, 400);
    const auto put = [&](auto number) { row.put(number, " "); };
    for (const std::uint32_t n : {9U, 10U, 99U, 100U, 999U, 1000U, 1009U, 9999U, 10000U, 10001U}) {
      put(n);
    }
    for (const std::uint32_t n : {99999U, 100000U, 999999U, 1000000U, 9999999U, 10000000U}) put(n);
    for (const std::uint32_t n : {99999999U, 100000000U, 999999999U, 1000000000U}) put(n);
    put(std::uint64_t{4294967295U});
    put(std::uint64_t{4294967296U});
    put(std::uint64_t{18446744073709551615U});
    put(std::uint8_t{255});
  }
  EXPECT_EQ(out.str(),
            "9 10 99 100 999 1000 1009 9999 10000 10001 99999 100000 999999 1000000 9999999 "
            "10000000 99999999 100000000 999999999 1000000000 4294967295 4294967296 "
            "18446744073709551615 255 ");
}

TEST(RowText, RowsComeOutInOrderHoweverMany) {
  MemoryPrinter out;
  std::string expected;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    RowText row(out, Printer::kMaxRoom);
    row.put("<", i, ">");
    expected += "<" + std::to_string(i) + ">";
  }
  EXPECT_EQ(out.str(), expected);
}

TEST(RowText, NothingPutIsNothingPrinted) {
  MemoryPrinter out;
  { const RowText row(out, 10); }
  EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace qsvmon
