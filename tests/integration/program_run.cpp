#include "tests/integration/program_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>

namespace qsvmon::harness {
namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  int read_end = -1;
  int write_end = -1;
  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    read_end = ends[0];
    write_end = ends[1];
  }
  ~Pipe() {
    close_read();
    close_write();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  void close_read() {
    if (read_end >= 0) ::close(read_end);
    read_end = -1;
  }
  void close_write() {
    if (write_end >= 0) ::close(write_end);
    write_end = -1;
  }
};

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// What is executed, and the words in front of the program's own.
struct Client {
  std::string file = QSVMON_PROGRAM;
  std::vector<std::string> words;
};

// A runner takes the program's own name from a link in `folder`, which it runs.
Client client_in(const std::string& folder, const std::string& name) {
  Client client;
  if (freebsd_program()) {
    std::error_code exists;
    std::filesystem::create_symlink(environment("FREEBSD_BUILD") + "/qsvmon-here",
                                    folder + "/" + name, exists);
    client.file = environment("FREEBSD_RUN");
    client.words.push_back(client.file);
  }
  client.words.push_back(name);
  return client;
}

// With FREEBSD_RUN, a test that only calls the program's functions says nothing of FreeBSD's
// program: it is set aside in the output, and tools/count_tests does not count it.
class ClientRuns : public testing::EmptyTestEventListener {
 public:
  static inline int runs = 0;
  void OnTestStart(const testing::TestInfo&) override { runs = 0; }
  void OnTestEnd(const testing::TestInfo& test) override {
    if (runs > 0 || test.result()->Failed()) return;
    std::printf("[  ASIDE   ] %s.%s\n", test.test_suite_name(), test.name());
  }
};

[[maybe_unused]] const bool listening = [] {
  if (!freebsd_program()) return false;
  testing::UnitTest::GetInstance()->listeners().Append(new ClientRuns);
  return true;
}();

std::vector<std::string> environment_of(const RunOptions& options) {
  std::vector<std::string> pairs = {"TZ=" + options.time_zone, "PATH=/usr/bin:/bin"};
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "FREEBSD_SYSROOT"}) {
    if (const char* value = std::getenv(name)) pairs.push_back(std::string(name) + "=" + value);
  }
  pairs.insert(pairs.end(), options.environment.begin(), options.environment.end());
  return pairs;
}

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Between fork and exec in a process with threads: system calls alone.
[[noreturn]] void become_program(const char* file, const char* folder, int out, int err,
                                 char* const* argv, char* const* envp,
                                 const std::function<void()>& before_exec) {
  const int null = ::open("/dev/null", O_RDONLY);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  if (::chdir(folder) == 0 && ::dup2(null, STDIN_FILENO) >= 0 && ::dup2(out, STDOUT_FILENO) >= 0 &&
      ::dup2(err, STDERR_FILENO) >= 0) {
    if (before_exec) before_exec();
    ::execve(file, argv, envp);
  }
  ::_exit(127);
}

// Reads what there is; false at the end of the stream.
bool read_some(int fd, std::string& into) {
  char piece[65536];
  const ssize_t n = ::read(fd, piece, sizeof piece);
  if (n < 0) return errno == EINTR || errno == EAGAIN;
  into.append(piece, static_cast<std::size_t>(n));
  return n > 0;
}

// Reads both streams to their ends; kills the process when its time is over.
void collect(pid_t pid, int out, int err, const RunOptions& options, Outcome& outcome) {
  const Clock::time_point limit = Clock::now() + std::chrono::milliseconds(options.limit_ms);
  pollfd streams[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
  while (streams[0].fd >= 0 || streams[1].fd >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now());
    if (left.count() <= 0) {
      ADD_FAILURE() << "the program did not end in time";
      ::kill(pid, SIGKILL);
      return;
    }
    if (::poll(streams, 2, static_cast<int>(left.count())) <= 0) continue;
    if (options.read_pause_ms > 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(options.read_pause_ms));
    }
    if (streams[0].revents != 0 && !read_some(out, outcome.out)) streams[0].fd = -1;
    if (streams[1].revents != 0 && !read_some(err, outcome.err)) streams[1].fd = -1;
  }
}

void expect_no_segments(pid_t pid) {
  for (const int id : segments_made_by(pid)) {
    ADD_FAILURE() << "segment " << id << " was left behind";
    ::shmctl(id, IPC_RMID, nullptr);
  }
}

}  // namespace

bool freebsd_program() {
  return !environment("FREEBSD_RUN").empty();
}

std::string closed_line() {
  return freebsd_program() ? "r_No error: 0_0\n" : "r_Success_0\n";
}

std::filesystem::path fake_dict_folder() {
  if (freebsd_program()) return std::filesystem::path(environment("FREEBSD_BUILD")) / "tests";
  return QSVMON_FAKE_DICT_FOLDER;
}

Outcome run_program(const std::string& folder, const std::vector<std::string>& words,
                    const RunOptions& options) {
  ++ClientRuns::runs;
  const Client client = client_in(folder, options.name);
  std::vector<std::string> arguments = client.words;
  arguments.insert(arguments.end(), words.begin(), words.end());
  std::vector<std::string> environment = environment_of(options);
  const std::vector<char*> argv = pointers_to(arguments);
  const std::vector<char*> envp = pointers_to(environment);
  Pipe out;
  Pipe err;
  if (options.output_is_broken) out.close_read();
  Outcome outcome;
  outcome.pid = ::fork();
  if (outcome.pid == 0) {
    become_program(client.file.c_str(), folder.c_str(), out.write_end, err.write_end, argv.data(),
                   envp.data(), options.before_exec);
  }
  if (outcome.pid < 0) {
    ADD_FAILURE() << "fork failed";
    return outcome;
  }
  out.close_write();
  err.close_write();
  collect(outcome.pid, out.read_end, err.read_end, options, outcome);
  int status = 0;
  while (::waitpid(outcome.pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) outcome.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  expect_no_segments(outcome.pid);
  return outcome;
}

std::vector<int> segments_made_by(pid_t pid) {
  std::vector<int> ids;
  std::ifstream list("/proc/sysvipc/shm");
  list.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  for (std::string line; std::getline(list, line);) {
    std::istringstream fields(line);
    long key = 0;
    int id = 0;
    std::string permissions;
    unsigned long size = 0;
    pid_t creator = 0;
    fields >> key >> id >> permissions >> size >> creator;
    if (fields && creator == pid) ids.push_back(id);
  }
  return ids;
}

bool segment_exists(int id) {
  shmid_ds about{};
  return ::shmctl(id, IPC_STAT, &about) == 0;
}

}  // namespace qsvmon::harness
