#include "commands/mgmt/mgmt_command.h"

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

constexpr std::size_t kKib = 1024;

TEST(MgmtCommands, EveryRowSendsItsRequestAndPrintsTheText) {
  const CommandCase cases[] = {
      {{"qsvlog", "stat", "tag=x", "all"},
       Daemon::kLog,
       2050,
       "qsvlog",
       "tag=x all \0"s,
       64 * kKib,
       Reply::text("up 3 days\n").with_result(9),
       "up 3 days\n",
       0},
      {{"qsvlog", "stat"},
       Daemon::kLog,
       2050,
       "qsvlog",
       "\0"s,
       64 * kKib,
       Reply::text("up"),
       "up",
       0},
      {{"qsvquery", "stat"},
       Daemon::kLog,
       2050,
       "qsvquery",
       "",
       64 * kKib,
       Reply::text("idle\n").with_result(4),
       "idle\n",
       4},
      {{"qsvquery", "stat", "extra"},
       Daemon::kLog,
       2050,
       "qsvquery",
       "",
       64 * kKib,
       Reply::text("idle\n"),
       "idle\n",
       0},
      {{"worker", "stat", "taskid=7", "x"},
       Daemon::kLog,
       2050,
       "worker",
       "taskid=7 x \0"s,
       2048 * kKib,
       Reply::text("task 7: busy\n").with_result(1),
       "task 7: busy\n",
       1},
      {{"worker", "list", "type=a"},
       Daemon::kLog,
       2055,
       "worker",
       "type=a \0"s,
       8192 * kKib,
       Reply::text("1 a\n2 a\n").with_result(2),
       "1 a\n2 a\n",
       0},
      {{"worker", "add", "taskname=sweep"},
       Daemon::kLog,
       2051,
       "worker",
       "taskname=sweep \0"s,
       4096 * kKib,
       Reply::text("").with_result(3),
       "",
       3},
      {{"disk", "stat"},
       Daemon::kLog,
       2050,
       "disk",
       "",
       2048 * kKib,
       Reply::text("90% used\n").with_result(5),
       "90% used\n",
       0},
      {{"disk", "stat", "ignored"},
       Daemon::kLog,
       2050,
       "disk",
       "",
       2048 * kKib,
       Reply::text("90% used\n"),
       "90% used\n",
       0},
  };
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
      check_command({{"worker", verb},
                     Daemon::kLog,
                     verb == "add"s ? 2051U : 2050U,
                     "worker",
                     "\0"s,
                     (verb == "add"s ? 4096 : 2048) * kKib,
                     Reply::text("t").with_result(c.result),
                     "t",
                     c.exit_status});
    }
  }
}

TEST(MgmtCommands, TheTextIsPrintedWhateverItsLengthSays) {
  for (const std::uint32_t replylen : {0U, 1U, 0xffffffffU}) {
    check_command({{"qsvlog", "stat"},
                   Daemon::kLog,
                   2050,
                   "qsvlog",
                   "\0"s,
                   64 * kKib,
                   Reply::text("whole\n").with_replylen(replylen),
                   "whole\n",
                   0});
  }
}

TEST(MgmtCommands, TheTextIsNoFormat) {
  check_command({{"qsvlog", "stat"},
                 Daemon::kLog,
                 2050,
                 "qsvlog",
                 "\0"s,
                 64 * kKib,
                 Reply::text("100%s %n %d\n"),
                 "100%s %n %d\n",
                 0});
}

TEST(MgmtCommands, ATextWithoutEndStopsAtTheEndOfTheArea) {
  const std::string full(64 * kKib, 'x');
  check_command({{"qsvlog", "stat"},
                 Daemon::kLog,
                 2050,
                 "qsvlog",
                 "\0"s,
                 64 * kKib,
                 Reply::records(full, 0),
                 full,
                 0});
}

TEST(MgmtCommands, WhatNobodyOverwroteIsTheArgumentText) {
  Reply silent_success;
  silent_success.fill_area = false;
  check_command({{"worker", "list", "type=a", "b"},
                 Daemon::kLog,
                 2055,
                 "worker",
                 "type=a b \0"s,
                 8192 * kKib,
                 silent_success,
                 "type=a b ",
                 0});
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
    check_command({c.words, Daemon::kLog, c.code, c.words[0], c.text, c.kib * kKib,
                   Reply::error(9, "no %s such thing").with_result(4), "no %s such thing\n", 255});
    // KEEP: a field without a NUL is read to its end and no further.
    check_command({c.words, Daemon::kLog, c.code, c.words[0], c.text, c.kib * kKib,
                   Reply::error(1, long_text), long_text + "\n", 255});
  }
}

TEST(MgmtCommands, WordsThatDoNotFitTheAreaAreRefused) {
  // The word, its blank and the NUL fill the 65536 bytes.
  const std::string fits(65534, 'w');
  check_command({{"qsvlog", "stat", fits},
                 Daemon::kLog,
                 2050,
                 "qsvlog",
                 fits + " \0"s,
                 64 * kKib,
                 Reply::nothing(),
                 "",
                 0});
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
  std::vector<std::string> words;
  std::uint32_t code;
  std::string text;  // with its NUL; empty: nothing
  int on_success;    // the return value when the daemon's result is 6
  bool strict;
  const char* usage;  // null: no word is needed
};

