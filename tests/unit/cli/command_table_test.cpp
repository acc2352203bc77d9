#include "cli/command_table.h"

#include <gtest/gtest.h>

#include <string>

#include "rpc/session.h"

namespace qsvmon {
namespace {

std::string action_text(const Action& action) {
  switch (action.kind) {
    case Action::Kind::kForward:
      return "forward " + std::to_string(action.code);
    case Action::Kind::kForwardModule:
      return "module " + std::to_string(action.code);
    case Action::Kind::kExchange:
      return "exchange " + std::to_string(action.exchange->code);
    case Action::Kind::kHandler:
      return action.handler != nullptr ? "handler" : "nothing";
  }
  return "?";
}

std::string table_text() {
  std::string text;
  for (const CommandGroup& group : command_table()) {
    text += std::string(daemon_path(group.daemon)) + "\n";
    for (const ModuleEntry& module : group.modules) {
      for (const SubcommandEntry& row : module.subcommands) {
        text += std::string(module.name) + " " + row.name + " " + action_text(row.action) + " " +
                std::to_string(row.area_kib) + "\n";
      }
    }
  }
  return text;
}

TEST(CommandTable, HasTheseRowsInThisOrder) {
  EXPECT_EQ(table_text(),
            "./var/tmp/qsvlog.d\n"
            "module list forward 387 8\n"
            "module stat forward 388 32\n"
            "qsvlog stat exchange 2050 32\n"
            "qsvquery stat exchange 2050 32\n"
            "worker stat exchange 2050 2048\n"
            "worker list exchange 2055 8192\n"
            "worker add exchange 2051 4096\n"
            "disk stat exchange 2050 2048\n"
            "assetsgroup2 add module 2051 8\n"
            "assetsgroup2 list module 2055 2048\n"
            "assetsgroup2 set module 2053 8\n"
            "assetsgroup2 stat module 2050 8\n"
            "assetsgroup2 remove module 2052 256\n"
            "assetsobj2 add module 2051 8\n"
            "assetsobj2 list handler 2048\n"
            "assetsobj2 set module 2053 8\n"
            "assetsobj2 stat module 2050 8\n"
            "assetsobj2 remove module 2052 256\n"
            "table get handler 2048\n"
            "table addip exchange 121 4\n"
            "table rmvip exchange 122 4\n"
            "table clear exchange 125 4\n"
            "table getcmp exchange 126 2048\n"
            "table loadfile forward 249 4\n"
            "./usr/ramdisk/var/mgmt.d\n"
            "tcpreset listip handler 2048\n"
            "tcpreset listdns handler 2048\n"
            "tcpreset list handler 2048\n"
            "emaillog list handler 2048\n"
            "ftplog list handler 2048\n"
            "telnetlog list handler 2048\n"
            "malclog list handler 2048\n"
            "qsviptable get handler 2048\n"
            "qsviptable addip exchange 2051 4\n"
            "qsviptable remove exchange 2052 4\n"
            "qsviptable clear exchange 2052 4\n"
            "qsviptable getcmp exchange 2054 2048\n"
            "qsviptable loadfile module 2056 4\n"
            "qsvtable add module 2051 8\n"
            "qsvtable list module 2055 2048\n"
            "qsvtable set module 2053 8\n"
            "qsvtable stat module 2050 8\n"
            "qsvtable remove module 2052 256\n"
            "qsvtable get module 2054 2048\n"
            "qsvdnsgrp add module 2051 8\n"
            "qsvdnsgrp list module 2055 2048\n"
            "qsvdnsgrp set module 2053 8\n"
            "qsvdnsgrp stat module 2050 8\n"
            "qsvdnsgrp remove module 2052 256\n"
            "qsvdnsgrp get module 2054 2048\n"
            "qsvdnsgrp loadfile module 2056 2048\n");
}

TEST(CommandTable, FallbackVerbs) {
  std::string text;
  for (const SubcommandEntry& verb : fallback_verbs()) {
    text += std::string(verb.name) + " " + action_text(verb.action) + " " +
            std::to_string(verb.area_kib) + "\n";
  }
  EXPECT_EQ(text,
            "stat module 2050 16\n"
            "config module 2057 16\n"
            "list module 2055 2048\n"
            "get module 2054 64\n"
            "add module 2051 16\n"
            "set module 2053 16\n"
            "remove module 2052 16\n"
            "load module 2056 16\n"
            "debug module 2064 128\n");
}

TEST(CommandTable, RowsAreFoundByExactNamesOnly) {
  EXPECT_NE(find_command("module", "stat").row, nullptr);
  EXPECT_EQ(find_command("modul", "stat").row, nullptr);
  EXPECT_EQ(find_command("module", "statx").row, nullptr);
  EXPECT_EQ(find_command("Module", "stat").row, nullptr);
  EXPECT_EQ(find_command("qsvtable", "config").row, nullptr);
  const CommandMatch match = find_command("qsvtable", "get");
  ASSERT_NE(match.row, nullptr);
  EXPECT_EQ(match.row->action.code, 2054u);
  EXPECT_EQ(match.group, &command_table()[1]);
}

}  // namespace
}  // namespace qsvmon
