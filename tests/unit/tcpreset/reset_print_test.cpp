#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <cstdio>
#include <string>

#include "commands/tcpreset/reset_print.h"
#include "format/time.h"
#include "tests/unit/tcpreset/reset_support.h"

namespace qsvmon {
namespace {

TEST(FlowPrint, HttpsIsQuotedAndABlankPrecedesMintime) {
  MemoryPrinter out;
  const FlowStat stat{.flowcnt = 3, .http = 1, .https = 2, .maxtime = 9, .mintime = 5, .slots = {}};
  {
    RowText row(out, 256);
    print_counters(row, stat);
  }
  EXPECT_EQ(out.str(), R"("flowcnt":3,"http":1,"https":"2","maxtime":9, "mintime":5)");
}

TEST(FlowPrint, CountersAreUnsigned) {
  MemoryPrinter out;
  {
    RowText row(out, 256);
    print_counters(row, {.flowcnt = 4294967295u,
                         .http = 0,
                         .https = 4294967295u,
                         .maxtime = 4294967295u,
                         .mintime = 4294967295u,
                         .slots = {}});
  }
  EXPECT_EQ(out.str(), R"("flowcnt":4294967295,"http":0,"https":"4294967295",)"
                       R"("maxtime":4294967295, "mintime":4294967295)");
}

std::string ip_page(const std::vector<Session>& sessions, std::vector<const char*> words) {
  IpQuery query;
  EXPECT_TRUE(parse_ip_query(WordList(words).get(), query).ok());
  IpFold fold(query.side);
  fold.add(records_of(sessions));
  MemoryPrinter out;
  print_ip_page(out, fold, sorted_rows(fold, query), query);
  return out.str();
}

std::string dns_page(const std::vector<Session>& sessions, std::vector<const char*> words) {
  DnsQuery query;
  EXPECT_TRUE(parse_dns_query(WordList(words).get(), query).ok());
  DnsFold fold;
  fold.add(records_of(sessions));
  MemoryPrinter out;
  print_dns_page(out, fold, sorted_rows(fold, query), query);
  return out.str();
}

TEST(IpPrint, NoRecord) {
  EXPECT_EQ(ip_page({}, {}), R"({"data":[],"total":0})");
  EXPECT_EQ(ip_page({}, {"type=src", "sort=flowcnt", "order=asc", "filter=1", "row=1-5"}),
            R"({"data":[],"total":0})");
  EXPECT_EQ(dns_page({}, {}), R"({"data":[],"total":0})");
}

TEST(IpPrint, DestinationRowsShowPorts) {
  const std::vector<Session> sessions = {
      {.time = 1700000000, .dst = 0xc0000201, .dport = 443, .traffic = 6},
      {.time = 1700000100, .dst = 0xc0000201, .dport = 80, .traffic = 5},
      {.time = 1700000050, .dst = 0x08080404, .dport = 53},
  };
  EXPECT_EQ(ip_page(sessions, {"type=dst"}),
            R"({"data":[)"
            R"({"ip":"192.0.2.1","flowcnt":2,"http":1,"https":"1","maxtime":1700000100,)"
            R"( "mintime":1700000000,"port":"80,443"},)"
            R"({"ip":"8.8.4.4","flowcnt":1,"http":0,"https":"0","maxtime":1700000050,)"
            R"( "mintime":1700000050,"port":"53"})"
            R"(],"total":2})");
}

TEST(IpPrint, SourceRowsShowApplications) {
  EXPECT_EQ(
      ip_page({{.time = 7, .src = 0x0a010203, .app = 9}, {.time = 8, .src = 0x0a010203, .app = 2}},
              {"type=src"}),
      R"({"data":[{"ip":"10.1.2.3","flowcnt":2,"http":0,"https":"0","maxtime":8,)"
      R"( "mintime":7,"app":"undname|undname,undname|undname"}],"total":1})");
}

/// Addresses 10.0.0.1 to 10.0.0.5, the n-th seen n times in the order 3 1 5 2 4.
std::vector<Session> five_addresses() {
  std::vector<Session> sessions;
  for (std::uint32_t n : {3u, 1u, 5u, 2u, 4u}) {
    for (std::uint32_t i = 0; i < n; ++i) {
      sessions.push_back(
          {.time = 100 + n, .dst = 0x0a000000 + n, .dport = 0, .traffic = i == 0 ? 5u : 6u});
    }
  }
  return sessions;
}

std::string five_row(int n) {
  const std::string text = std::to_string(n);
  return "{\"ip\":\"10.0.0." + text + "\",\"flowcnt\":" + text + ",\"http\":1,\"https\":\"" +
         std::to_string(n - 1) + "\",\"maxtime\":10" + text + ", \"mintime\":10" + text +
         ",\"port\":\"0\"}";
}

std::string five_page(std::vector<int> rows, int total) {
  std::string page = "{\"data\":[";
  for (std::size_t i = 0; i < rows.size(); ++i) page += (i == 0 ? "" : ",") + five_row(rows[i]);
  return page + "],\"total\":" + std::to_string(total) + "}";
}

struct PageCase {
  std::vector<const char*> words;
  std::vector<int> rows;
  int total;
};

TEST(IpPrint, PagesAndSorts) {
  const PageCase cases[] = {
      {{}, {3, 1, 5, 2, 4}, 5},
      {{"row=1-2"}, {3, 1}, 5},
      {{"row=0-2"}, {3, 1}, 5},
      {{"row=2-2"}, {1}, 5},
      {{"row=4-9"}, {2, 4}, 5},
      {{"row=6-9"}, {}, 5},
      {{"row=5-4"}, {}, 5},
      {{"row=0-0"}, {}, 5},
      {{"row=4294967295-4294967295"}, {}, 5},
      {{"row=1-4294967295"}, {3, 1, 5, 2, 4}, 5},
      {{"sort=flowcnt"}, {3, 1, 5, 2, 4}, 5},
      {{"order=asc"}, {3, 1, 5, 2, 4}, 5},
      // KEEP: ascending puts the largest first here.
      {{"sort=flowcnt", "order=asc"}, {5, 4, 3, 2, 1}, 5},
      {{"sort=flowcnt", "order=desc"}, {1, 2, 3, 4, 5}, 5},
      {{"sort=https", "order=asc"}, {5, 4, 3, 2, 1}, 5},
      {{"sort=maxtime", "order=asc"}, {5, 4, 3, 2, 1}, 5},
      {{"sort=mintime", "order=desc"}, {1, 2, 3, 4, 5}, 5},
      {{"sort=http", "order=asc"}, {3, 1, 5, 2, 4}, 5},  // all equal: as first seen
      {{"sort=http", "order=desc"}, {3, 1, 5, 2, 4}, 5},
      {{"sort=flowcnt", "order=asc", "row=2-3"}, {4, 3}, 5},
      {{"filter=0.0.4"}, {4}, 1},
      {{"filter=10.0.0.5"}, {5}, 1},
      {{"filter=10.0.0.50"}, {}, 0},
      {{"filter=0"}, {3, 1, 5, 2, 4}, 5},
      {{"filter="}, {3, 1, 5, 2, 4}, 5},
      {{"filter=.", "row=2-3"}, {1, 5}, 5},
      {{"filter=10.0.0.", "sort=flowcnt", "order=desc", "row=4-9"}, {4, 5}, 5},
      {{"filter=.3", "row=2-9"}, {}, 1},
  };
  const std::vector<Session> sessions = five_addresses();
  for (const PageCase& c : cases) {
    EXPECT_EQ(ip_page(sessions, c.words), five_page(c.rows, c.total))
        << ::testing::PrintToString(c.words);
  }
}

TEST(DnsPrint, ARow) {
  EXPECT_EQ(dns_page({{.time = 5, .dport = 8080, .status = 503, .traffic = 5, .name = "a.example"},
                      {.time = 6, .dport = 443, .status = 404, .traffic = 6, .name = "a.example"},
                      {.time = 7, .dport = 80, .status = 301, .traffic = 5, .name = "a.example"},
                      {.time = 8, .dport = 80, .status = 200, .traffic = 5, .name = "a.example"},
                      {.time = 9, .dport = 80, .status = 199, .traffic = 5, .name = "a.example"},
                      {.time = 9}},
                     {}),
            R"({"data":[{"dns":"a.example","flowcnt":5,"http":4,"https":"1","maxtime":9,)"
            R"( "mintime":5,"http20x":1,"http30x":1,"http40x":1,"http50x":1,)"
            R"("port":"80,443,8080"}],"total":1})");
}

TEST(DnsPrint, NamesGoOutAsTheyAre) {
  EXPECT_EQ(dns_page({{.name = "a\"b\\\xff"}}, {}),
            "{\"data\":[{\"dns\":\"a\"b\\\xff\",\"flowcnt\":1,\"http\":0,\"https\":\"0\","
            "\"maxtime\":0, \"mintime\":0,\"http20x\":0,\"http30x\":0,\"http40x\":0,"
            "\"http50x\":0,\"port\":\"0\"}],\"total\":1}");
}

/// The names of a page in their order, and the total.
std::string names_of(const std::string& page) {
  std::string names;
  for (std::size_t at = page.find("{\"dns\":\""); at != std::string::npos;
       at = page.find("{\"dns\":\"", at + 1)) {
    names += page.substr(at + 8, page.find('"', at + 8) - at - 8) + " ";
  }
  return names + page.substr(page.find("\"total\":") + 8);
}

TEST(DnsPrint, PagesAndSorts) {
  // Counters of a, b and c: flowcnt 1 3 2; http 1 0 2; https 0 3 0; maxtime 9 5 7; mintime 9 3 6;
  // 20x 1 0 0; 30x 0 3 0; 40x 0 0 1; 50x 0 0 1.
  const std::vector<Session> sessions = {
      {.time = 9, .status = 200, .traffic = 5, .name = "a"},
      {.time = 4, .status = 302, .traffic = 6, .name = "b"},
      {.time = 3, .status = 302, .traffic = 6, .name = "b"},
      {.time = 5, .status = 302, .traffic = 6, .name = "b"},
      {.time = 7, .status = 400, .traffic = 5, .name = "c"},
      {.time = 6, .status = 500, .traffic = 5, .name = "c"},
  };
  const struct {
    std::vector<const char*> words;
    const char* names;
  } cases[] = {
      {{}, "a b c 3}"},
      {{"order=desc"}, "a b c 3}"},
      {{"sort=flowcnt"}, "a b c 3}"},
      // KEEP: descending puts the largest first here.
      {{"sort=flowcnt", "order=desc"}, "b c a 3}"},
      {{"sort=flowcnt", "order=asc"}, "a c b 3}"},
      {{"sort=http", "order=desc"}, "c a b 3}"},
      {{"sort=https", "order=desc"}, "b a c 3}"},
      {{"sort=https", "order=asc"}, "a c b 3}"},
      {{"sort=maxtime", "order=desc"}, "a c b 3}"},
      {{"sort=mintime", "order=asc"}, "b c a 3}"},
      {{"sort=http20x", "order=desc"}, "a b c 3}"},
      {{"sort=http20x", "order=asc"}, "b c a 3}"},
      {{"sort=http30x", "order=desc"}, "b a c 3}"},
      {{"sort=http40x", "order=desc"}, "c a b 3}"},
      {{"sort=http50x", "order=desc"}, "c a b 3}"},
      {{"filter=b"}, "b 1}"},
      {{"filter=bb"}, "0}"},
      {{"filter="}, "a b c 3}"},
      {{"row=2-3"}, "b c 3}"},
      {{"row=3-9", "sort=flowcnt", "order=desc"}, "a 3}"},
      {{"type=src"}, "a b c 3}"},  // no word of this listing
  };
  for (const auto& c : cases) {
    EXPECT_EQ(names_of(dns_page(sessions, c.words)), c.names) << ::testing::PrintToString(c.words);
  }
}

class PlainPrint : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "UTC-8", 1);  // eight hours east
    ::tzset();
    reset_local_time();
  }
  void TearDown() override {
    ::unsetenv("TZ");
    ::tzset();
    reset_local_time();
  }
  static std::string line(const ResetRecord& record) {
    MemoryPrinter out;
    print_plain_line(out, record);
    return out.str();
  }
};

