#include "commands/tcpreset/dns_fold.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/tcpreset/reset_support.h"

namespace qsvmon {
namespace {

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

void* no_memory(std::size_t, Pages) {
  return nullptr;
}

TEST(DnsFold, RecordsWithoutMemoryAreDropped) {
  DnsFold fold({.take = no_memory});
  fold.add(records_of({{.name = "n"}}));
  EXPECT_EQ(fold.size(), 0u);
}

}  // namespace
}  // namespace qsvmon
