#include "commands/mgmt/mgmt.h"

#include <gtest/gtest.h>

#include <cstring>

#include "cli/command_table.h"
#include "platform/appliance_paths.h"
#include "tests/integration/command_case.h"
#include "tests/integration/open_session.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

TEST(MgmtCommands, EveryRowSendsItsRequestAndPrintsTheText) {
  // clang-format off
  const CommandCase cases[] = {
      {.words = {"qsvlog", "stat", "tag=x", "all"}, .code = 2050, .target = "qsvlog",
       .text = "tag=x all \0"s, .reply = Reply::text("up 3 days\n").with_result(9), .out = "up 3 days\n"},
      {.words = {"qsvlog", "stat"}, .code = 2050, .target = "qsvlog",
       .text = "\0"s, .reply = Reply::text("up"), .out = "up"},
      {.words = {"qsvquery", "stat"}, .code = 2050, .target = "qsvquery",
       .reply = Reply::text("idle\n").with_result(4), .out = "idle\n", .exit_status = 4},
      {.words = {"qsvquery", "stat", "extra"}, .code = 2050, .target = "qsvquery",
       .reply = Reply::text("idle\n"), .out = "idle\n"},
      {.words = {"worker", "stat", "taskid=7", "x"}, .code = 2050, .target = "worker",
       .text = "taskid=7 x \0"s, .kib = 2048, .reply = Reply::text("task 7: busy\n").with_result(1), .out = "task 7: busy\n", .exit_status = 1},
      {.words = {"worker", "list", "type=a"}, .code = 2055, .target = "worker",
       .text = "type=a \0"s, .kib = 8192, .reply = Reply::text("1 a\n2 a\n").with_result(2), .out = "1 a\n2 a\n"},
      {.words = {"worker", "add", "taskname=sweep"}, .code = 2051, .target = "worker",
       .text = "taskname=sweep \0"s, .kib = 4096, .reply = Reply::text("").with_result(3), .exit_status = 3},
      {.words = {"disk", "stat"}, .code = 2050, .target = "disk",
       .kib = 2048, .reply = Reply::text("90% used\n").with_result(5), .out = "90% used\n"},
      {.words = {"disk", "stat", "ignored"}, .code = 2050, .target = "disk",
       .kib = 2048, .reply = Reply::text("90% used\n"), .out = "90% used\n"},
  };
  // clang-format on
  for (const CommandCase& c : cases) check_command(c);
}

TEST(MgmtCommands, TheResultIsAnExitStatus) {
  struct {
    std::uint32_t result;
    int exit_status;
  } const cases[] = {{0, 0},         {1, 1},   {3, 3},     {255, 255},
                     {256, 0},       {259, 3}, {511, 255}, {0xffffffff, 255},
                     {0x80000000, 0}};
  for (const auto& c : cases) {
    for (const char* verb : {"add", "stat"}) {
      check_command({.words = {"worker", verb},
                     .code = verb == "add"s ? 2051U : 2050U,
                     .target = "worker",
                     .text = "\0"s,
                     .kib = verb == "add"s ? 4096U : 2048U,
                     .reply = Reply::text("t").with_result(c.result),
                     .out = "t",
                     .exit_status = c.exit_status});
    }
  }
}

TEST(MgmtCommands, TheTextIsPrintedWhateverItsLengthSays) {
  for (const std::uint32_t replylen : {0U, 1U, 0xffffffffU}) {
    check_command({.words = {"qsvlog", "stat"},
                   .code = 2050,
                   .target = "qsvlog",
                   .text = "\0"s,
                   .reply = Reply::text("whole\n").with_replylen(replylen),
                   .out = "whole\n"});
  }
}

TEST(MgmtCommands, TheTextIsNoFormat) {
  check_command({.words = {"qsvlog", "stat"},
                 .code = 2050,
                 .target = "qsvlog",
                 .text = "\0"s,
                 .reply = Reply::text("100%s %n %d\n"),
                 .out = "100%s %n %d\n"});
}

TEST(MgmtCommands, ATextWithoutEndStopsAtTheEndOfTheArea) {
  const std::string full(65536, 'x');
  check_command({.words = {"qsvlog", "stat"},
                 .code = 2050,
                 .target = "qsvlog",
                 .text = "\0"s,
                 .reply = Reply::records(full, 0),
                 .out = full});
}

