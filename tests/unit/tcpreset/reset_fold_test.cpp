#include "commands/tcpreset/reset_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "commands/listing/batches.h"
#include "tests/unit/tcpreset/reset_support.h"

namespace qsvmon {
namespace {

TEST(IpFold, FoldsByDestinationOrBySource) {
  const std::vector<ResetRecord> records = records_of({
      {.src = 0x0a000001, .dst = 0xc0000201},
      {.src = 0x0a000002, .dst = 0xc0000201},
      {.src = 0x0a000001, .dst = 0xc0000202},
  });
  IpFold dst(IpSide::kDst);
  dst.add(records);
  ASSERT_EQ(dst.size(), 2u);
  EXPECT_EQ(from_net32(dst[0].ip), 0xc0000201u);
  EXPECT_EQ(dst[0].flowcnt, 2u);
  EXPECT_EQ(from_net32(dst[1].ip), 0xc0000202u);
  EXPECT_EQ(dst[1].flowcnt, 1u);
  IpFold src(IpSide::kSrc);
  src.add(records);
  ASSERT_EQ(src.size(), 2u);
  EXPECT_EQ(from_net32(src[0].ip), 0x0a000001u);
  EXPECT_EQ(src[0].flowcnt, 2u);
  EXPECT_EQ(from_net32(src[1].ip), 0x0a000002u);
}

TEST(IpFold, CountsClassesFiveAndSix) {
  IpFold fold(IpSide::kDst);
  for (std::uint32_t traffic = 0; traffic < 64; ++traffic) {
    fold.add(records_of({{.dst = 1, .traffic = traffic}}));
  }
  fold.add(records_of({{.dst = 1, .traffic = 6}}));
  EXPECT_EQ(fold[0].flowcnt, 65u);
  EXPECT_EQ(fold[0].http, 1u);
  EXPECT_EQ(fold[0].https, 2u);
}

TEST(IpFold, KeepsTheFirstAndTheLastTime) {
  IpFold fold(IpSide::kDst);
  fold.add(records_of({{.time = 50, .dst = 1}, {.time = 20, .dst = 1}, {.time = 70, .dst = 1}}));
  EXPECT_EQ(fold[0].mintime, 20u);
  EXPECT_EQ(fold[0].maxtime, 70u);
}

TEST(IpFold, AMintimeOfZeroIsReplaced) {
  IpFold fold(IpSide::kDst);
  fold.add(records_of({{.time = 9, .dst = 1}, {.time = 0, .dst = 1}}));
  EXPECT_EQ(fold[0].mintime, 0u);
  EXPECT_EQ(fold[0].maxtime, 9u);
  fold.add(records_of({{.time = 4000000000u, .dst = 1}}));  // times are unsigned
  EXPECT_EQ(fold[0].mintime, 4000000000u);
  EXPECT_EQ(fold[0].maxtime, 4000000000u);
}

TEST(IpFold, APortsPlaceComesFromItsNetworkOrder) {
  IpFold fold(IpSide::kDst);
  // Port 443 is 0x01bb: on the wire 01 bb, raw 0xbb01, modulo 8 = 1. Port 80 is raw 0x5000: 0.
  // Port 8080 is 0x1f90: raw 0x901f, modulo 8 = 7.
  fold.add(
      records_of({{.dst = 1, .dport = 443}, {.dst = 1, .dport = 80}, {.dst = 1, .dport = 8080}}));
  EXPECT_EQ(fold[0].slots.used, 0x83);
  EXPECT_EQ(fold[0].slots.value[0], 80);
  EXPECT_EQ(fold[0].slots.value[1], 443);
  EXPECT_EQ(fold[0].slots.value[7], 8080);
}

TEST(IpFold, TheLastOfTenPortsInOnePlaceIsKept) {
  IpFold fold(IpSide::kDst);
  // Ports below 256 all have raw values of whole multiples of 256.
  for (std::uint16_t port = 100; port < 110; ++port) {
    fold.add(records_of({{.dst = 1, .dport = port}}));
  }
  EXPECT_EQ(fold[0].slots.used, 0x01);
  EXPECT_EQ(fold[0].slots.value[0], 109);
}

TEST(IpFold, PortZeroTakesAPlace) {
  IpFold fold(IpSide::kDst);
  fold.add(records_of({{.dst = 1, .dport = 0}}));
  EXPECT_EQ(fold[0].slots.used, 0x01);
  EXPECT_EQ(fold[0].slots.value[0], 0);
}

TEST(IpFold, SourcesKeepApplicationsByTheirRemainder) {
  IpFold fold(IpSide::kSrc);
  fold.add(records_of({{.src = 1, .app = 8},
                       {.src = 1, .app = 16383},
                       {.src = 1, .app = 16},
                       {.src = 1, .dport = 443, .app = 3, .status = 1023, .traffic = 63}}));
  EXPECT_EQ(fold[0].slots.used, 0x89);
  EXPECT_EQ(fold[0].slots.value[0], 16);  // replaced 8
  EXPECT_EQ(fold[0].slots.value[3], 3);
  EXPECT_EQ(fold[0].slots.value[7], 16383);
}

TEST(IpFold, BatchesAddUp) {
  IpFold fold(IpSide::kDst);
  FakeBatches batches;
  batches.batch(records_of({{.dst = 1}, {.dst = 2}})).batch("", 0).batch(records_of({{.dst = 2}}));
  EXPECT_TRUE(fold_all<ResetRecord>(batches, fold).ok());
  ASSERT_EQ(fold.size(), 2u);
  EXPECT_EQ(fold[0].flowcnt, 1u);
  EXPECT_EQ(fold[1].flowcnt, 2u);
}

TEST(IpFold, AFailedBatchEndsTheFold) {
  IpFold fold(IpSide::kDst);
  FakeBatches batches;
  batches.batch(records_of({{.dst = 1}})).then_fail("tcpreset");
  const Status status = fold_all<ResetRecord>(batches, fold);
  EXPECT_EQ(status.line(), "tcpreset");
  EXPECT_EQ(fold.size(), 1u);
}

void* no_memory(std::size_t, Pages) {
  return nullptr;
}

TEST(IpFold, RecordsWithoutMemoryAreDropped) {
  IpFold fold(IpSide::kDst, {.allocate = no_memory});
  fold.add(records_of({{.dst = 1}, {.dst = 2}}));
  EXPECT_EQ(fold.size(), 0u);
}

TEST(IpFold, ManyAddressesOfOneBucketFoldLikeOthers) {
  std::vector<Session> sessions;
  for (std::uint32_t i = 0; i < 20000; ++i) sessions.push_back({.time = i, .dst = i << 16 | i});
  IpFold fold(IpSide::kDst);
  fold.add(records_of(sessions));
  fold.add(records_of(sessions));
  ASSERT_EQ(fold.size(), 20000u);
  for (std::uint32_t i = 0; i < fold.size(); ++i) {
    ASSERT_EQ(from_net32(fold[i].ip), i << 16 | i);
    ASSERT_EQ(fold[i].flowcnt, 2u);
    ASSERT_EQ(fold[i].maxtime, i);
  }
}

TEST(DnsFold, FoldsByNameAndSkipsRecordsWithoutOne) {
  DnsFold fold;
  fold.add(records_of({{.name = "b.org"}, {.dst = 1}, {.name = "a.org"}, {.name = "b.org"}}));
  ASSERT_EQ(fold.size(), 2u);
  EXPECT_EQ(fold[0].name.text(), "b.org");
  EXPECT_EQ(fold[0].flowcnt, 2u);
  EXPECT_EQ(fold[1].name.text(), "a.org");
  EXPECT_EQ(fold[1].flowcnt, 1u);
}

TEST(DnsFold, NamesAreBytes) {
  DnsFold fold;
  fold.add(
      records_of({{.name = "a.org"}, {.name = "A.org"}, {.name = "a.or"}, {.name = "a.org."}}));
  EXPECT_EQ(fold.size(), 4u);
}

TEST(DnsFold, ANameEndsAtItsNulOrItsField) {
  const std::string longest(31, 'x');
  ResetRecord with_tail = record_of({.name = "a.org"});
  with_tail.name[6] = 'j';  // behind the NUL
  DnsFold fold;
  fold.add(records_of({{.name = longest}, {.name = "a.org"}, {.name = longest}}));
  fold.add(std::span(&with_tail, 1));
  ASSERT_EQ(fold.size(), 2u);
  EXPECT_EQ(fold[0].name.text(), longest);
  EXPECT_EQ(fold[0].flowcnt, 2u);
  EXPECT_EQ(fold[1].name.text(), "a.org");
  EXPECT_EQ(fold[1].flowcnt, 2u);
}

struct StatusCase {
  std::uint32_t status;
  std::uint32_t counted_in;  ///< 2 to 5, or 0 for nowhere
};
constexpr StatusCase kStatusCases[] = {
    {0, 0},   {100, 0}, {199, 0}, {200, 2}, {299, 2}, {300, 3},  {399, 3},
    {400, 4}, {499, 4}, {500, 5}, {599, 5}, {600, 5}, {1023, 5},
};

TEST(DnsFold, CountsStatusesByTheirClass) {
  for (const StatusCase& c : kStatusCases) {
    DnsFold fold;
    fold.add(records_of({{.status = c.status, .name = "n"}}));
    EXPECT_EQ(fold[0].http20x, c.counted_in == 2 ? 1u : 0u) << c.status;
    EXPECT_EQ(fold[0].http30x, c.counted_in == 3 ? 1u : 0u) << c.status;
    EXPECT_EQ(fold[0].http40x, c.counted_in == 4 ? 1u : 0u) << c.status;
    EXPECT_EQ(fold[0].http50x, c.counted_in == 5 ? 1u : 0u) << c.status;
  }
}

TEST(DnsFold, CountsTimesClassesAndPorts) {
  DnsFold fold;
  fold.add(records_of({{.time = 30, .dport = 80, .traffic = 5, .name = "n"},
                       {.time = 10, .dport = 443, .traffic = 6, .name = "n"},
                       {.time = 20, .dport = 25, .traffic = 4, .name = "n"}}));
  EXPECT_EQ(fold[0].flowcnt, 3u);
  EXPECT_EQ(fold[0].http, 1u);
  EXPECT_EQ(fold[0].https, 1u);
  EXPECT_EQ(fold[0].maxtime, 30u);
  EXPECT_EQ(fold[0].mintime, 10u);
  EXPECT_EQ(fold[0].slots.used, 0x03);
  EXPECT_EQ(fold[0].slots.value[0], 25);  // raw 0x1900 takes the place of raw 0x5000
  EXPECT_EQ(fold[0].slots.value[1], 443);
}

TEST(DnsFold, NamesThatShareSixteenBytesAreApart) {
  std::vector<std::string> names;
  for (int i = 0; i < 20000; ++i) names.push_back("sixteen-bytes-on" + std::to_string(i));
  std::vector<Session> sessions;
  for (const std::string& name : names) sessions.push_back({.name = name});
  DnsFold fold;
  fold.add(records_of(sessions));
  fold.add(records_of(sessions));
  ASSERT_EQ(fold.size(), 20000u);
  for (std::uint32_t i = 0; i < fold.size(); ++i) {
    ASSERT_EQ(fold[i].name.text(), names[i]);
    ASSERT_EQ(fold[i].flowcnt, 2u);
  }
}

TEST(DnsFold, RecordsWithoutMemoryAreDropped) {
  DnsFold fold({.allocate = no_memory});
  fold.add(records_of({{.name = "n"}}));
  EXPECT_EQ(fold.size(), 0u);
}

}  // namespace
}  // namespace qsvmon
