#include "commands/sessionlog/mail_fold.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

#include "commands/sessionlog/mail_print.h"
#include "tests/unit/sessionlog/mail_builder.h"

using namespace std::literals;

namespace qsvmon {
namespace {

constexpr PageRange kAll{0, 0xFFFFFFFF};

bool passes(const MailRecord& record, const MailQuery& query) {
  RecordList list(kAll);
  MailFold(query, list).add({&record, 1});
  return list.size() == 1;
}

bool passes_keyword(const MailRecord& record, std::string_view keyword) {
  MailQuery query;
  query.keyword = keyword;
  return passes(record, query);
}

TEST(MailFold, AMailNeedsAKeyAddressesAndATime) {
  const MailQuery any;
  EXPECT_TRUE(passes(whole_mail().record(), any));
  EXPECT_FALSE(passes(whole_mail(0).record(), any));
  EXPECT_FALSE(passes(MailBuilder(1).endpoints().from("a@x.com").record(), any));
  EXPECT_FALSE(passes(MailBuilder(1).time().from("a@x.com").record(), any));
  EXPECT_FALSE(passes(MailBuilder(1).time().element(kMailAddresses, "\1\2\3"sv).record(), any));
}

TEST(MailFold, EitherEndpointMayHaveTheAddress) {
  MailQuery query;
  query.ip_net = 0x0100000A;
  EXPECT_TRUE(passes(whole_mail().record(), query));
  query.ip_net = 0x0201A8C0;
  EXPECT_TRUE(passes(whole_mail().record(), query));
  query.ip_net = 0x0A000001;
  EXPECT_FALSE(passes(whole_mail().record(), query));
}

TEST(MailFold, AllSixBytesOfTheMacCount) {
  MailQuery query;
  query.has_mac = true;
  EXPECT_FALSE(passes(whole_mail().record(), query));  // a mail without a MAC, even for zeros
  EXPECT_FALSE(passes(whole_mail().mac().record(), query));
  std::memcpy(query.mac, "\x00\x11\x22\x33\x44\x55", 6);
  EXPECT_TRUE(passes(whole_mail().mac().record(), query));
  query.mac[5] = 0x54;
  EXPECT_FALSE(passes(whole_mail().mac().record(), query));
}

TEST(MailFold, ASubjectThatCannotBeDecodedHidesTheMail) {
  const MailQuery any;
  EXPECT_TRUE(passes(whole_mail().subject("plain").record(), any));
  EXPECT_TRUE(passes(whole_mail().subject("").record(), any));  // no subject
  EXPECT_FALSE(passes(whole_mail().subject(" ").record(), any));
  EXPECT_FALSE(passes(whole_mail().subject("ok =?UTF-8?b?5L2g?=").record(), any));
  EXPECT_FALSE(passes_keyword(whole_mail().from("a@x.com").subject("=bad").record(), "a@x.com"));
  // The other headers are not looked at yet.
  EXPECT_TRUE(passes(whole_mail().from("=bad").to("=bad").cc("=bad").record(), any));
}

TEST(MailFold, TheKeywordIsLookedForInEveryText) {
  const MailRecord record = whole_mail()
                                .from("Ann <ann@x.com>")
                                .to("Bob <bob@y.com>")
                                .cc("Cid <cid@z.com>")
                                .subject("Quarterly report")
                                .attachment("one.pdf")
                                .attachment("two.pdf")
                                .record();
  for (std::string_view word :
       {"Ann <"sv, "bob@y"sv, "cid@z.com>"sv, "ly rep"sv, "one.pdf"sv, "two"sv, ""sv}) {
    EXPECT_TRUE(passes_keyword(record, word)) << word;
  }
  for (std::string_view word : {"ann <"sv, "nothing"sv, "pdftwo"sv, "comBob"sv, "pdf\1"sv}) {
    EXPECT_FALSE(passes_keyword(record, word)) << word;
  }
  EXPECT_FALSE(passes_keyword(whole_mail().from("a@x.com").record(), "zzz"));
}

// KEEP: raw headers, decoded Subject.
TEST(MailFold, TheSubjectAloneIsMatchedDecoded) {
  const std::string_view encoded = "=?UTF-8?B?5L2g5aW9?=";
  const MailRecord subject = whole_mail().subject("Re: =?UTF-8?B?5L2g5aW9?=").record();
  EXPECT_TRUE(passes_keyword(subject, "Re: \xC4\xE3\xBA\xC3"));
  EXPECT_TRUE(passes_keyword(subject, "\xBA\xC3"));
  EXPECT_FALSE(passes_keyword(subject, encoded));
  EXPECT_FALSE(passes_keyword(subject, "\xE4\xBD\xA0"));
  for (const MailRecord& record :
       {whole_mail().from(encoded).record(), whole_mail().to(encoded).record(),
        whole_mail().cc(encoded).record(), whole_mail().attachment(encoded).record()}) {
    EXPECT_TRUE(passes_keyword(record, encoded));
    EXPECT_FALSE(passes_keyword(record, "\xBA\xC3"));
  }
}

TEST(MailFold, AttachmentNamesAreApartAndBounded) {
  MailBuilder six = whole_mail();
  for (const char* name : {"n1", "n2", "n3", "n4", "n5", "n6"}) six.attachment(name);
  EXPECT_TRUE(passes_keyword(six.record(), "n5"));
  EXPECT_FALSE(passes_keyword(six.record(), "n6"));
  EXPECT_FALSE(passes_keyword(six.record(), "n1n2"));
  // A name without its NUL loses its last byte to the separator.
  const MailRecord bare = whole_mail().element(kMailAttachment, "abc").record();
  EXPECT_TRUE(passes_keyword(bare, "ab"));
  EXPECT_FALSE(passes_keyword(bare, "abc"));
  // A name as long as a record can hold: 1026 - 22 - 3 bytes.
  const std::string name(1000, 'x');
  EXPECT_TRUE(passes_keyword(whole_mail().attachment(name).record(), name));
}

TEST(MailFold, TheListHasItsOwnCopyWithTheSubjectSplit) {
  const MailRecord record = whole_mail(9).subject("a b\tc").record();
  const MailRecord before = record;
  RecordList list(kAll);
  MailFold(MailQuery{}, list).add({&record, 1});
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(std::memcmp(&before, &record, sizeof record), 0);
  std::string expected(record.elems, record.elemlen);
  expected.replace(expected.find("a b\tc"), 5, "a\0b\0c"sv);
  EXPECT_EQ(std::string(list[0].begin(), list[0].end()), expected);
}

TEST(MailFold, ALengthBeyondTheRecordIsThatOfTheRecord) {
  MailRecord record = whole_mail().record();
  record.elemlen = 0xFFFF;
  RecordList list(kAll);
  MailFold(MailQuery{}, list).add({&record, 1});
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0].size(), sizeof record.elems);
}

