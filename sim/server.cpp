#include "sim/server.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <stdexcept>

#include "sim/area.h"
#include "sim/tree.h"

namespace qsvmon::sim {
namespace {

constexpr std::uint32_t kBusy = 16;

/// Blocks the signals that end the server except while it waits: one that came just before would
/// leave it waiting.
class SignalsWhileWaiting {
 public:
  SignalsWhileWaiting() {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGTERM);
    sigaddset(&held, SIGINT);
    ::sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~SignalsWhileWaiting() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsWhileWaiting(const SignalsWhileWaiting&) = delete;
  SignalsWhileWaiting& operator=(const SignalsWhileWaiting&) = delete;

  /// Polls for `ms` milliseconds, below 0 without end. False when a signal came.
  bool poll(std::vector<pollfd>& fds, int ms) const {
    const timespec left{ms / 1000, ms % 1000 * 1000000L};
    return ::ppoll(fds.data(), static_cast<nfds_t>(fds.size()), ms < 0 ? nullptr : &left,
                   &before_) >= 0;
  }

 private:
  sigset_t before_;
};

const char* socket_path(std::size_t listener) {
  return listener == 0 ? kLogSocketPath : kMgmtSocketPath;
}

// A listening stream socket at `path`, in place of what is there.
int listen_at(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ::unlink(path);
  if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(fd, SOMAXCONN) != 0) {
    throw std::runtime_error(std::string(path) + ": " + std::strerror(errno));
  }
  return fd;
}

// The record fits any socket buffer; the client closes its end when it has it.
bool send_record(int fd, const RpcRequest& record, std::size_t length) {
  return ::send(fd, &record, length, 0) == static_cast<ssize_t>(length);
}

}  // namespace

Server::~Server() {
  close_listeners();
  for (const Connection& connection : connections_) ::close(connection.fd);
}

void Server::listen() {
  if (plan_.fault == Fault::kRefuse && plan_.after == 0) return;
  for (std::size_t i = 0; i < std::size(listeners_); ++i) listeners_[i] = listen_at(socket_path(i));
}

void Server::close_listeners() {
  for (std::size_t i = 0; i < std::size(listeners_); ++i) {
    if (listeners_[i] < 0) continue;
    ::close(listeners_[i]);
    ::unlink(socket_path(i));
    listeners_[i] = -1;
  }
}

int Server::wait_ms() const {
  int wait = -1;
  for (const Connection& connection : connections_) {
    if (!connection.waiting) continue;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(connection.due - Clock::now());
    const int ms = static_cast<int>(std::clamp<long long>(left.count() + 1, 0, 60000));
    wait = wait < 0 ? ms : std::min(wait, ms);
  }
  return wait;
}

void Server::run(const volatile std::sig_atomic_t& stop) {
  const SignalsWhileWaiting signals;
  std::vector<pollfd> polled;
  while (stop == 0) {
    polled.clear();
    for (const int fd : listeners_) polled.push_back({fd, POLLIN, 0});
    for (const Connection& connection : connections_) {
      polled.push_back({connection.fd, POLLIN, 0});
    }
    if (!signals.poll(polled, wait_ms())) continue;

    const std::size_t known = connections_.size();
    for (std::size_t i = 0; i < std::size(listeners_); ++i) {
      if ((polled[i].revents & POLLIN) != 0) accept_client(i);
    }
    for (std::size_t i = 0; i < known; ++i) {
      Connection& connection = connections_[i];
      bool open = true;
      if (connection.waiting && connection.due <= Clock::now()) {
        open = send_late(connection);
      } else if (polled[std::size(listeners_) + i].revents != 0) {
        open = receive(connection);
      }
      if (!open) {
        ::close(connection.fd);
        connection.fd = -1;
      }
    }
    connections_.erase(std::remove_if(connections_.begin(), connections_.end(),
                                      [](const Connection& c) { return c.fd < 0; }),
                       connections_.end());
  }
}

void Server::accept_client(std::size_t listener) {
  const int fd = ::accept(listeners_[listener], nullptr, nullptr);
  if (fd < 0) return;
  connections_.push_back({fd, listener == 0 ? Daemon::kLog : Daemon::kMgmt, 0, false, {}, {}});
}

bool Server::receive(Connection& connection) {
  char* at = reinterpret_cast<char*>(&connection.request) + connection.received;
  const std::size_t room = sizeof(RpcRequest) - connection.received;
  if (room == 0) {  // a client sends one request only
    char rest;
    const ssize_t n = ::recv(connection.fd, &rest, 1, MSG_DONTWAIT);
    return n > 0 || (n < 0 && (errno == EAGAIN || errno == EINTR));
  }
  const ssize_t n = ::recv(connection.fd, at, room, MSG_DONTWAIT);
  if (n <= 0) return n < 0 && (errno == EAGAIN || errno == EINTR);
  connection.received += static_cast<std::size_t>(n);
  return connection.received < sizeof(RpcRequest) || reply(connection);
}

bool Server::reply(Connection& connection) {
  const Fault fault = answered_ < plan_.after ? Fault::kNone : plan_.fault;
  ++answered_;
  if (plan_.fault == Fault::kRefuse && answered_ >= plan_.after) close_listeners();
  if (fault == Fault::kClose) return false;
  if (fault == Fault::kSilence) return true;

  RpcRequest& request = connection.request;
  capture_.before(request);
  appliance_.answer(connection.daemon, request);
  std::size_t length = sizeof request;
  switch (fault) {
    case Fault::kHalf:
      length /= 2;
      break;
    case Fault::kError:
      request.status = kBusy;
      set_errtext(request, "DAEMON_BUSY");
      break;
    case Fault::kCount:
      request.result = std::numeric_limits<std::int32_t>::max();
      break;
    case Fault::kReplylen:
      request.replylen = std::numeric_limits<std::uint32_t>::max();
      break;
    case Fault::kGarbage:
    case Fault::kUnterminated:
      damage_area(request);
      break;
    case Fault::kDict:
      request.syncdesc = 1;
      break;
    case Fault::kLate:
      capture_.after(request);
      connection.waiting = true;
      connection.due = Clock::now() + std::chrono::milliseconds(plan_.delay_ms);
      return true;
    default:
      break;
  }
  capture_.after(request);
  return send_record(connection.fd, request, length) && length == sizeof request;
}

bool Server::send_late(Connection& connection) const {
  connection.waiting = false;
  return send_record(connection.fd, connection.request, sizeof connection.request);
}

void Server::damage_area(const RpcRequest& request) {
  const ClientArea area(request.shmid);
  if (!area.attached()) return;
  std::mt19937_64 random(plan_.seed);
  const bool letters = plan_.fault == Fault::kUnterminated;
  for (char& byte : area.bytes()) byte = letters ? 'A' : static_cast<char>(random() & 0xff);
}

}  // namespace qsvmon::sim