TEST_F(PlainPrint, ALine) {
  ResetRecord record = record_of({.time = 1700000000,
                                  .src = 0x0a000001,
                                  .dst = 0xc0000201,
                                  .sport = 49152,
                                  .dport = 443,
                                  .app = 77,
                                  .status = 404,
                                  .traffic = 6,
                                  .name = "www.example.com"});
  record.metrics =
      std::uint64_t{0xf} << 60 | std::uint64_t{1048575} << 40 | std::uint64_t{250} << 20 | 7;
  record.val1 = 65535;
  record.val2 = 2;
  record.val3 = 255;
  EXPECT_EQ(line(record),
            "1700000000 2023-11-15/06:13:20 undname undname 167772161 49152 3221225985 443"
            " 2.50 10485.75 0.07 65535 2 255 www.example.com|404\n");
}

TEST_F(PlainPrint, WhatIsMissing) {
  EXPECT_EQ(line(record_of({})),
            "0 1970-01-01/08:00:00 undname undname 0 0 0 0 0 0 0 0 0 0 NULL\n");
}

TEST_F(PlainPrint, ANameThatFillsItsField) {
  EXPECT_EQ(
      line(record_of({.time = 86400, .status = 1, .name = "1234567890123456789012345678901"})),
      "86400 1970-01-02/08:00:00 undname undname 0 0 0 0 0 0 0 0 0 0 "
      "1234567890123456789012345678901|1\n");
}

