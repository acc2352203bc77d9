#include "tests/integration/command_case.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>

namespace qsvmon::harness {
namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += word.substr(0, 40) + ' ';
  return line;
}

}  // namespace

void check_new_record(const Request& request) {
  EXPECT_TRUE(request.attached);
  EXPECT_EQ(request.shmsize(), request.segment_bytes);
  EXPECT_EQ(request.flags(), 0U);
  EXPECT_EQ(request.stream(), 0U);
  EXPECT_EQ(request.status(), 0U);
  EXPECT_EQ(request.islast(), 0U);
  EXPECT_EQ(request.result(), 0U);
  EXPECT_EQ(request.replylen(), 0U);
  EXPECT_EQ(std::accumulate(request.record.begin() + 188, request.record.begin() + 200, 0), 0);
  EXPECT_EQ(std::accumulate(request.record.begin() + 204, request.record.end(), 0), 0);
  // Not by time(), whose coarse clock may be a tick behind the clock that the program read.
  const auto now = static_cast<std::uint32_t>(
      std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
  EXPECT_LE(now - request.stamp(), 30U);
}

void check_command(const CommandCase& c) {
  SCOPED_TRACE(joined(c.words));
  Appliance appliance;
  ScriptedDaemon daemon(appliance, c.daemon, {c.reply});
  const Outcome outcome = appliance.run(c.words);
  EXPECT_EQ(outcome.out, c.out);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exit_status, c.exit_status);
  const std::vector<Request> requests = daemon.requests();
  ASSERT_EQ(requests.size(), 1U);
  const Request& request = requests[0];
  EXPECT_EQ(request.msgcode(), c.code);
  EXPECT_EQ(request.errtext(), c.target);
  EXPECT_EQ(request.datalen(), c.text.size());
  EXPECT_EQ(request.text, c.text);
  EXPECT_EQ(request.segment_bytes, c.kib * 1024);
  EXPECT_EQ(request.argval(), 0U);
  EXPECT_EQ(request.syncdesc(), 0U);
  check_new_record(request);
  EXPECT_FALSE(segment_exists(request.shmid()));
}

void check_sends_nothing(const std::vector<std::string>& words, Daemon which,
                         const std::string& out, int exit_status) {
  SCOPED_TRACE(joined(words));
  Appliance appliance;
  ScriptedDaemon daemon(appliance, which, std::vector<Reply>{});
  const Outcome outcome = appliance.run(words);
  EXPECT_EQ(outcome.out, out);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.exit_status, exit_status);
  EXPECT_EQ(daemon.requests().size(), 0U);
}

}  // namespace qsvmon::harness
