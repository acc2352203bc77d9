// Runs every row of the command table against a daemon that answers with damage, thousands of
// times in one process, so that the sanitizers see every byte that is touched.
//
//   QSVMON_HOSTILE_RUNS   commands to run (default 2000)
//   QSVMON_HOSTILE_SEED   seed (default 1)
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "cli/command_table.h"
#include "cli/forward.h"
#include "format/printer.h"
#include "rpc/session.h"
#include "tests/hostile/hostile_daemon.h"

namespace qsvmon {
namespace {

// Words that reach every branch of every listing, good and bad.
constexpr const char* kWords[] = {"type=dst",
                                  "type=src",
                                  "type=ip",
                                  "type=dns",
                                  "row=1-5",
                                  "row=2-",
                                  "row=0-4294967295",
                                  "filter=1",
                                  "filter=a",
                                  "order=asc",
                                  "order=desc",
                                  "sort=flowcnt",
                                  "sort=http",
                                  "sort=https",
                                  "sort=mintime",
                                  "sort=maxtime",
                                  "sort=http20x",
                                  "sort=http50x",
                                  "listtype=dst",
                                  "listtype=src",
                                  "listtype=app",
                                  "listtype=table",
                                  "listtype=detail",
                                  "listtype=host",
                                  "page=1",
                                  "page=0",
                                  "page=2",
                                  "page=-1",
                                  "limit=10",
                                  "limit=0",
                                  "limit=-1",
                                  "limit=2147483647",
                                  "tid=1",
                                  "tid=0",
                                  "id=5",
                                  "itlgc_id=3",
                                  "itlgc_id=40",
                                  "itlgc_id=-2",
                                  "src=10.1",
                                  "dst=1.2.3.4",
                                  "src=x",
                                  "apid=7",
                                  "host=example.com",
                                  "host=",
                                  "mac=00:11:22:33:44:55",
                                  "mac=x",
                                  "ip=10.0.0.1",
                                  "ip=0.0.0.0",
                                  "keywd=a",
                                  "keywd=",
                                  "json=1",
                                  "download=1",
                                  "tag=x",
                                  "taskid=7",
                                  "5",
                                  "10.1.1.1",
                                  "tid=5",
                                  "ip=1.1.1.1",
                                  "clear=1",
                                  "",
                                  " ",
                                  "%s%n"};

class ScratchRoot {
 public:
  ScratchRoot() {
    EXPECT_NE(::mkdtemp(path_), nullptr);
    EXPECT_EQ(::chdir(path_), 0);
    for (const char* folder : {"var", "var/tmp", "usr", "usr/ramdisk", "usr/ramdisk/var",
                               "usr/ramdisk/bin", "usr/qsvlog", "conf"}) {
      ::mkdir(folder, 0700);
    }
    std::ofstream("conf/korvale.conf") << "mac m=10.0.0.1 d=office\n"
                                          "malcitlgc id=3 name=bot cname=botnet\n"
                                          "cusiprng iprng=10.0.0.0/8 info=inside\n";
    std::ofstream("conf/qsv_assets.conf") << "group id=1 name=g\n"
                                             "assets id=1 pid=1 name=server value=10.0.0.9\n";
  }
  ~ScratchRoot() {
    EXPECT_EQ(::chdir("/"), 0);
    const std::string command = std::string("rm -r ") + path_;
    EXPECT_EQ(std::system(command.c_str()), 0);
  }

 private:
  char path_[32] = "/tmp/qsvmon_hostile_XXXXXX";
};

struct Row {
  const CommandGroup* group;
  const ModuleEntry* module;
  const SubcommandEntry* entry;
};

std::vector<Row> all_rows() {
  std::vector<Row> rows;
  for (const CommandGroup& group : command_table()) {
    for (const ModuleEntry& module : group.modules) {
      for (const SubcommandEntry& entry : module.subcommands) {
        rows.push_back({&group, &module, &entry});
      }
    }
  }
  return rows;
}

void run_row(const Row& row, std::vector<char*>& words) {
  const char* socket_path = *row.group->socket_path;
  const std::size_t kib = row.entry->area_kib < 64 ? 64 : row.entry->area_kib;
  ASSERT_EQ(rpc_init(socket_path, kib << 10), 0);
  const Action& action = row.entry->action;
  const int count = static_cast<int>(words.size());
  switch (action.kind) {
    case Action::Kind::kForward:
      (void)rpc_forward(socket_path, words_of(count, words.data()), action.code);
      break;
    case Action::Kind::kForwardModule:
      (void)rpc_forward_module(socket_path, row.module->name, words_of(count, words.data()),
                               action.code);
      break;
    case Action::Kind::kHandler:
      (void)action.handler(count, words.data());
      break;
  }
  rpc_close(false);
  EXPECT_EQ(rpc_shmbuf(), nullptr);
}

std::uint64_t number_from(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// Sends what is printed nowhere, and back.
class MutedOut {
 public:
  MutedOut() : saved_(::dup(STDOUT_FILENO)) {
    standard_out().flush();
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDOUT_FILENO);
    ::close(null);
  }
  ~MutedOut() {
    standard_out().flush();
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
  }
  MutedOut(const MutedOut&) = delete;
  MutedOut& operator=(const MutedOut&) = delete;

 private:
  int saved_;
};

TEST(HostileReplies, NoRowOfTheTableIsHurtByThem) {
  ::signal(SIGPIPE, SIG_IGN);
  const ScratchRoot root;
  const std::uint64_t seed = number_from("QSVMON_HOSTILE_SEED", 1);
  const std::uint64_t runs = number_from("QSVMON_HOSTILE_RUNS", 2000);
  const std::vector<Row> rows = all_rows();
  hostile::HostileDaemon daemon(seed, {});
  {
    const MutedOut muted;
    std::mt19937_64 random(seed);
    for (std::uint64_t run = 0; run < runs && !HasFatalFailure(); ++run) {
      std::vector<std::string> texts(random() % 6);
      for (std::string& text : texts) text = kWords[random() % std::size(kWords)];
      std::vector<char*> words;
      for (std::string& text : texts) words.push_back(text.data());
      daemon.begin_command(run);
      run_row(rows[random() % rows.size()], words);
    }
  }
  RecordProperty("replies", std::to_string(daemon.replies()));
  EXPECT_GE(daemon.replies(), runs / 2);
}

}  // namespace
}  // namespace qsvmon