const std::vector<UnreachedCase>& unreached_cases() {
  static const std::vector<UnreachedCase> cases = {
      {"korvlog", "list", {"x"}, 2055, "\0"s, 0, true, nullptr},
      {"korvlog", "stat", {"x"}, 2050, "", 0, true, nullptr},
      {"korvlog",
       "add",
       {"name=a", "port=5", "c"},
       2051,
       "name=a port=5 c \0"s,
       0,
       false,
       "usage: name=str port=nn...\n"},
      {"korvlog",
       "remove",
       {"port=5"},
       2052,
       "port=5 \0"s,
       0,
       false,
       "usage: name=str port=nn...\n"},
      {"korvlog",
       "set",
       {"name=a", "port=5"},
       2053,
       "name=a port=5 \0"s,
       0,
       false,
       "usage: name=str port=nn...\n"},
      {"korvlog",
       "config",
       {"buffree=1", "allowfiletodb=0"},
       2057,
       "buffree=1 allowfiletodb=0 \0"s,
       0,
       false,
       "usage: buffree=0|1...\n"},
      {"auth",
       "list",
       {"page=1", "limit=2", "auth=3", "ipaddr=4", "mac=5", "customer=6", "grpid=7"},
       2055,
       "page=1 limit=2 auth=3 ipaddr=4 mac=5 customer=6 grpid=7 \0"s,
       0,
       false,
       nullptr},
      {"auth", "list", {}, 2055, "\0"s, 0, false, nullptr},
      {"auth", "set", {"ttl=60"}, 2053, "ttl=60 \0"s, 0, false, "usage: ttl=nn...\n"},
      {"auth", "stat", {"x"}, 2050, "\0"s, 0, false, nullptr},
      {"auth",
       "add",
       {"ipaddr=1.2.3.4", "ipname=n", "grpid=2"},
       2051,
       "ipaddr=1.2.3.4 ipname=n grpid=2 \0"s,
       0,
       false,
       "usage: ttl=nn...\n"},
      {"auth",
       "remove",
       {"ipaddr=1.2.3.4"},
       2052,
       "ipaddr=1.2.3.4 \0"s,
       0,
       false,
       "usage: ipaddr=x.x.x.x\n"},
      {"node_manage",
       "add",
       {"ipaddr=1.2.3.4"},
       2051,
       "ipaddr=1.2.3.4 \0"s,
       6,
       false,
       "usage: ipaddr=x.x.x.x\n"},
      {"node_manage", "list", {"x"}, 2055, "\0"s, 0, false, nullptr},
      {"node_manage",
       "remove",
       {"ipaddr=1.2.3.4"},
       2052,
       "ipaddr=1.2.3.4 \0"s,
       0,
       false,
       "usage: ipaddr=x.x.x.x\n"},
      {"node_manage", "stat", {"x"}, 2050, "\0"s, 0, true, nullptr},
      {"node_manage", "load", {"x"}, 2056, "", 0, true, nullptr},
      {"virdevice", "list", {"x"}, 2055, "\0"s, 0, true, nullptr},
      {"virdevice",
       "add",
       {"devid=1", "devname=d", "ipgrp=2", "grpname=g", "grptype=3"},
       2051,
       "devid=1 devname=d ipgrp=2 grpname=g grptype=3 \0"s,
       0,
       false,
       "usage:  devid=nnn devname=xxx ipgrp=xxx grpname=xxx...\n"},
      {"virdevice",
       "remove",
       {"devid=1"},
       2052,
       "devid=1 \0"s,
       0,
       false,
       "usage: name=str port=nn...\n"},
      {"device", "list", {"x"}, 2055, "\0"s, 0, true, nullptr},
      {"device",
       "add",
       {"id=1", "name=n", "addr=a"},
       2051,
       "id=1 name=n addr=a \0"s,
       0,
       false,
       "usage:id=nnn name=xxx addr=xxxx...\n"},
      {"device", "remove", {"id=1"}, 2052, "id=1 \0"s, 0, false, "usage: id=nnn...\n"},
      {"device",
       "config",
       {"id=1", "name=n", "addr=a"},
       2057,
       "id=1 name=n addr=a \0"s,
       0,
       false,
       "usage:id=nnn name=xxx addr=xxxx...\n"},
  };
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
    const MgmtCommand* command = find_mgmt_command(c.module, c.verb);
    outcome.result = command != nullptr
                         ? run_mgmt_command(*command, words_of(given.count(), given.words()))
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

TEST(MgmtUnreached, TogetherWithTheTablesSixTheyAreAll) {
  // One of the cases above is a second one of "auth list".
  EXPECT_EQ(unreached_cases().size(), 24U);
  EXPECT_EQ(mgmt_commands().size(), 29U);
  EXPECT_EQ(find_mgmt_command("korvlog", "debug"), nullptr);
  EXPECT_EQ(find_mgmt_command("worker ", "add"), nullptr);
}

}  // namespace
}  // namespace qsvmon::harness
