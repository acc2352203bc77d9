#include "pools/cusiprng.h"

#include <algorithm>
#include <random>
#include <vector>

#include "tests/unit/pools/pool_samples.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

class CusIpRng : public PoolTest<cusiprng_release> {
 protected:
  CusIpRng() { EXPECT_EQ(cusiprng_init(), 0); }
  static std::string line(const std::string& rest) { return error_of(cusiprng_line, rest); }
  static std::string info(std::uint32_t ip) {
    const CusIpRange* const range = cusiprng_find(ip);
    return range == nullptr ? "(none)" : cusiprng_info(*range)->info;
  }
};

TEST_F(CusIpRng, StoresARange) {
  EXPECT_EQ(line("iprng=10.0.0.5/24 info=lab"), "");
  const CusIpRange* const range = cusiprng_find(0x0a000001);
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(range->lo, 0x0a000000U);
  EXPECT_EQ(range->hi, 0x0a0000ffU);
  EXPECT_EQ(range->info_slot, 1U);
  EXPECT_STREQ(cusiprng_info(*range)->iprng, "10.0.0.5/24");  // as written
  EXPECT_STREQ(cusiprng_info(*range)->info, "lab");
  EXPECT_EQ(cusiprng_count(), 1);
}

TEST_F(CusIpRng, FindsBothEndsAndNothingBeside) {
  EXPECT_EQ(line("iprng=10.0.0.1-10.0.0.9 info=a"), "");
  EXPECT_EQ(line("info=one iprng=10.0.0.20"), "");
  EXPECT_EQ(line("iprng=255.255.255.255 info=last"), "");
  EXPECT_EQ(info(0x0a000000), "(none)");
  EXPECT_EQ(info(0x0a000001), "a");
  EXPECT_EQ(info(0x0a000009), "a");
  EXPECT_EQ(info(0x0a00000a), "(none)");
  EXPECT_EQ(info(0x0a000014), "one");
  EXPECT_EQ(info(0xfffffffe), "(none)");
  EXPECT_EQ(info(0xffffffff), "last");
  EXPECT_EQ(info(0), "(none)");
}

TEST_F(CusIpRng, RejectsWhatIsNoRange) {
  for (const char* text : {"any", "10.0.0.0/0", "10.0.0.0/33", "10.0.0.256", "a-b", "1.2.3.4-x",
                           "10.0.0.0/", "1-2-3"}) {
    EXPECT_EQ(line(std::string("iprng=") + text + " info=x"), "INV_IP") << text;
  }
  EXPECT_EQ(line("iprng=10.0.0.1 info=x iprng=any"), "INV_IP");
  EXPECT_EQ(cusiprng_count(), 0);
}

TEST_F(CusIpRng, NeedsBothEndsAndALabel) {
  for (const char* rest : {"iprng=0.0.0.0/8 info=x", "iprng=0.0.0.0-1.1.1.1 info=x",
                           "iprng=1.1.1.1-0.0.0.0 info=x", "iprng= info=x", "info=x",
                           "iprng=10.0.0.1", "iprng=10.0.0.1 info=", "iprng=10.0.0.1 x info=y"}) {
    EXPECT_EQ(line(rest), "INV_IP_INFO") << rest;
  }
  EXPECT_EQ(cusiprng_count(), 0);
}

TEST_F(CusIpRng, ARangeUpsideDownIsStoredAndContainsNothing) {
  EXPECT_EQ(line("iprng=10.0.0.9-10.0.0.1 info=x"), "");
  EXPECT_EQ(cusiprng_count(), 1);
  EXPECT_EQ(info(0x0a000005), "(none)");
  EXPECT_EQ(info(0x0a000009), "(none)");
}

TEST_F(CusIpRng, TheFirstDefinitionOfARangeWins) {
  EXPECT_EQ(line("iprng=10.0.0.0/24 info=first"), "");
  EXPECT_EQ(line("iprng=10.0.0.0-10.0.0.255 info=second"), "");
  EXPECT_EQ(line("iprng=10.0.0.0-10.0.0.254 info=other"), "");  // another end
  EXPECT_EQ(cusiprng_count(), 2);
  EXPECT_EQ(info(0x0a0000ff), "first");
}

