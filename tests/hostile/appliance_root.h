#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "format/printer.h"

namespace qsvmon::hostile {

/// A scratch folder with an appliance's tree and configuration, as the current folder while this
/// lives. Downloads end up in it as well. Aborts when it cannot be made.
class ScratchRoot {
 public:
  ScratchRoot() {
    if (::mkdtemp(path_) == nullptr || ::chdir(path_) != 0) std::abort();
    for (const char* folder : {"var", "var/tmp", "usr", "usr/ramdisk", "usr/ramdisk/var",
                               "usr/ramdisk/bin", "usr/qsvlog", "conf"}) {
      ::mkdir(folder, 0700);
    }
    std::ofstream("conf/korvale.conf") << "mac m=10.0.0.1 d=office\n"
                                          "malcitlgc id=3 name=bot cname=botnet\n"
                                          "cusiprng iprng=10.0.0.0/8 info=inside\n";
    std::ofstream("conf/qsv_assets.conf") << "group id=1 name=g\n"
                                             "assets id=1 pid=1 name=server value=10.0.0.9\n";
  }
  ~ScratchRoot() {
    std::error_code ignored;
    std::filesystem::current_path("/", ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchRoot(const ScratchRoot&) = delete;
  ScratchRoot& operator=(const ScratchRoot&) = delete;

  /// Puts the dictionary library `file` in its place, or removes it when `file` is empty.
  /// Returns false when it cannot be copied.
  static bool set_dictionary(const std::string& file) {
    constexpr const char* kPlace = "usr/ramdisk/bin/dict.so";
    std::error_code error;
    std::filesystem::remove(kPlace, error);
    return file.empty() || std::filesystem::copy_file(file, kPlace, error);
  }

 private:
  char path_[32] = "/tmp/qsvmon_hostile_XXXXXX";
};

/// Sends what is printed nowhere, until its end.
class MutedOut {
 public:
  MutedOut() : saved_(::dup(STDOUT_FILENO)) {
    standard_out().flush();
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, STDOUT_FILENO);
    ::close(null);
  }
  ~MutedOut() {
    standard_out().flush();
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
  }
  MutedOut(const MutedOut&) = delete;
  MutedOut& operator=(const MutedOut&) = delete;

 private:
  int saved_;
};

}  // namespace qsvmon::hostile
