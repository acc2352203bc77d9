#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/integration/command_case.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

constexpr std::size_t kKib = 1024;

// Every row whose words are forwarded, with the size of its segment (at least 64 KiB).
struct ForwardRow {
  Daemon daemon;
  const char* module;
  const char* subcommand;
  std::uint32_t code;
  const char* target;
  std::size_t kib;
};

constexpr ForwardRow kForwardRows[] = {
    {Daemon::kLog, "module", "list", 387, "", 64},
    {Daemon::kLog, "module", "stat", 388, "", 64},
    {Daemon::kLog, "assetsgroup2", "add", 2051, "assetsgroup2", 64},
    {Daemon::kLog, "assetsgroup2", "list", 2055, "assetsgroup2", 2048},
    {Daemon::kLog, "assetsgroup2", "set", 2053, "assetsgroup2", 64},
    {Daemon::kLog, "assetsgroup2", "stat", 2050, "assetsgroup2", 64},
    {Daemon::kLog, "assetsgroup2", "remove", 2052, "assetsgroup2", 256},
    {Daemon::kLog, "assetsobj2", "add", 2051, "assetsobj2", 64},
    {Daemon::kLog, "assetsobj2", "set", 2053, "assetsobj2", 64},
    {Daemon::kLog, "assetsobj2", "stat", 2050, "assetsobj2", 64},
    {Daemon::kLog, "assetsobj2", "remove", 2052, "assetsobj2", 256},
    {Daemon::kLog, "table", "loadfile", 249, "", 64},
    {Daemon::kMgmt, "qsviptable", "loadfile", 2056, "qsviptable", 64},
    {Daemon::kMgmt, "qsvtable", "add", 2051, "qsvtable", 64},
    {Daemon::kMgmt, "qsvtable", "list", 2055, "qsvtable", 2048},
    {Daemon::kMgmt, "qsvtable", "set", 2053, "qsvtable", 64},
    {Daemon::kMgmt, "qsvtable", "stat", 2050, "qsvtable", 64},
    {Daemon::kMgmt, "qsvtable", "remove", 2052, "qsvtable", 256},
    {Daemon::kMgmt, "qsvtable", "get", 2054, "qsvtable", 2048},
    {Daemon::kMgmt, "qsvdnsgrp", "add", 2051, "qsvdnsgrp", 64},
    {Daemon::kMgmt, "qsvdnsgrp", "list", 2055, "qsvdnsgrp", 2048},
    {Daemon::kMgmt, "qsvdnsgrp", "set", 2053, "qsvdnsgrp", 64},
    {Daemon::kMgmt, "qsvdnsgrp", "stat", 2050, "qsvdnsgrp", 64},
    {Daemon::kMgmt, "qsvdnsgrp", "remove", 2052, "qsvdnsgrp", 256},
    {Daemon::kMgmt, "qsvdnsgrp", "get", 2054, "qsvdnsgrp", 2048},
    {Daemon::kMgmt, "qsvdnsgrp", "loadfile", 2056, "qsvdnsgrp", 2048},
    // Verbs that every module of the log daemon accepts, for modules that no row names, for modules
    // whose rows do not have the verb, and for modules of the other daemon too.
    {Daemon::kLog, "anything", "stat", 2050, "anything", 16},
    {Daemon::kLog, "anything", "config", 2057, "anything", 16},
    {Daemon::kLog, "anything", "list", 2055, "anything", 2048},
    {Daemon::kLog, "anything", "get", 2054, "anything", 64},
    {Daemon::kLog, "anything", "add", 2051, "anything", 16},
    {Daemon::kLog, "anything", "set", 2053, "anything", 16},
    {Daemon::kLog, "anything", "remove", 2052, "anything", 16},
    {Daemon::kLog, "anything", "load", 2056, "anything", 16},
    {Daemon::kLog, "anything", "debug", 2064, "anything", 128},
    {Daemon::kLog, "qsvtable", "config", 2057, "qsvtable", 16},
    {Daemon::kLog, "tcpreset", "stat", 2050, "tcpreset", 16},
    {Daemon::kLog, "table", "list", 2055, "table", 2048},
    {Daemon::kLog, "qsvlog", "debug", 2064, "qsvlog", 128},
    {Daemon::kLog, "Module", "list", 2055, "Module", 2048},  // names are compared exactly
    {Daemon::kLog, "", "list", 2055, "", 2048},
};

