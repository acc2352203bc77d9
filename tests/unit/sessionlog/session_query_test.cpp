#include "commands/sessionlog/session_query.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace qsvmon {
namespace {

/// Words as a command gets them.
class Argv {
 public:
  explicit Argv(std::vector<std::string> words) : words_(std::move(words)) {
    for (std::string& word : words_) pointers_.push_back(word.data());
  }
  Words words() const { return {pointers_.data(), pointers_.size()}; }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

TEST(SessionQuery, WordsSetThePageAndTheDownload) {
  SessionQuery query = parse_session_query(Argv({}).words());
  EXPECT_EQ(query.page, 1);
  EXPECT_EQ(query.limit, 100);
  EXPECT_FALSE(query.download);
  query = parse_session_query(
      Argv({"page=3", "json=1", "limit=20", "x=y", "download=1", "page", "Page=9"}).words());
  EXPECT_EQ(query.page, 3);
  EXPECT_EQ(query.limit, 20);
  EXPECT_TRUE(query.download);
  EXPECT_EQ(query.range().start, 0U);  // all of them, whatever the page
  EXPECT_EQ(query.range().end, 4294967295U);
  query.download = false;
  EXPECT_EQ(query.range().start, 40U);
  EXPECT_EQ(query.range().end, 60U);
}

TEST(SessionQuery, TheLastWordCountsAndNumbersAreReadLeniently) {
  SessionQuery query = parse_session_query(
      Argv({"page=3", "page=4x", "limit=abc", "download=1", "download=0"}).words());
  EXPECT_EQ(query.page, 4);
  EXPECT_EQ(query.limit, 0);
  EXPECT_FALSE(query.download);
  query = parse_session_query(Argv({"download=-1", "page= 2", "limit="}).words());
  EXPECT_TRUE(query.download);
  EXPECT_EQ(query.page, 2);
  EXPECT_EQ(query.limit, 0);
}

TEST(SessionQuery, PagesBeforeTheFirstWrap) {
  SessionQuery query = parse_session_query(Argv({"page=0"}).words());
  EXPECT_EQ(query.range().start, 0xFFFFFF9CU);  // -100
  EXPECT_EQ(query.range().end, 0U);
  query = parse_session_query(Argv({"page=65537", "limit=65536"}).words());
  EXPECT_EQ(query.range().start, 0U);  // 2^32
  EXPECT_EQ(query.range().end, 65536U);
}

TEST(MailQuery, FiltersAreNoneByDefault) {
  MailQuery query;
  EXPECT_TRUE(parse_mail_query(Argv({"page=2"}).words(), query).ok());
  EXPECT_EQ(query.common.page, 2);
  EXPECT_FALSE(query.has_mac);
  EXPECT_EQ(query.ip_net, 0U);
  EXPECT_FALSE(query.keyword.has_value());
}

TEST(MailQuery, FiltersAreRead) {
  MailQuery query;
  const Argv words({"mac=00:11:22:33:44:55", "ip=10.0.0.1", "keywd=a=b c", "download=2"});
  ASSERT_TRUE(parse_mail_query(words.words(), query).ok());
  EXPECT_TRUE(query.has_mac);
  EXPECT_EQ(std::memcmp("\x00\x11\x22\x33\x44\x55", query.mac, 6), 0);
  EXPECT_EQ(query.ip_net, 0x0100000AU);  // the bytes 0A 00 00 01
  EXPECT_EQ(query.keyword, "a=b c");
  EXPECT_TRUE(query.common.download);
}

TEST(MailQuery, TheLastFilterCounts) {
  MailQuery query;
  const Argv words(
      {"ip=10.0.0.1", "keywd=x", "ip=0.0.0.0", "keywd=", "mac=0-1-2-3-4-5", "mac=1-1-1-1-1-ff"});
  ASSERT_TRUE(parse_mail_query(words.words(), query).ok());
  EXPECT_EQ(query.ip_net, 0U);  // 0.0.0.0 filters nothing
  EXPECT_EQ(query.keyword, "");
  EXPECT_EQ(std::memcmp("\1\1\1\1\1\xff", query.mac, 6), 0);
}

TEST(MailQuery, TheFirstBadWordIsReported) {
  struct {
    std::vector<std::string> words;
    std::string_view line;
  } const cases[] = {
      {{"mac="}, "INV_MAC"},
      {{"mac=00:11:22:33:44"}, "INV_MAC"},
      {{"ip=256.0.0.1"}, "INV_IP"},
      {{"ip=x"}, "INV_IP"},
      {{"ip=x", "mac=x"}, "INV_IP"},
      {{"mac=x", "ip=x"}, "INV_MAC"},
      {{"mac=1:2:3:4:5:6", "mac=x"}, "INV_MAC"},
      {{"page=1", "ip=1.2.3.4x"}, "INV_IP"},
  };
  for (const auto& c : cases) {
    MailQuery query;
    const Argv words(c.words);
    const Status status = parse_mail_query(words.words(), query);
    EXPECT_FALSE(status.ok());
    EXPECT_EQ(status.line(), c.line);
  }
}

}  // namespace
}  // namespace qsvmon
