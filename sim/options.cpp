#include "sim/options.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace qsvmon::sim {
namespace {

constexpr char kHelp[] = R"(Usage: qsvsim [--root DIR] [--data SET] [--background] [options]
       qsvsim [--root DIR] --stop
       qsvsim --pretty <FILE

Stands in for both daemons of an appliance, in a folder of its own. Run the client as qsvmon-here in
that folder. Without --background it serves until it is interrupted.

  --root DIR         the appliance's folder, created when it is missing; the current one without
  --data SET         the data to serve: "sample", "nasty" (hostile to pages and scripts), or a
                     folder of data files; "sample" without
  --dict FILE        the dictionary library that the appliance gets instead of the program's own
  --background       return when the sockets are open
  --stop             end the qsvsim that serves DIR
  --capture DIR      write every request, its words, its answer and its area into files of DIR
  --pretty           serve nothing: indent the JSON document on standard input
  --version          print the version
  -h, --help         print this

Generated records:
  --records N        serve N generated records of each listing instead of those of the data files
  --distinct N       use N different addresses and names; all different without, or with 0
  --seed N           seed of the random numbers; the same N gives the same records; 1 without
  --batch N          put at most N records into one reply; as many as fit without, or with 0

Faults:
  --fault KIND       answer wrongly; KIND is one of
      refuse         nobody listens
      close          the connection closes in place of a reply
      half           half a reply, then the connection closes
      silence        no reply, the connection stays open
      late           the reply comes late
      error          status 16 with the text DAEMON_BUSY
      count          the reply claims 2147483647 records
      replylen       the reply claims 4294967295 bytes
      garbage        random bytes in place of the reply's
      unterminated   the area full of letters, without an end
      dict           dictionary tables claimed, none sent
  --fault-after N    answer N requests correctly first
  --fault-ms N       how late a late reply comes, in milliseconds; 5000 without

Status: 0 on success, 1 on failure, 2 when the command line is wrong. See qsvsim(1).
)";

constexpr std::pair<const char*, Fault> kFaults[] = {
    {"refuse", Fault::kRefuse},   {"close", Fault::kClose},
    {"half", Fault::kHalf},       {"silence", Fault::kSilence},
    {"late", Fault::kLate},       {"error", Fault::kError},
    {"count", Fault::kCount},     {"replylen", Fault::kReplylen},
    {"garbage", Fault::kGarbage}, {"unterminated", Fault::kUnterminated},
    {"dict", Fault::kDict},
};

/// Accepts digits that make a number up to `max`; the conversion that follows would read "-5" as a
/// huge one.
CLI::Validator number_up_to(std::uint64_t max) {
  const auto check = [max](std::string& text) {
    std::uint64_t value = 0;
    bool good = !text.empty() && text.size() <= 20;
    for (const char c : text) {
      const auto digit = static_cast<std::uint64_t>(c - '0');
      good = good && c >= '0' && c <= '9' && value <= (max - digit) / 10;
      value = value * 10 + digit;
    }
    if (good) return std::string();
    return "not a number from 0 to " + std::to_string(max) + ": " + text;
  };
  return CLI::Validator(check, "");
}

CLI::Validator fault_name(Fault& fault) {
  const auto check = [&fault](std::string& text) {
    std::string names;
    for (const auto& [name, kind] : kFaults) {
      if (text == name) {
        fault = kind;
        return std::string();
      }
      names += names.empty() ? name : std::string(", ") + name;
    }
    return "no such fault: " + text + "; there are " + names;
  };
  return CLI::Validator(check, "");
}

void describe(CLI::App& app, Options& o, std::string& fault) {
  constexpr std::uint64_t kMax32 = std::numeric_limits<std::uint32_t>::max();
  constexpr std::uint64_t kMax64 = std::numeric_limits<std::uint64_t>::max();
  app.formatter_fn([](const CLI::App*, std::string, CLI::AppFormatMode) { return kHelp; });
  app.set_version_flag("--version", "qsvsim " QSVMON_VERSION);
  app.add_option("--root", o.root)->type_name("DIR");
  app.add_option("--data", o.data.folder)->type_name("SET");
  app.add_option("--dict", o.dict_library)->type_name("FILE");
  app.add_option("--capture", o.capture)->type_name("DIR");
  app.add_flag("--background", o.background);
  app.add_flag("--stop", o.stop);
  app.add_flag("--pretty", o.pretty);
  app.add_option("--records", o.data.records)->type_name("N")->check(number_up_to(kMax32));
  app.add_option("--distinct", o.data.distinct)->type_name("N")->check(number_up_to(kMax32));
  app.add_option("--seed", o.data.seed)->type_name("N")->check(number_up_to(kMax64));
  app.add_option("--batch", o.batch)->type_name("N")->check(number_up_to(kMax32));
  app.add_option("--fault", fault)->type_name("KIND")->check(fault_name(o.fault.fault));
  app.add_option("--fault-after", o.fault.after)->type_name("N")->check(number_up_to(kMax32));
  app.add_option("--fault-ms", o.fault.delay_ms)->type_name("N")->check(number_up_to(kMax32));
}

}  // namespace

bool read_options(int argc, char** argv, Options& options, int& status) {
  CLI::App app;
  std::string fault;
  describe(app, options, fault);
  try {
    app.parse(argc, argv);
    return true;
  } catch (const CLI::Success& done) {  // the help or the version
    status = app.exit(done);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "qsvsim: %s\nTry \"qsvsim --help\".\n", error.what());
    status = 2;
  }
  return false;
}

}  // namespace qsvmon::sim
