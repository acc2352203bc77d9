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

TEST(LoginFold, an_entry_has_what_the_record_has) {
  FtpLogRecord record{};
  record.head.time = 7;
  record.head.mac[5] = 9;
  record.optype = 3;
  std::strcpy(record.name, "/pub/a b");
  std::strcpy(record.user, "ann");
  const PackedLogin packed(record);
  EXPECT_EQ(29U + 8 + 3, packed.bytes().size());  // the head, the operation, two lengths, the texts
  const LoginEntry entry(packed.bytes());
  EXPECT_EQ(0, std::memcmp(&record.head, &entry.head, sizeof record.head));
  EXPECT_EQ(3U, entry.code);
  EXPECT_EQ("/pub/a b", entry.text);
  EXPECT_EQ("ann", entry.user);
}

TEST(LoginFold, texts_end_with_their_fields) {
  FtpLogRecord ftp{};
  fill(ftp.name, 'n');
  fill(ftp.user, 'u');
  const PackedLogin packed_ftp(ftp);
  EXPECT_EQ(std::string(64, 'n'), LoginEntry(packed_ftp.bytes()).text);
  EXPECT_EQ(std::string(24, 'u'), LoginEntry(packed_ftp.bytes()).user);
  TelnetLogRecord telnet{};
  telnet.cmdlen = 255;
  fill(telnet.cmd, 'c');
  fill(telnet.user, 'u');
  const PackedLogin packed_telnet(telnet);
  const LoginEntry entry(packed_telnet.bytes());
  EXPECT_EQ(255U, entry.code);
  EXPECT_EQ(std::string(129, 'c'), entry.text);
  EXPECT_EQ(std::string(32, 'u'), entry.user);
  EXPECT_EQ("", LoginEntry(PackedLogin(TelnetLogRecord{}).bytes()).text);
}

TEST(LoginFold, every_record_is_counted_and_those_of_the_page_are_kept) {
  RecordList list({0, 2});
  LoginFold<TelnetLogRecord> fold(list);
  std::vector<TelnetLogRecord> records(9000);
  for (std::uint32_t i = 0; i < 9000; ++i) records[i].head.time = i;
  fold.add(records);
  list.sort();
  EXPECT_EQ(9000U, list.count());
  EXPECT_LT(list.size(), 4096U);
  EXPECT_EQ(8999U, std::uint32_t{LoginEntry(list[0]).head.time});
  EXPECT_EQ(8998U, std::uint32_t{LoginEntry(list[1]).head.time});
}

// A daemon may be writing the area: texts that grow or shrink meanwhile stay within the entry.
TEST(LoginFold, records_may_change_while_they_are_read) {
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
    ASSERT_EQ(1U, list.count());
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