TEST(MailFold, ARejectedMailLeavesNoTrace) {
  MailQuery query;
  query.keyword = "wanted";
  const MailRecord records[] = {
      whole_mail(1).subject("other thing").from(std::string(500, 'x')).record(),
      whole_mail(2).subject("wanted").record()};
  RecordList list(kAll);
  MailFold(query, list).add(records);
  EXPECT_EQ(list.count(), 1U);
  ASSERT_EQ(list.size(), 1U);
  const std::string expected(records[1].elems, records[1].elemlen);
  EXPECT_EQ(std::string(list[0].begin(), list[0].end()), expected);
}

// A daemon may be writing the area: lengths that change between two looks at them lead nowhere.
TEST(MailFold, RecordsMayChangeWhileTheyAreRead) {
  MailRecord record = whole_mail(1)
                          .subject("a b c")
                          .from("from")
                          .attachment("one.pdf")
                          .attachment("two.pdf")
                          .record();
  std::atomic<bool> done = false;
  std::thread daemon([&] {
    volatile char* const bytes = reinterpret_cast<char*>(&record);
    for (unsigned turn = 0; !done; ++turn) {
      for (std::size_t at = 4; at < 100; ++at) {
        const char was = bytes[at];
        bytes[at] = static_cast<char>(turn);
        bytes[at] = was;
      }
    }
  });
  MailQuery query;
  query.keyword = "no such word";
  for (int i = 0; i < 20000; ++i) {
    RecordList list(page_range(1, 1), is_hidden_mail);
    MailFold(i % 2 == 0 ? query : MailQuery{}, list).add({&record, 1});
    ASSERT_LE(list.count(), 1U);
  }
  done = true;
  daemon.join();
}

}  // namespace
}  // namespace qsvmon
