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
