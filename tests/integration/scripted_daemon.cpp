#include "tests/integration/scripted_daemon.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>

namespace qsvmon::harness {
namespace {

constexpr std::size_t kKeptAreaBytes = 65536;
constexpr std::size_t kErrtextAt = 36;
constexpr std::size_t kErrtextBytes = 128;

/// The client's segment, attached for as long as the object lives.
class Attached {
 public:
  explicit Attached(int id) {
    void* at = ::shmat(id, nullptr, 0);
    if (at == reinterpret_cast<void*>(-1)) return;
    start_ = static_cast<char*>(at);
    if (::shmctl(id, IPC_STAT, &about_) != 0) about_ = {};
  }
  ~Attached() {
    if (start_ != nullptr) ::shmdt(start_);
  }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

  char* start() const { return start_; }
  std::size_t bytes() const { return start_ != nullptr ? about_.shm_segsz : 0; }
  pid_t creator() const { return about_.shm_cpid; }

 private:
  char* start_ = nullptr;
  shmid_ds about_{};
};

std::string little_endian(std::uint64_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

void put_bytes(RecordBytes& record, std::size_t offset, std::string_view bytes) {
  ASSERT_LE(offset + bytes.size(), record.size());
  std::memcpy(record.data() + offset, bytes.data(), bytes.size());
}

void look_at_segment(Request& request) {
  const Attached segment(request.shmid());
  request.attached = segment.start() != nullptr;
  if (!request.attached) return;
  request.client = segment.creator();
  request.segment_bytes = segment.bytes();
  const std::size_t text = std::min<std::size_t>(request.datalen(), segment.bytes());
  request.text.assign(segment.start(), text);
  request.area.assign(segment.start(), std::min(kKeptAreaBytes, segment.bytes()));
}

void fill_segment(const Request& request, const Reply& reply) {
  const Attached segment(request.shmid());
  if (segment.start() == nullptr) return;
  EXPECT_LE(reply.area.size(), segment.bytes()) << "the scripted reply does not fit";
  std::memcpy(segment.start(), reply.area.data(), std::min(reply.area.size(), segment.bytes()));
}

}  // namespace

std::uint64_t Request::number(std::size_t offset, std::size_t bytes) const {
  std::uint64_t value = 0;
  for (std::size_t i = bytes; i-- > 0;) value = value << 8 | record[offset + i];
  return value;
}

std::string Request::errtext() const {
  const char* start = reinterpret_cast<const char*>(record.data()) + kErrtextAt;
  return {start, ::strnlen(start, kErrtextBytes)};
}

std::string u16_bytes(std::uint32_t value) {
  return little_endian(value, 2);
}

std::string u32_bytes(std::uint32_t value) {
  return little_endian(value, 4);
}

Reply Reply::text(std::string_view bytes) {
  Reply reply;
  reply.area = bytes;
  reply.area += '\0';
  reply.replylen = static_cast<std::uint32_t>(bytes.size());
  reply.result = 0;
  return reply;
}

Reply Reply::records(std::string_view bytes, std::uint32_t count) {
  Reply reply;
  reply.area = bytes;
  reply.replylen = 0;
  reply.result = count;
  return reply;
}

Reply Reply::error(std::uint32_t status, std::string_view errtext) {
  Reply reply;
  reply.fill_area = false;
  reply.status = status;
  reply.with_errtext(errtext);
  return reply;
}

Reply& Reply::with_result(std::uint32_t value) {
  result = value;
  return *this;
}

Reply& Reply::with_replylen(std::uint32_t value) {
  replylen = value;
  return *this;
}

Reply& Reply::with_syncdesc(std::uint8_t value) {
  syncdesc = value;
  return *this;
}

Reply& Reply::with_errtext(std::string_view bytes_of_field) {
  errtext = bytes_of_field;
  return *this;
}

Reply& Reply::with_bytes(std::size_t offset, std::string_view bytes_there) {
  bytes.emplace_back(offset, bytes_there);
  return *this;
}

Reply& Reply::more() {
  islast = 0;
  return *this;
}

Reply& Reply::late(int milliseconds) {
  late_ms = milliseconds;
  return *this;
}

Reply& Reply::in_pieces(std::size_t count, int milliseconds) {
  piece_bytes = count;
  pause_ms = milliseconds;
  return *this;
}

Reply& Reply::half(std::size_t count) {
  sent_bytes = count;
  return *this;
}

Reply& Reply::stalled_after(std::size_t count) {
  sent_bytes = count;
  keeps_open = true;
  return *this;
}

Reply& Reply::raising(int number) {
  signal = number;
  return silent();
}

Reply& Reply::then_refusing() {
  stops_listening = true;
  return *this;
}

ScriptedDaemon::ScriptedDaemon(const Appliance& appliance, Daemon which, std::vector<Reply> replies)
    : replies_(std::move(replies)) {
  listen_on(appliance.socket_path(which));
  thread_ = std::thread([this] { serve(); });
}

ScriptedDaemon::ScriptedDaemon(const Appliance& appliance, Daemon which, Script script)
    : script_(std::move(script)) {
  listen_on(appliance.socket_path(which));
  thread_ = std::thread([this] { serve(); });
}

ScriptedDaemon::~ScriptedDaemon() {
  ::close(stop_[1]);
  stop_[1] = -1;
  if (thread_.joinable()) thread_.join();
  if (listener_ >= 0) ::close(listener_);
  ::close(stop_[0]);
  EXPECT_EQ(unexpected_, 0) << "requests came that the script has no reply for";
}

void ScriptedDaemon::listen_on(const std::string& path) {
  ASSERT_EQ(::pipe2(stop_, O_CLOEXEC), 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  ::unlink(path.c_str());
  listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener_, 64), 0);
}

std::vector<Request> ScriptedDaemon::requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

// True when `fd` (or nothing, below 0) can be read within the time; false when the daemon is to
// stop or the time is over.
bool ScriptedDaemon::wait_for(int fd, int milliseconds) const {
  pollfd wanted[2] = {{stop_[0], POLLIN, 0}, {fd, POLLIN, 0}};
  (void)::poll(wanted, 2, milliseconds);
  return wanted[0].revents == 0 && wanted[1].revents != 0;
}

void ScriptedDaemon::serve() {
  while (listener_ >= 0 && wait_for(listener_, -1)) {
    const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    if (closes_unread_) {
      await_request(fd);
    } else if (!hangs_up_) {
      serve_connection(fd);
    }
    ::close(fd);
    ++connections_;
  }
}

void ScriptedDaemon::await_request(int fd) const {
  int there = 0;
  while (wait_for(fd, -1) && ::ioctl(fd, FIONREAD, &there) == 0 &&
         there < static_cast<int>(kRecordBytes)) {
    if (there == 0) return;  // the program closed
    ::usleep(1000);
  }
}

void ScriptedDaemon::serve_connection(int fd) {
  Request request;
  std::size_t got = 0;
  while (got < kRecordBytes) {
    if (!wait_for(fd, -1)) return;
    const ssize_t n = ::recv(fd, request.record.data() + got, kRecordBytes - got, 0);
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  if (got == 0) {
    ++silent_;
    return;
  }
  EXPECT_EQ(got, kRecordBytes) << "a request came in part";
  look_at_segment(request);
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request);
  }
  answer(fd, request, next_reply(request));
}

