#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qsvmon::harness {

struct RunOptions {
  /// Further "NAME=value" pairs; the environment is otherwise TZ, PATH and the sanitizers' options.
  std::vector<std::string> environment;
  std::string time_zone = "UTC0";
  /// The program's name for itself (its first word).
  std::string name = "qsvmon";
  /// Standard output is a pipe that nobody reads any more.
  bool output_is_broken = false;
  /// Runs in the program's process as the last step before it becomes the program; system calls
  /// alone.
  std::function<void()> before_exec = {};
  /// The reader of its output sleeps so long before it reads some more.
  int read_pause_ms = 0;
  /// A run that takes longer is killed and fails the test.
  int limit_ms = 30000;
};

/// How a run ended.
struct Outcome {
  std::string out;       ///< every byte of standard output
  std::string err;       ///< every byte of standard error
  int exit_status = -1;  ///< 0..255, or -1 when a signal ended it
  int signal = 0;        ///< the signal that ended it, or 0
  pid_t pid = -1;
};

/// True when the program under test is FreeBSD's: with FREEBSD_RUN in the environment it is
/// `qsvmon-here` of the build folder FREEBSD_BUILD, run by the program that FREEBSD_RUN names. The
/// systems' own texts and numbers differ (errno, dlerror); an expectation names both.
bool freebsd_program();
/// What the program prints of an exchange that the daemon ended early: errno is 0.
std::string closed_line();
/// The folder of the test's dictionary libraries that the program under test can load.
std::filesystem::path fake_dict_folder();

/// Runs the program in `folder` and waits for its end. Expects that the program leaves no shared
/// memory behind (one that it left is removed).
Outcome run_program(const std::string& folder, const std::vector<std::string>& words,
                    const RunOptions& options);

/// The shared-memory segments that process `pid` made and that are still there. Empty on systems
/// without a /proc list; `segment_exists` serves everywhere.
std::vector<int> segments_made_by(pid_t pid);
bool segment_exists(int id);

}  // namespace qsvmon::harness