TEST_F(CusIpRng, CutsTexts) {
  const std::string label(80, 'L');
  EXPECT_EQ(line("iprng=000000000010.000000000000.000000000000.1 info=" + label), "");
  const CusIpInfo* const texts = cusiprng_info(*cusiprng_find(0x0a000001));
  EXPECT_STREQ(texts->iprng, "000000000010.000000000000.00000");
  EXPECT_EQ(texts->info, label.substr(0, 63));
}

TEST_F(CusIpRng, TheSlotNumberIsChecked) {
  EXPECT_EQ(cusiprng_info({1, 2, 0}), nullptr);
  EXPECT_NE(cusiprng_info({1, 2, 8192}), nullptr);
  EXPECT_EQ(cusiprng_info({1, 2, 8193}), nullptr);
}

// Rows by lo: [10.0.0.0/8] [10.1.0.0/16] [10.1.1.0/24]; the middle one is met first.
TEST_F(CusIpRng, OverlapsGiveTheRowMetFirst) {
  EXPECT_EQ(line("iprng=10.1.1.0/24 info=small"), "");
  EXPECT_EQ(line("iprng=10.0.0.0/8 info=big"), "");
  EXPECT_EQ(line("iprng=10.1.0.0/16 info=middle"), "");
  EXPECT_EQ(info(0x0a010101), "middle");
  EXPECT_EQ(info(0x0a000001), "big");
  // Above the middle row's end the search goes up and misses the row below that contains it.
  EXPECT_EQ(info(0x0a020001), "(none)");
}

// Ranges that share one address overlap there: the bisection of two rows looks at the lower one
// first.
TEST_F(CusIpRng, ASharedEndIsAnOverlap) {
  EXPECT_EQ(line("iprng=10.0.0.1-10.0.0.5 info=below"), "");
  EXPECT_EQ(line("iprng=10.0.0.5-10.0.0.9 info=above"), "");
  EXPECT_EQ(info(0x0a000004), "below");
  EXPECT_EQ(info(0x0a000005), "below");
  EXPECT_EQ(info(0x0a000006), "above");
}

TEST_F(CusIpRng, SearchesBetweenInsertsSeeAllRowsInOrder) {
  for (int i = 200; i > 0; --i) {
    EXPECT_EQ(line("iprng=10.0." + std::to_string(i) + ".0/24 info=n" + std::to_string(i)), "");
    EXPECT_EQ(info(0x0a000000U + (static_cast<std::uint32_t>(i) << 8) + 7),
              "n" + std::to_string(i));
    EXPECT_EQ(info(0x0a00c807), "n200");
  }
}

// lo 10.0.0.1 three times, hi .3, .2, .9: rows 0..2 in the order given, the search starts at row 1.
TEST_F(CusIpRng, RowsWithEqualStartsStandInTheOrderOfTheFile) {
  EXPECT_EQ(line("iprng=10.0.0.1-10.0.0.3 info=a"), "");
  EXPECT_EQ(line("iprng=10.0.0.1-10.0.0.2 info=b"), "");
  EXPECT_EQ(line("iprng=9.0.0.1 info=below"), "");
  EXPECT_EQ(line("iprng=10.0.0.1-10.0.0.9 info=c"), "");
  // below a | b c: row (0+3)/2 = 1 is a.
  EXPECT_EQ(info(0x0a000002), "a");
  EXPECT_EQ(info(0x0a000004), "c");
  EXPECT_EQ(info(0x09000001), "below");
}

