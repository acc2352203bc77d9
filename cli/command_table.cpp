#include "cli/command_table.h"

#include "commands/iptable/iptable.h"
#include "commands/malclog/malclog.h"
#include "commands/mgmt/mgmt.h"
#include "commands/sessionlog/sessionlog.h"
#include "commands/tcpreset/tcpreset.h"
#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {

constexpr Action forward(MessageCode code) {
  return {.kind = Action::Kind::kForward, .code = code};
}
constexpr Action forward_module(MessageCode verb) {
  return {.kind = Action::Kind::kForwardModule, .code = verb};
}
constexpr Action exchange(const Exchange& row) {
  return {.kind = Action::Kind::kExchange, .exchange = &row};
}
constexpr Action handler(Handler function) {
  return {.kind = Action::Kind::kHandler, .handler = function};
}

// Group A: the log daemon.
constexpr SubcommandEntry kModule[] = {
    {"list", forward(kCodeModuleList), 8},
    {"stat", forward(kCodeModuleStat), 32},
};
constexpr SubcommandEntry kQsvLog[] = {{"stat", exchange(kQsvLogStat), 32}};
constexpr SubcommandEntry kQsvQuery[] = {{"stat", exchange(kQsvQueryStat), 32}};
constexpr SubcommandEntry kWorker[] = {
    {"stat", exchange(kWorkerStat), 2048},
    {"list", exchange(kWorkerList), 8192},
    {"add", exchange(kWorkerAdd), 4096},
};
constexpr SubcommandEntry kDisk[] = {{"stat", exchange(kDiskStat), 2048}};
constexpr SubcommandEntry kAssetsGroup2[] = {
    {"add", forward_module(kVerbAdd), 8},         {"list", forward_module(kVerbList), 2048},
    {"set", forward_module(kVerbSet), 8},         {"stat", forward_module(kVerbStat), 8},
    {"remove", forward_module(kVerbRemove), 256},
};
constexpr SubcommandEntry kAssetsObj2[] = {
    {"add", forward_module(kVerbAdd), 8},         {"list", handler(assetsobj2_list), 2048},
    {"set", forward_module(kVerbSet), 8},         {"stat", forward_module(kVerbStat), 8},
    {"remove", forward_module(kVerbRemove), 256},
};
constexpr SubcommandEntry kTable[] = {
    {"get", handler(table_get), 2048},        {"addip", exchange(kTableAddIp), 4},
    {"rmvip", exchange(kTableRemoveIp), 4},   {"clear", exchange(kTableClear), 4},
    {"getcmp", exchange(kTableGetCmp), 2048}, {"loadfile", forward(kCodeTableLoadFile), 4},
};
constexpr ModuleEntry kLogModules[] = {
    {"module", kModule},         {"qsvlog", kQsvLog}, {"qsvquery", kQsvQuery},
    {"worker", kWorker},         {"disk", kDisk},     {"assetsgroup2", kAssetsGroup2},
    {"assetsobj2", kAssetsObj2}, {"table", kTable},
};

// Group B: the management daemon.
constexpr SubcommandEntry kTcpReset[] = {
    {"listip", handler(tcpreset_listip), 2048},
    {"listdns", handler(tcpreset_listdns), 2048},
    {"list", handler(tcpreset_list), 2048},
};
constexpr SubcommandEntry kEmailLog[] = {{"list", handler(emaillog_list), 2048}};
constexpr SubcommandEntry kFtpLog[] = {{"list", handler(ftplog_list), 2048}};
constexpr SubcommandEntry kTelnetLog[] = {{"list", handler(telnetlog_list), 2048}};
constexpr SubcommandEntry kMalcLog[] = {{"list", handler(malclog_list), 2048}};
constexpr SubcommandEntry kQsvIpTable[] = {
    {"get", handler(qsviptable_get), 2048},        {"addip", exchange(kQsvIpTableAddIp), 4},
    {"remove", exchange(kQsvIpTableRemove), 4},    {"clear", exchange(kQsvIpTableClear), 4},
    {"getcmp", exchange(kQsvIpTableGetCmp), 2048}, {"loadfile", forward_module(kVerbLoad), 4},
};
constexpr SubcommandEntry kQsvTable[] = {
    {"add", forward_module(kVerbAdd), 8},         {"list", forward_module(kVerbList), 2048},
    {"set", forward_module(kVerbSet), 8},         {"stat", forward_module(kVerbStat), 8},
    {"remove", forward_module(kVerbRemove), 256}, {"get", forward_module(kVerbGet), 2048},
};
constexpr SubcommandEntry kQsvDnsGroup[] = {
    {"add", forward_module(kVerbAdd), 8},          {"list", forward_module(kVerbList), 2048},
    {"set", forward_module(kVerbSet), 8},          {"stat", forward_module(kVerbStat), 8},
    {"remove", forward_module(kVerbRemove), 256},  {"get", forward_module(kVerbGet), 2048},
    {"loadfile", forward_module(kVerbLoad), 2048},
};
constexpr ModuleEntry kMgmtModules[] = {
    {"tcpreset", kTcpReset},   {"emaillog", kEmailLog},     {"ftplog", kFtpLog},
    {"telnetlog", kTelnetLog}, {"malclog", kMalcLog},       {"qsviptable", kQsvIpTable},
    {"qsvtable", kQsvTable},   {"qsvdnsgrp", kQsvDnsGroup},
};

constexpr CommandGroup kGroups[] = {
    {Daemon::kLog, kLogModules},
    {Daemon::kMgmt, kMgmtModules},
};

// For modules without a row. KEEP: these areas are used as they stand, also below a row's least.
constexpr SubcommandEntry kFallbackVerbs[] = {
    {"stat", forward_module(kVerbStat), 16},     {"config", forward_module(kVerbConfig), 16},
    {"list", forward_module(kVerbList), 2048},   {"get", forward_module(kVerbGet), 64},
    {"add", forward_module(kVerbAdd), 16},       {"set", forward_module(kVerbSet), 16},
    {"remove", forward_module(kVerbRemove), 16}, {"load", forward_module(kVerbLoad), 16},
    {"debug", forward_module(kVerbDebug), 128},
};

const SubcommandEntry* find_subcommand(std::span<const SubcommandEntry> rows,
                                       std::string_view name) {
  for (const SubcommandEntry& row : rows) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

}  // namespace

std::span<const CommandGroup> command_table() {
  return kGroups;
}

const CommandGroup& log_group() {
  return kGroups[0];
}

std::span<const SubcommandEntry> fallback_verbs() {
  return kFallbackVerbs;
}

CommandMatch find_command(std::string_view module, std::string_view subcommand) {
  // Some fifty short names: a search through all costs less than an index would to build.
  for (const CommandGroup& group : kGroups) {
    for (const ModuleEntry& entry : group.modules) {
      if (module != entry.name) continue;
      if (const SubcommandEntry* row = find_subcommand(entry.subcommands, subcommand)) {
        return {&group, &entry, row};
      }
    }
  }
  return {nullptr, nullptr, nullptr};
}

const SubcommandEntry* find_fallback_verb(std::string_view verb) {
  return find_subcommand(kFallbackVerbs, verb);
}

}  // namespace qsvmon