Reply ScriptedDaemon::next_reply(const Request& request) {
  if (script_) return script_(request);
  const std::size_t number = requests().size();
  if (number <= replies_.size()) return replies_[number - 1];
  if (repeat_last_ && !replies_.empty()) return replies_.back();
  ++unexpected_;
  return Reply().closing();
}

void ScriptedDaemon::send_pieces(int fd, const RecordBytes& record, const Reply& reply) {
  const std::size_t whole = std::min(reply.sent_bytes, kRecordBytes);
  for (std::size_t sent = 0; sent < whole; sent += reply.piece_bytes) {
    if (sent > 0) (void)wait_for(-1, reply.pause_ms);
    const std::size_t piece = std::min(reply.piece_bytes, whole - sent);
    (void)::send(fd, record.data() + sent, piece, MSG_NOSIGNAL);
  }
}

void ScriptedDaemon::answer(int fd, const Request& request, const Reply& reply) {
  if (reply.signal != 0 && request.client > 1) ::kill(request.client, reply.signal);
  if (reply.late_ms > 0) (void)wait_for(-1, reply.late_ms);
  if (reply.stops_listening) {
    ::close(listener_);
    listener_ = -1;
  }
  RecordBytes record = request.record;
  put_bytes(record, 32, u32_bytes(reply.status));
  record[21] = reply.islast;
  if (reply.syncdesc) record[20] = *reply.syncdesc;
  if (reply.result) put_bytes(record, 164, u32_bytes(*reply.result));
  if (reply.replylen) put_bytes(record, 168, u32_bytes(*reply.replylen));
  if (reply.errtext) {
    std::string field = *reply.errtext;
    EXPECT_LE(field.size(), kErrtextBytes);
    field.resize(kErrtextBytes, '\0');
    put_bytes(record, kErrtextAt, field);
  }
  for (const auto& [offset, bytes] : reply.bytes) put_bytes(record, offset, bytes);
  if (reply.sent_bytes > 0) {
    if (reply.fill_area) fill_segment(request, reply);
    send_pieces(fd, record, reply);
  }
  if (reply.keeps_open) (void)wait_for(fd, -1);  // until the program closes
}

}  // namespace qsvmon::harness
