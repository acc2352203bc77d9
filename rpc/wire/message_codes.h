#pragma once

#include <cstdint>

namespace qsvmon {

/// The resident daemons. Each command belongs to one; `daemon_path` (rpc/session.h) gives its
/// socket.
enum class Daemon : std::uint8_t {
  kLog,   ///< logs, workers, disks and the first IP tables (commands of group A)
  kMgmt,  ///< traffic listings and the other IP tables (commands of group B)
};

/// What a request asks (`RpcRequest::msgcode`). The verbs are shared by every module that is
/// addressed by name in `errtext`; the other codes say by themselves what they are about.
enum MessageCode : std::uint32_t {
  kCodeTableAddIp = 121,
  kCodeTableRemoveIp = 122,
  kCodeTableClear = 125,
  kCodeTableGetCmp = 126,
  kCodeTableLoadFile = 249,
  kCodeKeyTableList = 282,
  kCodeTableMatchTest = 348,
  kCodeModuleList = 387,
  kCodeModuleStat = 388,
  kCodeSyncDesc = 511,

  kVerbStat = 2050,
  kVerbAdd = 2051,
  kVerbRemove = 2052,
  kVerbSet = 2053,
  kVerbGet = 2054,
  kVerbList = 2055,
  kVerbLoad = 2056,
  kVerbConfig = 2057,
  kVerbDebug = 2064,
};

}  // namespace qsvmon