TEST(MgmtCommands, WhatNobodyOverwroteIsTheArgumentText) {
  Reply silent_success;
  silent_success.fill_area = false;
  check_command({.words = {"worker", "list", "type=a", "b"},
                 .code = 2055,
                 .target = "worker",
                 .text = "type=a b \0"s,
                 .kib = 8192,
                 .reply = silent_success,
                 .out = "type=a b "});
}

TEST(MgmtCommands, AFailedCallPrintsItsErrorTextAlone) {
  const std::string long_text(128, 'e');
  struct {
    std::vector<std::string> words;
    std::uint32_t code;
    std::string text;
    std::size_t kib;
  } const cases[] = {
      {{"qsvlog", "stat"}, 2050, "\0"s, 64},   {{"qsvquery", "stat"}, 2050, "", 64},
      {{"worker", "add"}, 2051, "\0"s, 4096},  {{"worker", "list"}, 2055, "\0"s, 8192},
      {{"worker", "stat"}, 2050, "\0"s, 2048}, {{"disk", "stat"}, 2050, "", 2048},
  };
  for (const auto& c : cases) {
    check_command({.words = c.words,
                   .code = c.code,
                   .target = c.words[0],
                   .text = c.text,
                   .kib = c.kib,
                   .reply = Reply::error(9, "no %s such thing").with_result(4),
                   .out = "no %s such thing\n",
                   .exit_status = 255});
    // KEEP: a field without a NUL is read to its end and no further.
    check_command({.words = c.words,
                   .code = c.code,
                   .target = c.words[0],
                   .text = c.text,
                   .kib = c.kib,
                   .reply = Reply::error(1, long_text),
                   .out = long_text + "\n",
                   .exit_status = 255});
  }
}

TEST(MgmtCommands, WordsThatDoNotFitTheAreaAreRefused) {
  // The word, its blank and the NUL fill the 65536 bytes.
  const std::string fits(65534, 'w');
  check_command(
      {.words = {"qsvlog", "stat", fits}, .code = 2050, .target = "qsvlog", .text = fits + " \0"s});
  check_sends_nothing({"qsvlog", "stat", fits + 'w'}, Daemon::kLog, "argument text too long\n",
                      255);
}

TEST(MgmtCommands, WithoutADaemonTheSessionDoesNotOpen) {
  Appliance appliance;
  const Outcome outcome = appliance.run({"worker", "add", "taskname=t"});
  EXPECT_EQ(outcome.out, "can't connect to ./var/tmp/qsvlog.d");
  EXPECT_EQ(outcome.exit_status, 255);
}

// The commands that no row of the table reaches.

struct UnreachedCase {
  const char* module;
  const char* verb;
  std::vector<std::string> words = {};
  std::uint32_t code;
  std::string text = "";  // with its NUL; empty: nothing
  int on_success = 0;     // the return value when the daemon's result is 6
  bool strict = false;
  const char* usage = nullptr;  // null: no word is needed
};

