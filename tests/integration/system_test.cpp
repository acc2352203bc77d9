// Where the program depends on the system's own ways: each expectation says what FreeBSD does and
// what Linux does, and FreeBSD's is the one of the appliance.
#include <gtest/gtest.h>

#include <csignal>

#include "tests/integration/harness.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

std::string either(const char* freebsd, const char* linux_text) {
  return freebsd_program() ? freebsd : linux_text;
}

// A reply with dictionary tables in front: two applications and a group, none of them in use.
Reply with_tables() {
  return Reply::records(std::string(168, '\0') + "text\n\0"s, 0).with_replylen(5).with_syncdesc(1);
}

Outcome run_with_dictionary(const Appliance& appliance, const RunOptions& options = {}) {
  ScriptedDaemon daemon(appliance, Daemon::kLog, {with_tables()});
  return appliance.run({"module", "list"}, options);
}

TEST(System, TheLoaderSaysInItsOwnWordsWhyThereIsNoDictionary) {
  Appliance none;
  EXPECT_EQ(run_with_dictionary(none).out,
            either("Cannot open \"./usr/ramdisk/bin/dict.so\"\n",
                   "./usr/ramdisk/bin/dict.so: cannot open shared object file: "
                   "No such file or directory\n"));
  Appliance text;
  text.write("usr/ramdisk/bin/dict.so", std::string(4096, 't'));
  EXPECT_EQ(run_with_dictionary(text).out,
            either("./usr/ramdisk/bin/dict.so: invalid file format\n",
                   "./usr/ramdisk/bin/dict.so: invalid ELF header\n"));
}

// After the handler the fault recurs and ends the program the default way; the segment is gone.
TEST(System, AFaultEndsTheProgramByItsOwnSignal) {
  struct {
    const char* how;
    int freebsd;
    int linux_signal;
  } const faults[] = {
      {"page", SIGSEGV, SIGSEGV}, {"address", SIGBUS, SIGSEGV}, {"stack", SIGSEGV, SIGSEGV}};
  for (const auto& fault : faults) {
    SCOPED_TRACE(fault.how);
    Appliance appliance;
    appliance.install_dictionary();
    RunOptions options;
    options.environment = {"FAKE_DICT_FAULT=init "s + fault.how};
    const Outcome outcome = run_with_dictionary(appliance, options);
    EXPECT_EQ(outcome.signal, freebsd_program() ? fault.freebsd : fault.linux_signal);
    EXPECT_EQ(outcome.exit_status, -1);
    EXPECT_EQ(outcome.out, "");
  }
}

// FreeBSD takes a local stream that the other side closed for one at its end; Linux resets it when
// bytes were left unread.
TEST(System, ADaemonThatClosesWithoutReading) {
  Appliance appliance;
  ScriptedDaemon daemon(appliance, Daemon::kLog, std::vector<Reply>{});
  daemon.close_unread();
  const Outcome outcome = appliance.run({"module", "list"});
  EXPECT_EQ(outcome.out, either("r_No error: 0_0\n", "r_Connection reset by peer_104\n"));
  EXPECT_EQ(outcome.exit_status, 255);
}

// Berlin has UTC+1 in winter, UTC+2 in summer and had summer time until 1:00 UTC of 2023-10-29; the
// rules come from the files of /usr/share/zoneinfo.
TEST(System, ANamedTimeZoneHasItsSummersAndWinters) {
  struct {
    std::uint32_t time;
    const char* shown;
  } const cases[] = {{1673784000, "2023-01-15/13:00:00"},
                     {1689422400, "2023-07-15/14:00:00"},
                     {1698541199, "2023-10-29/02:59:59"},
                     {1698541200, "2023-10-29/02:00:00"}};
  for (const auto& c : cases) {
    std::string record = u32_bytes(c.time);
    record.resize(64, '\0');
    Appliance appliance;
    ScriptedDaemon daemon(appliance, Daemon::kMgmt, {Reply::records(record, 1).with_syncdesc(0)});
    RunOptions options;
    options.time_zone = "Europe/Berlin";
    const Outcome outcome = appliance.run({"tcpreset", "list"}, options);
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find(' ', 11)),
              std::to_string(c.time) + ' ' + c.shown);
  }
}

}  // namespace
}  // namespace qsvmon::harness
