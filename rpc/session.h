#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "rpc/wire/message_codes.h"
#include "rpc/wire/request.h"

/// One exchange with a daemon, and the process-wide session that all exchanges share: a
/// shared-memory area that the client creates and removes, and a connection that lives for one
/// call. Not thread-safe; `rpc_close_from_signal` alone may interrupt the others.
namespace qsvmon {

class DictLibrary;

/// The socket of a daemon.
const char* daemon_path(Daemon daemon);

constexpr std::size_t kMinAreaBytes = 4096;

/// Closes a session that is open (its dictionary stays), connects to the daemon at `path` and
/// creates and attaches an area of `bytes` (at least 4096, zero-filled). Returns 0, or -1 after
/// printing why: "can't connect to <path>" (no newline), "rpc_init: shmget fail(<error>)\n" or
/// "rpc_init: shmat fail(<error>)\n".
int rpc_init(const char* path, std::size_t bytes);

/// Sends `request` to the daemon at `path` and receives its answer into the same record, after what
/// was printed so far is written out. Fills `shmid`, `shmsize` and `stamp`; after an answer `reply`
/// points into the area, behind the dictionary tables where the answer brought some. When `data` is
/// set and is not the area's start, `datalen` bytes are copied there first.
/// What came back is the daemon's word: `data` must be set again before the record is used for
/// another call. An answer that breaks off has filled the fields that arrived, `reply` too, so
/// read the reply through `rpc_reply_bytes` and `rpc_reply_text`, which look where it points.
/// Returns the final `status`, 0 on success; the text of a failure is in `errtext`:
/// status 5 with "can't connect <path>", "s_<error>_<number>" or "r_<error>_<number>".
/// Returns -1 with "shminit fail\n" printed when there is no area, -1 with "argument text too long"
/// in `errtext` when data to copy does not fit the area (nothing is sent), and -1 with status 12
/// when the dictionary cannot be loaded (the connection then stays open for the next call or the
/// close); in every other case the connection is closed.
int rpc_call(const char* path, RpcRequest& request);

/// `rpc_call` with the path of the last successful `rpc_init`.
int rpc_request(RpcRequest& request);

/// Ends the session: unloads the dictionary when `unload`, closes the connection, detaches and
/// removes the segment. Safe in any state and more than once.
void rpc_close(bool unload);

/// What a signal handler may do of `rpc_close`: removes the segment and closes the connection with
/// system calls alone.
void rpc_close_from_signal();

/// The start of the area, where argument text is written; null without a session.
char* rpc_shmbuf();
/// The area's size in bytes.
std::uint32_t rpc_shmsize();
/// The whole area; empty without a session.
std::span<char> rpc_area();

/// Fetches the application dictionary (code 511) from the session's daemon. Returns 0, or the
/// failed call's result after printing "rpc_syncdesc: <errtext>(<status>)\n".
int rpc_syncdesc();

/// Opens a session with the log daemon, fetches the dictionary and closes the session but keeps
/// the dictionary. Returns 0 or -1. No command calls it.
int rpc_fetch_dictionary();

/// True once dictionary tables were received, until they are unloaded.
bool rpc_dict_loaded();

/// The session's dictionary library; the look-ups of rpc/dict.h ask it.
DictLibrary& session_dict();

/// The bytes from `request.reply` to the end of the area; empty when `reply` is not in the area.
/// Valid until the next call.
std::span<const char> rpc_reply_bytes(const RpcRequest& request);

/// The reply as text: up to its NUL or the end of the area, whatever `replylen` says. A null
/// `reply` (a call that got no answer) reads "(null)", as the C library prints it.
std::string_view rpc_reply_text(const RpcRequest& request);

}  // namespace qsvmon
