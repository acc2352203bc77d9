#include "platform/appliance_paths.h"

#ifndef QSVMON_ROOT
#define QSVMON_ROOT ""
#endif

namespace qsvmon {

const char* const kLogSocketPath = QSVMON_ROOT "/var/tmp/qsvlog.d";
const char* const kMgmtSocketPath = QSVMON_ROOT "/usr/ramdisk/var/mgmt.d";
const char* const kDictLibraryPath = QSVMON_ROOT "/usr/ramdisk/bin/dict.so";
const char* const kMainConfigPath = QSVMON_ROOT "/conf/korvale.conf";
const char* const kAssetsConfigPath = QSVMON_ROOT "/conf/qsv_assets.conf";
const char* const kCsvFolder = QSVMON_ROOT "/usr/qsvlog/";

}  // namespace qsvmon