// Forty rows begin at 10.0.0.1 and end at 10.0.0.1, .2 ... .40, enough for a sort that is not
// stable to mix them. The bisection looks at row 19 and then, upwards, at rows 29, 34, 37, 38
// and 39.
TEST_F(CusIpRng, ManyRowsWithEqualStartsStandInTheOrderOfTheFile) {
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(
        line("iprng=10.0.0.1-10.0.0." + std::to_string(i + 1) + " info=n" + std::to_string(i)), "");
  }
  static constexpr struct {
    std::uint32_t ip;
    const char* info;
  } kCases[] = {{0x0a000001, "n19"}, {0x0a000014, "n19"},   {0x0a000015, "n29"},
                {0x0a00001e, "n29"}, {0x0a00001f, "n34"},   {0x0a000023, "n34"},
                {0x0a000024, "n37"}, {0x0a000026, "n37"},   {0x0a000027, "n38"},
                {0x0a000028, "n39"}, {0x0a000029, "(none)"}};
  for (const auto& c : kCases) EXPECT_EQ(info(c.ip), c.info) << std::hex << c.ip;
}

TEST_F(CusIpRng, WideAndNarrowRangesWithoutOverlap) {
  EXPECT_EQ(line("iprng=200.0.0.0-254.255.255.255 info=high"), "");
  EXPECT_EQ(line("iprng=100.0.0.2 info=two"), "");
  EXPECT_EQ(line("iprng=1.0.0.0-99.255.255.255 info=low"), "");
  EXPECT_EQ(line("iprng=100.0.0.0 info=zero"), "");
  static constexpr struct {
    std::uint32_t ip;
    const char* info;
  } kCases[] = {{0x00000000, "(none)"}, {0x00ffffff, "(none)"}, {0x01000000, "low"},
                {0x32000000, "low"},    {0x63ffffff, "low"},    {0x64000000, "zero"},
                {0x64000001, "(none)"}, {0x64000002, "two"},    {0x64000003, "(none)"},
                {0xc7ffffff, "(none)"}, {0xc8000000, "high"},   {0xe0000000, "high"},
                {0xfeffffff, "high"},   {0xff000000, "(none)"}, {0xffffffff, "(none)"}};
  for (const auto& c : kCases) EXPECT_EQ(info(c.ip), c.info) << std::hex << c.ip;
  // One more range that overlaps: the search is the plain bisection again, and of the five rows
  // (low zero two high all) the middle one comes first, then those above it.
  EXPECT_EQ(line("iprng=201.0.0.0-255.255.255.255 info=all"), "");
  EXPECT_EQ(info(0xe0000000), "high");
  EXPECT_EQ(info(0xff000000), "all");
  EXPECT_EQ(info(0x32000000), "low");
}

// The search begins at what an address's first 12 bits say.
TEST_F(CusIpRng, RangesBesideAndAcrossTheFirstTwelveBits) {
  EXPECT_EQ(line("iprng=10.15.255.240-10.15.255.254 info=before"), "");
  EXPECT_EQ(line("iprng=10.15.255.255 info=end"), "");
  EXPECT_EQ(line("iprng=10.16.0.0 info=begin"), "");
  EXPECT_EQ(line("iprng=10.31.255.254-10.64.0.1 info=across"), "");
  EXPECT_EQ(line("iprng=10.64.0.3 info=behind"), "");
  static constexpr struct {
    std::uint32_t ip;
    const char* info;
  } kCases[] = {{0x09ffffff, "(none)"}, {0x0a0fffef, "(none)"}, {0x0a0ffff0, "before"},
                {0x0a0ffffe, "before"}, {0x0a0fffff, "end"},    {0x0a100000, "begin"},
                {0x0a100001, "(none)"}, {0x0a1ffffd, "(none)"}, {0x0a1ffffe, "across"},
                {0x0a200000, "across"}, {0x0a355555, "across"}, {0x0a400001, "across"},
                {0x0a400002, "(none)"}, {0x0a400003, "behind"}, {0x0a400004, "(none)"},
                {0xffffffff, "(none)"}};
  for (const auto& c : kCases) EXPECT_EQ(info(c.ip), c.info) << std::hex << c.ip;
}

