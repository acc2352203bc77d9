#include "commands/sessionlog/login_fold.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <span>
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

template <class Record>
std::string packed(const Record& record) {
  char room[kPackRoom<Record>];
  return {room, pack_login(room, record)};
}

std::uint32_t time_of(const RecordList& list, std::uint32_t position) {
  return packed_login(list[position]).head.time;
}

TEST(LoginFold, APackedRecordHasWhatTheRecordHas) {
  FtpLogRecord record{};
  record.head.time = 7;
  record.head.mac[5] = 9;
  record.optype = 3;
  std::strcpy(record.name, "/pub/a b");
  std::strcpy(record.user, "ann");
  const std::string bytes = packed(record);
  EXPECT_EQ(bytes.size(), 29U + 8 + 3);  // the head, the operation, two lengths, the texts
  const PackedLogin& login = packed_login(bytes);
  EXPECT_EQ(std::memcmp(&record.head, &login.head, sizeof record.head), 0);
  EXPECT_EQ(login.code, 3U);
  EXPECT_EQ(login.text(), "/pub/a b");
  EXPECT_EQ(login.user(), "ann");
}

TEST(LoginFold, TextsOfEveryLengthArePackedWhole) {
  for (std::size_t length = 0; length <= 64; ++length) {
    const std::string name(length, 'n');
    const std::string user(length % 25, 'u');
    FtpLogRecord record{};
    fill(record.name, 'x');  // the NUL alone ends a text
    fill(record.user, 'y');
    std::memcpy(record.name, name.c_str(), std::min<std::size_t>(length + 1, 64));
    std::memcpy(record.user, user.c_str(), std::min<std::size_t>(user.size() + 1, 24));
    const std::string bytes = packed(record);
    EXPECT_EQ(bytes.size(), 29 + length + length % 25);
    EXPECT_EQ(packed_login(bytes).text(), name);
    EXPECT_EQ(packed_login(bytes).user(), user);
  }
}

TEST(LoginFold, TextsEndWithTheirFields) {
  FtpLogRecord ftp{};
  fill(ftp.name, 'n');
  fill(ftp.user, 'u');
  const std::string ftp_bytes = packed(ftp);
  EXPECT_EQ(packed_login(ftp_bytes).text(), std::string(64, 'n'));
  EXPECT_EQ(packed_login(ftp_bytes).user(), std::string(24, 'u'));
  TelnetLogRecord telnet{};
  telnet.cmdlen = 255;
  fill(telnet.cmd, 'c');
  fill(telnet.user, 'u');
  const std::string telnet_bytes = packed(telnet);
  const PackedLogin& login = packed_login(telnet_bytes);
  EXPECT_EQ(login.code, 255U);
  EXPECT_EQ(login.text(), std::string(129, 'c'));
  EXPECT_EQ(login.user(), std::string(32, 'u'));
  const std::string empty = packed(TelnetLogRecord{});
  EXPECT_EQ(packed_login(empty).text(), "");
}

/// Records of these times, numbered by `start`.
std::vector<TelnetLogRecord> records_of(std::uint32_t count,
                                        const std::function<std::uint32_t(std::uint32_t)>& time) {
  std::vector<TelnetLogRecord> records(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    records[i].head.time = time(i);
    records[i].head.start = i;
  }
  return records;
}

std::uint32_t number_of(const RecordList& list, std::uint32_t position) {
  return packed_login(list[position]).head.start;
}

TEST(LoginFold, EveryRecordIsCountedAndThoseOfThePageAreKept) {
  RecordList list({0, 2});
  LoginFold<TelnetLogRecord> fold(list);
  fold.add(records_of(9000, [](std::uint32_t i) { return i; }));
  list.sort();
  EXPECT_EQ(list.count(), 9000U);
  EXPECT_EQ(list.size(), 2U);  // no other was ever stored
  EXPECT_EQ(time_of(list, 0), 8999U);
  EXPECT_EQ(time_of(list, 1), 8998U);
}

TEST(LoginFold, TheNewestMayComeFirst) {
  RecordList list({0, 2});
  LoginFold<TelnetLogRecord> fold(list);
  fold.add(records_of(1000, [](std::uint32_t i) { return 1000 - i; }));
  list.sort();
  EXPECT_EQ(list.count(), 1000U);
  EXPECT_EQ(list.size(), 2U);
  EXPECT_EQ(time_of(list, 0), 1000U);
  EXPECT_EQ(time_of(list, 1), 999U);
}

