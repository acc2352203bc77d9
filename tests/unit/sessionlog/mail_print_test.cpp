#include "commands/sessionlog/mail_print.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "commands/sessionlog/mail_fold.h"
#include "commands/sessionlog/session_page.h"
#include "tests/unit/sessionlog/mail_builder.h"
#include "tests/unit/sessionlog/row_fixture.h"

using namespace std::literals;

namespace qsvmon {
namespace {

constexpr PageRange kAll{0, 0xFFFFFFFF};

class MailPrintTest : public RowTest {
 protected:
  /// The row of a record that has not been filtered; "hidden" for none.
  static std::string json(const MailRecord& record) {
    MailRow row;
    if (!row.load(MailElements(record).bytes())) return "hidden";
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

  static void fill(RecordList& list, const std::vector<MailRecord>& mails) {
    MailFold(MailQuery{}, list).add(mails);
    list.sort();
  }
  static std::string page(const std::vector<MailRecord>& mails, int number, int limit) {
    RecordList list(page_range(number, limit), is_hidden_mail);
    fill(list, mails);
    MemoryPrinter out;
    MailRow row;
    print_page(out, list, row);
    return out.str();
  }
  static std::string sheet(const std::vector<MailRecord>& mails) {
    RecordList list(kAll, is_hidden_mail);
    fill(list, mails);
    MailRow row;
    return sheet_bytes([&](CsvSheet& to) { write_sheet(to, list, row); });
  }
};

TEST_F(MailPrintTest, every_member_has_its_place) {
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

TEST_F(MailPrintTest, absent_elements_are_empty) {
  EXPECT_EQ(
      "{\"src_ip\":\"10.0.0.1\",\"src_port\":1025,\"dst_ip\":\"192.168.1.2\",\"dst_port\":25,"
      "\"apid\":0,\"appname\":\"undname\",\"mac\":\"00-00-00-00-00-00\","
      "\"req_time\":\"2024-03-05/07:07:21\",\"time\":1709622441,"
      "\"srcip_desc\":\"\",\"dstip_desc\":\"\",\"ipmac_desc\":\"\","
      "\"from\":\"\",\"to\":\"\",\"cc\":\"\",\"subject\":\"\",\"tolen\":0,\"file\":\"\"}",
      json(whole_mail().record()));
}

TEST_F(MailPrintTest, addresses_and_mac_are_labelled) {
  load_labels();
  const std::string row = json(whole_mail().mac().record());
  EXPECT_NE(std::string::npos,
            row.find("\"time\":1709622441,\"srcip_desc\":\"office\",\"dstip_desc\":\"mail\"hub\","
                     "\"ipmac_desc\":\"laptop\",\"from\":\"\""))
      << row;
}

TEST_F(MailPrintTest, a_header_that_cannot_be_decoded_hides_the_row) {
  EXPECT_EQ("hidden", json(whole_mail().from("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().cc("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().subject("=bad").record()));
  EXPECT_EQ("hidden", json(whole_mail().from("\r\n").record()));
}

TEST_F(MailPrintTest, a_header_of_no_bytes_hides_the_row) {
  EXPECT_EQ("hidden", json(whole_mail().from("").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("").record()));
  EXPECT_EQ("hidden", json(whole_mail().cc("").record()));
  EXPECT_EQ("hidden", json(whole_mail().subject("").record()));
  EXPECT_EQ("hidden", json(whole_mail().to("b@y.com").to("").record()));
  EXPECT_EQ("b@y.com", member(whole_mail().to("").to("b@y.com").record(), "to"));
}

TEST_F(MailPrintTest, attachment_names_are_decoded_and_joined) {
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

TEST_F(MailPrintTest, texts_are_cleaned) {
  EXPECT_EQ("ab", member(whole_mail().from("a\\\x1b\"b").record(), "from"));
  EXPECT_EQ("Jos_Grcia<j@x>",
            member(whole_mail().from("=?gb?Q?Jos\\_?= Gr\"cia <j@x>").record(), "from"));
}

// KEEP: the filter has split the Subject, so that its first word alone is left to show.
TEST_F(MailPrintTest, after_the_filter_the_first_word_of_a_subject_is_shown) {
  const std::string text = page({whole_mail().subject("Re: =?UTF-8?B?5L2g5aW9?=").record()}, 1, 1);
  EXPECT_NE(std::string::npos, text.find("\"subject\":\"Re:\",\"tolen\"")) << text;
}

TEST_F(MailPrintTest, a_page_that_is_printed_again_is_the_same) {
  RecordList list(kAll, is_hidden_mail);
  fill(list, {whole_mail().from("Bob Smith <b@x>").to("a\tb").subject("a b").record()});
  MemoryPrinter first;
  MemoryPrinter second;
  MailRow row;
  print_page(first, list, row);
  print_page(second, list, row);
  EXPECT_NE(std::string::npos, first.str().find("\"from\":\"BobSmith<b@x>\",\"to\":\"ab\""));
  EXPECT_EQ(first.str(), second.str());
}

TEST_F(MailPrintTest, pages_hold_the_largest_keys_first) {
  const std::vector<MailRecord> mails = {whole_mail(2).from("two").record(),
                                         whole_mail(9).from("nine").record(),
                                         whole_mail(5).from("five").record()};
  const auto froms = [&](int number, int limit) {
    const std::string text = page(mails, number, limit);
    std::string all;
    for (std::size_t at = 0; (at = text.find("\"from\":\"", at)) != std::string::npos;) {
      at += 8;
      all += text.substr(at, text.find('"', at) - at) + " ";
    }
    return all + text.substr(text.find("\"count\":") + 8);
  };
  EXPECT_EQ("nine five two 3}", froms(1, 100));
  EXPECT_EQ("nine five 3}", froms(1, 2));
  EXPECT_EQ("two 3}", froms(2, 2));
  EXPECT_EQ("3}", froms(3, 2));
  EXPECT_EQ("3}", froms(0, 100));  // start wraps below 0, end is 0
  EXPECT_EQ("3}", froms(1, 0));
  EXPECT_EQ("nine five two 3}", froms(1, -1));  // end is 2^32 - 1
  EXPECT_EQ("3}", froms(-1, 1));
  EXPECT_EQ("nine five two 3}", froms(65537, 65536));  // 2^32 wraps to 0
}

TEST_F(MailPrintTest, an_empty_list_has_no_rows) {
  EXPECT_EQ("{\"data\":[],\"count\":0}", page({}, 1, 100));
}

// KEEP: what is hidden on the page neither counts nor takes a place; what is hidden elsewhere does.
TEST_F(MailPrintTest, hidden_rows_on_the_page_are_not_counted) {
  const std::vector<MailRecord> mails = {
      whole_mail(9).from("a").record(), whole_mail(8).from("=bad").record(),
      whole_mail(7).from("c").record(), whole_mail(6).from("=bad").record(),
      whole_mail(5).from("e").record(),
  };
  const std::string first = page(mails, 1, 2);
  EXPECT_NE(std::string::npos, first.find("\"from\":\"a\""));
  EXPECT_NE(std::string::npos, first.find("\"},{"));
  EXPECT_NE(std::string::npos, first.find("\"from\":\"c\""));
  EXPECT_EQ(std::string::npos, first.find("\"from\":\"e\""));
  EXPECT_NE(std::string::npos, first.find("],\"count\":4}"));
  // The second page begins at the third record, whichever were hidden on the first.
  const std::string second = page(mails, 2, 2);
  EXPECT_EQ(0U, second.find("{\"data\":[{"));
  EXPECT_NE(std::string::npos, second.find("\"from\":\"c\""));
  EXPECT_NE(std::string::npos, second.find("\"from\":\"e\""));
  EXPECT_NE(std::string::npos, second.find("],\"count\":4}"));
  const std::string all = page(mails, 1, 100);
  EXPECT_NE(std::string::npos, all.find("],\"count\":3}"));
}

// The filter takes an empty Subject; the page finds it hidden, and does not count it.
TEST_F(MailPrintTest, empty_headers_are_listed_and_hidden_on_the_page_alone) {
  const std::vector<MailRecord> mails = {
      whole_mail(9).from("a").record(),
      whole_mail(8).subject("").record(),
      whole_mail(7).cc("").record(),
      whole_mail(6).from("d").record(),
  };
  const std::string all = page(mails, 1, 100);
  EXPECT_NE(std::string::npos, all.find("\"from\":\"a\""));
  EXPECT_NE(std::string::npos, all.find("\"from\":\"d\""));
  EXPECT_NE(std::string::npos, all.find("],\"count\":2}"));
  EXPECT_NE(std::string::npos, page(mails, 1, 1).find("],\"count\":4}"));
  EXPECT_NE(std::string::npos, page(mails, 2, 1).find("],\"count\":2}"));
}

TEST_F(MailPrintTest, the_sheet_has_twelve_columns) {
  const std::vector<MailRecord> mails = {
      whole_mail(3)
          .mac()
          .from("Bob Smith <b@x>")
          .to("=?gb2312?Q?=C4=E3?=")
          .cc("c, d")
          .subject("one two")
          .attachment("a b.txt")
          .attachment("c")
          .record(),
      whole_mail(4).record(),
      whole_mail(5).cc("=bad").record(),
  };
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
      sheet(mails));
}

TEST_F(MailPrintTest, the_sheet_of_an_empty_list_is_its_header) {
  const std::string bytes = sheet({});
  EXPECT_EQ('\n', bytes.front());
  EXPECT_EQ(std::string::npos, bytes.find('\n', 1));
}

}  // namespace
}  // namespace qsvmon
