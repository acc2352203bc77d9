// The session's own operations, called in this process against the scripted daemon.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

#include "commands/listing/batches.h"
#include "format/printer.h"
#include "platform/appliance_paths.h"
#include "rpc/session.h"
#include "rpc/wire/request.h"
#include "tests/integration/command_case.h"
#include "tests/integration/open_session.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

std::uint64_t address_of(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

TEST(Exchange, TheFirstRequestUsesTheFirstConnectionAndEachLaterOneItsOwn) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("a"), Reply::text("b")});
  OpenSession session(appliance, kLogSocketPath, 65536);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  RpcRequest second{};
  EXPECT_EQ(rpc_call(kLogSocketPath, second), 0);
  for (int i = 0; i < 500 && daemon.connections() < 2; ++i) ::usleep(10000);
  EXPECT_EQ(daemon.connections(), 2);
  EXPECT_EQ(daemon.silent_connections(), 0);
}

TEST(Exchange, ACallGoesToThePathItIsGiven) {
  Appliance appliance;
  ScriptedDaemon log(appliance, Daemon::kLog, {Reply::text("log")});
  ScriptedDaemon mgmt(appliance, Daemon::kMgmt, {Reply::text("mgmt"), Reply::text("again")});
  OpenSession session(appliance, kMgmtSocketPath, 65536);
  RpcRequest request{};
  // The connection of rpc_init serves the first call whatever path it names.
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(rpc_reply_text(request), "mgmt");
  request = {};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(rpc_reply_text(request), "log");
  request = {};
  EXPECT_EQ(rpc_request(request), 0);
  EXPECT_EQ(rpc_reply_text(request), "again");
  EXPECT_EQ(log.requests().size(), 1U);
  EXPECT_EQ(mgmt.requests().size(), 2U);
}

TEST(Exchange, FillsTheRecordAndReceivesTheAnswer) {
  Appliance appliance;
  Reply reply = Reply::text("text").with_result(0x80000001).with_bytes(184, u32_bytes(77));
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply.more()});
  OpenSession session(appliance, kLogSocketPath, 70000);
  RpcRequest request{};
  request.msgcode = 0x01020304;
  request.status = 9;
  request.argval = 0x0a0b0c0d;
  set_errtext(request, "target");
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(request.result, -2147483647);
  EXPECT_EQ(request.replylen, 4U);
  EXPECT_EQ(request.argval, 77U);
  EXPECT_EQ(request.islast, 0U);
  EXPECT_EQ(address_of(request.reply), address_of(rpc_shmbuf()));
  const Request seen = daemon.requests().at(0);
  check_new_record(seen);  // the status is cleared before it is sent
  EXPECT_EQ(seen.msgcode(), 0x01020304U);
  EXPECT_EQ(seen.argval(), 0x0a0b0c0dU);
  EXPECT_EQ(seen.errtext(), "target");
  EXPECT_EQ(seen.segment_bytes, 70000U);
  EXPECT_EQ(seen.shmsize(), 70000U);
  EXPECT_EQ(seen.client, ::getpid());
}

TEST(Exchange, DataFromElsewhereIsCopiedToTheArea) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>(4, Reply::nothing()));
  OpenSession session(appliance, kLogSocketPath, 4096);
  char text[] = "elsewhere";
  RpcRequest request{};
  request.data = text;
  request.datalen = sizeof text;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(daemon.requests().at(0).text, "elsewhere\0"s);
  EXPECT_EQ(daemon.requests().at(0).number(8, 8), address_of(text));

  // Data that is the area's start already is left as it lies.
  std::memcpy(rpc_shmbuf(), "in place", 9);
  request = {};
  request.data = rpc_shmbuf();
  request.datalen = 9;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(daemon.requests().at(1).text, "in place\0"s);

  // Data inside the area moves to its start.
  std::memcpy(rpc_shmbuf(), "xxabcdef", 9);
  request = {};
  request.data = rpc_shmbuf() + 2;
  request.datalen = 7;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(daemon.requests().at(2).text, "abcdef\0"s);

  // No data: the area goes as it is.
  std::memcpy(rpc_shmbuf(), "left", 5);
  request = {};
  request.datalen = 5;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(daemon.requests().at(3).text, "left\0"s);
}