// The batch has three records of each time; the page ends behind the second of one.
TEST(LoginFold, APageMayEndAmongEqualTimes) {
  RecordList rising({0, 5});
  LoginFold<TelnetLogRecord>(rising).add(records_of(9000, [](std::uint32_t i) { return i / 3; }));
  rising.sort();
  EXPECT_EQ(number_of(rising, 2), 8999U);
  EXPECT_EQ(number_of(rising, 3), 8994U);
  EXPECT_EQ(number_of(rising, 4), 8995U);
  RecordList falling({0, 5});
  LoginFold<TelnetLogRecord>(falling).add(
      records_of(9000, [](std::uint32_t i) { return 9000 - i / 3; }));
  falling.sort();
  EXPECT_EQ(number_of(falling, 3), 3U);
  EXPECT_EQ(number_of(falling, 4), 4U);
}

// Neither end of these has the newest, and batches may be shorter than the page.
TEST(LoginFold, ThePageMayComeFromAnywhere) {
  const auto hill = [](std::uint32_t i) { return i < 50 ? i : 100 - i; };
  for (const std::uint32_t batch : {1U, 3U, 4U, 5U, 60U, 100U}) {
    RecordList list({1, 4});
    LoginFold<TelnetLogRecord> fold(list);
    const std::vector<TelnetLogRecord> records = records_of(100, hill);
    for (std::uint32_t at = 0; at < 100; at += batch) {
      fold.add(std::span(records).subspan(at, std::min(batch, 100 - at)));
    }
    list.sort();
    EXPECT_EQ(list.count(), 100U);
    EXPECT_EQ(number_of(list, 0), 50U);
    EXPECT_EQ(number_of(list, 1), 49U);
    EXPECT_EQ(number_of(list, 2), 51U);
    EXPECT_EQ(number_of(list, 3), 48U);
  }
}

TEST(LoginFold, APageOfNothingCountsAlone) {
  RecordList list({3, 3});
  LoginFold<TelnetLogRecord>(list).add(records_of(9, [](std::uint32_t) { return 0xFFFFFFFF; }));
  EXPECT_EQ(list.count(), 9U);
  EXPECT_EQ(list.size(), 0U);
}

TEST(LoginFold, OfEqualTimesTheFirstThatCameAreShown) {
  RecordList list({1, 5});
  LoginFold<TelnetLogRecord> fold(list);
  fold.add(records_of(10000, [](std::uint32_t i) { return i % 3; }));
  list.sort();
  EXPECT_EQ(list.count(), 10000U);
  for (std::uint32_t at = 0; at < 5; ++at) EXPECT_EQ(number_of(list, at), 2 + 3 * at);
}

// The largest times are 9999, 9998, ...; multiplying by 7919 scatters them.
TEST(LoginFold, ThePageOfScatteredTimesIsThatOfAllRecords) {
  RecordList list({4000, 4003});
  LoginFold<FtpLogRecord> fold(list);
  std::vector<FtpLogRecord> records(10000);
  for (std::uint32_t i = 0; i < 10000; ++i) records[i].head.time = i * 7919 % 10000;
  fold.add(records);
  list.sort();
  EXPECT_EQ(list.count(), 10000U);
  EXPECT_EQ(time_of(list, 4000), 5999U);
  EXPECT_EQ(time_of(list, 4001), 5998U);
  EXPECT_EQ(time_of(list, 4002), 5997U);
}

TEST(LoginFold, ALongPageIsThatOfAllRecordsToo) {
  RecordList list({4094, 4097});
  LoginFold<FtpLogRecord> fold(list);
  std::vector<FtpLogRecord> records(20000);
  for (std::uint32_t i = 0; i < 20000; ++i) records[i].head.time = i * 7919 % 20000;
  fold.add(records);
  list.sort();
  EXPECT_EQ(list.count(), 20000U);
  EXPECT_LT(list.size(), 20000U);
  EXPECT_EQ(time_of(list, 4094), 15905U);
  EXPECT_EQ(time_of(list, 4095), 15904U);
  EXPECT_EQ(time_of(list, 4096), 15903U);
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
    const PackedLogin& login = packed_login(list[0]);
    ASSERT_EQ(list[0].size(), 29 + login.text().size() + login.user().size());
    ASSERT_LE(login.text().size(), sizeof record.cmd);
    ASSERT_LE(login.user().size(), sizeof record.user);
  }
  done = true;
  daemon.join();
}

}  // namespace
}  // namespace qsvmon
