#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/integration/harness.h"

namespace qsvmon::harness {

/// One run of the program that makes one request: what goes out and what comes of the answer.
struct CommandCase {
  std::vector<std::string> words;
  Daemon daemon = Daemon::kLog;
  std::uint32_t code;
  std::string target = "";  ///< `errtext` of the request
  std::string text = "";    ///< the argument's bytes with their NUL; empty: `datalen` 0
  std::size_t kib = 64;     ///< size of the segment
  Reply reply = Reply::nothing();
  std::string out = "";
  int exit_status = 0;
};

/// Runs the case and expects all of it, and that every other field of the request is as a new
/// record has it. `argval` too is expected to be 0.
void check_command(const CommandCase& c);

/// Expects that these words print `out` and end with `exit_status`, and that the daemon, which
/// listens, gets no request.
void check_sends_nothing(const std::vector<std::string>& words, Daemon daemon,
                         const std::string& out, int exit_status);

/// Expects the fields that the client fills in every request, and zeroes in those that it leaves.
void check_new_record(const Request& request);

}  // namespace qsvmon::harness