TEST(Hundredths, PrintsLikeTheFloatFormForEveryValue) {
  MemoryPrinter out;
  std::string expected;
  for (std::uint32_t value = 1; value < (1u << 20); ++value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f\n",
                  static_cast<double>(static_cast<float>(value) / 100));
    expected += text;
    out.put(Hundredths{value}, '\n');
  }
  EXPECT_TRUE(out.str() == expected);
}

TEST(Hundredths, ZeroIsShort) {
  MemoryPrinter out;
  out.put(Hundredths{0}, ' ', Hundredths{1}, ' ', Hundredths{100}, ' ', Hundredths{1048575});
  EXPECT_EQ(out.str(), "0 0.01 1.00 10485.75");
}

/// 5000 addresses from 10.0.0.0 on, ever earlier, but for the last one, 10.0.19.135, which comes
/// behind the first nineteen. More than a page of few rows keeps while it is sorted.
std::vector<Session> many_addresses() {
  std::vector<Session> sessions;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    sessions.push_back({.time = 100000 - 10 * i, .dst = 0x0a000000 + i, .dport = 80});
  }
  sessions.back().time = 99815;
  return sessions;
}

TEST(IpPrint, TheLastRowOfAPageOutOfMany) {
  EXPECT_EQ(ip_page(many_addresses(), {"sort=maxtime", "order=asc", "row=20-20"}),
            R"({"data":[{"ip":"10.0.19.135","flowcnt":1,"http":0,"https":"0","maxtime":99815,)"
            R"( "mintime":99815,"port":"80"}],"total":5000})");
}

TEST(IpPrint, AFilterFindsRowsBehindThoseOfThePage) {
  EXPECT_EQ(ip_page(many_addresses(), {"sort=maxtime", "order=asc", "row=2-2", "filter=.135"}),
            R"({"data":[{"ip":"10.0.0.135","flowcnt":1,"http":0,"https":"0","maxtime":98650,)"
            R"( "mintime":98650,"port":"80"}],"total":20})");
}

}  // namespace
}  // namespace qsvmon
