#include "commands/sessionlog/login_fold.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace qsvmon {
namespace {

/// Every byte of `field` is `letter`.
template <std::size_t Width>
void fill(char (&field)[Width], char letter) {
  std::memset(field, letter, Width);
}

TEST(LoginFold, AnEntryHasWhatTheRecordHas) {
  FtpLogRecord record{};
  record.head.time = 7;
  record.head.mac[5] = 9;
  record.optype = 3;
  std::strcpy(record.name, "/pub/a b");
  std::strcpy(record.user, "ann");
  const PackedLogin packed(record);
  EXPECT_EQ(packed.bytes().size(), 29U + 8 + 3);  // the head, the operation, two lengths, the texts
  const LoginEntry entry(packed.bytes());
  EXPECT_EQ(std::memcmp(&record.head, &entry.head, sizeof record.head), 0);
  EXPECT_EQ(entry.code, 3U);
  EXPECT_EQ(entry.text, "/pub/a b");
  EXPECT_EQ(entry.user, "ann");
}

TEST(LoginFold, TextsEndWithTheirFields) {
  FtpLogRecord ftp{};
  fill(ftp.name, 'n');
  fill(ftp.user, 'u');
  const PackedLogin packed_ftp(ftp);
  EXPECT_EQ(LoginEntry(packed_ftp.bytes()).text, std::string(64, 'n'));
  EXPECT_EQ(LoginEntry(packed_ftp.bytes()).user, std::string(24, 'u'));
  TelnetLogRecord telnet{};
  telnet.cmdlen = 255;
  fill(telnet.cmd, 'c');
  fill(telnet.user, 'u');
  const PackedLogin packed_telnet(telnet);
  const LoginEntry entry(packed_telnet.bytes());
  EXPECT_EQ(entry.code, 255U);
  EXPECT_EQ(entry.text, std::string(129, 'c'));
  EXPECT_EQ(entry.user, std::string(32, 'u'));
  EXPECT_EQ(LoginEntry(PackedLogin(TelnetLogRecord{}).bytes()).text, "");
}

TEST(LoginFold, EveryRecordIsCountedAndThoseOfThePageAreKept) {
  RecordList list({0, 2});
  LoginFold<TelnetLogRecord> fold(list);
  std::vector<TelnetLogRecord> records(9000);
  for (std::uint32_t i = 0; i < 9000; ++i) records[i].head.time = i;
  fold.add(records);
  list.sort();
  EXPECT_EQ(list.count(), 9000U);
  EXPECT_LT(list.size(), 4096U);
  EXPECT_EQ(std::uint32_t{LoginEntry(list[0]).head.time}, 8999U);
  EXPECT_EQ(std::uint32_t{LoginEntry(list[1]).head.time}, 8998U);
}

// Blocks of 4096 records are looked through before any is copied.
TEST(LoginFold, OfEqualTimesTheFirstThatCameAreShown) {
  RecordList list({1, 5});
  LoginFold<TelnetLogRecord> fold(list);
  std::vector<TelnetLogRecord> records(10000);
  for (std::uint32_t i = 0; i < 10000; ++i) {
    records[i].head.time = i % 3;
    records[i].head.start = i;
  }
  fold.add(records);
  list.sort();
  EXPECT_EQ(list.count(), 10000U);
  for (std::uint32_t at = 0; at < 5; ++at) {
    EXPECT_EQ(std::uint32_t{LoginEntry(list[at]).head.start}, 2 + 3 * at);
  }
}

// The largest times are 9999, 9998, ...; multiplying by 7919 scatters them over all blocks.
TEST(LoginFold, ThePageOfScatteredTimesIsThatOfAllRecords) {
  RecordList list({4000, 4003});
  LoginFold<FtpLogRecord> fold(list);
  std::vector<FtpLogRecord> records(10000);
  for (std::uint32_t i = 0; i < 10000; ++i) records[i].head.time = i * 7919 % 10000;
  fold.add(records);
  list.sort();
  EXPECT_EQ(list.count(), 10000U);
  EXPECT_EQ(std::uint32_t{LoginEntry(list[4000]).head.time}, 5999U);
  EXPECT_EQ(std::uint32_t{LoginEntry(list[4001]).head.time}, 5998U);
  EXPECT_EQ(std::uint32_t{LoginEntry(list[4002]).head.time}, 5997U);
}

// A daemon may be writing the area: texts that grow or shrink meanwhile stay within the entry.
TEST(LoginFold, RecordsMayChangeWhileTheyAreRead) {
  TelnetLogRecord record{};
  std::atomic<bool> done = false;
  std::thread daemon([&] {
    volatile char* const bytes = reinterpret_cast<char*>(&record);
    for (char turn = 0; !done; ++turn) {
      for (std::size_t at = 26; at < sizeof record; ++at) bytes[at] = turn & 1 ? 'x' : '\0';
    }
  });
  for (int i = 0; i < 20000; ++i) {
    RecordList list({0, 1});
    LoginFold<TelnetLogRecord>(list).add({&record, 1});
    ASSERT_EQ(list.count(), 1U);
    const LoginEntry entry(list[0]);
    ASSERT_EQ(list[0].size(), 29 + entry.text.size() + entry.user.size());
    ASSERT_LE(entry.text.size(), sizeof record.cmd);
    ASSERT_LE(entry.user.size(), sizeof record.user);
  }
  done = true;
  daemon.join();
}

}  // namespace
}  // namespace qsvmon
