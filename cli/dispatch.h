#pragma once

#include "cli/command_table.h"

namespace qsvmon {

/// Runs the action of the row on the words after the sub-command. Returns its result (-1: failure).
/// REQUIRES: an open session with the row's daemon.
int run_action(const CommandMatch& match, int argc, char** argv);

/// Runs the command that the process's words name: lists modules, answers "sysboot", or finds the
/// row, opens a session with its daemon, runs its action on the words after the sub-command and
/// closes the session. Returns the exit status as `main` does (-1: 255). Prints on
/// `standard_out()`.
int dispatch(int argc, char** argv);

}  // namespace qsvmon
