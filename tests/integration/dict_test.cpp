#include "rpc/dict.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "platform/appliance_paths.h"
#include "rpc/dict_library.h"
#include "rpc/session.h"
#include "rpc/wire/request.h"
#include "tests/integration/command_case.h"
#include "tests/integration/open_session.h"
#include "tests/unit/support/captured_out.h"

namespace qsvmon::harness {
namespace {

using namespace std::string_literals;

// An entry as the test's library has it: its id, its name from byte 4 (so that an empty name is an
// entry that is not in use), its display name from byte 24, a pointer-sized word at byte 48.
std::string entry(std::uint32_t id, const std::string& name, const std::string& display = "",
                  std::uint32_t word = 0) {
  std::string bytes = u16_bytes(id) + std::string(2, '\0') + name;
  bytes.resize(24, '\0');
  bytes += display;
  bytes.resize(48, '\0');
  bytes += u32_bytes(word);
  bytes.resize(56, '\0');
  return bytes;
}

// Two applications and one group, what the library asks for by itself.
std::string usual_tables() {
  return entry(7, "web", "Web pages", 5) + entry(8, "mail", "Mail") + entry(9, "all", "", 6);
}

Reply reply_behind(const std::string& tables, const std::string& text) {
  return Reply::records(tables + text + '\0', 0)
      .with_replylen(static_cast<std::uint32_t>(text.size()))
      .with_syncdesc(1);
}

RunOptions logging(const Appliance& appliance, std::vector<std::string> environment = {}) {
  RunOptions options;
  options.environment = std::move(environment);
  options.environment.push_back("FAKE_DICT_LOG=" + appliance.path("dict.log"));
  return options;
}

TEST(Dictionary, IsTakenInAndTheTextBeginsBehindIt) {
  Appliance appliance;
  appliance.install_dictionary();
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply_behind(usual_tables(), "text\n")});
  const Outcome outcome = appliance.run({"module", "list"}, logging(appliance));
  EXPECT_EQ(outcome.out, "text\n");
  EXPECT_EQ(outcome.exit_status, 0);
  // The words of the groups are seen by the registration and cleared after it.
  EXPECT_EQ(appliance.read("dict.log"), "init\nregister 7 5\nregister 8 0\nregister 9 6\nunload\n");
}

TEST(Dictionary, EntriesThatAreNotInUseAreNotRegistered) {
  Appliance appliance;
  appliance.install_dictionary();
  const std::string tables = entry(1, "") + entry(2, "\xff") + entry(3, "") + entry(4, "\x01");
  ScriptedDaemon daemon(appliance, Daemon::kLog, {reply_behind(tables, "text\n")});
  const Outcome outcome = appliance.run(
      {"module", "list"}, logging(appliance, {"FAKE_DICT_APPS=2", "FAKE_DICT_GROUPS=2"}));
  EXPECT_EQ(outcome.out, "text\n");
  EXPECT_EQ(appliance.read("dict.log"), "init\nregister 2 0\nregister 4 0\nunload\n");
}

TEST(Dictionary, TheLibrarySaysHowManyEntriesThereAre) {
  struct {
    std::vector<std::string> environment;
    std::size_t bytes;  // of both tables
  } const cases[] = {
      {{"FAKE_DICT_APPS=0", "FAKE_DICT_GROUPS=0"}, 0},
      {{"FAKE_DICT_APPS=-1", "FAKE_DICT_GROUPS=1"}, 56},
      {{"FAKE_DICT_APPS=3", "FAKE_DICT_GROUPS=-2147483648"}, 168},
      {{"FAKE_DICT_APPS=500", "FAKE_DICT_GROUPS=100"}, 33600},
  };
  for (const auto& c : cases) {
    Appliance appliance;
    appliance.install_dictionary();
    ScriptedDaemon daemon(appliance, Daemon::kLog,
                          {reply_behind(std::string(c.bytes, '\0'), "text\n")});
    const Outcome outcome = appliance.run({"module", "list"}, logging(appliance, c.environment));
    EXPECT_EQ(outcome.out, "text\n");
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(appliance.read("dict.log"), "init\nunload\n");
  }
}

