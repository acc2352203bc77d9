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

TEST(MailParts, EveryElementTypeIsFoundInAnyOrder) {
  const MailRecord record = MailBuilder(1)
                                .apid(0x1234)
                                .subject("Hi there")
                                .mac()
                                .element(77, "unknown")
                                .cc("c@x.com")
                                .endpoints()
                                .to("t@x.com")
                                .attachment("a.txt")
                                .time()
                                .element(0, "")
                                .from("f@x.com")
                                .record();
  MailElements elements(record);
  const MailParts parts = elements.parts();
  EXPECT_EQ(text_of(parts.from), "f@x.com");
  EXPECT_EQ(text_of(parts.to), "t@x.com");
  EXPECT_EQ(text_of(parts.cc), "c@x.com");
  EXPECT_EQ(text_of(parts.subject), "Hi there");
  ASSERT_EQ(parts.attachment_count, 1U);
  EXPECT_EQ(text_of(parts.attachments[0]), "a.txt\0"s);
  EXPECT_TRUE(parts.has_time);
  EXPECT_EQ(parts.time, 0x65E6C4A9U);
  EXPECT_TRUE(parts.has_addresses);
  EXPECT_EQ(parts.endpoints.src_net, 0x0100000AU);
  EXPECT_EQ(parts.endpoints.dst_net, 0x0201A8C0U);
  EXPECT_EQ(parts.endpoints.sport_net, 0x0104U);
  EXPECT_EQ(parts.endpoints.dport_net, 0x1900U);
  EXPECT_TRUE(parts.has_mac);
  EXPECT_EQ(std::memcmp("\x00\x11\x22\x33\x44\x55", parts.endpoints.mac, 6), 0);
  EXPECT_EQ(parts.apid, 0x1234U);
}

TEST(MailParts, WithoutElementsEverythingIsAbsent) {
  MailElements elements(MailBuilder(1).record());
  const MailParts parts = elements.parts();
  for (const std::span<char> text : {parts.from, parts.to, parts.cc, parts.subject}) {
    EXPECT_FALSE(is_there(text));
  }
  EXPECT_EQ(parts.attachment_count, 0U);
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(parts.apid, 0U);
  EXPECT_EQ(std::memcmp("\0\0\0\0\0\0", parts.endpoints.mac, 6), 0);
}

TEST(MailParts, ALaterElementOverridesAnEarlierOne) {
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
  EXPECT_EQ(text_of(parts.from), "second");
  EXPECT_TRUE(is_there(parts.to));
  EXPECT_TRUE(parts.to.empty());
  EXPECT_EQ(parts.apid, 2U);
  EXPECT_EQ(parts.time, 1U);
}

TEST(MailParts, FiveAttachmentsCountAndThoseWithoutANameDoNot) {
  MailBuilder builder(1);
  builder.element(kMailAttachment, "");
  for (int i = 1; i <= 7; ++i) builder.attachment(std::to_string(i));
  const MailRecord record = builder.record();
  MailElements elements(record);
  const MailParts parts = elements.parts();
  ASSERT_EQ(parts.attachment_count, 5U);
  EXPECT_EQ(text_of(parts.attachments[0]), "1\0"s);
  EXPECT_EQ(text_of(parts.attachments[4]), "5\0"s);
}

TEST(MailParts, AValueThatIsNotWholeIsAbsent) {
  MailElements elements(MailBuilder(1)
                            .element(kMailTime, "\1\2\3"sv)
                            .element(kMailAddresses, "\1\2\3\4\5\6\7\x08\x09\x0A\x0B"sv)
                            .element(kMailMac, "\1\2\3\4\5"sv)
                            .element(kMailAppId, "\1"sv)
                            .record());
  const MailParts parts = elements.parts();
  EXPECT_FALSE(parts.has_time || parts.has_addresses || parts.has_mac);
  EXPECT_EQ(parts.apid, 0U);
  EXPECT_EQ(parts.time, 0U);
}

TEST(MailParts, AValueLongerThanItsTypeIsCut) {
  MailElements elements(MailBuilder(1)
                            .element(kMailTime, "\1\0\0\0\xFF\xFF"sv)
                            .element(kMailMac, "\1\2\3\4\5\6\7"sv)
                            .record());
  const MailParts parts = elements.parts();
  EXPECT_EQ(parts.time, 1U);
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

TEST(MailParts, AnElementBeyondTheElementsIsIgnored) {
  // It claims one byte more than there is; the one before it counts.
  MailRecord record = MailBuilder(1).from("abc").element(kMailTo, 5, "defg").record();
  EXPECT_EQ(from_of(record), "abc");
  EXPECT_FALSE(has_to(record));
  record = MailBuilder(1).from("abc").element(kMailTo, 0xFFFF, "defg").record();
  EXPECT_FALSE(has_to(record));
  // Half a head.
  record = MailBuilder(1).from("abc").raw("\x02\x01").record();
  EXPECT_EQ(from_of(record), "abc");
  EXPECT_FALSE(has_to(record));
  // The bytes behind `elemlen` are not elements.
  record = MailBuilder(1).from("abc").to("def").record();
  record.elemlen = 6;
  EXPECT_EQ(from_of(record), "abc");
  EXPECT_FALSE(has_to(record));
  // An element of no bytes may be the last.
  EXPECT_TRUE(has_to(MailBuilder(1).from("abc").to("").record()));
}

TEST(MailParts, ALengthBeyondTheRecordReadsNoFurtherThanTheRecord) {
  // 1023 bytes of From fill the record to its last byte; the claim of 65535 adds nothing.
  MailRecord record = MailBuilder(1).from(std::string(1023, 'x')).record();
  EXPECT_EQ(record.elemlen, 1026U);
  for (unsigned claim : {1026U, 1027U, 0xFFFFU}) {
    record.elemlen = static_cast<std::uint16_t>(claim);
    EXPECT_EQ(from_of(record), std::string(1023, 'x'));
  }
  record.elems[1] = static_cast<char>(0x00);  // 1024 = 0x0400: one byte more than there is
  record.elems[2] = static_cast<char>(0x04);
  EXPECT_EQ(from_of(record), "");
}

TEST(MailElements, ACopyOfACopyIsTheSame) {
  const MailRecord record = whole_mail().from("abc").record();
  MailElements first(record);
  MailElements second(first.bytes());
  EXPECT_EQ(text_of(first.bytes()), text_of(second.bytes()));
  EXPECT_EQ(text_of(second.parts().from), "abc");
  EXPECT_EQ(MailElements(std::span<const char>()).bytes().size(), 0U);
}

}  // namespace
}  // namespace qsvmon
