#pragma once

#include <cstddef>
#include <vector>

#include "cli/command_table.h"
#include "cli/dispatch.h"
#include "rpc/session.h"

namespace qsvmon::hostile {

/// Every command of the table, in its order.
inline std::vector<CommandMatch> command_rows() {
  std::vector<CommandMatch> rows;
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
inline bool run_command(const CommandMatch& row, std::vector<char*>& words, bool unload) {
  const std::size_t kib = row.row->area_kib < 64 ? 64 : row.row->area_kib;
  if (rpc_init(daemon_path(row.group->daemon), kib << 10) != 0) return false;
  (void)run_action(row, static_cast<int>(words.size()), words.data());
  rpc_close(unload);
  return rpc_shmbuf() == nullptr;
}

}  // namespace qsvmon::hostile