TEST_F(CusIpRng, ASingleRangeAtEitherEnd) {
  EXPECT_EQ(line("iprng=255.255.255.255 info=last"), "");
  EXPECT_EQ(info(0xffffffff), "last");
  EXPECT_EQ(info(0xfffffffe), "(none)");
  EXPECT_EQ(line("iprng=0.0.0.1 info=first"), "");
  EXPECT_EQ(info(0x00000000), "(none)");
  EXPECT_EQ(info(0x00000001), "first");
  EXPECT_EQ(info(0x00000002), "(none)");
  EXPECT_EQ(info(0xffffffff), "last");
}

std::string range_line(std::uint32_t i) {  // 8192 disjoint ranges with gaps, over all high octets
  const std::uint32_t lo = 0x01000000U + i * 0x7f000U;
  return "iprng=" + std::to_string(lo) + "-" + std::to_string(lo + 0xff) + " info=n" +
         std::to_string(i);
}

TEST_F(CusIpRng, HoldsRangesInAnyOrderUpToItsLimit) {
  std::vector<std::uint32_t> order(8192);
  for (std::uint32_t i = 0; i < 8192; ++i) order[i] = i;
  const auto ascending = order;
  std::mt19937 random(1);
  for (int round = 0; round < 3; ++round) {
    if (round == 1) std::reverse(order.begin(), order.end());
    if (round == 2) std::shuffle(order.begin(), order.end(), random);
    ASSERT_EQ(cusiprng_init(), 0);
    for (const std::uint32_t i : order) ASSERT_EQ(line(range_line(i)), "");
    EXPECT_EQ(cusiprng_count(), 8192);
    for (const std::uint32_t i : ascending) {
      const std::uint32_t lo = 0x01000000U + i * 0x7f000U;
      ASSERT_EQ(info(lo), "n" + std::to_string(i));
      ASSERT_EQ(info(lo + 0xff), "n" + std::to_string(i));
      ASSERT_EQ(info(lo + 0x100), "(none)");
    }
    EXPECT_EQ(line("iprng=200.0.0.1 info=late"), "POOL_FULL");
    EXPECT_EQ(line(range_line(0)), "POOL_FULL");  // told before a repeated range is
    EXPECT_EQ(line("iprng=any info=late"), "INV_IP");
    EXPECT_EQ(cusiprng_count(), 8192);
  }
}

// The rows are changed behind the pool's back: a look-up that sorted them again would show it.
TEST_F(CusIpRng, LookUpsSortTheRowsOnce) {
  EXPECT_EQ(line("iprng=10.0.0.1 info=a"), "");
  EXPECT_EQ(line("iprng=10.0.0.2 info=b"), "");
  EXPECT_EQ(info(0x0a000001), "a");
  auto* const first = const_cast<CusIpRange*>(cusiprng_find(0x0a000001));
  first->lo = first->hi = 0x0a000009;
  EXPECT_EQ(info(0x0a000009), "(none)");  // the rows stand 10.0.0.9, 10.0.0.2
  EXPECT_EQ(line("iprng=10.0.0.3 info=c"), "");
  EXPECT_EQ(info(0x0a000009), "a");  // a new row has them sorted
}

TEST_F(CusIpRng, AFreshPoolIsEmpty) {
  EXPECT_EQ(line("iprng=10.0.0.1 info=a"), "");
  EXPECT_EQ(cusiprng_init(), 0);
  EXPECT_EQ(cusiprng_count(), 0);
  EXPECT_EQ(info(0x0a000001), "(none)");
}

TEST(CusIpRngWithoutAPool, FindsAndStoresNothing) {
  cusiprng_release();
  EXPECT_EQ(error_of(cusiprng_line, "iprng=10.0.0.1 info=a"), "");
  cusiprng_sort();
  EXPECT_EQ(cusiprng_find(0x0a000001), nullptr);
  EXPECT_EQ(cusiprng_info({1, 2, 1}), nullptr);
  EXPECT_EQ(cusiprng_count(), 0);
}

}  // namespace
}  // namespace qsvmon
