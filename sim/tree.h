#pragma once

#include <sys/types.h>

#include <string>

namespace qsvmon::sim {

/// The appliance's files, below the working directory.
constexpr char kLogSocketPath[] = "./var/tmp/qsvlog.d";
constexpr char kMgmtSocketPath[] = "./usr/ramdisk/var/mgmt.d";
constexpr char kDictLibraryPath[] = "./usr/ramdisk/bin/dict.so";
constexpr char kMainConfigPath[] = "./conf/korvale.conf";
constexpr char kAssetsConfigPath[] = "./conf/qsv_assets.conf";
constexpr char kCsvFolder[] = "./usr/qsvlog/";

/// Creates the appliance's tree in the working directory: the folders of the sockets, of the
/// dictionary library, of the configuration files and of downloads. Copies the library, and the
/// configuration files that are not there yet from `data_folder`/conf, so that edited ones stay.
/// Throws std::runtime_error (std::filesystem::filesystem_error) when it cannot.
void create_tree(const std::string& data_folder, const std::string& dict_library);

/// The process that serves a tree holds its "qsvsim.pid" locked as long as it runs.
class PidFile {
 public:
  /// Locks the file in the working directory. False when another process holds it.
  bool lock();
  /// Writes the number of the process that serves.
  void write(pid_t pid) const;
  /// Removes the file; at the end of the process that serves.
  void remove() const;

  /// Asks the process that holds the file to end and waits for it, at most ten seconds. False when
  /// there is none or it does not end.
  static bool stop_holder();

 private:
  int fd_ = -1;
};

}  // namespace qsvmon::sim
