#pragma once

#include <cstddef>
#include <cstdint>

/// A small socket library for the client and for daemons: one address syntax, connect, listen,
/// accept with a time-out, and loops that move a buffer of known length in chunks.
///
/// Address text: an optional "udp:", then a UNIX-domain path (no ':'; the empty text is one, which
/// no socket has) or "host:port" with an IPv4 host in dotted form (the classic short forms
/// included) and a port of 1..65535. Parsing "host:port" overwrites the ':' with a NUL in the
/// caller's text.
///
/// Every failure is a -1; where said, after one line on standard output (format/message.h). `errno`
/// is left as the failing call set it.
namespace qsvmon {

struct SocketAddress;

/// Connects a stream socket to `text` ("udp:" is skipped). Returns the descriptor, which the caller
/// closes, or -1: with "socket_connect: invalid path\n" or "socket_connect: socket fail with
/// <error>\n" printed, or silently when the connection is refused.
int socket_connect(char* text);

/// Binds `text` ("udp:": a datagram socket, else a listening stream socket) and makes the
/// descriptor non-blocking. An existing file at a UNIX path is removed first. Returns the
/// descriptor, or -1 after printing "socket_listen: invalid path\n", "socket_listen: socket fail
/// with <error>, path=<text>\n", "bind unix fail <error>\n", "bind tcp fail <error>\n" or "listen
/// fail <error>\n".
int socket_listen(char* text);

/// Binds a non-blocking IPv4 datagram socket to `port` on any address. Returns the descriptor, or
/// -1 after printing "udp_listen: socket fail with <error>\n" or "bind tcp fail <error>\n".
int udp_listen(std::uint16_t port);

/// Accepts a connection, waiting at most `timeout_ms` when that is above 0. Returns the descriptor;
/// -1 silently when the time ran out or the call failed with EDEADLK, else after printing
/// "socket_accept: <error>(<number>)\n".
int socket_accept(int fd, int timeout_ms);

/// Connects `fd` as connect(2) does, also what it returns.
int connect_address(int fd, const SocketAddress& address);

/// For signal handlers: true while the process is in a call of `connect_address`, `send_all` or
/// `receive_all` that may wait for the peer. What the signal interrupted is then one of connect,
/// send, poll and recv, which are safe to interrupt (the build binds them before the program runs,
/// so that the loader is not at work either), or arithmetic on locals: no lock is held and nothing
/// of the program is half changed, and the handler may do whatever a function may, as long as it
/// does not return.
bool socket_is_waiting();

/// True when `fd` became readable within `timeout_ms`. An interrupted wait counts as one that ran
/// out.
bool wait_readable(int fd, int timeout_ms);

/// Sends all of the buffer in chunks of at most 1400 bytes. Returns 0, or -1 when a send moves
/// nothing.
int send_all(int fd, const void* bytes, std::size_t length);

/// Receives exactly `length` bytes in chunks of at most 1400. Waits up to one second before each
/// chunk; length / 8192 + 2 waits may run out, the last of which fails. After a forgiven one the
/// read blocks, so that a daemon that answers late is heard. Returns 0, or -1 when time ran out,
/// the peer closed, or a read failed.
int receive_all(int fd, void* bytes, std::size_t length);

}  // namespace qsvmon
