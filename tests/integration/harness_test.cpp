// The harness itself, and that it can fail.
#include "tests/integration/harness.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <csignal>

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

TEST(Harness, SeesTheWholeRequestAndTheProgramTheWholeReply) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("one\ntwo")});
  const Outcome outcome = appliance.run({"module", "list", "a", "bc"});
  EXPECT_EQ(outcome.out, "one\ntwo");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.signal, 0);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].msgcode(), 387U);
  EXPECT_EQ(requests[0].datalen(), 6U);
  EXPECT_EQ(requests[0].text, "a bc \0"s);
  EXPECT_EQ(requests[0].errtext(), "");
  EXPECT_EQ(requests[0].segment_bytes, 65536U);
  EXPECT_EQ(requests[0].client, outcome.pid);
  EXPECT_FALSE(segment_exists(requests[0].shmid()));
  EXPECT_EQ(daemon.silent_connections(), 0);
}

// Proves that a wrong answer is noticed.
TEST(Harness, FailsWhenTheExpectationIsWrong) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("one\n")});
  const Outcome outcome = appliance.run({"module", "list"});
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(outcome.out, "two\n"), "two");
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(outcome.exit_status, 255), "255");
}

TEST(Harness, FailsWhenARequestComesThatTheScriptDoesNotKnow) {
  Appliance appliance;
  EXPECT_NONFATAL_FAILURE(
      {
        ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
        const Outcome outcome = appliance.run({"module", "list"});
        EXPECT_EQ(outcome.exit_status, 255);
      },
      "no reply for");
}

TEST(Harness, FindsASegmentThatAProcessLeft) {
  const int id = ::shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600);
  ASSERT_GE(id, 0);
  EXPECT_TRUE(segment_exists(id));
  EXPECT_EQ(segments_made_by(::getpid()), std::vector<int>{id});
  ::shmctl(id, IPC_RMID, nullptr);
  EXPECT_FALSE(segment_exists(id));
  EXPECT_EQ(segments_made_by(::getpid()), std::vector<int>{});
}

TEST(Harness, FailsWhenTheProgramLeavesASegment) {
  Appliance appliance;
  // Only a kill that cannot be caught makes the program leave one.
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing().raising(SIGKILL)});
  EXPECT_NONFATAL_FAILURE(
      {
        const Outcome outcome = appliance.run({"module", "list"});
        EXPECT_EQ(outcome.signal, SIGKILL);
      },
      "left behind");
  ASSERT_EQ(daemon.requests().size(), 1U);
  EXPECT_FALSE(segment_exists(daemon.requests()[0].shmid()));
}

TEST(Harness, KillsAProgramThatDoesNotEnd) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::nothing().silent()});
  RunOptions options;
  options.limit_ms = 300;
  testing::TestPartResultArray failures;
  {
    testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    const Outcome outcome = appliance.run({"module", "list"}, options);
    EXPECT_EQ(outcome.signal, SIGKILL);
  }
  ASSERT_EQ(failures.size(), 2);  // too late, and the segment that a killed program leaves
}

}  // namespace
}  // namespace qsvmon::harness
