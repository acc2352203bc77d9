#pragma once

#include <span>
#include <string_view>

#include "rpc/exchange.h"

/// Management commands: words that go to the log daemon as they are, addressed to a module, and the
/// text that it answers with, whatever `replylen` says.
namespace qsvmon {

// The commands that the command table reaches.
extern const Exchange kQsvLogStat;
extern const Exchange kQsvQueryStat;
extern const Exchange kWorkerAdd;
extern const Exchange kWorkerList;
extern const Exchange kWorkerStat;
extern const Exchange kDiskStat;

/// A command of a module that the table has no row for.
struct MgmtCommand {
  const char* verb;
  Exchange exchange;
};

/// Every command that a caller can reach by name alone.
std::span<const MgmtCommand> unlisted_mgmt_commands();

/// The unlisted command of that module and verb, or null.
const Exchange* find_mgmt_command(std::string_view module, std::string_view verb);

}  // namespace qsvmon
