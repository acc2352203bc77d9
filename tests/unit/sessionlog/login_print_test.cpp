#include "commands/sessionlog/login_print.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "commands/sessionlog/login_fold.h"
#include "commands/sessionlog/session_page.h"
#include "tests/unit/sessionlog/row_fixture.h"

using namespace std::literals;

namespace qsvmon {
namespace {

/// 10.0.0.1:1025 to 192.168.1.2:21, connected 2024-03-05 07:07:21 UTC, 48 seconds before `time`.
constexpr std::string_view kHead =
    "\xA9\xC4\xE6\x65"
    "\xD9\xC4\xE6\x65"
    "\x0A\0\0\x01"
    "\xC0\xA8\x01\x02"
    "\x04\x01"
    "\0\x15"
    "\x00\x11\x22\x33\x44\x55"sv;

template <class Record>
Record from_bytes(const std::string& bytes) {
  Record record{};
  EXPECT_LE(bytes.size(), sizeof record);
  std::memcpy(&record, bytes.data(), bytes.size());
  return record;
}

std::string padded(std::string_view text, std::size_t width) {
  std::string field(text);
  field.resize(width, '\0');
  return field;
}

FtpLogRecord ftp(int optype, std::string_view name, std::string_view user) {
  return from_bytes<FtpLogRecord>(std::string(kHead) + static_cast<char>(optype) + '\0' +
                                  padded(name, 64) + padded(user, 24));
}

TelnetLogRecord telnet(int cmdlen, std::string_view cmd, std::string_view user) {
  return from_bytes<TelnetLogRecord>(std::string(kHead) + static_cast<char>(cmdlen) +
                                     padded(cmd, 129) + padded(user, 32));
}

template <class Row>
std::string json(const typename Row::Record& record) {
  char room[kPackRoom<typename Row::Record>];
  Row row;
  EXPECT_TRUE(row.load({room, pack_login(room, record)}));
  MemoryPrinter out;
  row.print(out);
  return out.str();
}

constexpr PageRange kAll{0, 0xFFFFFFFF};

template <class Row>
std::string page(const std::vector<typename Row::Record>& records, PageRange range) {
  RecordList list(range);
  LoginFold<typename Row::Record>(list).add(records);
  list.sort();
  MemoryPrinter out;
  print_record_page<Row>(out, list);
  return out.str();
}

constexpr std::string_view kJsonHead =
    "{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\",\"dst_port\":21,"
    "\"mac\":\"00-11-22-33-44-55\",\"start\":1709622441,\"req_time\":\"2024-03-05/07:08:09\","
    "\"time\":1709622489,\"srcip_desc\":\"\",\"dstip_desc\":\"\",\"ipmac_desc\":\"\"";

class LoginPrintTest : public RowTest {};

TEST_F(LoginPrintTest, FtpMembers) {
  EXPECT_EQ(json<FtpRow>(ftp(2, "/pub/a b.txt", "anonymous")),
            std::string(kJsonHead) +
                ",\"user\":\"anonymous\",\"optype\":\"RETR\",\"name\":\"/pub/a b.txt\"}");
}

TEST_F(LoginPrintTest, TelnetMembers) {
  EXPECT_EQ(json<TelnetRow>(telnet(8, "uname -a", "root")),
            std::string(kJsonHead) + ",\"user\":\"root\",\"cmd\":\"uname -a\"}");
}

TEST_F(LoginPrintTest, EndpointsAreLabelled) {
  load_labels();
  for (const std::string& row :
       {json<FtpRow>(ftp(2, "x", "y")), json<TelnetRow>(telnet(1, "x", "y"))}) {
    EXPECT_NE(std::string::npos,
              row.find("\"time\":1709622489,\"srcip_desc\":\"office\",\"dstip_desc\":\"mail\"hub\","
                       "\"ipmac_desc\":\"laptop\",\"user\":\"y\""))
        << row;
  }
}

TEST(FtpVerb, EachOperationHasItsCommand) {
  const std::string_view verbs[] = {"UNKN", "STOR", "RETR", "DELE", "RMD",
                                    "RNFR", "RNTO", "USER", "PASS"};
  for (std::uint8_t i = 0; i < 9; ++i) EXPECT_EQ(ftp_verb(i), verbs[i]);
  for (int i = 9; i < 256; ++i) EXPECT_EQ(ftp_verb(static_cast<std::uint8_t>(i)), "NULL");
}

TEST_F(LoginPrintTest, AnOperationBeyondTheTableIsNull) {
  EXPECT_EQ(json<FtpRow>(ftp(200, "n", "u")),
            std::string(kJsonHead) + ",\"user\":\"u\",\"optype\":\"NULL\",\"name\":\"n\"}");
}

// KEEP: user and file names break the JSON when they hold a double quote.
TEST_F(LoginPrintTest, NamesStandAsTheyAre) {
  EXPECT_EQ(json<FtpRow>(ftp(7, "\t\"", "a\"b\\")),
            std::string(kJsonHead) + ",\"user\":\"a\"b\\\",\"optype\":\"USER\",\"name\":\"\t\"\"}");
  EXPECT_EQ(json<TelnetRow>(telnet(0, "", "a\"b")),
            std::string(kJsonHead) + ",\"user\":\"a\"b\",\"cmd\":\"\"}");
}

TEST_F(LoginPrintTest, FieldsWithoutANulEndWithTheirWidth) {
  EXPECT_EQ(json<FtpRow>(ftp(0, std::string(64, 'n'), std::string(24, 'u'))),
            std::string(kJsonHead) + ",\"user\":\"" + std::string(24, 'u') +
                "\",\"optype\":\"UNKN\",\"name\":\"" + std::string(64, 'n') + "\"}");
  EXPECT_EQ(json<TelnetRow>(telnet(255, std::string(129, 'c'), std::string(32, 'u'))),
            std::string(kJsonHead) + ",\"user\":\"" + std::string(32, 'u') + "\",\"cmd\":\"" +
                std::string(129, 'c') + "\"}");
}

TEST_F(LoginPrintTest, ATelnetCommandIsCutAtItsLengthAndCleaned) {
  struct {
    int cmdlen;
    std::string_view cmd;
    std::string_view shown;
  } const cases[] = {
      {8, "ls \"a\"\\b", "ls a\\\\b"},
      {2, "ls -l", "ls"},
      {9, "a\tb\rc\nd\x1b!", "abcd!"},
      {0, "ls", ""},
      {200, "ls", "ls"},  // up to its NUL
  };
  for (const auto& c : cases) {
    EXPECT_EQ(json<TelnetRow>(telnet(c.cmdlen, c.cmd, "u")),
              std::string(kJsonHead) + ",\"user\":\"u\",\"cmd\":\"" + std::string(c.shown) + "\"}");
  }
}

TEST_F(LoginPrintTest, TheNewestComeFirstAndAllAreCounted) {
  std::vector<FtpLogRecord> records;
  for (const std::uint32_t time : {5U, 0xF0000000U, 7U, 5U}) {
    records.push_back(ftp(static_cast<int>(records.size()), "n", "u"));
    records.back().head.time = time;
  }
  const auto verbs = [&](int number, int limit) {
    const std::string text = page<FtpRow>(records, page_range(number, limit));
    std::string all;
    for (std::size_t at = 0; (at = text.find("\"optype\":\"", at)) != std::string::npos; ++at) {
      all += text.substr(at + 10, 4) + " ";
    }
    return all + text.substr(text.rfind("\"count\":") + 8);
  };
  EXPECT_EQ(verbs(1, 100), "STOR RETR UNKN DELE 4}");
  EXPECT_EQ(verbs(2, 1), "RETR 4}");
  EXPECT_EQ(verbs(3, 2), "4}");
  EXPECT_EQ(verbs(0, 100), "4}");
  EXPECT_EQ(verbs(1, 0), "4}");
  EXPECT_EQ(verbs(1, -1), "STOR RETR UNKN DELE 4}");
}

TEST_F(LoginPrintTest, AnEmptyListHasNoRows) {
  EXPECT_EQ(page<TelnetRow>({}, page_range(1, 100)), "{\"data\":[],\"count\":0}");
}

TEST_F(LoginPrintTest, TheFtpSheetIsUtf8) {
  FtpLogRecord records[] = {ftp(1, "a,b\"c", "user one"), ftp(99, "d", "")};
  records[1].head.time = 1709622490;
  RecordList list(kAll);
  LoginFold<FtpLogRecord>(list).add(records);
  list.sort();
  EXPECT_EQ(
      sheet_bytes([&](CsvSheet& sheet) { write_sheet<FtpRow>(sheet, list); }),
      "\n"
      "\u6E90\u5730\u5740,\u6E90\u7AEF\u53E3,\u76EE\u6807\u5730\u5740,\u76EE\u6807\u7AEF\u53E3,"
      "\u6E90MAC,\u8FDE\u63A5\u65F6\u95F4,\u64CD\u4F5C\u65F6\u95F4,\u7528\u6237\u540D,"
      "\u64CD\u4F5C\u7C7B\u578B,\u5BF9\u8C61\u540D\u79F0"
      "\n10.0.0.1,1025,192.168.1.2,21,00-11-22-33-44-55,2024-03-05/07:07:21,2024-03-05/07:08:10,"
      ",NULL,d"
      "\n10.0.0.1,1025,192.168.1.2,21,00-11-22-33-44-55,2024-03-05/07:07:21,2024-03-05/07:08:09,"
      "user one,STOR,a,b\"c");
}

TEST_F(LoginPrintTest, TheTelnetSheetIsGbkAndItsCommandsRaw) {
  RecordList list(kAll);
  // KEEP: the length does not count here
  const TelnetLogRecord record = telnet(2, "ls \"a\"\\b", "root");
  LoginFold<TelnetLogRecord>(list).add({&record, 1});
  list.sort();
  EXPECT_EQ(
      sheet_bytes([&](CsvSheet& sheet) { write_sheet<TelnetRow>(sheet, list); }),
      "\n"
      "\xD4\xB4\xB5\xD8\xD6\xB7,\xD4\xB4\xB6\xCB\xBF\xDA,\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7,"
      "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA,\xD4\xB4MAC,\xC1\xAC\xBD\xD3\xCA\xB1\xBC\xE4,"
      "\xB2\xD9\xD7\xF7\xCA\xB1\xBC\xE4,\xD3\xC3\xBB\xA7\xC3\xFB,\xB6\xD4\xCF\xF3\xC3\xFB\xB3\xC6"
      "\n10.0.0.1,1025,192.168.1.2,21,00-11-22-33-44-55,2024-03-05/07:07:21,2024-03-05/07:08:09,"
      "root,ls \"a\"\\b");
}

}  // namespace
}  // namespace qsvmon
