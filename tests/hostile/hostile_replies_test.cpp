// Runs every row of the command table against a daemon that answers with damage, thousands of
// times in one process, so that the sanitizers see every byte that is touched.
//
//   QSVMON_HOSTILE_RUNS   commands to run (default 2000)
//   QSVMON_HOSTILE_SEED   seed (default 1)
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "rpc/session.h"
#include "tests/hostile/appliance_root.h"
#include "tests/hostile/command_rows.h"
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

std::uint64_t number_from(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

// Half of the runs have a dictionary library, in blocks, since it stays loaded from one command to
// the next; it says that it has few, no, many or a negative number of entries.
constexpr std::uint64_t kRunsWithOneDictionary = 50;

void change_dictionary(std::uint64_t block) {
  constexpr const char* kCounts[] = {"2", "0", "300", "1000", "-1"};
  ::setenv("FAKE_DICT_APPS", kCounts[block % std::size(kCounts)], 1);
  ::setenv("FAKE_DICT_GROUPS", kCounts[block / 2 % std::size(kCounts)], 1);
  ASSERT_TRUE(hostile::ScratchRoot::set_dictionary(block % 2 == 0 ? "" : QSVMON_FAKE_DICT));
}

/// Runs of commands against one daemon.
struct Attack {
  std::vector<CommandMatch> rows;
  std::span<const char* const> always;  ///< one of these words comes with every command
  std::span<const char* const> words;   ///< and some of these
  hostile::Mix mix;
  std::uint64_t runs;
};

std::vector<std::string> draw_words(const Attack& attack, std::mt19937_64& random) {
  std::vector<std::string> texts(random() % 6);
  for (std::string& text : texts) text = attack.words[random() % attack.words.size()];
  if (!attack.always.empty()) texts.push_back(attack.always[random() % attack.always.size()]);
  return texts;
}

void withstand(const Attack& attack) {
  ::signal(SIGPIPE, SIG_IGN);
  const hostile::ScratchRoot root;
  const std::uint64_t seed = number_from("QSVMON_HOSTILE_SEED", 1);
  hostile::HostileDaemon daemon(seed, attack.mix);
  {
    const hostile::MutedOut muted;
    std::mt19937_64 random(seed);
    for (std::uint64_t run = 0; run < attack.runs && !::testing::Test::HasFailure(); ++run) {
      const std::uint64_t block = run / kRunsWithOneDictionary;
      if (run % kRunsWithOneDictionary == 0) change_dictionary(block);
      std::vector<std::string> texts = draw_words(attack, random);
      std::vector<char*> words;
      for (std::string& text : texts) words.push_back(text.data());
      daemon.begin_command(run);
      const bool block_ends = (run + 1) % kRunsWithOneDictionary == 0;
      EXPECT_TRUE(
          hostile::run_command(attack.rows[random() % attack.rows.size()], words, block_ends))
          << "run " << run;
    }
  }
  rpc_close(true);
  ::testing::Test::RecordProperty("replies", std::to_string(daemon.replies()));
  std::printf("%llu replies\n", static_cast<unsigned long long>(daemon.replies()));
  EXPECT_GE(daemon.replies(), attack.runs / 2);
}

TEST(HostileReplies, NoRowOfTheTableIsHurtByThem) {
  withstand({.rows = hostile::command_rows(),
             .always = {},
             .words = kWords,
             .mix = {},
             .runs = number_from("QSVMON_HOSTILE_RUNS", 2000)});
}

TEST(HostileReplies, NoListingIsHurtByAnAreaThatChangesWhileItIsRead) {
  constexpr const char* kListTypes[] = {"listtype=dst",   "listtype=src",    "listtype=app",
                                        "listtype=table", "listtype=detail", "listtype=host"};
  constexpr const char* kReadingWords[] = {
      "type=src", "type=ip",    "filter=1", "sort=flowcnt", "order=asc", "tid=1",    "itlgc_id=3",
      "host=a",   "download=1", "keywd=a",  "json=1",       "apid=7",    "limit=10", "ip=10.0.0.1"};
  std::vector<CommandMatch> listings = hostile::command_rows();
  std::erase_if(listings, [](const CommandMatch& row) {
    return row.row->action.kind != Action::Kind::kHandler;
  });
  withstand({.rows = listings,
             .always = kListTypes,
             .words = kReadingWords,
             .mix = {.close_early = 0, .bad_status = 0, .last = 30, .changing = 100},
             .runs = number_from("QSVMON_HOSTILE_RUNS", 2000) / 10});
}

}  // namespace
}  // namespace qsvmon
