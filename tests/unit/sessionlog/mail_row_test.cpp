#include "commands/sessionlog/mail_row.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "commands/sessionlog/mail_filter.h"
#include "commands/sessionlog/session_page.h"
#include "tests/unit/sessionlog/mail_builder.h"
#include "tests/unit/sessionlog/row_fixture.h"

using namespace std::literals;

namespace qsvmon {
namespace {

class MailRowTest : public RowTest {
 protected:
  /// The row of a record that has not been filtered; "hidden" for none.
  static std::string json(MailRecord record) {
    MailRow row;
    if (!row.load(record)) return "hidden";
    MemoryPrinter out;
    row.print(out);
    return out.str();
  }

  /// One member's text.
  static std::string member(const MailRecord& record, std::string_view name) {
    const std::string all = json(record);
    const std::string begin = "\"" + std::string(name) + "\":\"";
    const std::size_t at = all.find(begin);
    if (at == std::string::npos) return all;
    const std::size_t from = at + begin.size();
    return all.substr(from, all.find('"', from) - from);
  }

  static std::string page(MailLogList& list, int number, int limit) {
    MemoryPrinter out;
    MailRow row;
    print_page(out, list, page_range(number, limit), row);
    return out.str();
  }

  static void collect(MailLogList& list, const MailBuilder& mail) {
    collect_mail(mail.record(), MailQuery{}, list);
  }
};

TEST_F(MailRowTest, every_member_has_its_place) {
  EXPECT_EQ(
      "{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\",\"dst_port\":25,"
      "\"apid\":4660,\"appname\":\"undname\",\"mac\":\"00-11-22-33-44-55\","
      "\"req_time\":\"2024-03-05/07:07:21\",\"time\":1709622441,"
      "\"srcip_desc\":\"\",\"dstip_desc\":\"\",\"ipmac_desc\":\"\","
      "\"from\":\"BobSmith<bob@x.com>\",\"to\":\"\xC4\xE3\xBA\xC3<b@y.com>\",\"cc\":\"c@z.com\","
      "\"subject\":\"Hello,\",\"tolen\":30,\"file\":\"a.txt,b.pdf\"}",
      json(whole_mail()
               .mac()
               .apid(0x1234)
               .from("\"Bob Smith\" <bob@x.com>")
               .to("=?UTF-8?B?5L2g5aW9?= <b@y.com>")
               .cc("c@z.com")
               .subject("Hello,")
               .attachment("a.txt")
               .attachment("b.pdf")
               .record()));
}

TEST_F(MailRowTest, absent_elements_are_empty) {
  EXPECT_EQ(
      "{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\",\"dst_port\":25,"
      "\"apid\":0,\"appname\":\"undname\",\"mac\":\"00-00-00-00-00-00\","
      "\"req_time\":\"2024-03-05/07:07:21\",\"time\":1709622441,"
      "\"srcip_desc\":\"\",\"dstip_desc\":\"\",\"ipmac_desc\":\"\","
      "\"from\":\"\",\"to\":\"\",\"cc\":\"\",\"subject\":\"\",\"tolen\":0,\"file\":\"\"}",
      json(whole_mail().record()));
}

TEST_F(MailRowTest, addresses_and_mac_are_labelled) {
  load_labels();
  const std::string row = json(whole_mail().mac().record());
  EXPECT_NE(std::string::npos,
            row.find("\"time\":1709622441,\"srcip_desc\":\"office\",\"dstip_desc\":\"mail\"hub\","
                     "\"ipmac_desc\":\"laptop\",\"from\":\"\""))
      << row;
}

TEST_F(MailRowTest, a_header_that_cannot_be_decoded_hides_the_row) {
  EXPECT_EQ("hidden", json(whole_mail().from("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().cc("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().subject("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().from("\r\n").record()));
}

TEST_F(MailRowTest, a_header_of_no_bytes_hides_the_row) {
  EXPECT_EQ("hidden", json(whole_mail().from("").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("").record()));
  EXPECT_EQ("hidden", json(whole_mail().cc("").record()));
  EXPECT_EQ("hidden", json(whole_mail().subject("").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("b@y.com").to("").record()));
  EXPECT_EQ("b@y.com", member(whole_mail().to("").to("b@y.com").record(), "to"));
}

TEST_F(MailRowTest, attachment_names_are_decoded_and_joined) {
  EXPECT_EQ("\xC4\xE3.txt,b,c,d,e", member(whole_mail()
                                               .attachment("=?gb2312?Q?=C4=E3.txt?=")
                                               .attachment("b")
                                               .attachment("c")
                                               .attachment("d")
                                               .attachment("e")
                                               .attachment("f")
                                               .record(),
                                           "file"));
  // KEEP: a name that fails leaves its comma, but for the first, which has none.
  EXPECT_EQ(",b,", member(whole_mail().attachment("=x").attachment("b").attachment("=y").record(),
                          "file"));
  EXPECT_EQ(",b", member(whole_mail().attachment("").attachment("b").record(), "file"));
  // A name of 128 bytes or more does not fit; the words before it do.
  EXPECT_EQ(std::string(127, 'x'),
            member(whole_mail().attachment(std::string(127, 'x')).record(), "file"));
  EXPECT_EQ("", member(whole_mail().attachment(std::string(128, 'x')).record(), "file"));
  EXPECT_EQ("a", member(whole_mail().attachment("a " + std::string(126, 'x')).record(), "file"));
  // A name's NUL is no byte of it, which the length of a word passed through shows.
  EXPECT_EQ("x?Q?abcdef?", member(whole_mail().attachment("=?x?Q?abcdef?=").record(), "file"));
  // Without its NUL a name ends with its element.
  EXPECT_EQ("abc", member(whole_mail().element(kMailAttachment, "abc").time().record(), "file"));
  EXPECT_EQ("ab", member(whole_mail().element(kMailAttachment, "ab\0cd\0"sv).record(), "file"));
}

TEST_F(MailRowTest, texts_are_cleaned) {
  EXPECT_EQ("ab", member(whole_mail().from("a\\\x1b\"b").record(), "from"));
  EXPECT_EQ("Jos_Grcia<j@x>",
            member(whole_mail().from("=?gb?Q?Jos\\_?= Gr\"cia <j@x>").record(), "from"));
}

// KEEP: the filter has split the Subject, so that its first word alone is left to show.
TEST_F(MailRowTest, after_the_filter_the_first_word_of_a_subject_is_shown) {
  MailLogList list;
  collect(list, whole_mail().subject("Re: =?UTF-8?B?5L2g5aW9?="));
  MemoryPrinter out;
  MailRow row;
  ASSERT_TRUE(row.load(list[0]));
  row.print(out);
  EXPECT_NE(std::string::npos, out.str().find("\"subject\":\"Re:\",\"tolen\"")) << out.str();
}

TEST_F(MailRowTest, pages_hold_the_largest_keys_first) {
  MailLogList list;
  collect(list, whole_mail(2).from("two"));
  collect(list, whole_mail(9).from("nine"));
  collect(list, whole_mail(5).from("five"));
  const auto froms = [](std::string_view text) {
    std::string all;
    for (std::size_t at = 0; (at = text.find("\"from\":\"", at)) != std::string_view::npos;) {
      at += 8;
      all += std::string(text.substr(at, text.find('"', at) - at)) + " ";
    }
    const std::size_t count = text.find("\"count\":");
    return all + std::string(text.substr(count + 8));
  };
  EXPECT_EQ("nine five two 3}", froms(page(list, 1, 100)));
  EXPECT_EQ("nine five 3}", froms(page(list, 1, 2)));
  EXPECT_EQ("two 3}", froms(page(list, 2, 2)));
  EXPECT_EQ("3}", froms(page(list, 3, 2)));
  EXPECT_EQ("3}", froms(page(list, 0, 100)));  // start wraps below 0, end is 0
  EXPECT_EQ("3}", froms(page(list, 1, 0)));
  EXPECT_EQ("nine five two 3}", froms(page(list, 1, -1)));  // end is 2^32 - 1
  EXPECT_EQ("3}", froms(page(list, -1, 1)));
  EXPECT_EQ("nine five two 3}", froms(page(list, 65537, 65536)));  // 2^32 wraps to 0
}

TEST_F(MailRowTest, an_empty_list_has_no_rows) {
  MailLogList list;
  EXPECT_EQ("{\"data\":[],\"count\":0}", page(list, 1, 100));
}

// KEEP: what is hidden on the page neither counts nor takes a place; what is hidden elsewhere does.
TEST_F(MailRowTest, hidden_rows_on_the_page_are_not_counted) {
  MailLogList list;
  collect(list, whole_mail(9).from("a"));
  collect(list, whole_mail(8).from("=bad"));
  collect(list, whole_mail(7).from("c"));
  collect(list, whole_mail(6).from("=bad"));
  collect(list, whole_mail(5).from("e"));
  const std::string first = page(list, 1, 2);
  EXPECT_NE(std::string::npos, first.find("\"from\":\"a\""));
  EXPECT_NE(std::string::npos, first.find("\"},{"));
  EXPECT_NE(std::string::npos, first.find("\"from\":\"c\""));
  EXPECT_EQ(std::string::npos, first.find("\"from\":\"e\""));
  EXPECT_NE(std::string::npos, first.find("],\"count\":4}"));
  // The second page begins at the third record, whichever were hidden on the first.
  const std::string second = page(list, 2, 2);
  EXPECT_EQ(0U, second.find("{\"data\":[{"));
  EXPECT_NE(std::string::npos, second.find("\"from\":\"c\""));
  EXPECT_NE(std::string::npos, second.find("\"from\":\"e\""));
  EXPECT_NE(std::string::npos, second.find("],\"count\":4}"));
  const std::string all = page(list, 1, 100);
  EXPECT_NE(std::string::npos, all.find("],\"count\":3}"));
}

// The filter takes an empty Subject; the page finds it hidden, and does not count it.
TEST_F(MailRowTest, empty_headers_are_listed_and_hidden_on_the_page_alone) {
  MailLogList list;
  collect(list, whole_mail(9).from("a"));
  collect(list, whole_mail(8).subject(""));
  collect(list, whole_mail(7).cc(""));
  collect(list, whole_mail(6).from("d"));
  ASSERT_EQ(4U, list.size());
  const std::string all = page(list, 1, 100);
  EXPECT_NE(std::string::npos, all.find("\"from\":\"a\""));
  EXPECT_NE(std::string::npos, all.find("\"from\":\"d\""));
  EXPECT_NE(std::string::npos, all.find("],\"count\":2}"));
  EXPECT_NE(std::string::npos, page(list, 1, 1).find("],\"count\":4}"));
  EXPECT_NE(std::string::npos, page(list, 2, 1).find("],\"count\":2}"));
}

TEST_F(MailRowTest, the_sheet_has_twelve_columns) {
  MailLogList list;
  collect(list, whole_mail(3)
                    .mac()
                    .from("Bob Smith <b@x>")
                    .to("=?gb2312?Q?=C4=E3?=")
                    .cc("c, d")
                    .subject("one two")
                    .attachment("a b.txt")
                    .attachment("c"));
  collect(list, whole_mail(4));
  collect(list, whole_mail(5).cc("=bad"));
  MailRow row;
  EXPECT_EQ(
      "\n"
      "\xD4\xB4\xB5\xD8\xD6\xB7,\xD4\xB4\xB6\xCB\xBF\xDA,\xC4\xBF\xB1\xEA\xB5\xD8\xD6\xB7,"
      "\xC4\xBF\xB1\xEA\xB6\xCB\xBF\xDA,\xB7\xC3\xCE\xCA\xCA\xB1\xBC\xE4,"
      "\xD3\xA6\xD3\xC3\xD0\xAD\xD2\xE9,\xD4\xB4MAC,\xB7\xA2\xBC\xFE\xC8\xCB,"
      "\xCA\xD5\xBC\xFE\xC8\xCB,\xB3\xAD\xCB\xCD,\xD6\xF7\xCC\xE2,\xB8\xBD\xBD\xFC"
      // KEEP: ports unswapped: 1025 is 0x0401, read as 0x0104; 25 reads 0x1900.
      "\n10.0.0.1,260,192.168.1.2,6400,2024-03-05/07:07:21,undname,00-00-00-00-00-00,,,,,"
      "\n10.0.0.1,260,192.168.1.2,6400,2024-03-05/07:07:21,undname,00-11-22-33-44-55,"
      "BobSmith<b@x>,\xC4\xE3,c,d,one,ab.txt,c",
      sheet_bytes([&](CsvSheet& sheet) { write_sheet(sheet, list, row); }));
}

TEST_F(MailRowTest, the_sheet_of_an_empty_list_is_its_header) {
  MailLogList list;
  MailRow row;
  const std::string bytes = sheet_bytes([&](CsvSheet& sheet) { write_sheet(sheet, list, row); });
  EXPECT_EQ('\n', bytes.front());
  EXPECT_EQ(std::string::npos, bytes.find('\n', 1));
}

}  // namespace
}  // namespace qsvmon
