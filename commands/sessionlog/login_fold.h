#pragma once

#include <algorithm>  // IWYU pragma: keep
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "commands/sessionlog/login_record.h"
#include "commands/sessionlog/record_list.h"
#include "platform/read_once.h"

namespace qsvmon {

/// An FTP or Telnet record as a list stores it, its texts behind it in their real length: that
/// takes a third to a half of the memory of their fields.
struct [[gnu::packed]] PackedLogin {
  LoginHead head;
  std::uint8_t code;  ///< FTP: `optype`, Telnet: `cmdlen`
  std::uint8_t text_bytes;
  std::uint8_t user_bytes;

  /// FTP: `name`, Telnet: `cmd`.
  std::string_view text() const { return {texts(), text_bytes}; }
  std::string_view user() const { return {texts() + text_bytes, user_bytes}; }

 private:
  const char* texts() const { return reinterpret_cast<const char*>(this) + sizeof *this; }
};
static_assert(sizeof(PackedLogin) == 29 && alignof(PackedLogin) == 1);

/// The record that a list stores as `bytes`.
inline const PackedLogin& packed_login(std::span<const char> bytes) {
  return *reinterpret_cast<const PackedLogin*>(bytes.data());
}

/// Bytes that `pack_login` may write to.
template <class Record>
constexpr std::size_t kPackRoom = sizeof(PackedLogin) + sizeof(Record);

/// Packs a record, which may lie in the shared area, at `room` (kPackRoom bytes) and returns how
/// many bytes it has.
std::size_t pack_login(char* room, const FtpLogRecord& record);
std::size_t pack_login(char* room, const TelnetLogRecord& record);

/// Collects FTP or Telnet records in a list that is sorted by their time: appends those that the
/// list's page may need and counts the others. A fold in its interface alone, `add` as `fold_all`
/// calls it; records are not summed up, each is a row.
template <class Record>
class LoginFold {
 public:
  /// The list outlives the fold.
  explicit LoginFold(RecordList& list) : list_(list) {}

  void add(std::span<const Record> records) {
    const std::uint32_t least = least_needed(records);
    std::uint32_t behind = 0;
    for (const Record& record : records) {
      const std::uint32_t time = time_of(record);
      if (time < least) {
        ++behind;
      } else {
        list_.append(time, kPackRoom<Record>, [&](char* room) { return pack_login(room, record); });
      }
    }
    list_.count_behind(behind);
  }

 private:
  static std::uint32_t time_of(const Record& record) {
    return read_once(std::uint32_t{record.head.time});
  }

  static std::uint32_t least_time(std::span<const Record> records) {
    std::uint32_t least = 0xFFFFFFFF;
    for (const Record& record : records) least = std::min(least, time_of(record));
    return least;
  }

  /// As many of the records as the page could show have this time or a later one: those before it
  /// lie behind the page, whatever else comes. Logs come in the order of time, so that it is found
  /// at one end of them: a page of 20 out of a million takes 4 ms so, and 14 ms where each is
  /// packed and dropped again. The times are read again when records are chosen: where the daemon
  /// has changed one meanwhile, the page may lack a record.
  std::uint32_t least_needed(std::span<const Record> records) const {
    const std::uint32_t most = list_.page().end;
    if (most >= records.size()) return 0;
    return std::max(least_time(records.first(most)), least_time(records.last(most)));
  }

  RecordList& list_;
};

}  // namespace qsvmon