TEST(Forward, EveryRowSendsItsWordsToItsDaemon) {
  for (const ForwardRow& row : kForwardRows) {
    check_command({.words = {row.module, row.subcommand, "a=1", "two words", ""},
                   .daemon = row.daemon,
                   .code = row.code,
                   .target = row.target,
                   .text = "a=1 two words  \0"s,
                   .kib = row.kib,
                   .reply = Reply::text("line\nno newline").with_result(9),
                   .out = "line\nno newline"});
  }
}

TEST(Forward, WithoutWordsTheTextIsEmpty) {
  check_command({.words = {"module", "list"}, .code = 387, .text = "\0"s});
  check_command({.words = {"qsvtable", "list"},
                 .daemon = Daemon::kMgmt,
                 .code = 2055,
                 .target = "qsvtable",
                 .text = "\0"s,
                 .kib = 2048});
}

TEST(Forward, PrintsTheTextWhenThereIsALength) {
  struct {
    Reply reply;
    std::string out;
  } const cases[] = {
      {Reply::text("hidden").with_replylen(0), ""},
      {Reply::text("to its NUL").with_replylen(3), "to its NUL"},
      {Reply::text("to its NUL").with_replylen(0xffffffff), "to its NUL"},
      {Reply::text("100%s %n\n"), "100%s %n\n"},
      {Reply::text("one\0two"s), "one"},
      {Reply::records(std::string(65536, 'x'), 0).with_replylen(1), std::string(65536, 'x')},
  };
  for (const auto& c : cases) {
    check_command(
        {.words = {"module", "stat"}, .code = 388, .text = "\0"s, .reply = c.reply, .out = c.out});
  }
}

TEST(Forward, AFailedCallPrintsItsErrorText) {
  const std::string long_text(128, 'e');
  for (const std::uint32_t status : {1U, 5U, 12U, 22U, 0x80000000U, 0xffffffffU}) {
    check_command({.words = {"module", "stat"},
                   .code = 388,
                   .text = "\0"s,
                   .reply = Reply::error(status, "no %d luck").with_replylen(9),
                   .out = "no %d luck\n",
                   .exit_status = 255});
  }
  check_command({.words = {"qsvtable", "set", "x"},
                 .daemon = Daemon::kMgmt,
                 .code = 2053,
                 .target = "qsvtable",
                 .text = "x \0"s,
                 .reply = Reply::error(1, long_text),
                 .out = long_text + "\n",
                 .exit_status = 255});
  check_command({.words = {"qsvtable", "set", "x"},
                 .daemon = Daemon::kMgmt,
                 .code = 2053,
                 .target = "qsvtable",
                 .text = "x \0"s,
                 .reply = Reply::error(1, ""),
                 .out = "\n",
                 .exit_status = 255});
}

TEST(Forward, WhatDoesNotFitIsNotSent) {
  const std::string text(65534, 'w');  // with its blank and the NUL exactly 64 KiB
  check_command({.words = {"module", "list", text}, .code = 387, .text = text + " \0"s});
  check_sends_nothing({"module", "list", text + 'w'}, Daemon::kLog, "argument text too long\n",
                      255);
  check_sends_nothing({"module", "list", text, ""}, Daemon::kLog, "argument text too long\n", 255);
  const std::string name(127, 'm');
  check_command({.words = {name, "stat"}, .code = 2050, .target = name, .text = "\0"s, .kib = 16});
  check_sends_nothing({name + 'm', "stat"}, Daemon::kLog, "argument text too long\n", 255);
}

TEST(Forward, WithoutADaemonTheSessionDoesNotOpen) {
  Appliance appliance;
  struct {
    std::vector<std::string> words;
    const char* out;
  } const cases[] = {{{"module", "list"}, "can't connect to ./var/tmp/qsvlog.d"},
                     {{"anything", "list"}, "can't connect to ./var/tmp/qsvlog.d"},
                     {{"keytbl", "list"}, "can't connect to ./var/tmp/qsvlog.d"},
                     {{"qsvtable", "list"}, "can't connect to ./usr/ramdisk/var/mgmt.d"},
                     {{"tcpreset", "list"}, "can't connect to ./usr/ramdisk/var/mgmt.d"}};
  for (const auto& c : cases) {
    const Outcome outcome = appliance.run(c.words);
    EXPECT_EQ(outcome.out, c.out);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.exit_status, 255);
  }
}

