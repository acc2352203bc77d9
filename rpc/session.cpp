#include "rpc/session.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "format/message.h"
#include "platform/appliance_paths.h"
#include "rpc/dict_library.h"
#include "rpc/socket.h"
#include "rpc/wire/message_codes.h"
#include "rpc/words.h"

namespace qsvmon {
namespace {

constexpr std::size_t kDefaultAreaBytes = 2097152;
constexpr std::size_t kPathBytes = 256;
constexpr std::size_t kDictFetchAreaBytes = 98304;

struct RpcSession {
  std::atomic<int> socket{-1};  // these two are also read by signal handlers
  std::atomic<int> segment{-1};
  std::size_t area_bytes = kDefaultAreaBytes;
  char* area = nullptr;
  char path[kPathBytes] = {};
  DictLibrary dict;
  bool dict_received = false;
};
static_assert(std::atomic<int>::is_always_lock_free);

RpcSession session;

// Parsing an address changes its text, so the caller's path is copied first.
int connect_to(const char* path) {
  char text[kPathBytes];
  text[std::string_view(path).copy(text, sizeof text - 1)] = '\0';
  return socket_connect(text);
}

// Forgotten first, so that a signal handler does not close a number that is free again.
void close_socket() {
  if (const int fd = session.socket.exchange(-1); fd >= 0) ::close(fd);
}

int init_failed(const char* what) {
  put_message("rpc_init: ", what, " fail(", std::strerror(errno), ")\n");
  rpc_close(false);
  return -1;
}

// Signals are held back meanwhile, so that none whose handler removes the segment falls between the
// moment when the kernel made it and the moment when its identifier is known.
bool create_segment(std::size_t bytes) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &before);
  session.segment = ::shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return session.segment >= 0;
}

bool transport_failed(RpcRequest& request, char direction) {
  const int error = errno;
  request.status = kRpcTransportFailed;
  std::snprintf(request.errtext, sizeof request.errtext, "%c_%s_%d", direction,
                std::strerror(error), error);
  return false;
}

// The bytes that an earlier failure in this process left in errno say nothing about this exchange.
bool exchange_record(RpcRequest& request) {
  errno = 0;
  if (send_all(session.socket, &request, sizeof request) != 0)
    return transport_failed(request, 's');
  // KEEP: into the same record, so that an answer that stops part of the way leaves what came of
  // it; a command that goes on after a failed call returns the `result` that it got.
  if (receive_all(session.socket, &request, sizeof request) != 0) {
    return transport_failed(request, 'r');
  }
  return true;
}

bool receive_dictionary(RpcRequest& request) {
  if (!session.dict.load(kDictLibraryPath, request.errtext, sizeof request.errtext)) {
    request.status = kRpcDictFailed;
    return false;
  }
  session.dict_received = true;
  request.reply += session.dict.copy_tables(rpc_area());
  return true;
}

}  // namespace

const char* daemon_path(Daemon daemon) {
  return daemon == Daemon::kLog ? kLogSocketPath : kMgmtSocketPath;
}

int rpc_init(const char* path, std::size_t bytes) {
  rpc_close(false);
  session.socket = connect_to(path);  // first, so that without a daemon no segment is made
  if (session.socket < 0) {
    put_message("can't connect to ", path);
    return -1;
  }
  if (bytes < kMinAreaBytes) bytes = kMinAreaBytes;
  if (!create_segment(bytes)) return init_failed("shmget");
  void* area = ::shmat(session.segment, nullptr, 0);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): what shmat returns when it fails
  if (area == reinterpret_cast<void*>(-1)) return init_failed("shmat");
  session.area = static_cast<char*>(area);
  session.area_bytes = bytes;
  session.path[std::string_view(path).copy(session.path, sizeof session.path - 1)] = '\0';
  return 0;
}

