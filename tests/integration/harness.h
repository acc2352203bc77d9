#pragma once

#include "tests/integration/appliance.h"
#include "tests/integration/program_run.h"
#include "tests/integration/scripted_daemon.h"

/// Runs the real program against a scripted daemon in a scratch folder of its own, so that any
/// number of tests may run side by side. Nothing of the program's own code is used: the record is
/// read and written at its offsets, the sockets are plain ones.
///
///     TEST(WorkerStat, SendsItsWordsAndEndsWithTheResult) {
///       Appliance appliance;
///       ScriptedDaemon daemon(appliance, Daemon::kLog, {Reply::text("busy\n").with_result(3)});
///       const Outcome outcome = appliance.run({"worker", "stat", "taskid=7", "x"});
///       EXPECT_EQ(outcome.out, "busy\n");
///       EXPECT_EQ(outcome.exit_status, 3);
///       ASSERT_EQ(daemon.requests().size(), 1U);
///       const Request request = daemon.requests()[0];
///       EXPECT_EQ(request.msgcode(), 2050U);
///       EXPECT_EQ(request.errtext(), "worker");
///       EXPECT_EQ(request.text, "taskid=7 x \0"s);  // the `datalen` bytes, NUL included
///       EXPECT_EQ(request.segment_bytes, 2097152U);
///     }
///
/// `run` itself expects that the program leaves no segment behind and ends within its time.
///
/// A script is a list of replies, one for each request in order; a request beyond its end fails the
/// test. `ScriptedDaemon::repeat_last()` answers those like the last one (a listing that never
/// ends). For anything else pass a function from `const Request&` to `Reply`; it runs in the
/// daemon's thread. The program connects once when it opens its session and uses that connection
/// for its first call; each later call makes a connection of its own. A connection that brought no
/// byte (a usage error) uses no reply and is counted by `silent_connections()`.
///
/// Replies: `Reply::text("...")`, `Reply::records(bytes, count)`, `Reply::error(status, "text")`,
/// changed by `with_result`, `with_replylen`, `more()` (not the last batch), `with_syncdesc`,
/// `with_errtext` (128 raw bytes at most), `late(ms)`, `in_pieces(bytes, ms)`, `half(bytes)`,
/// `closing()`, `silent()`, `raising(SIGINT)`, `then_refusing()`. No `ScriptedDaemon` at all is a
/// daemon that does not run.
///
/// The dictionary: `appliance.install_dictionary()`; see fake_dict.c for its variants and its
/// environment.
