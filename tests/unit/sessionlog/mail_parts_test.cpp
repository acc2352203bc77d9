#include "commands/sessionlog/mail_parts.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "tests/unit/sessionlog/mail_builder.h"

using namespace std::literals;

namespace qsvmon {
namespace {

std::string text_of(std::span<const char> text) {
  return {text.begin(), text.end()};
}

bool is_there(std::span<const char> text) {
  return text.data() != nullptr;
}

TEST(MailParts, every_element_type_is_found_in_any_order) {
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
  MailElements elements(record);
  const MailParts parts = elements.parts();
  EXPECT_EQ("f@x.com", text_of(parts.from));
  EXPECT_EQ("t@x.com", text_of(parts.to));
  EXPECT_EQ("c@x.com", text_of(parts.cc));
  EXPECT_EQ("Hi there", text_of(parts.subject));
  ASSERT_EQ(1U, parts.attachment_count);
  EXPECT_EQ("a.txt\0"s, text_of(parts.attachments[0]));
  EXPECT_TRUE(parts.has_time);
  EXPECT_EQ(0x65E6C4A9U, parts.time);
  EXPECT_TRUE(parts.has_addresses);
  EXPECT_EQ(0x0100000AU, parts.endpoints.src_net);
  EXPECT_EQ(0x0201A8C0U, parts.endpoints.dst_net);
  EXPECT_EQ(0x0104U, parts.endpoints.sport_net);
  EXPECT_EQ(0x1900U, parts.endpoints.dport_net);
  EXPECT_TRUE(parts.has_mac);
  EXPECT_EQ(0, std::memcmp("\x00\x11\x22\x33\x44\x55", parts.endpoints.mac, 6));
  EXPECT_EQ(0x1234U, parts.apid);
}

TEST(MailParts, nothing_is_there_by_itself) {
  MailElements elements(MailBuilder(1).record());
  const MailParts parts = elements.parts();
  for (const std::span<char> text : {parts.from, parts.to, parts.cc, parts.subject}) {
    EXPECT_FALSE(is_there(text));
  }
  EXPECT_EQ(0U, parts.attachment_count);
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(0U, parts.apid);
  EXPECT_EQ(0, std::memcmp("\0\0\0\0\0\0", parts.endpoints.mac, 6));
}

TEST(MailParts, a_later_element_overrides_an_earlier_one) {
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
  MailElements elements(record);
  const MailParts parts = elements.parts();
  EXPECT_EQ("second", text_of(parts.from));
  EXPECT_TRUE(is_there(parts.to));
  EXPECT_TRUE(parts.to.empty());
  EXPECT_EQ(2U, parts.apid);
  EXPECT_EQ(1U, parts.time);
}

TEST(MailParts, five_attachments_count_and_those_without_a_name_do_not) {
  MailBuilder builder(1);
  builder.element(kMailAttachment, "");
  for (int i = 1; i <= 7; ++i) builder.attachment(std::to_string(i));
  const MailRecord record = builder.record();
  MailElements elements(record);
  const MailParts parts = elements.parts();
  ASSERT_EQ(5U, parts.attachment_count);
  EXPECT_EQ("1\0"s, text_of(parts.attachments[0]));
  EXPECT_EQ("5\0"s, text_of(parts.attachments[4]));
}

TEST(MailParts, a_value_that_is_not_whole_is_absent) {
  MailElements elements(MailBuilder(1)
                            .element(kMailTime, "\1\2\3"sv)
                            .element(kMailAddresses, "\1\2\3\4\5\6\7\x08\x09\x0A\x0B"sv)
                            .element(kMailMac, "\1\2\3\4\5"sv)
                            .element(kMailAppId, "\1"sv)
                            .record());
  const MailParts parts = elements.parts();
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(0U, parts.apid);
  EXPECT_EQ(0U, parts.time);
}

TEST(MailParts, a_value_longer_than_its_type_is_cut) {
  MailElements elements(MailBuilder(1)
                            .element(kMailTime, "\1\0\0\0\xFF\xFF"sv)
                            .element(kMailMac, "\1\2\3\4\5\6\7"sv)
                            .record());
  const MailParts parts = elements.parts();
  EXPECT_EQ(1U, parts.time);
  EXPECT_TRUE(parts.has_mac);
}

std::string from_of(const MailRecord& record) {
  MailElements elements(record);
  return text_of(elements.parts().from);
}

bool has_to(const MailRecord& record) {
  MailElements elements(record);
  return is_there(elements.parts().to);
}

TEST(MailParts, an_element_beyond_the_elements_ends_the_walk) {
  // It claims one byte more than there is; the one before it counts.
  MailRecord record = MailBuilder(1).from("abc").element(kMailTo, 5, "defg").record();
  EXPECT_EQ("abc", from_of(record));
  EXPECT_FALSE(has_to(record));
  record = MailBuilder(1).from("abc").element(kMailTo, 0xFFFF, "defg").record();
  EXPECT_FALSE(has_to(record));
  // Half a head.
  record = MailBuilder(1).from("abc").raw("\x02\x01").record();
  EXPECT_EQ("abc", from_of(record));
  EXPECT_FALSE(has_to(record));
  // The bytes behind `elemlen` are not elements.
  record = MailBuilder(1).from("abc").to("def").record();
  record.elemlen = 6;
  EXPECT_EQ("abc", from_of(record));
  EXPECT_FALSE(has_to(record));
  // An element of no bytes may be the last.
  EXPECT_TRUE(has_to(MailBuilder(1).from("abc").to("").record()));
}

TEST(MailParts, a_length_beyond_the_record_reads_no_further_than_the_record) {
  // 1023 bytes of From fill the record to its last byte; the claim of 65535 adds nothing.
  MailRecord record = MailBuilder(1).from(std::string(1023, 'x')).record();
  EXPECT_EQ(1026U, record.elemlen);
  for (unsigned claim : {1026U, 1027U, 0xFFFFU}) {
    record.elemlen = static_cast<std::uint16_t>(claim);
    EXPECT_EQ(std::string(1023, 'x'), from_of(record));
  }
  record.elems[1] = static_cast<char>(0x00);  // 1024 = 0x0400: one byte more than there is
  record.elems[2] = static_cast<char>(0x04);
  EXPECT_EQ("", from_of(record));
}

TEST(MailElements, a_copy_of_a_copy_is_the_same) {
  const MailRecord record = whole_mail().from("abc").record();
  MailElements first(record);
  MailElements second(first.bytes());
  EXPECT_EQ(text_of(first.bytes()), text_of(second.bytes()));
  EXPECT_EQ("abc", text_of(second.parts().from));
  EXPECT_EQ(0U, MailElements(std::span<const char>()).bytes().size());
}

}  // namespace
}  // namespace qsvmon
