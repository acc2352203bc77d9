#include "commands/mgmt/mgmt.h"

#include "rpc/wire/message_codes.h"

namespace qsvmon {
namespace {
using enum Exchange::Output;
}

// Behind each row stand the keys that its command documents; they go out like any word.
// clang-format off
constexpr Exchange kQsvLogStat = {.module = "qsvlog", .code = kVerbStat, .output = kText};  // tag=
constexpr Exchange kQsvQueryStat = {.module = "qsvquery", .code = kVerbStat, .put_words = put_no_text, .output = kText, .returns_result = true};
constexpr Exchange kWorkerAdd = {.module = "worker", .code = kVerbAdd, .output = kText, .returns_result = true};  // taskname=
constexpr Exchange kWorkerList = {.module = "worker", .code = kVerbList, .output = kText};  // type=
constexpr Exchange kWorkerStat = {.module = "worker", .code = kVerbStat, .output = kText, .returns_result = true};  // taskid=
constexpr Exchange kDiskStat = {.module = "disk", .code = kVerbStat, .put_words = put_no_text, .output = kText};
// clang-format on

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
constexpr MgmtCommand kUnlisted[] = {
    {"list", {.module = "korvlog", .code = kVerbList, .put_words = put_empty_text, .output = kText}},
    {"stat", {.module = "korvlog", .code = kVerbStat, .put_words = put_no_text, .output = kText}},
    {"add", {.module = "korvlog", .code = kVerbAdd, .least_words = 1, .usage = kUsageNamePort, .output = kText, .is_lenient = true}},  // name= port=
    {"remove", {.module = "korvlog", .code = kVerbRemove, .least_words = 1, .usage = kUsageNamePort, .output = kText, .is_lenient = true}},  // port=
    {"set", {.module = "korvlog", .code = kVerbSet, .least_words = 1, .usage = kUsageNamePort, .output = kText, .is_lenient = true}},  // name= port=
    {"config", {.module = "korvlog", .code = kVerbConfig, .least_words = 1, .usage = kUsageBuffree, .output = kText, .is_lenient = true}},  // buffree= allowfiletodb=
    {"list", {.module = "auth", .code = kVerbList, .output = kText, .is_lenient = true}},  // page= limit= auth= ipaddr= mac= customer= grpid=
    {"set", {.module = "auth", .code = kVerbSet, .least_words = 1, .usage = kUsageTtl, .output = kText, .is_lenient = true}},  // ttl=
    {"stat", {.module = "auth", .code = kVerbStat, .put_words = put_empty_text, .output = kText, .is_lenient = true}},
    {"add", {.module = "auth", .code = kVerbAdd, .least_words = 1, .usage = kUsageTtl, .output = kText, .is_lenient = true}},  // ipaddr= ipname= grpid=
    {"remove", {.module = "auth", .code = kVerbRemove, .least_words = 1, .usage = kUsageIpaddr, .output = kText, .is_lenient = true}},  // ipaddr=
    {"add", {.module = "node_manage", .code = kVerbAdd, .least_words = 1, .usage = kUsageIpaddr, .output = kText, .is_lenient = true, .returns_result = true}},  // ipaddr=
    {"list", {.module = "node_manage", .code = kVerbList, .put_words = put_empty_text, .output = kText, .is_lenient = true}},
    {"remove", {.module = "node_manage", .code = kVerbRemove, .least_words = 1, .usage = kUsageIpaddr, .output = kText, .is_lenient = true}},  // ipaddr=
    {"stat", {.module = "node_manage", .code = kVerbStat, .put_words = put_empty_text, .output = kText}},
    {"load", {.module = "node_manage", .code = kVerbLoad, .put_words = put_no_text, .output = kText}},
    {"list", {.module = "virdevice", .code = kVerbList, .put_words = put_empty_text, .output = kText}},
    {"add", {.module = "virdevice", .code = kVerbAdd, .least_words = 1, .usage = kUsageVirdeviceAdd, .output = kText, .is_lenient = true}},  // devid= devname= ipgrp= grpname= grptype=
    {"remove", {.module = "virdevice", .code = kVerbRemove, .least_words = 1, .usage = kUsageNamePort, .output = kText, .is_lenient = true}},  // devid=
    {"list", {.module = "device", .code = kVerbList, .put_words = put_empty_text, .output = kText}},
    {"add", {.module = "device", .code = kVerbAdd, .least_words = 1, .usage = kUsageDevice, .output = kText, .is_lenient = true}},  // id= name= addr=
    {"remove", {.module = "device", .code = kVerbRemove, .least_words = 1, .usage = kUsageDeviceId, .output = kText, .is_lenient = true}},  // id=
    {"config", {.module = "device", .code = kVerbConfig, .least_words = 1, .usage = kUsageDevice, .output = kText, .is_lenient = true}},  // id= name= addr=
};
// clang-format on

}  // namespace

std::span<const MgmtCommand> unlisted_mgmt_commands() {
  return kUnlisted;
}

const Exchange* find_mgmt_command(std::string_view module, std::string_view verb) {
  for (const auto& [name, exchange] : kUnlisted) {
    if (exchange.module == module && name == verb) return &exchange;
  }
  return nullptr;
}

}  // namespace qsvmon
