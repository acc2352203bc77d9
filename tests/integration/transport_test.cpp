// What happens to the program when the daemon is late, goes away or answers in part, and when a
// signal comes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

#include "platform/appliance_paths.h"
#include "rpc/session.h"
#include "tests/integration/command_case.h"
#include "tests/integration/open_session.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;
using Clock = std::chrono::steady_clock;

struct TimedOutcome {
  Outcome outcome;
  long milliseconds;
};

TimedOutcome run_with(const Reply& reply) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply});
  const Clock::time_point start = Clock::now();
  TimedOutcome timed{appliance.run({"module", "list"}), 0};
  timed.milliseconds = static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
  const std::vector<Request> requests = daemon.requests();
  EXPECT_EQ(requests.size(), 1U);
  for (const Request& request : requests) EXPECT_FALSE(segment_exists(request.shmid()));
  return timed;
}

TEST(LateAnswer, IsReceivedHoweverLateItIs) {
  for (const int late : {1300, 2400, 3400}) {
    const TimedOutcome timed = run_with(Reply::text("late\n").late(late));
    EXPECT_EQ(timed.outcome.out, "late\n");
    EXPECT_EQ(timed.outcome.exit_status, 0);
    EXPECT_GE(timed.milliseconds, late);
  }
}

TEST(LateAnswer, MayComeInPieces) {
  EXPECT_EQ(run_with(Reply::text("pieces\n").in_pieces(1, 0)).outcome.out, "pieces\n");
  // One wait of more than a second is forgiven.
  EXPECT_EQ(run_with(Reply::text("two\n").in_pieces(104, 1300)).outcome.out, "two\n");
}

TEST(LateAnswer, ASecondWaitThatRunsOutFails) {
  // The waits run out after 1.0 and 2.7 seconds.
  const TimedOutcome timed = run_with(Reply::text("three\n").in_pieces(70, 1700));
  EXPECT_EQ(timed.outcome.out, closed_line());
  EXPECT_EQ(timed.outcome.exit_status, 255);
  EXPECT_GE(timed.milliseconds, 2700);
  EXPECT_LT(timed.milliseconds, 10000);
}

TEST(BrokenAnswer, ClosingEarlyFailsTheCall) {
  for (const std::size_t sent : {0U, 1U, 36U, 100U, 207U}) {
    const TimedOutcome timed = run_with(Reply::error(9, "never whole").half(sent));
    EXPECT_EQ(timed.outcome.out, closed_line()) << sent;
    EXPECT_EQ(timed.outcome.err, "");
    EXPECT_EQ(timed.outcome.exit_status, 255);
    EXPECT_LT(timed.milliseconds, 5000);
  }
}

TEST(BrokenAnswer, TheNextCallFindsNobody) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("first\n").more().then_refusing()});
  const Outcome outcome = appliance.run({"table", "get", "5"});
  EXPECT_EQ(outcome.out, "first\ncan't connect ./var/tmp/qsvlog.d\n");
  EXPECT_EQ(outcome.exit_status, 255);
}

TEST(BrokenAnswer, InTheMiddleOfAListing) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {Reply::text("first\n").more(), Reply::text("second\n").half(50)});
  const Outcome outcome = appliance.run({"table", "get", "5"});
  EXPECT_EQ(outcome.out, "first\n" + closed_line());
  EXPECT_EQ(outcome.exit_status, 255);
}

// A connection that the daemon closed before the request was sent.
TEST(BrokenConnection, FailsTheSend) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
  daemon.hang_up();
  OpenSession session(appliance, kLogSocketPath, 65536);
  for (int i = 0; i < 500 && daemon.connections() == 0; ++i) ::usleep(10000);
  ASSERT_EQ(daemon.connections(), 1);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 5);
  EXPECT_EQ(request.status, 5U);
  EXPECT_EQ(request_errtext(request), "s_Broken pipe_32");
}