TEST(Exchange, MoreDataThanTheAreaHoldsIsRefused) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  CapturedOut out;
  std::string data(4097, 'd');
  RpcRequest request{};
  request.data = data.data();
  request.datalen = 4097;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), -1);
  EXPECT_EQ(request_errtext(request), "argument text too long");
  EXPECT_EQ(out.text(), "");  // printing it is the caller's
  EXPECT_EQ(daemon.requests().size(), 0U);
  request = {};
  request.data = data.data();
  request.datalen = 4096;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(daemon.requests().at(0).text, std::string(4096, 'd'));
}

// A length says nothing of the area where nothing is copied.
TEST(Exchange, WithNothingToCopyNothingIsMeasured) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing(), Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  request.datalen = 5000;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  request = {};
  request.data = rpc_shmbuf();
  request.datalen = 0xffffffff;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  ASSERT_EQ(daemon.requests().size(), 2U);
  EXPECT_EQ(daemon.requests()[0].datalen(), 5000U);
  EXPECT_EQ(daemon.requests()[1].datalen(), 0xffffffffU);
}

// KEEP: the record holds what came of the answer, up to its last byte.
TEST(Exchange, AnAnswerThatStopsHasFilledWhatCame) {
  struct {
    std::size_t bytes;
    std::uint32_t msgcode;
    std::int32_t result;
    std::uint32_t replylen;
  } const cases[] = {
      {0, 11, 1, 2},
      {4, 0x55555555, 1, 2},
      {164, 0x55555555, 1, 2},
      {165, 0x55555555, 0x08, 2},  // the first byte of four
      {168, 0x55555555, 0x01020308, 2},
      {207, 0x55555555, 0x01020308, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    Appliance appliance;
    ScriptedDaemon daemon(
        appliance, Daemon::kLog,
        {Reply::text("never").with_bytes(0, "UUUU").with_result(0x01020308).half(c.bytes)});
    OpenSession session(appliance, kLogSocketPath, 4096);
    RpcRequest request{};
    request.msgcode = 11;
    request.result = 1;
    request.replylen = 2;
    EXPECT_EQ(rpc_call(kLogSocketPath, request), 5);
    EXPECT_EQ(request.status, 5U);
    EXPECT_EQ(request_errtext(request), "r_"s + std::strerror(0) + "_0");
    EXPECT_EQ(request.msgcode, c.msgcode);
    EXPECT_EQ(request.result, c.result);
    EXPECT_EQ(request.replylen, c.replylen);
    EXPECT_EQ(request.reply, nullptr);
    EXPECT_EQ(rpc_reply_text(request), "(null)");
  }
}

// Where such an answer says that its reply lies, nothing is read.
TEST(Exchange, APointerOfAnAnswerThatStopsIsNotFollowed) {
  Appliance appliance;
  ScriptedDaemon daemon(
      appliance, Daemon::kLog,
      {Reply::text("never").with_bytes(176, "\x11\x22\x33\x44\x55\x66\x77\x08"s).half(190)});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 5);
  EXPECT_EQ(address_of(request.reply), 0x0877665544332211U);
  EXPECT_TRUE(rpc_reply_bytes(request).empty());
  EXPECT_EQ(rpc_reply_text(request), "");
}

// Standard output is a socket that keeps the writes apart.
TEST(Exchange, WhatWasPrintedIsWrittenOnceBeforeEachCall) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, ends), 0);
  const auto written = [&] {
    char bytes[64];
    const ssize_t n = ::recv(ends[0], bytes, sizeof bytes, 0);
    return std::string(bytes, n > 0 ? static_cast<std::size_t>(n) : 0);
  };
  std::vector<std::string> seen;  // by the daemon, when its request has come
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, [&](const Request&) {
    seen.push_back(written());
    return Reply::nothing();
  });
  OpenSession session(appliance, kLogSocketPath, 4096);
  CapturedOut restores_it;
  ASSERT_GE(::dup2(ends[1], STDOUT_FILENO), 0);
  for (const char* row : {"one ", "three "}) {
    standard_out().put(row, "and ");
    standard_out().put("another");
    RpcRequest request{};
    EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
    EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);  // nothing printed, nothing written
  }
  EXPECT_EQ(written(), "");
  EXPECT_EQ(seen, (std::vector<std::string>{"one and another", "", "three and another", ""}));
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(Exchange, WithoutAListenerTheCallSaysWhere) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  EXPECT_EQ(rpc_call(kMgmtSocketPath, request), 5);
  EXPECT_EQ(request.status, 5U);
  EXPECT_EQ(request_errtext(request), "can't connect ./usr/ramdisk/var/mgmt.d");
}

