#include "commands/mgmt/mgmt.h"

#include <gtest/gtest.h>

#include <string>

#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {

const char* words_text(const Exchange& e) {
  if (e.put_words == put_joined_words) return " words";
  return e.put_words == put_empty_text ? " none 1" : e.put_words == put_no_text ? " none 0" : "?";
}

std::string row_text(const char* verb, const Exchange& e) {
  return std::string(e.module) + " " + verb + " " + std::to_string(e.code) + words_text(e) +
         (e.is_lenient ? " lenient" : " strict") + (e.returns_result ? " result" : " 0") +
         (e.output == Exchange::Output::kText ? "" : " not always the text") +
         (e.least_words > 0 ? " at least " + std::to_string(e.least_words) + ": " + e.usage : "\n");
}

TEST(MgmtCommands, AreTheseSixAndTheUnlisted) {
  std::string text = row_text("stat", kQsvLogStat) + row_text("stat", kQsvQueryStat) +
                     row_text("add", kWorkerAdd) + row_text("list", kWorkerList) +
                     row_text("stat", kWorkerStat) + row_text("stat", kDiskStat);
  for (const auto& [verb, exchange] : unlisted_mgmt_commands()) text += row_text(verb, exchange);
  EXPECT_EQ(text,
            "qsvlog stat 2050 words strict 0\n"
            "qsvquery stat 2050 none 0 strict result\n"
            "worker add 2051 words strict result\n"
            "worker list 2055 words strict 0\n"
            "worker stat 2050 words strict result\n"
            "disk stat 2050 none 0 strict 0\n"
            "korvlog list 2055 none 1 strict 0\n"
            "korvlog stat 2050 none 0 strict 0\n"
            "korvlog add 2051 words lenient 0 at least 1: usage: name=str port=nn...\n"
            "korvlog remove 2052 words lenient 0 at least 1: usage: name=str port=nn...\n"
            "korvlog set 2053 words lenient 0 at least 1: usage: name=str port=nn...\n"
            "korvlog config 2057 words lenient 0 at least 1: usage: buffree=0|1...\n"
            "auth list 2055 words lenient 0\n"
            "auth set 2053 words lenient 0 at least 1: usage: ttl=nn...\n"
            "auth stat 2050 none 1 lenient 0\n"
            "auth add 2051 words lenient 0 at least 1: usage: ttl=nn...\n"
            "auth remove 2052 words lenient 0 at least 1: usage: ipaddr=x.x.x.x\n"
            "node_manage add 2051 words lenient result at least 1: usage: ipaddr=x.x.x.x\n"
            "node_manage list 2055 none 1 lenient 0\n"
            "node_manage remove 2052 words lenient 0 at least 1: usage: ipaddr=x.x.x.x\n"
            "node_manage stat 2050 none 1 strict 0\n"
            "node_manage load 2056 none 0 strict 0\n"
            "virdevice list 2055 none 1 strict 0\n"
            "virdevice add 2051 words lenient 0 at least 1: "
            "usage:  devid=nnn devname=xxx ipgrp=xxx grpname=xxx...\n"
            "virdevice remove 2052 words lenient 0 at least 1: usage: name=str port=nn...\n"
            "device list 2055 none 1 strict 0\n"
            "device add 2051 words lenient 0 at least 1: usage:id=nnn name=xxx addr=xxxx...\n"
            "device remove 2052 words lenient 0 at least 1: usage: id=nnn...\n"
            "device config 2057 words lenient 0 at least 1: "
            "usage:id=nnn name=xxx addr=xxxx...\n");
}

TEST(MgmtCommands, AreFoundByModuleAndVerb) {
  ASSERT_NE(find_mgmt_command("auth", "add"), nullptr);
  EXPECT_EQ(find_mgmt_command("auth", "add")->code, kVerbAdd);
  EXPECT_EQ(find_mgmt_command("auth", "load"), nullptr);
  EXPECT_EQ(find_mgmt_command("aut", "add"), nullptr);
}

TEST(MgmtCommands, AskForAWordBeforeAnythingIsSent) {
  for (const auto& [verb, exchange] : unlisted_mgmt_commands()) {
    if (exchange.least_words == 0) continue;
    MemoryPrinter out;
    EXPECT_EQ(run_exchange(out, exchange, {}), -1);
    EXPECT_EQ(out.str(), exchange.usage);
  }
}

}  // namespace
}  // namespace qsvmon