TEST(HostileRecord, OnlyTheProgramsOwnSegmentAndAreaCount) {
  // Pointers, sizes and the identifier in the answer are the daemon's own business.
  const std::string junk = "\x11\x22\x33\x44\x55\x66\x77\x08"s;
  Reply reply = Reply::text("sound\n");
  reply.with_bytes(0, junk).with_bytes(8, junk).with_bytes(16, u32_bytes(0x7fffffff));
  reply.with_bytes(22, "\xff\xff"s).with_bytes(24, junk).with_bytes(172, u32_bytes(0xffffffff));
  reply.with_bytes(176, junk).with_bytes(184, std::string(24, '\xff'));
  const TimedOutcome timed = run_with(reply);
  EXPECT_EQ(timed.outcome.out, "sound\n");
  EXPECT_EQ(timed.outcome.exit_status, 0);
}

TEST(HostileRecord, IsNotSentOnAsTheAreasIdentity) {
  Appliance appliance;
  Reply reply = Reply::text("a").more();
  reply.with_bytes(16, u32_bytes(1)).with_bytes(172, u32_bytes(5)).with_bytes(200, u32_bytes(0));
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply, Reply::text("b")});
  EXPECT_EQ(appliance.run({"table", "get"}).out, "ab");
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[1].shmid(), requests[0].shmid());
  EXPECT_EQ(requests[1].shmsize(), 2097152U);
  EXPECT_GE(requests[1].stamp(), requests[0].stamp());
}

TEST(Signals, InterruptAndTerminateEndQuietlyWithOne) {
  for (const int number : {SIGINT, SIGTERM}) {
    const TimedOutcome timed = run_with(Reply::nothing().raising(number));
    EXPECT_EQ(timed.outcome.out, "");
    EXPECT_EQ(timed.outcome.err, "");
    EXPECT_EQ(timed.outcome.exit_status, 1);
    EXPECT_EQ(timed.outcome.signal, 0);
  }
}

TEST(Signals, AFaultEndsTheDefaultWayWithoutASegment) {
  for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE}) {
    const TimedOutcome timed = run_with(Reply::nothing().raising(number));
    EXPECT_EQ(timed.outcome.out, "");
    EXPECT_EQ(timed.outcome.exit_status, -1);
    EXPECT_EQ(timed.outcome.signal, number);
  }
}

TEST(Signals, InTheMiddleOfAListing) {
  for (const int number : {SIGINT, SIGTERM, SIGSEGV}) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kLog,
                          {Reply::text("first\n").more(), Reply::nothing().raising(number)});
    const Outcome outcome = appliance.run({"table", "get"});
    EXPECT_EQ(outcome.out, "first\n");  // was written before the second wait
    EXPECT_EQ(outcome.exit_status, number == SIGSEGV ? -1 : 1);
    EXPECT_EQ(outcome.signal, number == SIGSEGV ? SIGSEGV : 0);
    ASSERT_EQ(daemon.requests().size(), 2U);
    EXPECT_FALSE(segment_exists(daemon.requests()[0].shmid()));
  }
}

// Runs a command whose first reply brings a dictionary.
struct DictRun {
  Outcome outcome;
  std::string log;  ///< the dictionary library's
};

const Reply kFirstWithTables = Reply::records(std::string(168, '\0') + "first\n"s + '\0', 0)
                                   .with_replylen(6)
                                   .with_syncdesc(1)
                                   .more();

DictRun run_with_dictionary(const std::string& fault, const ScriptedDaemon::Script& script,
                            RunOptions options = {}) {
  Appliance appliance;
  appliance.install_dictionary();
  ScriptedDaemon daemon(appliance, Daemon::kLog, script);
  options.environment = {"FAKE_DICT_FAULT=" + fault, "FAKE_DICT_LOG=" + appliance.path("dict.log")};
  const Outcome outcome = appliance.run({"table", "get"}, options);
  for (const Request& request : daemon.requests()) EXPECT_FALSE(segment_exists(request.shmid()));
  return {outcome, appliance.read("dict.log")};
}

ScriptedDaemon::Script tables_then(const Reply& reply) {
  return [reply, first = true](const Request&) mutable {
    return std::exchange(first, false) ? kFirstWithTables : reply;
  };
}

