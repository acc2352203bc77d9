#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/integration/appliance.h"

namespace qsvmon::harness {

constexpr std::size_t kRecordBytes = 208;
using RecordBytes = std::array<unsigned char, kRecordBytes>;

/// One request as it came over the socket, and the segment as it was then.
struct Request {
  RecordBytes record{};
  std::string text;               ///< the first `datalen` bytes of the segment
  std::string area;               ///< the first 64 KiB of the segment
  std::size_t segment_bytes = 0;  ///< the segment's real size
  bool attached = false;          ///< the segment named by `shmid` could be attached
  pid_t client = -1;              ///< who made the segment

  std::uint64_t number(std::size_t offset, std::size_t bytes) const;
  std::uint32_t msgcode() const { return u32(0); }
  std::uint32_t datalen() const { return u32(4); }
  std::int32_t shmid() const { return static_cast<std::int32_t>(u32(16)); }
  std::uint8_t syncdesc() const { return record[20]; }
  std::uint8_t islast() const { return record[21]; }
  std::uint32_t flags() const { return static_cast<std::uint32_t>(number(22, 2)); }
  std::uint64_t stream() const { return number(24, 8); }
  std::uint32_t status() const { return u32(32); }
  /// The field's text up to its NUL, at most 128 bytes.
  std::string errtext() const;
  std::uint32_t result() const { return u32(164); }
  std::uint32_t replylen() const { return u32(168); }
  std::uint32_t shmsize() const { return u32(172); }
  std::uint32_t argval() const { return u32(184); }
  std::uint32_t stamp() const { return u32(200); }

 private:
  std::uint32_t u32(std::size_t offset) const {
    return static_cast<std::uint32_t>(number(offset, 4));
  }
};

/// What the daemon does with one request. The record goes back as it came but for the fields set
/// here, with `status` 0 and `islast` 1 unless said otherwise.
struct Reply {
  /// Text with its NUL in the area; `replylen` is its length without it.
  static Reply text(std::string_view bytes);
  /// Bytes in the area, `result` records of them; `replylen` is 0.
  static Reply records(std::string_view bytes, std::uint32_t count);
  /// Nothing in the area but a NUL at its start.
  static Reply nothing() { return text(""); }
  static Reply error(std::uint32_t status, std::string_view errtext);

  Reply& with_result(std::uint32_t value);
  Reply& with_replylen(std::uint32_t value);
  Reply& with_syncdesc(std::uint8_t value);
  /// The field's first bytes; with 128 there is no NUL, and all 128 bytes are then these.
  Reply& with_errtext(std::string_view bytes);
  /// Sets any other bytes of the record.
  Reply& with_bytes(std::size_t offset, std::string_view bytes);
  /// Not the last batch.
  Reply& more();
  /// Answers after so many milliseconds.
  Reply& late(int milliseconds);
  /// Sends so many bytes of the record at a time, with a pause before each piece but the first.
  Reply& in_pieces(std::size_t bytes, int pause_ms);
  /// Sends only the record's first bytes, then closes.
  Reply& half(std::size_t bytes);
  /// Sends the first bytes, then keeps the connection without another byte.
  Reply& stalled_after(std::size_t bytes);
  /// Closes without an answer.
  Reply& closing() { return half(0); }
  /// Keeps the connection and never answers.
  Reply& silent() { return stalled_after(0); }
  /// Sends the program a signal when its request has come, and never answers.
  Reply& raising(int signal);
  /// Answers, but listens no more: the next connection is refused.
  Reply& then_refusing();

  std::string area;
  bool fill_area = true;
  std::uint32_t status = 0;
  std::uint8_t islast = 1;
  std::optional<std::uint32_t> result;
  std::optional<std::uint32_t> replylen;
  std::optional<std::uint8_t> syncdesc;
  std::optional<std::string> errtext;
  std::vector<std::pair<std::size_t, std::string>> bytes;
  int late_ms = 0;
  std::size_t sent_bytes = kRecordBytes;
  std::size_t piece_bytes = kRecordBytes;
  int pause_ms = 0;
  bool keeps_open = false;
  int signal = 0;
  bool stops_listening = false;
};

/// A daemon of the appliance that follows a script, in a thread of its own, from its construction
/// to its destruction. One connection is served at a time.
class ScriptedDaemon {
 public:
  using Script = std::function<Reply(const Request&)>;

  ScriptedDaemon(const Appliance& appliance, Daemon which, std::vector<Reply> replies);
  ScriptedDaemon(const Appliance& appliance, Daemon which, Script script);
  /// Ends the thread; fails the test when a request came that the script has no reply for.
  ~ScriptedDaemon();
  ScriptedDaemon(const ScriptedDaemon&) = delete;
  ScriptedDaemon& operator=(const ScriptedDaemon&) = delete;

  /// From now on closes every connection at once, whether a request came or not.
  void hang_up() { hangs_up_ = true; }
  /// From now on closes every connection when its request has come, without reading it.
  void close_unread() { closes_unread_ = true; }
  /// Requests beyond the list of replies get the last of them again.
  void repeat_last() { repeat_last_ = true; }

  /// The requests so far, in order.
  std::vector<Request> requests() const;
  /// Connections that were closed, by either side.
  int connections() const { return connections_; }
  /// Connections that closed without a byte.
  int silent_connections() const { return silent_; }
  /// Requests that the script had no reply for; asking for them forgives them.
  int take_unexpected() { return unexpected_.exchange(0); }

 private:
  void listen_on(const std::string& path);
  void serve();
  void serve_connection(int fd);
  void await_request(int fd) const;
  Reply next_reply(const Request& request);
  void answer(int fd, const Request& request, const Reply& reply);
  void send_pieces(int fd, const RecordBytes& record, const Reply& reply);
  bool wait_for(int fd, int milliseconds) const;

  std::vector<Reply> replies_;
  Script script_;
  int listener_ = -1;
  int stop_[2] = {-1, -1};
  std::atomic<bool> repeat_last_{false};
  std::atomic<bool> hangs_up_{false};
  std::atomic<bool> closes_unread_{false};
  std::atomic<int> connections_{0};
  std::atomic<int> silent_{0};
  std::atomic<int> unexpected_{0};
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::thread thread_;
};

/// `value` as little-endian bytes, for records in replies.
std::string u16_bytes(std::uint32_t value);
std::string u32_bytes(std::uint32_t value);

}  // namespace qsvmon::harness