TEST(KeyTable, SendsWordsFromTheFrontOfTheVector) {
  struct {
    std::vector<std::string> words;
    std::string text;
  } const cases[] = {
      {{"keytbl", "list"}, "\0"s},
      {{"keytbl", "list", "a"}, "qsvmon \0"s},
      {{"keytbl", "list", "a", "b"}, "qsvmon keytbl \0"s},
      {{"keytbl", "list", "a", "b", "c", "d"}, "qsvmon keytbl list a \0"s},
  };
  for (const auto& c : cases) {
    check_command({.words = c.words,
                   .code = 282,
                   .text = c.text,
                   .kib = 4,
                   .reply = Reply::text("keys\n"),
                   .out = "keys\n"});
  }
}

TEST(KeyTable, EndsWithSuccessWhateverTheDaemonSaid) {
  check_command({.words = {"keytbl", "list"},
                 .code = 282,
                 .text = "\0"s,
                 .kib = 4,
                 .reply = Reply::error(3, "no keys"),
                 .out = "no keys\n"});
  check_command({.words = {"keytbl", "list"},
                 .code = 282,
                 .text = "\0"s,
                 .kib = 4,
                 .reply = Reply().closing(),
                 .out = closed_line()});
}

TEST(InvalidCommands, AreNamedAndExitWithOne) {
  struct {
    std::vector<std::string> words;
    const char* out;
  } const cases[] = {
      {{"anything", "frobnicate"}, "invalid commands: anything frobnicate\n"},
      {{"anything", "LIST", "x"}, "invalid commands: anything LIST\n"},
      {{"table", "matchtest", "5", "1.1.1.1"}, "invalid commands: table matchtest\n"},
      {{"keytbl", "stat"}, "invalid commands: keytbl stat\n"},
      {{"keytbl", ""}, "invalid commands: keytbl \n"},
      {{"%s", "%n"}, "invalid commands: %s %n\n"},
      {{"sysboot", "now"}, "invalid commands: sysboot now\n"},
  };
  for (const auto& c : cases) {
    check_sends_nothing(c.words, Daemon::kLog, c.out, 1);
    check_sends_nothing(c.words, Daemon::kMgmt, c.out, 1);
  }
}

// Listings of modules and the boot time ask no daemon.
Outcome run_alone(const std::vector<std::string>& words) {
  Appliance appliance;
  ScriptedDaemon log(appliance, Daemon::kLog, std::vector<Reply>{});
  ScriptedDaemon mgmt(appliance, Daemon::kMgmt, std::vector<Reply>{});
  Outcome outcome = appliance.run(words);
  EXPECT_EQ(log.silent_connections() + log.connections(), 0);
  EXPECT_EQ(mgmt.silent_connections() + mgmt.connections(), 0);
  EXPECT_EQ(outcome.err, "");
  return outcome;
}

