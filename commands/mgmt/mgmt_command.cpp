#include "commands/mgmt/mgmt_command.h"

#include "format/printer.h"
#include "platform/appliance_paths.h"
#include "rpc/session.h"

namespace qsvmon {
namespace {

using enum MgmtCall;
using enum MgmtReturn;

constexpr bool kWords = true;
constexpr bool kNoWords = false;

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
    {"qsvlog", "stat", kVerbStat, kWords, "tag=", nullptr, kStrict, 0, kZero},
    {"qsvquery", "stat", kVerbStat, kNoWords, "", nullptr, kStrict, 0, kResult},
    {"worker", "add", kVerbAdd, kWords, "taskname=", nullptr, kStrict, 0, kResult},
    {"worker", "list", kVerbList, kWords, "type=", nullptr, kStrict, 0, kZero},
    {"worker", "stat", kVerbStat, kWords, "taskid=", nullptr, kStrict, 0, kResult},
    {"disk", "stat", kVerbStat, kNoWords, "", nullptr, kStrict, 0, kZero},
    // Reached by name only.
    {"korvlog", "list", kVerbList, kNoWords, "", nullptr, kStrict, 1, kZero},
    {"korvlog", "stat", kVerbStat, kNoWords, "", nullptr, kStrict, 0, kZero},
    {"korvlog", "add", kVerbAdd, kWords, "name= port=", kUsageNamePort, kLenient, 0, kZero},
    {"korvlog", "remove", kVerbRemove, kWords, "port=", kUsageNamePort, kLenient, 0, kZero},
    {"korvlog", "set", kVerbSet, kWords, "name= port=", kUsageNamePort, kLenient, 0, kZero},
    {"korvlog", "config", kVerbConfig, kWords, "buffree= allowfiletodb=", kUsageBuffree, kLenient, 0, kZero},
    {"auth", "list", kVerbList, kWords, "page= limit= auth= ipaddr= mac= customer= grpid=", nullptr, kLenient, 0, kZero},
    {"auth", "set", kVerbSet, kWords, "ttl=", kUsageTtl, kLenient, 0, kZero},
    {"auth", "stat", kVerbStat, kNoWords, "", nullptr, kLenient, 1, kZero},
    {"auth", "add", kVerbAdd, kWords, "ipaddr= ipname= grpid=", kUsageTtl, kLenient, 0, kZero},
    {"auth", "remove", kVerbRemove, kWords, "ipaddr=", kUsageIpaddr, kLenient, 0, kZero},
    {"node_manage", "add", kVerbAdd, kWords, "ipaddr=", kUsageIpaddr, kLenient, 0, kResult},
    {"node_manage", "list", kVerbList, kNoWords, "", nullptr, kLenient, 1, kZero},
    {"node_manage", "remove", kVerbRemove, kWords, "ipaddr=", kUsageIpaddr, kLenient, 0, kZero},
    {"node_manage", "stat", kVerbStat, kNoWords, "", nullptr, kStrict, 1, kZero},
    {"node_manage", "load", kVerbLoad, kNoWords, "", nullptr, kStrict, 0, kZero},
    {"virdevice", "list", kVerbList, kNoWords, "", nullptr, kStrict, 1, kZero},
    {"virdevice", "add", kVerbAdd, kWords, "devid= devname= ipgrp= grpname= grptype=", kUsageVirdeviceAdd, kLenient, 0, kZero},
    {"virdevice", "remove", kVerbRemove, kWords, "devid=", kUsageNamePort, kLenient, 0, kZero},
    {"device", "list", kVerbList, kNoWords, "", nullptr, kStrict, 1, kZero},
    {"device", "add", kVerbAdd, kWords, "id= name= addr=", kUsageDevice, kLenient, 0, kZero},
    {"device", "remove", kVerbRemove, kWords, "id=", kUsageDeviceId, kLenient, 0, kZero},
    {"device", "config", kVerbConfig, kWords, "id= name= addr=", kUsageDevice, kLenient, 0, kZero},
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
  if (status != 0 && command.call == MgmtCall::kStrict) {
    return fail(Status::error(request_errtext(request)));
  }
  standard_out().put(rpc_reply_text(request));
  return command.returns == MgmtReturn::kResult ? request.result : 0;
}

}  // namespace qsvmon
