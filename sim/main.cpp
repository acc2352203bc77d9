// qsvsim: a simulated appliance. Plays both daemons below an appliance root of its own, for
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

volatile std::sig_atomic_t stop_asked = 0;

void ask_stop(int) {
  stop_asked = 1;
}

int complain(const std::string& why) {
  std::fprintf(stderr, "qsvsim: %s\n", why.c_str());
  return 1;
}

int pretty_stdin() {
  std::string text;
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) {
    text.append(buffer, n);
  }
  std::string shown;
  std::string trouble;
  const bool readable = pretty_json(text, shown, trouble);
  std::fwrite(shown.data(), 1, shown.size(), stdout);
  return readable ? 0 : complain(trouble);
}

// Cuts a serving process loose and ends this one, which first notes the other's number: whoever
// started it may stop it at once.
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

// Below a root that is not there, nothing serves, and none is created.
int stop(const std::string& root) {
  std::error_code none;
  std::filesystem::current_path(root, none);
  return !none && PidFile::stop_holder() ? 0 : complain("nothing serves " + root);
}

int serve(Options& o) {
  // Before the working directory moves.
  const ProgramFiles files = find_program_files();
  o.data.folder = data_folder(files, o.data.folder);
  const std::string library = dict_library(files, o.dict_library);
  const std::string capture =
      o.capture.empty() ? "" : std::filesystem::absolute(o.capture).string();
  std::filesystem::create_directories(o.root);
  std::filesystem::current_path(o.root);

  PidFile pid_file;
  if (!pid_file.lock()) return complain("another qsvsim serves " + o.root);
  lay_out_tree(o.data.folder, library);
  Appliance appliance(o.data, "conf", o.batch);
  o.fault.seed = o.data.seed;
  Server server(appliance, o.fault, capture);
  server.listen();
  if (o.background) {
    go_background(pid_file);
  } else {
    pid_file.write(::getpid());
  }
  server.run(stop_asked);
  pid_file.remove();
  return 0;
}

int run(Options& options) {
  try {
    if (options.pretty) return pretty_stdin();
    return options.stop ? stop(options.root) : serve(options);
  } catch (const std::filesystem::filesystem_error& error) {
    return complain(error.path1().string() + ": " + error.code().message());
  } catch (const std::exception& error) {
    return complain(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int status = 0;
  if (!read_options(argc, argv, options, status)) return status;
  ::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = ask_stop;
  ::sigaction(SIGTERM, &action, nullptr);
  ::sigaction(SIGINT, &action, nullptr);
  return run(options);
}