TEST(ModuleList, HasTheLogDaemonsModules) {
  const Outcome outcome = run_alone({});
  EXPECT_EQ(outcome.out,
            "module\nqsvlog\nqsvquery\nworker\ndisk\nassetsgroup2\nassetsobj2\ntable\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

constexpr char kAssetRows[] =
    "assetsgroup2 add\nassetsgroup2 list\nassetsgroup2 set\nassetsgroup2 stat\n"
    "assetsgroup2 remove\n"
    "assetsobj2 add\nassetsobj2 list\nassetsobj2 set\nassetsobj2 stat\nassetsobj2 remove\n";
constexpr char kTableRows[] =
    "table get\ntable addip\ntable rmvip\ntable clear\ntable getcmp\ntable loadfile\n";

TEST(ModuleList, OneWordListsTheRowsOfModulesThatContainIt) {
  const std::string first =
      "module list\nmodule stat\nqsvlog stat\nqsvquery stat\n"
      "worker stat\nworker list\nworker add\ndisk stat\n";
  struct {
    const char* word;
    std::string out;
  } const cases[] = {
      {"tab", kTableRows},
      {"table", kTableRows},
      {"assets", kAssetRows},
      {"qsv", "qsvlog stat\nqsvquery stat\n"},
      {"", first + kAssetRows + kTableRows},
      {"tcpreset", ""},  // the other daemon's are never listed
      {"qsvtable", ""},
      {"TABLE", ""},
      {"tables", ""},
      {"keytbl", ""},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run_alone({c.word});
    EXPECT_EQ(outcome.out, c.out) << c.word;
    EXPECT_EQ(outcome.exit_status, 255) << c.word;
  }
}

TEST(SysBoot, PrintsSecondsAndMicroseconds) {
  const Outcome outcome = run_alone({"sysboot"});
  EXPECT_EQ(outcome.exit_status, 0);
  char* end = nullptr;
  const unsigned long seconds = std::strtoul(outcome.out.c_str(), &end, 10);
  ASSERT_EQ(*end, '_') << outcome.out;
  const unsigned long microseconds = std::strtoul(end + 1, &end, 10);
  EXPECT_EQ(std::string(end), "\n");
  EXPECT_LT(microseconds, 1000000U);
  // Where the system says it in a file too, both agree; two clocks are read one after the other.
  std::ifstream stat("/proc/stat");
  for (std::string line; std::getline(stat, line);) {
    if (line.compare(0, 6, "btime ") != 0) continue;
    const unsigned long told = std::strtoul(line.c_str() + 6, nullptr, 10);
    EXPECT_LE(seconds > told ? seconds - told : told - seconds, 1U);
    const std::string kernels = std::to_string(told) + "_0\n";
    EXPECT_TRUE(freebsd_program() || outcome.out == kernels) << outcome.out;
  }
  // The moment is one: whoever asks again gets the same answer.
  for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(run_alone({"sysboot"}).out, outcome.out);
}

TEST(CommandTable, AModuleWithoutTheSubcommandDoesNotEndTheSearch) {
  // The log daemon's assetsobj2 has no "get"; the verb of any module does.
  check_command(
      {.words = {"assetsobj2", "get", "x"}, .code = 2054, .target = "assetsobj2", .text = "x \0"s});
}

TEST(CommandTable, EveryHandlerGetsAnAreaOfItsRowsSizeAtItsDaemon) {
  struct {
    Daemon daemon;
    std::vector<std::string> words;
    std::size_t kib;
  } const rows[] = {
      {Daemon::kLog, {"qsvlog", "stat"}, 64},
      {Daemon::kLog, {"qsvquery", "stat"}, 64},
      {Daemon::kLog, {"worker", "stat"}, 2048},
      {Daemon::kLog, {"worker", "list"}, 8192},
      {Daemon::kLog, {"worker", "add"}, 4096},
      {Daemon::kLog, {"disk", "stat"}, 2048},
      {Daemon::kLog, {"assetsobj2", "list"}, 2048},
      {Daemon::kLog, {"table", "get"}, 2048},
      {Daemon::kLog, {"table", "addip", "5", "1.1.1.1"}, 64},
      {Daemon::kLog, {"table", "rmvip", "5", "1.1.1.1"}, 64},
      {Daemon::kLog, {"table", "clear", "5"}, 64},
      {Daemon::kLog, {"table", "getcmp", "5"}, 2048},
      {Daemon::kMgmt, {"tcpreset", "listip"}, 2048},
      {Daemon::kMgmt, {"tcpreset", "listdns"}, 2048},
      {Daemon::kMgmt, {"tcpreset", "list"}, 2048},
      {Daemon::kMgmt, {"emaillog", "list"}, 2048},
      {Daemon::kMgmt, {"ftplog", "list"}, 2048},
      {Daemon::kMgmt, {"telnetlog", "list"}, 2048},
      {Daemon::kMgmt, {"malclog", "list", "listtype=dst"}, 2048},
      {Daemon::kMgmt, {"qsviptable", "get"}, 2048},
      {Daemon::kMgmt, {"qsviptable", "addip", "5", "1.1.1.1"}, 64},
      {Daemon::kMgmt, {"qsviptable", "remove", "5", "1.1.1.1"}, 64},
      {Daemon::kMgmt, {"qsviptable", "clear", "5"}, 64},
      {Daemon::kMgmt, {"qsviptable", "getcmp", "5"}, 2048},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.words[0] + ' ' + row.words[1]);
    Appliance appliance;
    ScriptedDaemon daemon(appliance, row.daemon, {Reply::error(9, "not today")});
    const Outcome outcome = appliance.run(row.words);
    EXPECT_EQ(outcome.out, "not today\n");
    EXPECT_EQ(outcome.exit_status, 255);
    ASSERT_EQ(daemon.requests().size(), 1U);
    EXPECT_EQ(daemon.requests()[0].segment_bytes, row.kib * kKib);
    EXPECT_FALSE(segment_exists(daemon.requests()[0].shmid()));
  }
}

}  // namespace
}  // namespace qsvmon::harness