int rpc_call(const char* path, RpcRequest& request) {
  if (session.area == nullptr) {
    put_message("shminit fail\n");
    return -1;
  }
  const bool copies = request.data != nullptr && request.data != session.area;
  if (copies && !argument_fits(request.datalen, rpc_area())) {
    set_errtext(request, argument_too_long().line());
    return -1;
  }
  flush_printed();  // whoever reads it need not wait for the daemon as well
  // One connection serves one call: the first has that of rpc_init, the others one of their own.
  if (session.socket < 0) session.socket = connect_to(path);
  if (session.socket < 0) {
    request.status = kRpcTransportFailed;
    std::snprintf(request.errtext, sizeof request.errtext, "can't connect %s", path);
    return static_cast<int>(request.status);
  }
  request.status = kRpcOk;
  request.shmsize = rpc_shmsize();
  request.shmid = session.segment;
  request.stamp = static_cast<std::uint32_t>(std::time(nullptr));
  // The data may lie within the area itself.
  if (copies) std::memmove(session.area, request.data, request.datalen);
  if (exchange_record(request)) {
    request.reply = session.area;  // the daemon's own address means nothing here
    // KEEP: a dictionary failure leaves the connection open; the next call or the close ends it.
    if (request.status == kRpcOk && request.syncdesc != 0 && !receive_dictionary(request))
      return -1;
  }
  close_socket();
  return static_cast<int>(request.status);
}

int rpc_request(RpcRequest& request) {
  return rpc_call(session.path, request);
}

void rpc_close(bool unload) {
  if (unload) {
    session.dict.unload();
    session.dict_received = false;
  }
  close_socket();
  if (session.area != nullptr) ::shmdt(session.area);
  session.area = nullptr;
  // Removed first, forgotten after: a signal between the two only removes it again.
  if (const int id = session.segment; id >= 0) ::shmctl(id, IPC_RMID, nullptr);
  session.segment = -1;
}

void rpc_close_from_signal() {
  if (const int id = session.segment; id >= 0) ::shmctl(id, IPC_RMID, nullptr);
  if (const int fd = session.socket; fd >= 0) ::close(fd);
}

char* rpc_shmbuf() {
  return session.area;
}

std::uint32_t rpc_shmsize() {
  return static_cast<std::uint32_t>(session.area_bytes);
}

std::span<char> rpc_area() {
  if (session.area == nullptr) return {};
  return {session.area, session.area_bytes};
}

int rpc_syncdesc() {
  RpcRequest request{};
  request.msgcode = kCodeSyncDesc;
  request.syncdesc = 1;
  const int result = rpc_request(request);
  if (result != 0) {
    put_message("rpc_syncdesc: ", request_errtext(request), '(',
                static_cast<std::int32_t>(request.status), ")\n");
    return result;
  }
  session.dict_received = true;  // also when the answer brought no tables: asking again brings none
  return 0;
}

int rpc_fetch_dictionary() {
  if (rpc_init(daemon_path(Daemon::kLog), kDictFetchAreaBytes) != 0) return -1;
  const int result = rpc_syncdesc();
  rpc_close(false);
  return result == 0 ? 0 : -1;
}

bool rpc_dict_loaded() {
  return session.dict_received;
}

DictLibrary& session_dict() {
  return session.dict;
}

std::span<const char> rpc_reply_bytes(const RpcRequest& request) {
  const std::span<const char> area = rpc_area();
  // As numbers: the order of pointers into different objects is not defined.
  const auto at = reinterpret_cast<std::uintptr_t>(request.reply);
  const auto begin = reinterpret_cast<std::uintptr_t>(area.data());
  if (area.empty() || at < begin || at - begin >= area.size()) return {};
  return area.subspan(at - begin);
}

std::string_view rpc_reply_text(const RpcRequest& request) {
  if (request.reply == nullptr) return "(null)";
  const std::span<const char> bytes = rpc_reply_bytes(request);
  if (bytes.empty()) return {};
  return {bytes.data(), ::strnlen(bytes.data(), bytes.size())};
}

}  // namespace qsvmon