const std::vector<UnreachedCase>& unreached_cases() {
  // clang-format off
  static const std::vector<UnreachedCase> cases = {
      {.module = "korvlog", .verb = "list", .words = {"x"}, .code = 2055, .text = "\0"s, .strict = true},
      {.module = "korvlog", .verb = "stat", .words = {"x"}, .code = 2050, .strict = true},
      {.module = "korvlog", .verb = "add", .words = {"name=a", "port=5", "c"}, .code = 2051, .text = "name=a port=5 c \0"s,
       .usage = "usage: name=str port=nn...\n"},
      {.module = "korvlog", .verb = "remove", .words = {"port=5"}, .code = 2052, .text = "port=5 \0"s,
       .usage = "usage: name=str port=nn...\n"},
      {.module = "korvlog", .verb = "set", .words = {"name=a", "port=5"}, .code = 2053, .text = "name=a port=5 \0"s,
       .usage = "usage: name=str port=nn...\n"},
      {.module = "korvlog", .verb = "config", .words = {"buffree=1", "allowfiletodb=0"}, .code = 2057, .text = "buffree=1 allowfiletodb=0 \0"s,
       .usage = "usage: buffree=0|1...\n"},
      {.module = "auth", .verb = "list", .words = {"page=1", "limit=2", "auth=3", "ipaddr=4", "mac=5", "customer=6", "grpid=7"}, .code = 2055, .text = "page=1 limit=2 auth=3 ipaddr=4 mac=5 customer=6 grpid=7 \0"s},
      {.module = "auth", .verb = "list", .words = {}, .code = 2055, .text = "\0"s},
      {.module = "auth", .verb = "set", .words = {"ttl=60"}, .code = 2053, .text = "ttl=60 \0"s,
       .usage = "usage: ttl=nn...\n"},
      {.module = "auth", .verb = "stat", .words = {"x"}, .code = 2050, .text = "\0"s},
      {.module = "auth", .verb = "add", .words = {"ipaddr=1.2.3.4", "ipname=n", "grpid=2"}, .code = 2051, .text = "ipaddr=1.2.3.4 ipname=n grpid=2 \0"s,
       .usage = "usage: ttl=nn...\n"},
      {.module = "auth", .verb = "remove", .words = {"ipaddr=1.2.3.4"}, .code = 2052, .text = "ipaddr=1.2.3.4 \0"s,
       .usage = "usage: ipaddr=x.x.x.x\n"},
      {.module = "node_manage", .verb = "add", .words = {"ipaddr=1.2.3.4"}, .code = 2051, .text = "ipaddr=1.2.3.4 \0"s, .on_success = 6,
       .usage = "usage: ipaddr=x.x.x.x\n"},
      {.module = "node_manage", .verb = "list", .words = {"x"}, .code = 2055, .text = "\0"s},
      {.module = "node_manage", .verb = "remove", .words = {"ipaddr=1.2.3.4"}, .code = 2052, .text = "ipaddr=1.2.3.4 \0"s,
       .usage = "usage: ipaddr=x.x.x.x\n"},
      {.module = "node_manage", .verb = "stat", .words = {"x"}, .code = 2050, .text = "\0"s, .strict = true},
      {.module = "node_manage", .verb = "load", .words = {"x"}, .code = 2056, .strict = true},
      {.module = "virdevice", .verb = "list", .words = {"x"}, .code = 2055, .text = "\0"s, .strict = true},
      {.module = "virdevice", .verb = "add", .words = {"devid=1", "devname=d", "ipgrp=2", "grpname=g", "grptype=3"}, .code = 2051, .text = "devid=1 devname=d ipgrp=2 grpname=g grptype=3 \0"s,
       .usage = "usage:  devid=nnn devname=xxx ipgrp=xxx grpname=xxx...\n"},
      {.module = "virdevice", .verb = "remove", .words = {"devid=1"}, .code = 2052, .text = "devid=1 \0"s,
       .usage = "usage: name=str port=nn...\n"},
      {.module = "device", .verb = "list", .words = {"x"}, .code = 2055, .text = "\0"s, .strict = true},
      {.module = "device", .verb = "add", .words = {"id=1", "name=n", "addr=a"}, .code = 2051, .text = "id=1 name=n addr=a \0"s,
       .usage = "usage:id=nnn name=xxx addr=xxxx...\n"},
      {.module = "device", .verb = "remove", .words = {"id=1"}, .code = 2052, .text = "id=1 \0"s,
       .usage = "usage: id=nnn...\n"},
      {.module = "device", .verb = "config", .words = {"id=1", "name=n", "addr=a"}, .code = 2057, .text = "id=1 name=n addr=a \0"s,
       .usage = "usage:id=nnn name=xxx addr=xxxx...\n"},
  };
  // clang-format on
  return cases;
}

struct CallOutcome {
  int result;
  std::string out;
  std::vector<Request> requests;
};

// Calls the command by name in this process, with a session of 64 KiB.
CallOutcome call(const UnreachedCase& c, const std::vector<std::string>& words,
                 const Reply& reply) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply});
  CallOutcome outcome;
  {
    OpenSession session(appliance, kLogSocketPath, 65536);
    CapturedOut out;
    HandlerWords given(words);
    const Exchange* command = find_mgmt_command(c.module, c.verb);
    outcome.result = command != nullptr ? run_exchange(standard_out(), *command,
                                                       words_of(given.count(), given.words()))
                                        : -2;
    outcome.out = out.text();
  }
  outcome.requests = daemon.requests();
  return outcome;
}

