#include <gtest/gtest.h>

#include "commands/tcpreset/reset_query.h"
#include "tests/unit/tcpreset/reset_support.h"

namespace qsvmon {
namespace {

IpQuery ip_query(std::vector<const char*> words) {
  IpQuery query;
  EXPECT_TRUE(parse_ip_query(WordList(words).get(), query).ok());
  return query;
}

DnsQuery dns_query(std::vector<const char*> words) {
  DnsQuery query;
  EXPECT_TRUE(parse_dns_query(WordList(words).get(), query).ok());
  return query;
}

TEST(IpQuery, Defaults) {
  const IpQuery query = ip_query({});
  EXPECT_EQ(query.side, IpSide::kDst);
  EXPECT_EQ(query.rows.start, 0u);
  EXPECT_EQ(query.rows.end, 4294967295u);
  EXPECT_EQ(query.filter, "");
  EXPECT_EQ(query.sorting(), Direction::kFirstSeen);
}

TEST(IpQuery, TypeIsAWholeWordAndTheLastOneCounts) {
  EXPECT_EQ(ip_query({"type=src"}).side, IpSide::kSrc);
  EXPECT_EQ(ip_query({"type=src", "type=dst"}).side, IpSide::kDst);
  EXPECT_EQ(ip_query({"type=srcx"}).side, IpSide::kDst);
  EXPECT_EQ(ip_query({"type=src", "type=dstx", "type="}).side, IpSide::kSrc);
  EXPECT_EQ(ip_query({"xtype=src", "TYPE=SRC"}).side, IpSide::kDst);
}

struct RowCase {
  const char* word;
  bool good;
  std::uint32_t start;
  std::uint32_t end;
};
constexpr RowCase kRowCases[] = {
    {"row=1-5", true, 0, 5},
    {"row=0-0", true, 0, 0},
    {"row=0-2", true, 0, 2},
    {"row=5-1", true, 4, 1},
    {"row= 2- 3", true, 1, 3},   // blanks before a number pass
    {"row=+2-+3", true, 1, 3},   // and so does a plus sign
    {"row=2-3abc", true, 1, 3},  // and text behind
    {"row=4294967295-4294967295", true, 4294967294u, 4294967295u},
    {"row=-1-5", true, 4294967294u, 5},  // a minus sign wraps
    {"row=", false, 0, 0},
    {"row=3", false, 0, 0},
    {"row=3-", false, 0, 0},
    {"row=-", false, 0, 0},
    {"row=a-5", false, 0, 0},
    {"row=3-b", false, 0, 0},
    {"row=3 -5", false, 0, 0},  // a blank before the hyphen does not pass
    {"row=3,5", false, 0, 0},
};

TEST(StatQuery, Rows) {
  for (const RowCase& c : kRowCases) {
    IpQuery ip;
    DnsQuery dns;
    const WordList words({c.word});
    const Status ip_status = parse_ip_query(words.get(), ip);
    const Status dns_status = parse_dns_query(words.get(), dns);
    ASSERT_EQ(ip_status.ok(), c.good) << c.word;
    ASSERT_EQ(dns_status.ok(), c.good) << c.word;
    if (c.good) {
      EXPECT_EQ(ip.rows.start, c.start) << c.word;
      EXPECT_EQ(ip.rows.end, c.end) << c.word;
      EXPECT_EQ(dns.rows.start, c.start) << c.word;
      EXPECT_EQ(dns.rows.end, c.end) << c.word;
    } else {
      EXPECT_EQ(ip_status.line(), "INVALID_ROW");
      EXPECT_EQ(dns_status.line(), "INVALID_ROW");
    }
  }
}

TEST(StatQuery, ABadRowWordIsAnErrorWhereverItStands) {
  for (const std::vector<const char*>& words :
       {std::vector<const char*>{"row=3-", "row=1-2"}, {"row=1-2", "row=3-"}, {"x", "row=", "y"}}) {
    IpQuery ip;
    DnsQuery dns;
    EXPECT_EQ(parse_ip_query(WordList(words).get(), ip).line(), "INVALID_ROW");
    EXPECT_EQ(parse_dns_query(WordList(words).get(), dns).line(), "INVALID_ROW");
  }
}

TEST(StatQuery, TheLastWordOfAKindCounts) {
  const IpQuery query = ip_query({"row=1-2", "filter=a", "sort=http", "order=desc", "row=3-4",
                                  "filter=b", "sort=https", "order=asc"});
  EXPECT_EQ(query.rows.start, 2u);
  EXPECT_EQ(query.rows.end, 4u);
  EXPECT_EQ(query.filter, "b");
  EXPECT_EQ(query.counter, &IpStat::https);
  EXPECT_EQ(query.direction, Direction::kLargestFirst);
}

TEST(StatQuery, FilterIsTheRestOfTheWord) {
  EXPECT_EQ(ip_query({"filter=10.1"}).filter, "10.1");
  EXPECT_EQ(ip_query({"filter="}).filter, "");
  EXPECT_EQ(dns_query({"filter=a=b c"}).filter, "a=b c");
  EXPECT_EQ(ip_query({"filter"}).filter, "");
}

TEST(IpQuery, AscendingMeansLargestFirst) {
  EXPECT_EQ(ip_query({"sort=flowcnt", "order=asc"}).sorting(), Direction::kLargestFirst);
  EXPECT_EQ(ip_query({"sort=flowcnt", "order=desc"}).sorting(), Direction::kSmallestFirst);
}

TEST(DnsQuery, DescendingMeansLargestFirst) {
  EXPECT_EQ(dns_query({"sort=flowcnt", "order=desc"}).sorting(), Direction::kLargestFirst);
  EXPECT_EQ(dns_query({"sort=flowcnt", "order=asc"}).sorting(), Direction::kSmallestFirst);
}

TEST(StatQuery, SortingNeedsBothWords) {
  EXPECT_EQ(ip_query({"sort=flowcnt"}).sorting(), Direction::kFirstSeen);
  EXPECT_EQ(ip_query({"order=asc"}).sorting(), Direction::kFirstSeen);
  EXPECT_EQ(dns_query({"sort=flowcnt"}).sorting(), Direction::kFirstSeen);
  EXPECT_EQ(dns_query({"order=asc"}).sorting(), Direction::kFirstSeen);
}

TEST(StatQuery, UnknownDirectionsAndKeysAreIgnored) {
  EXPECT_EQ(ip_query({"order=asc", "order=up"}).direction, Direction::kLargestFirst);
  EXPECT_EQ(ip_query({"order="}).direction, Direction::kFirstSeen);
  EXPECT_EQ(ip_query({"order=ascending"}).direction, Direction::kFirstSeen);
  EXPECT_EQ(ip_query({"sort=http", "sort=time"}).counter, &IpStat::http);
  EXPECT_EQ(ip_query({"sort=httpsx"}).counter, nullptr);
  EXPECT_EQ(ip_query({"sort="}).counter, nullptr);
}

TEST(IpQuery, SortKeys) {
  EXPECT_EQ(ip_query({"sort=flowcnt"}).counter, &IpStat::flowcnt);
  EXPECT_EQ(ip_query({"sort=http"}).counter, &IpStat::http);
  EXPECT_EQ(ip_query({"sort=https"}).counter, &IpStat::https);
  EXPECT_EQ(ip_query({"sort=mintime"}).counter, &IpStat::mintime);
  EXPECT_EQ(ip_query({"sort=maxtime"}).counter, &IpStat::maxtime);
  EXPECT_EQ(ip_query({"sort=http20x"}).counter, nullptr);  // a key of names only
}

TEST(DnsQuery, SortKeys) {
  EXPECT_EQ(dns_query({"sort=flowcnt"}).counter, &DnsStat::flowcnt);
  EXPECT_EQ(dns_query({"sort=http"}).counter, &DnsStat::http);
  EXPECT_EQ(dns_query({"sort=https"}).counter, &DnsStat::https);
  EXPECT_EQ(dns_query({"sort=mintime"}).counter, &DnsStat::mintime);
  EXPECT_EQ(dns_query({"sort=maxtime"}).counter, &DnsStat::maxtime);
  EXPECT_EQ(dns_query({"sort=http20x"}).counter, &DnsStat::http20x);
  EXPECT_EQ(dns_query({"sort=http30x"}).counter, &DnsStat::http30x);
  EXPECT_EQ(dns_query({"sort=http40x"}).counter, &DnsStat::http40x);
  EXPECT_EQ(dns_query({"sort=http50x"}).counter, &DnsStat::http50x);
}

}  // namespace
}  // namespace qsvmon