TEST(Signals, WhileItWaitsTheDictionaryIsUnloaded) {
  for (const int number : {SIGINT, SIGTERM}) {
    const DictRun run = run_with_dictionary("", tables_then(Reply::nothing().raising(number)));
    EXPECT_EQ(run.outcome.out, "first\n");
    EXPECT_EQ(run.outcome.exit_status, 1);
    EXPECT_EQ(run.outcome.signal, 0);
    EXPECT_EQ(run.log, "init\nunload\n");
  }
}

// Somebody is inside the library then, so that it cannot be unloaded.
TEST(Signals, AtAnyOtherMomentTheDictionaryIsLeftAlone) {
  for (const char* when : {"load", "init", "unload"}) {
    const DictRun run =
        run_with_dictionary(when + " term"s, tables_then(Reply::nothing().with_syncdesc(0)));
    EXPECT_EQ(run.outcome.exit_status, 1) << when;
    EXPECT_EQ(run.outcome.signal, 0) << when;
    EXPECT_EQ(run.log, when == "load"s ? "" : when == "init"s ? "init\n" : "init\nunload\n");
  }
}

// Whoever asks to end a second time need not wait for the library's last words.
TEST(Signals, ASecondOneEndsAnUnloadingThatHangs) {
  std::thread insists;
  bool first = true;
  const DictRun run = run_with_dictionary("unload wait", [&](const Request& request) {
    if (std::exchange(first, false)) return kFirstWithTables;
    insists = std::thread([client = request.client] {
      for (int i = 0; i < 600 && ::kill(client, SIGINT) == 0; ++i) ::usleep(50000);
    });
    return Reply().silent();
  });
  insists.join();
  EXPECT_EQ(run.outcome.exit_status, 1);
  EXPECT_EQ(run.log, "init\nunload\n");
}

// The library's code may fail at any time that it runs; a fault is told apart from a mere signal.
TEST(Signals, AFaultOfTheDictionaryLeavesNoSegment) {
  for (const char* when : {"load", "init", "unload"}) {
    const DictRun run =
        run_with_dictionary(when + " file"s, tables_then(Reply::nothing().with_syncdesc(0)));
    EXPECT_EQ(run.outcome.signal, SIGBUS) << when;
  }
  // Also when the fault comes while the process is being ended.
  const DictRun run =
      run_with_dictionary("unload file", tables_then(Reply::nothing().raising(SIGINT)));
  EXPECT_EQ(run.outcome.out, "first\n");
  EXPECT_EQ(run.outcome.signal, SIGBUS);
}

#if defined(__has_feature)
#define QSVMON_CLANG_ASAN __has_feature(address_sanitizer)
#else
#define QSVMON_CLANG_ASAN 0
#endif
#if defined(__SANITIZE_ADDRESS__) || QSVMON_CLANG_ASAN
constexpr rlim_t kLittleStack = 1 << 20;  // the sanitizer needs some itself
#else
constexpr rlim_t kLittleStack = 32 << 10;
#endif

// The handler of such a fault has a stack of its own.
TEST(Signals, TheEndOfTheStackLeavesNoSegment) {
  RunOptions options;
  options.before_exec = [] {
    const rlimit little{kLittleStack, kLittleStack};
    ::setrlimit(RLIMIT_STACK, &little);
  };
  const DictRun run = run_with_dictionary("init stack", tables_then(Reply::nothing()), options);
  EXPECT_EQ(run.outcome.exit_status, -1);
  EXPECT_EQ(run.outcome.signal, SIGSEGV);
  EXPECT_EQ(run.log, "init\n");
}

