// qsvsim: a simulated appliance. Stands in for both daemons below an appliance root of its own, for
// trying the client out, for web development without an appliance, and for the tests.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "sim/appliance.h"
#include "sim/options.h"
#include "sim/pretty.h"
#include "sim/program_files.h"
#include "sim/server.h"
#include "sim/tree.h"

namespace {

using namespace qsvmon::sim;

volatile std::sig_atomic_t stop_requested = 0;

void request_stop(int) {
  stop_requested = 1;
}

int failed(const std::string& why) {
  std::fprintf(stderr, "qsvsim: %s\n", why.c_str());
  return 1;
}

int pretty_stdin() {
  std::string text;
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) {
    text.append(buffer, n);
  }
  std::string indented;
  std::string error;
  const bool readable = pretty_json(text, indented, error);
  std::fwrite(indented.data(), 1, indented.size(), stdout);
  return readable ? 0 : failed(error);
}

// A child goes on serving, without a terminal, and this process ends. It first writes the child's
// number, so that --stop works as soon as it has ended.
void go_background(const PidFile& pid_file) {
  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error("cannot fork");
  if (pid > 0) {
    pid_file.write(pid);
    ::_exit(0);  // the sockets are the child's now
  }
  ::setsid();
  const int null = ::open("/dev/null", O_RDWR);
  for (int fd = 0; fd <= 2; ++fd) ::dup2(null, fd);
}

// A root that does not exist is served by nobody, and is not created.
int stop(const std::string& root) {
  std::error_code none;
  std::filesystem::current_path(root, none);
  return !none && PidFile::stop_holder() ? 0 : failed("nothing serves " + root);
}

int serve(Options& o) {
  // These paths are relative to the working directory, which then changes.
  const ProgramFiles files = find_program_files();
  o.data.folder = data_folder(files, o.data.folder);
  const std::string library = dict_library(files, o.dict_library);
  const std::string capture =
      o.capture.empty() ? "" : std::filesystem::absolute(o.capture).string();
  std::filesystem::create_directories(o.root);
  std::filesystem::current_path(o.root);

  PidFile pid_file;
  if (!pid_file.lock()) return failed("another qsvsim serves " + o.root);
  create_tree(o.data.folder, library);
  Appliance appliance(o.data, "conf", o.batch);
  o.fault.seed = o.data.seed;
  Server server(appliance, o.fault, capture);
  server.listen();
  if (o.background) {
    go_background(pid_file);
  } else {
    pid_file.write(::getpid());
  }
  server.run(stop_requested);
  pid_file.remove();
  return 0;
}

int run(Options& options) {
  try {
    if (options.pretty) return pretty_stdin();
    return options.stop ? stop(options.root) : serve(options);
  } catch (const std::filesystem::filesystem_error& error) {
    return failed(error.path1().string() + ": " + error.code().message());
  } catch (const std::exception& error) {
    return failed(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int status = 0;
  if (!read_options(argc, argv, options, status)) return status;
  ::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = request_stop;
  ::sigaction(SIGTERM, &action, nullptr);
  ::sigaction(SIGINT, &action, nullptr);
  return run(options);
}
