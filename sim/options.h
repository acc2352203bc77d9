#pragma once

#include <cstddef>
#include <string>

#include "sim/data.h"
#include "sim/server.h"

namespace qsvmon::sim {

/// What the command line asks for.
struct Options {
  std::string root = ".";
  DataOptions data{"sample", 0, 0,
                   1};       ///< `folder` as on the command line: a set's name or a folder
  std::string dict_library;  ///< empty: the one that comes with the program
  std::size_t batch = 0;
  std::string capture;  ///< empty: none
  FaultPlan fault;
  bool background = false;
  bool stop = false;
  bool pretty = false;
};

/// Reads the command line. True when there is something to do; otherwise `status` is the exit
/// status, and the help, the version or what is wrong has been printed.
bool read_options(int argc, char** argv, Options& options, int& status);

}  // namespace qsvmon::sim
