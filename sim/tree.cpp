#include "sim/tree.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace qsvmon::sim {
namespace {

namespace fs = std::filesystem;

constexpr char kPidFile[] = "qsvsim.pid";
constexpr int kStopTries = 200;
constexpr useconds_t kStopPauseUs = 50000;

void install_file(const fs::path& from, const fs::path& to, fs::copy_options options) {
  fs::create_directories(to.parent_path());
  fs::copy_file(from, to, options);
}

}  // namespace

void create_tree(const std::string& data_folder, const std::string& dict_library) {
  for (const char* socket : {kLogSocketPath, kMgmtSocketPath}) {
    fs::create_directories(fs::path(socket).parent_path());
  }
  fs::create_directories(kCsvFolder);
  install_file(dict_library, kDictLibraryPath, fs::copy_options::overwrite_existing);
  const fs::path conf = fs::path(data_folder) / "conf";
  for (const char* file : {kMainConfigPath, kAssetsConfigPath}) {
    if (!fs::exists(file)) install_file(conf / fs::path(file).filename(), file, {});
  }
}

bool PidFile::lock() {
  fd_ = ::open(kPidFile, O_RDWR | O_CREAT, 0644);
  return fd_ >= 0 && ::flock(fd_, LOCK_EX | LOCK_NB) == 0;
}

void PidFile::write(pid_t pid) const {
  const std::string text = std::to_string(pid) + "\n";
  if (::ftruncate(fd_, 0) != 0 || ::pwrite(fd_, text.data(), text.size(), 0) < 0) return;
}

void PidFile::remove() const {
  ::unlink(kPidFile);
}

bool PidFile::stop_holder() {
  const int fd = ::open(kPidFile, O_RDONLY);
  if (fd < 0) return false;
  bool stopped = false;
  char text[32] = {};
  // Only a locked file means a running process; the number alone may be another process's by now.
  if (::flock(fd, LOCK_SH | LOCK_NB) != 0 && ::read(fd, text, sizeof text - 1) > 0) {
    const pid_t pid = static_cast<pid_t>(std::atoi(text));
    if (pid > 1 && ::kill(pid, SIGTERM) == 0) {
      for (int i = 0; i < kStopTries && !stopped; ++i) {
        stopped = ::flock(fd, LOCK_SH | LOCK_NB) == 0;
        if (!stopped) ::usleep(kStopPauseUs);
      }
    }
  }
  ::close(fd);
  return stopped;
}

}  // namespace qsvmon::sim