TEST(Signals, AFileThatMayNotGrowFailsTheWrite) {
  for (const rlim_t bytes : {rlim_t{0}, rlim_t{40}}) {
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::records("", 0).with_syncdesc(0)});
    RunOptions options;
    options.before_exec = [bytes] {
      const rlimit limit{bytes, bytes};
      ::setrlimit(RLIMIT_FSIZE, &limit);
    };
    const Outcome outcome = appliance.run({"emaillog", "list", "download=1"}, options);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(outcome.exit_status, 0) << outcome.out;
    const std::vector<std::string> sheets = appliance.list("usr/qsvlog");
    ASSERT_EQ(sheets.size(), 1U);
    EXPECT_EQ(outcome.out, sheets[0] + '\n');
    EXPECT_EQ(appliance.read("usr/qsvlog/" + sheets[0]).size(), bytes);
  }
}

TEST(Signals, ABrokenPipeIsIgnored) {
  Reply reply = Reply::text("still here\n");
  reply.signal = SIGPIPE;
  const TimedOutcome timed = run_with(reply);
  EXPECT_EQ(timed.outcome.out, "still here\n");
  EXPECT_EQ(timed.outcome.exit_status, 0);
}

TEST(Signals, OutputThatNobodyReadsChangesNothing) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {Reply::records(std::string(2097152, 'x'), 0).with_replylen(1).more(),
                         Reply::text("the rest\n")});
  RunOptions options;
  options.output_is_broken = true;
  const Outcome outcome = appliance.run({"table", "get"}, options);
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.signal, 0);
  EXPECT_EQ(daemon.requests().size(), 2U);
}

// A text of 2 MiB through a pipe that holds 4 KiB and that a slow reader shares without blocking.
TEST(Output, ANonBlockingOneIsWaitedFor) {
  std::string text;
  while (text.size() < 2097151) text += std::to_string(text.size()) + ' ';
  text.resize(2097151);
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text(text)});
  RunOptions options;
  options.before_exec = [] {
    ::fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
#ifdef F_SETPIPE_SZ
    ::fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 4096);
#endif
  };
  options.read_pause_ms = 1;
  const Outcome outcome = appliance.run({"table", "get"}, options);
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_TRUE(outcome.out == text) << outcome.out.size() << " bytes came";
}

TEST(Output, AFullOneLosesItsTextAndNothingElse) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {Reply::text("first\n").more(), Reply::text("second\n")});
  RunOptions options;
  options.before_exec = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  const Outcome outcome = appliance.run({"table", "get"}, options);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(daemon.requests().size(), 2U);
}

// A reply must not be the next program's input, nor the daemon's: all five listings of events,
// which complain on standard error that the configuration file is missing, with any descriptors
// closed.
TEST(Output, ClosedDescriptorsAreNotTakenByTheSocket) {
  for (const char* list : {"dst", "host", "app", "table", "detail"}) {
    for (unsigned closed = 0; closed < 8; ++closed) {
      SCOPED_TRACE(list + std::to_string(closed));
      Appliance appliance;
      ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::error(9, "heard")});
      RunOptions options;
      options.before_exec = [closed] {
        for (int fd = 0; fd < 3; ++fd) {
          if ((closed >> fd & 1) != 0) ::close(fd);
        }
      };
      const Outcome outcome = appliance.run({"malclog", "list", "listtype="s + list}, options);
      EXPECT_EQ(outcome.out.find("heard") == std::string::npos, (closed & 2) != 0) << outcome.out;
      ASSERT_EQ(daemon.requests().size(), 1U);
      EXPECT_EQ(daemon.requests()[0].errtext(), "qsvmalicious");
      check_new_record(daemon.requests()[0]);
    }
  }
}

TEST(Output, ClosedDescriptorsDoNotChangeWhatNeedsNoDaemon) {
  Appliance appliance;
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"tab"}, {"sysboot"}, {"a", "b"}}) {
    const Outcome whole = appliance.run(words);
    RunOptions options;
    options.before_exec = [] {
      ::close(STDIN_FILENO);
      ::close(STDERR_FILENO);
    };
    const Outcome outcome = appliance.run(words, options);
    EXPECT_EQ(outcome.out, whole.out);
    EXPECT_EQ(outcome.exit_status, whole.exit_status);
  }
}

}  // namespace
}  // namespace qsvmon::harness