TEST(Dictionary, TablesNeverReachBeyondTheArea) {
  Appliance appliance;
  appliance.install_dictionary();
  // 65536 bytes hold 1024 applications and 146 whole groups; 16 bytes of text are left.
  const std::string area(65520, '\0');
  ScriptedDaemon daemon(appliance, Daemon::kLog,
                        {reply_behind(area, "0123456789abcde"), reply_behind("", "x")});
  const std::vector<std::string> environment = {"FAKE_DICT_APPS=1024", "FAKE_DICT_GROUPS=1024"};
  const Outcome outcome = appliance.run({"module", "list"}, logging(appliance, environment));
  EXPECT_EQ(outcome.out, "0123456789abcde");
  EXPECT_EQ(outcome.exit_status, 0);
}

TEST(Dictionary, ALaterReplyBringsNewTablesToTheSameLibrary) {
  Appliance appliance;
  appliance.install_dictionary();
  const std::string later = entry(17, "ftp") + entry(18, "") + entry(19, "g");
  ScriptedDaemon daemon(
      appliance, Daemon::kLog,
      {reply_behind(usual_tables(), "one\n").more(), reply_behind(later, "two\n").more(),
       Reply::text("three\n").with_syncdesc(0)});
  const Outcome outcome = appliance.run({"table", "get"}, logging(appliance));
  EXPECT_EQ(outcome.out, "one\ntwo\nthree\n");
  EXPECT_EQ(appliance.read("dict.log"),
            "init\nregister 7 5\nregister 8 0\nregister 9 6\n"
            "register 17 0\nregister 19 0\nunload\n");
}

TEST(Dictionary, ALibraryThatLacksASymbolFailsTheCall) {
  struct {
    DictVariant variant;
    const char* out;
  } const cases[] = {{DictVariant::kWithoutFunctions, "AXPDICT_NOT_FOUND\n"},
                     {DictVariant::kWithoutApps, "USRAXPS_NOT_FOUND\n"},
                     {DictVariant::kWithoutGroups, "USRAGPS_NOT_FOUND\n"}};
  for (const auto& c : cases) {
    Appliance appliance;
    appliance.install_dictionary(c.variant);
    ScriptedDaemon daemon(appliance, Daemon::kLog, {reply_behind(usual_tables(), "text\n")});
    const Outcome outcome = appliance.run({"module", "list"}, logging(appliance));
    EXPECT_EQ(outcome.out, c.out);
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_EQ(appliance.read("dict.log"), "unload\n");  // closed, and never initialised
  }
}

TEST(Dictionary, ALibraryThatCannotBeLoadedFailsTheCallWithTheLoadersText) {
  for (const bool there : {false, true}) {
    Appliance appliance;
    if (there) appliance.write("usr/ramdisk/bin/dict.so", "not a library");
    ScriptedDaemon daemon(appliance, Daemon::kLog, {reply_behind(usual_tables(), "text\n")});
    const Outcome outcome = appliance.run({"module", "list"});
    EXPECT_EQ(outcome.exit_status, 255);
    EXPECT_NE(outcome.out.find("./usr/ramdisk/bin/dict.so"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.out.find("text\n"), std::string::npos);
    ASSERT_FALSE(outcome.out.empty());
    EXPECT_EQ(outcome.out.back(), '\n');
  }
}

TEST(Dictionary, IsNotAskedForWhenTheReplyBringsNoTables) {
  Appliance appliance;  // without a library
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("text\n").with_syncdesc(0)});
  EXPECT_EQ(appliance.run({"module", "list"}).out, "text\n");
}

TEST(Dictionary, AFailedReplyBringsNone) {
  Appliance appliance;
  appliance.install_dictionary();
  ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::error(3, "no").with_syncdesc(1)});
  const Outcome outcome = appliance.run({"module", "list"}, logging(appliance));
  EXPECT_EQ(outcome.out, "no\n");
  EXPECT_EQ(appliance.read("dict.log"), "");
}