TEST(Exchange, TheDaemonsStatusIsTheResult) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::error(77, "its text")});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 77);
  EXPECT_EQ(request.status, 77U);
  EXPECT_EQ(request_errtext(request), "its text");
}

// A reply lies in the area or nowhere, whatever was put into the record.
TEST(Reply, BytesEndWithTheArea) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  std::memset(rpc_shmbuf(), 'r', 4096);
  request.reply = rpc_shmbuf();
  EXPECT_EQ(rpc_reply_bytes(request).size(), 4096U);
  EXPECT_EQ(rpc_reply_text(request), std::string(4096, 'r'));
  request.reply = rpc_shmbuf() + 4095;
  EXPECT_EQ(rpc_reply_text(request), "r");
  request.reply = rpc_shmbuf() + 4096;
  EXPECT_TRUE(rpc_reply_bytes(request).empty());
  EXPECT_EQ(rpc_reply_text(request), "");
  request.reply = rpc_shmbuf() - 1;
  EXPECT_TRUE(rpc_reply_bytes(request).empty());
  char elsewhere[] = "elsewhere";
  request.reply = elsewhere;
  EXPECT_EQ(rpc_reply_text(request), "");
  request.reply = nullptr;
  EXPECT_EQ(rpc_reply_text(request), "(null)");
  request.reply = rpc_shmbuf();
  rpc_close(true);
  EXPECT_TRUE(rpc_reply_bytes(request).empty());
}

TEST(Batches, WordsThatDoNotFitTheAreaAreNotSent) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  const BatchPlan plan{.module = "m", .daemon = Daemon::kLog};
  std::string word(4095, 'w');
  char* words[] = {word.data()};
  RpcBatches too_long(plan, words);
  EXPECT_EQ(too_long.fetch().line(), "argument text too long");
  EXPECT_EQ(daemon.requests().size(), 0U);
  word.pop_back();  // with its blank and the NUL it fills the area
  RpcBatches whole(plan, words);
  EXPECT_TRUE(whole.fetch().ok());
  EXPECT_EQ(daemon.requests().at(0).text, " " + word);
}

TEST(Batches, RecordsBehindTheEndOfTheAreaAreNone) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::records("", 1000000)});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcBatches batches({.module = "m", .daemon = Daemon::kLog}, {});
  ASSERT_TRUE(batches.fetch().ok());
  using Record = std::array<char, 100>;
  EXPECT_EQ(batches.records<Record>().size(), 40U);
  EXPECT_EQ(batches.records<Record>(3996).size(), 1U);
  EXPECT_EQ(batches.records<Record>(3997).size(), 0U);
  EXPECT_EQ(batches.records<Record>(4096).size(), 0U);
  EXPECT_EQ(batches.records<Record>(4097).size(), 0U);
}

TEST(Session, TheAreaHasAtLeast4096Bytes) {
  struct {
    std::size_t asked;
    std::size_t made;
  } const cases[] = {{0, 4096}, {100, 4096}, {4096, 4096}, {4097, 4097}, {98304, 98304}};
  for (const auto& c : cases) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
    OpenSession session(appliance, kLogSocketPath, c.asked);
    EXPECT_EQ(rpc_shmsize(), c.made);
    EXPECT_EQ(rpc_area().size(), c.made);
    RpcRequest request{};
    EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
    EXPECT_EQ(daemon.requests().at(0).segment_bytes, c.made);
    EXPECT_EQ(daemon.requests().at(0).area, std::string(c.made < 65536 ? c.made : 65536, '\0'));
  }
}

TEST(Session, WithoutOneACallLeavesTheRequestAlone) {
  rpc_close(true);
  CapturedOut out;
  RpcRequest request{};
  request.msgcode = 5;
  request.status = 3;
  const RpcRequest before = request;
  EXPECT_EQ(rpc_call(kLogSocketPath, request), -1);
  EXPECT_EQ(out.text(), "shminit fail\n");
  EXPECT_EQ(std::memcmp(&request, &before, sizeof request), 0);
  EXPECT_EQ(rpc_shmbuf(), nullptr);
  EXPECT_TRUE(rpc_area().empty());
}

