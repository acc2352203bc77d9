#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "rpc/exchange.h"
#include "rpc/wire/message_codes.h"

namespace qsvmon {

/// A command's code: gets the words after the sub-command, returns the result (-1: failure).
using Handler = int (*)(int argc, char** argv);

/// What a row does with its words.
struct Action {
  enum class Kind {
    kForward,        ///< sends them with `code`
    kForwardModule,  ///< sends them with `code`, addressed to the row's module
    kExchange,       ///< runs `exchange`
    kHandler,        ///< calls `handler`
  };
  Kind kind;
  std::uint32_t code = 0;
  const Exchange* exchange = nullptr;
  Handler handler = nullptr;
};

struct SubcommandEntry {
  const char* name;
  Action action;
  std::uint32_t area_kib;  ///< reply area; the dispatcher opens at least 64 KiB
};

struct ModuleEntry {
  const char* name;
  std::span<const SubcommandEntry> subcommands;
};

/// The commands that one daemon serves.
struct CommandGroup {
  Daemon daemon;
  std::span<const ModuleEntry> modules;
};

/// The whole table: the log daemon's group first, then the management daemon's. Look-ups, listings
/// and tests read the same rows.
std::span<const CommandGroup> command_table();
/// The first group; the one that is listed and that serves the fallback verbs.
const CommandGroup& log_group();

/// Verbs that every module of the log daemon accepts, in rows like the table's.
std::span<const SubcommandEntry> fallback_verbs();

/// One row and where it was found.
struct CommandMatch {
  const CommandGroup* group;
  const ModuleEntry* module;
  const SubcommandEntry* row;  ///< null: no row
};

/// The first row whose module and sub-command are exactly these, the first group first. A module
/// without such a sub-command does not end the search.
CommandMatch find_command(std::string_view module, std::string_view subcommand);

/// The fallback verb of that name, or null.
const SubcommandEntry* find_fallback_verb(std::string_view verb);

}  // namespace qsvmon