// A caller's field for the reason may be smaller than the record's, or not there at all.
TEST(DictionaryLibrary, SaysWhyInTheRoomThereIs) {
  Appliance appliance;
  appliance.install_dictionary(DictVariant::kWithoutFunctions);
  const std::string path = appliance.path("usr/ramdisk/bin/dict.so");
  struct {
    std::size_t capacity;
    const char* text;
  } const cases[] = {{18, "AXPDICT_NOT_FOUND"}, {17, "AXPDICT_NOT_FOUN"}, {1, ""}};
  for (const auto& c : cases) {
    DictLibrary dict;
    std::string error(20, '#');
    EXPECT_FALSE(dict.load(path.c_str(), error.data(), c.capacity));
    EXPECT_FALSE(dict.loaded());
    EXPECT_STREQ(error.c_str(), c.text);
    EXPECT_EQ(error.substr(c.capacity), std::string(20 - c.capacity, '#'));
  }
  DictLibrary dict;
  char untouched = '#';
  EXPECT_FALSE(dict.load(path.c_str(), &untouched, 0));
  EXPECT_EQ(untouched, '#');
}

TEST(DictionaryLibrary, OneThatLacksASymbolIsForgotten) {
  Appliance appliance;
  appliance.install_dictionary(DictVariant::kWithoutGroups);
  const std::string path = appliance.path("usr/ramdisk/bin/dict.so");
  DictLibrary dict;
  for (int turn = 0; turn < 2; ++turn) {
    char error[32] = "";
    EXPECT_FALSE(dict.load(path.c_str(), error, sizeof error));
    EXPECT_STREQ(error, "USRAGPS_NOT_FOUND");
    EXPECT_FALSE(dict.loaded());
  }
}

// Look-ups are called in this process.

class DictLookUp : public testing::Test {
 protected:
  DictLookUp() {
    ::setenv("FAKE_DICT_LOG", appliance_.path("dict.log").c_str(), 1);
    appliance_.install_dictionary();
  }
  ~DictLookUp() override { ::unsetenv("FAKE_DICT_LOG"); }

  static void fetch(const char* path = kLogSocketPath) {
    RpcRequest request{};
    request.syncdesc = 1;
    EXPECT_EQ(rpc_call(path, request), 0);
  }

  Appliance appliance_;
};

TEST_F(DictLookUp, NamesOfRegisteredIds) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog, {reply_behind(usual_tables(), "")});
  OpenSession session(appliance_, kLogSocketPath, 65536);
  EXPECT_STREQ(dict_appname(7), "undname");
  EXPECT_STREQ(dict_appcname(7), "undname");
  EXPECT_EQ(dict_startup(), -1);
  fetch();
  EXPECT_EQ(daemon.requests().at(0).syncdesc(), 1U);
  EXPECT_STREQ(dict_appname(7), "web");
  EXPECT_STREQ(dict_appcname(7), "Web pages");
  EXPECT_STREQ(dict_appname(8), "mail");
  EXPECT_STREQ(dict_appname(9), "all");
  EXPECT_STREQ(dict_appname(1), "none");
  EXPECT_STREQ(dict_appcname(1), "no name");
  EXPECT_EQ(dict_appid("web"), 7);
  EXPECT_EQ(dict_appid("all"), 9);
  EXPECT_EQ(dict_appid("nobody"), -1);
  EXPECT_EQ(dict_appid(""), -1);
  EXPECT_EQ(dict_appid(nullptr), -1);
  EXPECT_STREQ(dict_entry_name(8), "mail");
  EXPECT_STREQ(dict_entry_extra(8), "Mail");
  EXPECT_EQ(dict_entry_name(1), nullptr);
  EXPECT_EQ(dict_entry_extra(1), nullptr);
  EXPECT_EQ(dict_startup(), 0);
  EXPECT_EQ(appliance_.read("dict.log"), "init\nregister 7 5\nregister 8 0\nregister 9 6\ninit\n");
  rpc_close(true);
  EXPECT_STREQ(dict_appname(7), "undname");
  EXPECT_EQ(dict_startup(), -1);
}

TEST_F(DictLookUp, TheTablesAreCopiedAndTheWordsOfGroupsCleared) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog,
                        {reply_behind(usual_tables(), ""),
                         reply_behind(entry(7, "web") + entry(8, "") + entry(9, "", "", 6), "")});
  OpenSession session(appliance_, kLogSocketPath, 65536);
  fetch();
  void* library = ::dlopen(kDictLibraryPath, RTLD_NOW);
  ASSERT_NE(library, nullptr);
  const char* apps = static_cast<const char*>(::dlsym(library, "_usraxps"));
  const char* groups = static_cast<const char*>(::dlsym(library, "_usragps"));
  EXPECT_EQ(std::string(apps, 112), entry(7, "web", "Web pages", 5) + entry(8, "mail", "Mail"));
  EXPECT_EQ(std::string(groups, 56), entry(9, "all"));
  fetch();
  EXPECT_EQ(std::string(apps, 112), entry(7, "web") + entry(8, ""));
  EXPECT_EQ(std::string(groups, 56), entry(9, ""));  // cleared in use or not
  ::dlclose(library);
}

