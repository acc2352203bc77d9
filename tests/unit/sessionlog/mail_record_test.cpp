#include "commands/sessionlog/mail_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "tests/unit/sessionlog/mail_builder.h"

using namespace std::literals;

namespace qsvmon {
namespace {

std::string text_of(const MailRecord& record, MailText place) {
  return {record.elems + place.at, place.length};
}

TEST(MailRecord, every_element_type_is_found_in_any_order) {
  const MailRecord record = MailBuilder(1)
                                .apid(0x1234)
                                .subject("Hi there")
                                .mac()
                                .element(77, "unknown")
                                .cc("c@x.com")
                                .ends()
                                .to("t@x.com")
                                .attachment("a.txt")
                                .time()
                                .element(0, "")
                                .from("f@x.com")
                                .record();
  const MailParts parts = mail_parts(record);
  EXPECT_EQ("f@x.com", text_of(record, parts.from));
  EXPECT_EQ("t@x.com", text_of(record, parts.to));
  EXPECT_EQ("c@x.com", text_of(record, parts.cc));
  EXPECT_EQ("Hi there", text_of(record, parts.subject));
  ASSERT_EQ(1U, parts.attachment_count);
  EXPECT_EQ("a.txt\0"s, text_of(record, parts.attachments[0]));
  EXPECT_TRUE(parts.has_time);
  EXPECT_EQ(0x65E6C4A9U, parts.time);
  EXPECT_TRUE(parts.has_addresses);
  EXPECT_EQ(0x0100000AU, parts.ends.src_net);
  EXPECT_EQ(0x0201A8C0U, parts.ends.dst_net);
  EXPECT_EQ(0x0104U, parts.ends.sport_net);
  EXPECT_EQ(0x1900U, parts.ends.dport_net);
  EXPECT_TRUE(parts.has_mac);
  EXPECT_EQ(0, std::memcmp("\x00\x11\x22\x33\x44\x55", parts.ends.mac, 6));
  EXPECT_EQ(0x1234U, parts.apid);
}

TEST(MailRecord, nothing_is_there_by_itself) {
  const MailParts parts = mail_parts(MailBuilder(1).record());
  for (const MailText text : {parts.from, parts.to, parts.cc, parts.subject}) {
    EXPECT_FALSE(text.is_present());
    EXPECT_EQ(0U, text.length);
  }
  EXPECT_EQ(0U, parts.attachment_count);
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(0U, parts.apid);
  EXPECT_EQ(0, std::memcmp("\0\0\0\0\0\0", parts.ends.mac, 6));
}

TEST(MailRecord, a_later_element_overrides_an_earlier_one) {
  const MailRecord record = MailBuilder(1)
                                .from("first")
                                .apid(1)
                                .time()
                                .from("second")
                                .apid(2)
                                .element(6, "\1\0\0\0"sv)
                                .to("first")
                                .to("")
                                .record();
  const MailParts parts = mail_parts(record);
  EXPECT_EQ("second", text_of(record, parts.from));
  EXPECT_TRUE(parts.to.is_present());
  EXPECT_EQ(0U, parts.to.length);
  EXPECT_EQ(2U, parts.apid);
  EXPECT_EQ(1U, parts.time);
}

TEST(MailRecord, five_attachments_count_and_those_without_a_name_do_not) {
  MailBuilder builder(1);
  builder.element(kMailAttachment, "");
  for (int i = 1; i <= 7; ++i) builder.attachment(std::to_string(i));
  const MailRecord record = builder.record();
  const MailParts parts = mail_parts(record);
  ASSERT_EQ(5U, parts.attachment_count);
  EXPECT_EQ("1\0"s, text_of(record, parts.attachments[0]));
  EXPECT_EQ("5\0"s, text_of(record, parts.attachments[4]));
}

TEST(MailRecord, a_value_that_is_not_whole_is_absent) {
  const MailParts parts =
      mail_parts(MailBuilder(1)
                     .element(kMailTime, "\1\2\3"sv)
                     .element(kMailAddresses, "\1\2\3\4\5\6\7\x08\x09\x0A\x0B"sv)
                     .element(kMailMac, "\1\2\3\4\5"sv)
                     .element(kMailAppId, "\1"sv)
                     .record());
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(0U, parts.apid);
  EXPECT_EQ(0U, parts.time);
}

TEST(MailRecord, a_value_longer_than_its_type_is_cut) {
  const MailParts parts = mail_parts(MailBuilder(1)
                                         .element(kMailTime, "\1\0\0\0\xFF\xFF"sv)
                                         .element(kMailMac, "\1\2\3\4\5\6\7"sv)
                                         .record());
  EXPECT_EQ(1U, parts.time);
  EXPECT_TRUE(parts.has_mac);
}

TEST(MailRecord, an_element_beyond_the_elements_ends_the_walk) {
  // It claims one byte more than there is; the one before it counts.
  MailRecord record = MailBuilder(1).from("abc").element(kMailTo, 5, "defg").record();
  EXPECT_EQ("abc", text_of(record, mail_parts(record).from));
  EXPECT_EQ(0U, mail_parts(record).to.length);
  record = MailBuilder(1).from("abc").element(kMailTo, 0xFFFF, "defg").record();
  EXPECT_EQ(0U, mail_parts(record).to.length);
  // Half a head.
  record = MailBuilder(1).from("abc").raw("\x02\x01").record();
  EXPECT_EQ("abc", text_of(record, mail_parts(record).from));
  EXPECT_EQ(0U, mail_parts(record).to.length);
  // The bytes behind `elemlen` are not elements.
  record = MailBuilder(1).from("abc").to("def").record();
  record.elemlen = 6;
  EXPECT_EQ("abc", text_of(record, mail_parts(record).from));
  EXPECT_EQ(0U, mail_parts(record).to.length);
}

TEST(MailRecord, a_length_beyond_the_record_reads_no_further_than_the_record) {
  // 1023 bytes of From fill the record to its last byte; the claim of 65535 adds nothing.
  MailRecord record = MailBuilder(1).from(std::string(1023, 'x')).record();
  EXPECT_EQ(1026U, record.elemlen);
  for (unsigned claim : {1026U, 1027U, 0xFFFFU}) {
    record.elemlen = static_cast<std::uint16_t>(claim);
    EXPECT_EQ(std::string(1023, 'x'), text_of(record, mail_parts(record).from));
  }
  record.elems[1] = static_cast<char>(0x00);  // 1024 = 0x0400: one byte more than there is
  record.elems[2] = static_cast<char>(0x04);
  EXPECT_EQ(0U, mail_parts(record).from.length);
}

}  // namespace
}  // namespace qsvmon