std::string name_of(const UnreachedCase& c) {
  return std::string(c.module) + ' ' + c.verb;
}

TEST(MgmtUnreached, EveryOneSendsItsRequestAndPrintsTheText) {
  for (const UnreachedCase& c : unreached_cases()) {
    SCOPED_TRACE(name_of(c));
    const CallOutcome outcome = call(c, c.words, Reply::text("answer\n").with_result(6));
    EXPECT_EQ(outcome.result, c.on_success);
    EXPECT_EQ(outcome.out, "answer\n");
    ASSERT_EQ(outcome.requests.size(), 1U);
    EXPECT_EQ(outcome.requests[0].msgcode(), c.code);
    EXPECT_EQ(outcome.requests[0].errtext(), c.module);
    EXPECT_EQ(outcome.requests[0].datalen(), c.text.size());
    EXPECT_EQ(outcome.requests[0].text, c.text);
    check_new_record(outcome.requests[0]);
  }
}

TEST(MgmtUnreached, WithoutAWordTheUsageTextIsAllThatHappens) {
  for (const UnreachedCase& c : unreached_cases()) {
    if (c.usage == nullptr) continue;
    SCOPED_TRACE(name_of(c));
    const CallOutcome outcome = call(c, {}, Reply::text("answer\n"));
    EXPECT_EQ(outcome.result, -1);
    EXPECT_EQ(outcome.out, c.usage);
    EXPECT_EQ(outcome.requests.size(), 0U);
  }
}

TEST(MgmtUnreached, AStrictOneFailsAndALenientOneGoesOn) {
  Reply refused = Reply::text("the area's text\n");
  refused.status = 9;
  refused.with_errtext("refused").with_result(6);
  for (const UnreachedCase& c : unreached_cases()) {
    SCOPED_TRACE(name_of(c));
    const CallOutcome outcome = call(c, c.words, refused);
    EXPECT_EQ(outcome.result, c.strict ? -1 : c.on_success);
    EXPECT_EQ(outcome.out, c.strict ? "refused\n" : "the area's text\n");
  }
}

TEST(MgmtUnreached, ALenientOneThatGotNoAnswerPrintsNoText) {
  for (const UnreachedCase& c : unreached_cases()) {
    SCOPED_TRACE(name_of(c));
    const CallOutcome outcome = call(c, c.words, Reply().closing());
    EXPECT_EQ(outcome.result, c.strict ? -1 : 0);
    EXPECT_EQ(outcome.out, c.strict ? "r_"s + std::strerror(0) + "_0\n" : "(null)");
  }
}

// KEEP: a lenient one returns the value that came before the answer stopped.
TEST(MgmtUnreached, ALenientOneReturnsTheResultOfAnAnswerThatStops) {
  for (const UnreachedCase& c : unreached_cases()) {
    SCOPED_TRACE(name_of(c));
    const CallOutcome outcome = call(c, c.words, Reply::text("never\n").with_result(6).half(190));
    EXPECT_EQ(outcome.result, c.strict ? -1 : c.on_success);
    EXPECT_EQ(outcome.out, c.strict ? "r_"s + std::strerror(0) + "_0\n" : "(null)");
  }
}

TEST(MgmtUnreached, NoRowOfTheCommandTableReachesThem) {
  for (const UnreachedCase& c : unreached_cases()) {
    EXPECT_EQ(find_command(c.module, c.verb).row, nullptr) << name_of(c);
  }
}

TEST(MgmtUnreached, AreAllThatHaveNoRow) {
  // One of the cases above is a second one of "auth list".
  EXPECT_EQ(unreached_cases().size(), 24U);
  EXPECT_EQ(unlisted_mgmt_commands().size(), 23U);
  EXPECT_EQ(find_mgmt_command("korvlog", "debug"), nullptr);
  EXPECT_EQ(find_mgmt_command("worker ", "add"), nullptr);
}

}  // namespace
}  // namespace qsvmon::harness