TEST_F(DictLookUp, FetchTheDictionaryWhenThereIsNone) {
  struct {
    const char* name;
    void (*look_up)();
  } const cases[] = {
      {"id", [] { EXPECT_EQ(dict_appid("mail"), 8); }},
      {"name", [] { EXPECT_STREQ(dict_entry_name(8), "mail"); }},
      {"extra", [] { EXPECT_STREQ(dict_entry_extra(8), "Mail"); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Appliance appliance;
    appliance.install_dictionary();
    ScriptedDaemon daemon(appliance, Daemon::kMgmt, {reply_behind(usual_tables(), "")});
    OpenSession session(appliance, kMgmtSocketPath, 65536);
    c.look_up();
    c.look_up();  // once is enough
    const std::vector<Request> requests = daemon.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].msgcode(), 511U);
    EXPECT_EQ(requests[0].syncdesc(), 1U);
    EXPECT_EQ(requests[0].datalen(), 0U);
    EXPECT_EQ(requests[0].errtext(), "");
    check_new_record(requests[0]);
  }
}

TEST_F(DictLookUp, AnAnswerWithoutTablesIsNotAskedForAgain) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog, {Reply::nothing().with_syncdesc(0)});
  OpenSession session(appliance_, kLogSocketPath, 65536);
  EXPECT_EQ(dict_appid("mail"), -1);
  EXPECT_EQ(dict_appid("mail"), -1);
  EXPECT_EQ(dict_entry_name(8), nullptr);
  EXPECT_EQ(daemon.requests().size(), 1U);
  rpc_close(true);
  EXPECT_FALSE(rpc_dict_loaded());
}

TEST_F(DictLookUp, OpeningASessionKeepsTheDictionaryOfTheOneBefore) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog, {reply_behind(usual_tables(), "")});
  OpenSession session(appliance_, kLogSocketPath, 65536);
  fetch();
  EXPECT_EQ(rpc_init(kLogSocketPath, 4096), 0);
  EXPECT_STREQ(dict_appname(7), "web");
}

TEST_F(DictLookUp, WithoutAnAnswerTheyFindNothing) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog,
                        {Reply::error(9, "no dictionary"), Reply::error(9, "no dictionary")});
  OpenSession session(appliance_, kLogSocketPath, 65536);
  CapturedOut out;
  EXPECT_EQ(dict_appid("mail"), -1);
  EXPECT_EQ(out.text(), "rpc_syncdesc: no dictionary(9)\n");
  EXPECT_EQ(dict_entry_name(8), nullptr);
  EXPECT_EQ(out.text(), "rpc_syncdesc: no dictionary(9)\nrpc_syncdesc: no dictionary(9)\n");
  EXPECT_STREQ(dict_appname(8), "undname");  // these never ask
  EXPECT_STREQ(dict_appcname(8), "undname");
}

