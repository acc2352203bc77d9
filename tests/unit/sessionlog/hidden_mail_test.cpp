#include <gtest/gtest.h>

#include "commands/sessionlog/mail_parts.h"
#include "commands/sessionlog/mail_print.h"
#include "tests/unit/sessionlog/mail_builder.h"

namespace qsvmon {
namespace {

TEST(HiddenMail, HasATextThatDecodesToNothing) {
  const struct {
    const char* what;
    MailRecord mail;
    bool hidden;
  } cases[] = {
      {"no texts", whole_mail().record(), false},
      {"texts", whole_mail().from("a@x").to("b@x").cc("c@x").subject("d").record(), false},
      {"a coded text", whole_mail().subject("=?UTF-8?B?5L2g5aW9?=").record(), false},
      {"no From", whole_mail().from("").subject("d").record(), true},
      {"no Subject", whole_mail().from("a@x").subject("").record(), true},
      {"no To", whole_mail().from("a@x").to("").record(), true},
      {"no Cc", whole_mail().from("a@x").cc("").record(), true},
  };
  for (const auto& c : cases) {
    MailRow row;
    EXPECT_EQ(is_hidden_mail(MailElements(c.mail).bytes()), c.hidden) << c.what;
    EXPECT_EQ(row.load(MailElements(c.mail).bytes()), !c.hidden) << c.what;
  }
}

}  // namespace
}  // namespace qsvmon
