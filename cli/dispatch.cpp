#include "cli/dispatch.h"

#include <algorithm>
#include <string_view>

#include "cli/signals.h"
#include "format/printer.h"
#include "platform/system.h"
#include "rpc/dict.h"
#include "rpc/exchange.h"
#include "rpc/session.h"
#include "rpc/wire/message_codes.h"
#include "rpc/words.h"

namespace qsvmon {
namespace {

constexpr std::size_t kKeyTableAreaBytes = 4096;
constexpr std::uint32_t kMinRowAreaKib = 64;  // rows that ask for less get this much
constexpr int kFailed = -1;
constexpr int kInvalidCommand = 1;

// An empty module names none.
int rpc_forward(Daemon daemon, std::string_view module, Words words, std::uint32_t code) {
  return run_exchange(standard_out(), {.daemon = daemon, .module = module, .code = code}, words);
}

// KEEP: nothing was run, so the status is that of a failure, also when something was listed.
int list_modules() {
  for (const ModuleEntry& module : log_group().modules) standard_out().put(module.name, '\n');
  return kFailed;
}

// The modules whose name contains the text, with their sub-commands.
void list_matching_modules(std::string_view text) {
  for (const ModuleEntry& module : log_group().modules) {
    if (std::string_view(module.name).find(text) == std::string_view::npos) continue;
    for (const SubcommandEntry& row : module.subcommands) {
      standard_out().put(module.name, ' ', row.name, '\n');
    }
  }
}

// KEEP: status 0 in either case; scripts go by the text.
int print_boot_time() {
  BootTime boot{};
  if (read_boot_time(boot)) {
    standard_out().put(boot.seconds, '_', boot.microseconds, '\n');
  } else {
    standard_out().put("fail to get bootup time\n");
  }
  return 0;
}

int invalid_command(const char* module, const char* subcommand) {
  standard_out().put("invalid commands: ", module, ' ', subcommand, '\n');
  return kInvalidCommand;
}

// The row's action on the words after the sub-command, in a session of its own.
int run_in_session(const CommandMatch& match, std::uint32_t area_kib, int argc, char** argv) {
  if (rpc_init(daemon_path(match.group->daemon), std::size_t{area_kib} << 10) != 0) return kFailed;
  const int result = run_action(match, argc - 3, argv + 3);
  rpc_close(true);
  return result;
}

// KEEP: the words come from the front of the vector, the program's name first, and the daemon's
// answer does not show in the exit status; callers count on both.
int list_key_table(int argc, char** argv) {
  if (rpc_init(daemon_path(Daemon::kLog), kKeyTableAreaBytes) != 0) return kFailed;
  (void)rpc_forward(Daemon::kLog, {}, words_of(argc - 3, argv), kCodeKeyTableList);
  rpc_close(true);
  return 0;
}

// A verb for a module that has no row. KEEP: always the log daemon's, also for modules of the
// other, and with an area of just the size that the verb's row says.
int run_fallback_verb(int argc, char** argv) {
  const SubcommandEntry* verb = find_fallback_verb(argv[2]);
  if (verb == nullptr) return invalid_command(argv[1], argv[2]);
  const ModuleEntry module = {argv[1], {}};
  return run_in_session({&log_group(), &module, verb}, verb->area_kib, argc, argv);
}

int run_command(int argc, char** argv) {
  install_signal_handlers();  // before there is a segment that a signal could leave behind
  (void)dict_startup();       // no dictionary is attached yet, so that this starts none
  if (const CommandMatch match = find_command(argv[1], argv[2]); match.row != nullptr) {
    return run_in_session(match, std::max(match.row->area_kib, kMinRowAreaKib), argc, argv);
  }
  if (std::string_view(argv[1]) == "keytbl") {
    if (std::string_view(argv[2]) != "list") return invalid_command(argv[1], argv[2]);
    return list_key_table(argc, argv);
  }
  return run_fallback_verb(argc, argv);
}

}  // namespace

int run_action(const CommandMatch& match, int argc, char** argv) {
  const Daemon daemon = match.group->daemon;
  const Action& action = match.row->action;
  const Words words = words_of(argc, argv);
  switch (action.kind) {
    case Action::Kind::kForward:
      return rpc_forward(daemon, {}, words, action.code);
    case Action::Kind::kForwardModule:
      return rpc_forward(daemon, match.module->name, words, action.code);
    case Action::Kind::kExchange:
      return run_exchange(standard_out(), *action.exchange, words);
    case Action::Kind::kHandler:
      break;
  }
  return action.handler(argc, argv);
}

int dispatch(int argc, char** argv) {
  if (argc <= 1) return list_modules();
  if (argc > 2) return run_command(argc, argv);
  list_matching_modules(argv[1]);
  return std::string_view(argv[1]) == "sysboot" ? print_boot_time() : kFailed;
}

}  // namespace qsvmon