// What stands for the whole library stands for each function that its table lacks.
TEST_F(DictLookUp, ALibraryMayLackAnyFunction) {
  struct {
    const char* slots;
    const char* name;
    const char* display_name;
    int id;
    const char* record;
    const char* log;
  } const cases[] = {
      {"0", "web", "Web pages", 7, "web", "register 7 5\nregister 8 0\nregister 9 6\n"},
      {"5", "undname", "Web pages", 7, "web", "init\nregister 7 5\nregister 8 0\nregister 9 6\n"},
      {"6", "web", "undname", 7, "web", "init\nregister 7 5\nregister 8 0\nregister 9 6\n"},
      {"8", "web", "Web pages", -1, "web", "init\nregister 7 5\nregister 8 0\nregister 9 6\n"},
      {"10", "web", "Web pages", 7, nullptr, "init\nregister 7 5\nregister 8 0\nregister 9 6\n"},
      // Without its count a table has no entry; the groups then begin the reply.
      {"40", "web", "Web pages", 7, "web", "init\nregister 7 5\n"},
      {"41", "web", "Web pages", 7, "web", "init\nregister 7 5\nregister 8 0\n"},
      {"42", "none", "no name", -1, nullptr, "init\n"},
      {"0,5,6,8,10,40,41,42", "undname", "undname", -1, nullptr, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.slots);
    Appliance appliance;
    appliance.install_dictionary();
    ::setenv("FAKE_DICT_LOG", appliance.path("dict.log").c_str(), 1);
    ::setenv("FAKE_DICT_WITHOUT", c.slots, 1);
    ScriptedDaemon daemon(appliance, Daemon::kLog, {reply_behind(usual_tables(), "")});
    OpenSession session(appliance, kLogSocketPath, 65536);
    fetch();
    EXPECT_STREQ(dict_appname(7), c.name);
    EXPECT_STREQ(dict_appcname(7), c.display_name);
    EXPECT_EQ(dict_appid("web"), c.id);
    EXPECT_STREQ(dict_entry_name(7), c.record);
    EXPECT_EQ(appliance.read("dict.log"), c.log);
    ::unsetenv("FAKE_DICT_WITHOUT");
  }
}

TEST_F(DictLookUp, AStartUpFetchThatFailsLeavesNothingBehind) {
  {
    Appliance appliance;  // without a daemon
    ASSERT_EQ(::chdir(appliance.root().c_str()), 0);
    CapturedOut out;
    EXPECT_EQ(rpc_fetch_dictionary(), -1);
    EXPECT_EQ(out.text(), "can't connect to ./var/tmp/qsvlog.d");
  }
  ScriptedDaemon daemon(appliance_, Daemon::kLog, {Reply::error(9, "no dictionary")});
  ASSERT_EQ(::chdir(appliance_.root().c_str()), 0);
  {
    CapturedOut out;
    EXPECT_EQ(rpc_fetch_dictionary(), -1);
    EXPECT_EQ(out.text(), "rpc_syncdesc: no dictionary(9)\n");
  }
  EXPECT_EQ(rpc_shmbuf(), nullptr);
  ASSERT_EQ(daemon.requests().size(), 1U);
  EXPECT_FALSE(segment_exists(daemon.requests()[0].shmid()));
  EXPECT_STREQ(dict_appname(7), "undname");
  ASSERT_EQ(::chdir("/"), 0);
}

TEST_F(DictLookUp, AStartUpFetchKeepsTheDictionary) {
  ScriptedDaemon daemon(appliance_, Daemon::kLog, {reply_behind(usual_tables(), "")});
  ASSERT_EQ(::chdir(appliance_.root().c_str()), 0);
  EXPECT_EQ(rpc_fetch_dictionary(), 0);
  EXPECT_EQ(rpc_shmbuf(), nullptr);
  EXPECT_STREQ(dict_appname(7), "web");
  ASSERT_EQ(daemon.requests().size(), 1U);
  EXPECT_EQ(daemon.requests()[0].msgcode(), 511U);
  EXPECT_EQ(daemon.requests()[0].segment_bytes, 98304U);
  EXPECT_FALSE(segment_exists(daemon.requests()[0].shmid()));
  rpc_close(true);
  EXPECT_STREQ(dict_appname(7), "undname");
  ASSERT_EQ(::chdir("/"), 0);
}

TEST_F(DictLookUp, ALibraryThatFailsLeavesTheConnectionToTheNextCall) {
  Appliance bare;  // no library in it
  ScriptedDaemon daemon(bare, Daemon::kLog, {reply_behind(usual_tables(), "")});
  OpenSession session(bare, kLogSocketPath, 65536);
  RpcRequest request{};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), -1);
  EXPECT_EQ(request.status, 12U);
  // The daemon closed its end; the program's is still there and fails the next call.
  for (int i = 0; i < 500 && daemon.connections() == 0; ++i) ::usleep(10000);
  request = {};
  EXPECT_EQ(rpc_call(kLogSocketPath, request), 5);
  EXPECT_EQ(request_errtext(request), "s_Broken pipe_32");
}

}  // namespace
}  // namespace qsvmon::harness