TEST(Session, WithoutADaemonItDoesNotOpen) {
  Appliance appliance;
  ASSERT_EQ(::chdir(appliance.root().c_str()), 0);
  {
    CapturedOut out;
    EXPECT_EQ(rpc_init(kLogSocketPath, 65536), -1);
    EXPECT_EQ(out.text(), "can't connect to ./var/tmp/qsvlog.d");
  }
  ASSERT_EQ(::chdir("/"), 0);
  EXPECT_EQ(rpc_shmbuf(), nullptr);
  EXPECT_TRUE(segments_made_by(::getpid()).empty());
}

TEST(Session, WithoutMemoryItDoesNotOpen) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
  ASSERT_EQ(::chdir(appliance.root().c_str()), 0);
  {
    CapturedOut out;
    EXPECT_EQ(rpc_init(kLogSocketPath, std::size_t{1} << 60), -1);
    const std::string text = out.text();
    EXPECT_EQ(text.substr(0, 22), "rpc_init: shmget fail(");
    EXPECT_EQ(text.substr(text.size() - 2), ")\n");
  }
  ASSERT_EQ(::chdir("/"), 0);
  EXPECT_EQ(rpc_shmbuf(), nullptr);
}

TEST(Session, ClosesInAnyStateAndTwice) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing()});
  OpenSession session(appliance, kLogSocketPath, 4096);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 0);
  const int id = request.shmid;
  EXPECT_TRUE(segment_exists(id));
  rpc_close(true);
  EXPECT_FALSE(segment_exists(id));
  EXPECT_EQ(rpc_shmbuf(), nullptr);
  rpc_close(true);
  rpc_close(false);
  EXPECT_TRUE(segments_made_by(::getpid()).empty());
}

// What a signal handler does, and then what the interrupted command would have done.
TEST(Session, ClosesFromASignal) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
  OpenSession session(appliance, kLogSocketPath, 4096);
  ASSERT_EQ(segments_made_by(::getpid()).size(), 1U);
  const int id = segments_made_by(::getpid())[0];
  rpc_close_from_signal();
  for (int i = 0; i < 500 && daemon.connections() == 0; ++i) ::usleep(10000);
  EXPECT_EQ(daemon.silent_connections(), 1);
  EXPECT_EQ(rpc_shmbuf()[4095], '\0');  // it goes with the process, not before
  rpc_close(true);
  EXPECT_FALSE(segment_exists(id));
  rpc_close_from_signal();
  EXPECT_TRUE(segments_made_by(::getpid()).empty());
}

TEST(Session, OpeningClosesTheOneThatIsOpen) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("a")});
  OpenSession session(appliance, kLogSocketPath, 4096);
  const std::vector<int> first = segments_made_by(::getpid());
  ASSERT_EQ(first.size(), 1U);
  EXPECT_EQ(rpc_init(kLogSocketPath, 8192), 0);
  EXPECT_FALSE(segment_exists(first[0]));
  EXPECT_EQ(segments_made_by(::getpid()).size(), 1U);
  EXPECT_EQ(rpc_shmsize(), 8192U);
  for (int i = 0; i < 500 && daemon.connections() == 0; ++i) ::usleep(10000);
  EXPECT_EQ(daemon.silent_connections(), 1);
  RpcRequest request{};
  EXPECT_EQ(rpc_request(request), 0);
  EXPECT_EQ(rpc_reply_text(request), "a");
}

// In a process that has never had a session.
TEST(SessionDeathTest, ClosingNoneLeavesStandardInputOpen) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        rpc_close_from_signal();
        rpc_close(true);
        ::_exit(::fcntl(STDIN_FILENO, F_GETFD) >= 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(Session, OpensAgain) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("a"), Reply::text("b")});
  for (const char* text : {"a", "b"}) {
    OpenSession session(appliance, kLogSocketPath, 4096);
    RpcRequest request{};
    EXPECT_EQ(rpc_request(request), 0);
    EXPECT_EQ(rpc_reply_text(request), text);
  }
}

}  // namespace
}  // namespace qsvmon::harness
