#include "commands/mgmt/mgmt_command.h"

#include "format/printer.h"
#include "rpc/session.h"

namespace qsvmon {
namespace {

// KEEP: some of these texts name other keys than their command takes, and one has two blanks after
// the colon; operators' scripts match them.
constexpr char kUsageNamePort[] = "usage: name=str port=nn...\n";
constexpr char kUsageBuffree[] = "usage: buffree=0|1...\n";
constexpr char kUsageTtl[] = "usage: ttl=nn...\n";
constexpr char kUsageIpaddr[] = "usage: ipaddr=x.x.x.x\n";
constexpr char kUsageVirdeviceAdd[] = "usage:  devid=nnn devname=xxx ipgrp=xxx grpname=xxx...\n";
constexpr char kUsageDevice[] = "usage:id=nnn name=xxx addr=xxxx...\n";
constexpr char kUsageDeviceId[] = "usage: id=nnn...\n";

// clang-format off
constexpr MgmtCommand kCommands[] = {
    // Reached by the command table.
    {.module = "qsvlog", .verb = "stat", .code = kVerbStat, .keys = "tag="},
    {.module = "qsvquery", .verb = "stat", .code = kVerbStat, .sends_words = false, .returns_result = true},
    {.module = "worker", .verb = "add", .code = kVerbAdd, .keys = "taskname=", .returns_result = true},
    {.module = "worker", .verb = "list", .code = kVerbList, .keys = "type="},
    {.module = "worker", .verb = "stat", .code = kVerbStat, .keys = "taskid=", .returns_result = true},
    {.module = "disk", .verb = "stat", .code = kVerbStat, .sends_words = false},
    // Reached by name only.
    {.module = "korvlog", .verb = "list", .code = kVerbList, .sends_words = false, .empty_datalen = 1},
    {.module = "korvlog", .verb = "stat", .code = kVerbStat, .sends_words = false},
    {.module = "korvlog", .verb = "add", .code = kVerbAdd, .keys = "name= port=", .usage = kUsageNamePort, .is_lenient = true},
    {.module = "korvlog", .verb = "remove", .code = kVerbRemove, .keys = "port=", .usage = kUsageNamePort, .is_lenient = true},
    {.module = "korvlog", .verb = "set", .code = kVerbSet, .keys = "name= port=", .usage = kUsageNamePort, .is_lenient = true},
    {.module = "korvlog", .verb = "config", .code = kVerbConfig, .keys = "buffree= allowfiletodb=", .usage = kUsageBuffree, .is_lenient = true},
    {.module = "auth", .verb = "list", .code = kVerbList, .keys = "page= limit= auth= ipaddr= mac= customer= grpid=", .is_lenient = true},
    {.module = "auth", .verb = "set", .code = kVerbSet, .keys = "ttl=", .usage = kUsageTtl, .is_lenient = true},
    {.module = "auth", .verb = "stat", .code = kVerbStat, .sends_words = false, .empty_datalen = 1, .is_lenient = true},
    {.module = "auth", .verb = "add", .code = kVerbAdd, .keys = "ipaddr= ipname= grpid=", .usage = kUsageTtl, .is_lenient = true},
    {.module = "auth", .verb = "remove", .code = kVerbRemove, .keys = "ipaddr=", .usage = kUsageIpaddr, .is_lenient = true},
    {.module = "node_manage", .verb = "add", .code = kVerbAdd, .keys = "ipaddr=", .usage = kUsageIpaddr, .is_lenient = true, .returns_result = true},
    {.module = "node_manage", .verb = "list", .code = kVerbList, .sends_words = false, .empty_datalen = 1, .is_lenient = true},
    {.module = "node_manage", .verb = "remove", .code = kVerbRemove, .keys = "ipaddr=", .usage = kUsageIpaddr, .is_lenient = true},
    {.module = "node_manage", .verb = "stat", .code = kVerbStat, .sends_words = false, .empty_datalen = 1},
    {.module = "node_manage", .verb = "load", .code = kVerbLoad, .sends_words = false},
    {.module = "virdevice", .verb = "list", .code = kVerbList, .sends_words = false, .empty_datalen = 1},
    {.module = "virdevice", .verb = "add", .code = kVerbAdd, .keys = "devid= devname= ipgrp= grpname= grptype=", .usage = kUsageVirdeviceAdd, .is_lenient = true},
    {.module = "virdevice", .verb = "remove", .code = kVerbRemove, .keys = "devid=", .usage = kUsageNamePort, .is_lenient = true},
    {.module = "device", .verb = "list", .code = kVerbList, .sends_words = false, .empty_datalen = 1},
    {.module = "device", .verb = "add", .code = kVerbAdd, .keys = "id= name= addr=", .usage = kUsageDevice, .is_lenient = true},
    {.module = "device", .verb = "remove", .code = kVerbRemove, .keys = "id=", .usage = kUsageDeviceId, .is_lenient = true},
    {.module = "device", .verb = "config", .code = kVerbConfig, .keys = "id= name= addr=", .usage = kUsageDevice, .is_lenient = true},
};
// clang-format on

}  // namespace

std::span<const MgmtCommand> mgmt_commands() {
  return kCommands;
}

const MgmtCommand* find_mgmt_command(std::string_view module, std::string_view verb) {
  for (const MgmtCommand& command : kCommands) {
    if (command.module == module && command.verb == verb) return &command;
  }
  return nullptr;
}

int run_mgmt_command(const MgmtCommand& command, Words words) {
  if (command.usage != nullptr && words.empty()) {
    standard_out().put(command.usage);
    return -1;
  }
  RpcRequest request{};
  set_errtext(request, command.module);
  request.msgcode = command.code;
  request.data = rpc_shmbuf();
  request.datalen = command.empty_datalen;
  if (command.sends_words) {
    // A recognised key and its value are written with the same characters as the word itself.
    const auto length = write_words(words, rpc_area(), WordStyle::kBlankAfter);
    if (!length) return fail(argument_too_long());
    request.datalen = *length + 1;
  }
  const int status = rpc_call(daemon_path(Daemon::kLog), request);
  if (status != 0 && !command.is_lenient) {
    return fail(Status::error(request_errtext(request)));
  }
  standard_out().put(rpc_reply_text(request));
  return command.returns_result ? request.result : 0;
}

}  // namespace qsvmon
