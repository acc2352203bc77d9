#include "tests/hostile/hostile_daemon.h"

#include <poll.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "rpc/socket.h"
#include "rpc/wire/request.h"

namespace qsvmon::hostile {
namespace {

// Record sizes of the listings, so that damage falls on field boundaries as well as anywhere.
constexpr std::uint32_t kRecordBytes[] = {64, 80, 116, 144, 188, 1032, 4, 56};

constexpr std::uint32_t kCounts[] = {
    0, 1, 2, 3, 17, 255, 256, 257, 2031, 26214, 32768, 32769, 0x7fffffff, 0x80000000, 0xffffffff};

}  // namespace

HostileDaemon::HostileDaemon(std::uint64_t seed, const Mix& mix)
    : seed_(seed), mix_(mix), random_(seed) {
  char log_path[] = "./var/tmp/qsvlog.d";
  char mgmt_path[] = "./usr/ramdisk/var/mgmt.d";
  listeners_[0] = socket_listen(log_path);
  listeners_[1] = socket_listen(mgmt_path);
  thread_ = std::thread([this] { serve(); });
}

HostileDaemon::~HostileDaemon() {
  stop_ = true;
  thread_.join();
  for (const int fd : listeners_) ::close(fd);
}

void HostileDaemon::begin_command(std::uint64_t number) {
  random_.seed(seed_ * 0x9e3779b97f4a7c15ull + number);
  batches_ = 0;
}

std::uint32_t HostileDaemon::draw(std::uint32_t below) {
  return static_cast<std::uint32_t>(random_() % below);
}

void HostileDaemon::serve() {
  while (!stop_) {
    pollfd wanted[2] = {{listeners_[0], POLLIN, 0}, {listeners_[1], POLLIN, 0}};
    if (::poll(wanted, 2, 50) <= 0) continue;
    for (const pollfd& ready : wanted) {
      if ((ready.revents & POLLIN) == 0) continue;
      const int fd = ::accept(ready.fd, nullptr, nullptr);
      if (fd < 0) continue;
      answer(fd);
      ::close(fd);
    }
  }
}

void HostileDaemon::damage_area(char* area, std::size_t bytes) {
  const std::uint32_t kind = draw(8);
  if (kind == 0) return;  // the client's own words come back
  std::size_t used = std::min<std::size_t>(bytes, 1 + draw(40000));
  if (draw(20) == 0) used = bytes;
  if (kind == 1) {
    std::memset(area, static_cast<int>(draw(256)), used);
    return;
  }
  if (kind == 2) {  // text without an end
    for (std::size_t i = 0; i < used; ++i) area[i] = static_cast<char>(' ' + draw(95));
    return;
  }
  for (std::size_t i = 0; i + 8 <= used; i += 8) {
    const std::uint64_t value = random_();
    std::memcpy(area + i, &value, 8);
  }
  if (kind < 5) return;
  // Records that are nearly sound: one first record, repeated with a few bytes changed.
  const std::uint32_t record = kRecordBytes[draw(std::size(kRecordBytes))];
  for (std::size_t at = record; at + record <= used; at += record) {
    std::memcpy(area + at, area, record);
    const std::uint32_t changes = draw(4);
    for (std::uint32_t i = 0; i < changes; ++i) {
      area[at + draw(record)] = static_cast<char>(draw(256));
    }
    if (draw(4) == 0) {
      const std::uint32_t from = draw(record);
      std::memset(area + at + from, 0, record - from);
    }
  }
}

bool HostileDaemon::is_asked() const {
  pollfd wanted[2] = {{listeners_[0], POLLIN, 0}, {listeners_[1], POLLIN, 0}};
  return ::poll(wanted, 2, 0) > 0;
}

// Values that are small at one time and large at another, where the client reads: ids, lengths,
// slots and counts lie in the first words of a record and at its end. The client reads the records
// meanwhile; it is done within the time, or asks for the next batch.
void HostileDaemon::go_on_changing(char* area, std::size_t bytes) {
  const std::size_t used = std::min<std::size_t>(bytes, 1 + draw(8000));
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1);
  auto* const shown = reinterpret_cast<volatile char*>(area);
  for (unsigned char value = 0; std::chrono::steady_clock::now() < end && !is_asked(); ++value) {
    const char bits = value % 2 == 0 ? '\0' : static_cast<char>(value);
    for (std::size_t i = 0; i < used; ++i) shown[i] = bits;
  }
}

void HostileDaemon::answer(int fd) {
  RpcRequest record{};
  for (std::size_t got = 0; got < sizeof record;) {
    const ssize_t n = ::recv(fd, reinterpret_cast<char*>(&record) + got, sizeof record - got, 0);
    if (n <= 0) return;
    got += static_cast<std::size_t>(n);
  }
  ++replies_;
  shmid_ds about{};
  void* area = ::shmat(record.shmid, nullptr, 0);
  if (area == reinterpret_cast<void*>(-1)) return;
  if (::shmctl(record.shmid, IPC_STAT, &about) == 0) {
    damage_area(static_cast<char*>(area), about.shm_segsz);
  }

  record.result = static_cast<std::int32_t>(percent(80) ? kCounts[draw(std::size(kCounts))]
                                                        : static_cast<std::uint32_t>(random_()));
  record.replylen = percent(50) ? draw(100) : static_cast<std::uint32_t>(random_());
  record.islast = ++batches_ >= mix_.most_batches || percent(mix_.last)
                      ? static_cast<std::uint8_t>(1 + draw(255))
                      : 0;
  record.syncdesc = percent(mix_.dictionary) ? static_cast<std::uint8_t>(1 + draw(255)) : 0;
  if (percent(mix_.bad_status)) {
    record.status = static_cast<std::uint32_t>(random_());
    for (char& c : record.errtext) c = static_cast<char>(1 + draw(255));
  }
  const std::uint64_t pointers[2] = {random_(), random_()};
  std::memcpy(&record.data, &pointers[0], sizeof record.data);
  std::memcpy(&record.reply, &pointers[1], sizeof record.reply);
  record.flags = static_cast<std::uint16_t>(random_());
  record.datalen = static_cast<std::uint32_t>(random_());
  record.shmsize = static_cast<std::uint32_t>(random_());
  const std::size_t length = percent(mix_.close_early) ? draw(sizeof record) : sizeof record;
  (void)::send(fd, &record, length, MSG_NOSIGNAL);
  if (percent(mix_.changing)) go_on_changing(static_cast<char*>(area), about.shm_segsz);
  ::shmdt(area);
}

}  // namespace qsvmon::hostile
