// qsvsim: a simulated appliance. Plays both daemons below an appliance root of its own, for
// trying the client out, for web development without an appliance, and for the tests.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>

#include "format/printer.h"
#include "sim/appliance.h"
#include "sim/pretty.h"
#include "sim/server.h"
#include "sim/tree.h"

namespace {

using namespace qsvmon::sim;

volatile std::sig_atomic_t stop_asked = 0;

void ask_stop(int) {
  stop_asked = 1;
}

struct Options {
  std::string root = ".";
  DataOptions data{"sample", 0, 0, 1};
  std::string dict_library = QSVSIM_DICT_LIBRARY;
  std::size_t batch = 0;
  FaultPlan fault;
  bool background = false;
  bool stop = false;
  bool pretty = false;
};

const std::map<std::string, Fault> kFaults = {
    {"refuse", Fault::kRefuse},   {"close", Fault::kClose},
    {"half", Fault::kHalf},       {"silence", Fault::kSilence},
    {"late", Fault::kLate},       {"error", Fault::kError},
    {"count", Fault::kCount},     {"replylen", Fault::kReplylen},
    {"garbage", Fault::kGarbage}, {"unterminated", Fault::kUnterminated},
    {"dict", Fault::kDict},
};

void describe(CLI::App& app, Options& o) {
  app.description(
      "A simulated appliance: serves both daemon sockets of qsvmon below a root folder, from\n"
      "plain-text data files and a little memory. Run the client as qsvmon-here in that folder.");
  app.add_option("--root", o.root, "folder of the appliance tree; made when missing")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--data", o.data.folder,
                 "what to serve: sample or nasty, which come with the program, or a folder")
      ->type_name("SET")
      ->default_str("sample");
  app.add_option("--dict", o.dict_library, "dictionary library that the tree gets")
      ->type_name("FILE");
  app.add_flag("--background", o.background,
               "return when the sockets are open and serve in the background");
  app.add_flag("--stop", o.stop, "end the simulated appliance that serves the root");
  app.add_flag("--pretty", o.pretty, "serve nothing: indent the JSON on standard input");

  app.add_option("--records", o.data.records, "make this many records of each listing instead")
      ->type_name("N")
      ->group("Data");
  app.add_option("--distinct", o.data.distinct,
                 "of the made records' addresses and names, how many differ (0: all)")
      ->type_name("N")
      ->group("Data");
  app.add_option("--seed", o.data.seed, "what the made records follow from")
      ->type_name("S")
      ->group("Data");
  app.add_option("--batch", o.batch, "at most this many records in one reply (0: what fits)")
      ->type_name("N")
      ->group("Data");

  app.add_option("--fault", o.fault.fault,
                 "refuse: nobody listens\n"
                 "close: the connection closes in place of a reply\n"
                 "half: half a reply, then the connection closes\n"
                 "silence: no reply at all\n"
                 "late: the reply comes late (see --fault-ms)\n"
                 "error: status 16 with the text DAEMON_BUSY\n"
                 "count: the reply claims 2147483647 records\n"
                 "replylen: the reply claims 4294967295 bytes\n"
                 "garbage: noise in place of the reply's bytes\n"
                 "unterminated: the area full of letters, without an end\n"
                 "dict: dictionary tables claimed, none sent")
      ->transform(CLI::CheckedTransformer(kFaults, CLI::ignore_case).description(""))
      ->type_name("KIND")
      ->group("Faults");
  app.add_option("--fault-after", o.fault.after, "answer this many requests well first")
      ->type_name("N")
      ->group("Faults");
  app.add_option("--fault-ms", o.fault.delay_ms, "how late a late reply comes")
      ->type_name("MS")
      ->capture_default_str()
      ->group("Faults");
}

int complain(const std::string& why) {
  std::fprintf(stderr, "qsvsim: %s\n", why.c_str());
  return 1;
}

// The folder that `--data` names: the sets that come with the program go by their name alone.
std::string data_folder(const std::string& given) {
  if (given == "sample") return QSVSIM_DATA_FOLDER;
  if (given == "nasty") return QSVSIM_DATA_FOLDER "/nasty";
  return std::filesystem::absolute(given).string();
}

int pretty_stdin() {
  std::string text;
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) {
    text.append(buffer, n);
  }
  const std::string shown = pretty_json(text);
  std::fwrite(shown.data(), 1, shown.size(), stdout);
  return 0;
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

int serve(Options& o) {
  std::filesystem::create_directories(o.root);
  // Before the working directory moves.
  o.data.folder = data_folder(o.data.folder);
  o.dict_library = std::filesystem::absolute(o.dict_library).string();
  std::filesystem::current_path(o.root);

  PidFile pid_file;
  if (o.stop) return PidFile::stop_holder() ? 0 : complain("nothing serves " + o.root);
  if (!pid_file.lock()) return complain("another qsvsim serves " + o.root);
  lay_out_tree(o.data.folder, o.dict_library);
  Appliance appliance(o.data, "conf", o.batch);
  o.fault.seed = o.data.seed;
  Server server(appliance, o.fault);
  if (!server.listen()) return 1;
  if (o.background) {
    go_background(pid_file);
  } else {
    pid_file.write(::getpid());
  }
  server.run(stop_asked);
  pid_file.remove();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app;
  describe(app, options);
  CLI11_PARSE(app, argc, argv);
  ::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = ask_stop;
  ::sigaction(SIGTERM, &action, nullptr);
  ::sigaction(SIGINT, &action, nullptr);
  int status = 1;
  try {
    status = options.pretty ? pretty_stdin() : serve(options);
  } catch (const std::exception& error) {
    status = complain(error.what());
  }
  qsvmon::standard_out().flush();
  return status;
}
