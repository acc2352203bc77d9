#pragma once

#include <cstddef>
#include <vector>

#include "cli/command_table.h"
#include "cli/forward.h"
#include "rpc/session.h"

namespace qsvmon::hostile {

/// One command of the table.
struct CommandRow {
  const CommandGroup* group;
  const ModuleEntry* module;
  const SubcommandEntry* entry;
};

/// Every command of the table, in its order.
inline std::vector<CommandRow> command_rows() {
  std::vector<CommandRow> rows;
  for (const CommandGroup& group : command_table()) {
    for (const ModuleEntry& module : group.modules) {
      for (const SubcommandEntry& entry : module.subcommands) {
        rows.push_back({&group, &module, &entry});
      }
    }
  }
  return rows;
}

/// Runs the command in this process, from opening its session to closing it, with the given words
/// (which it may change). `unload` also drops the dictionary afterwards.
/// Returns false when the session cannot be opened or something of it is left.
inline bool run_command(const CommandRow& row, std::vector<char*>& words, bool unload) {
  const Daemon daemon = row.group->daemon;
  const std::size_t kib = row.entry->area_kib < 64 ? 64 : row.entry->area_kib;
  if (rpc_init(daemon_path(daemon), kib << 10) != 0) return false;
  const Action& action = row.entry->action;
  const int count = static_cast<int>(words.size());
  switch (action.kind) {
    case Action::Kind::kForward:
      (void)rpc_forward(daemon, words_of(count, words.data()), action.code);
      break;
    case Action::Kind::kForwardModule:
      (void)rpc_forward_module(daemon, row.module->name, words_of(count, words.data()),
                               action.code);
      break;
    case Action::Kind::kHandler:
      (void)action.handler(count, words.data());
      break;
  }
  rpc_close(unload);
  return rpc_shmbuf() == nullptr;
}

}  // namespace qsvmon::hostile
