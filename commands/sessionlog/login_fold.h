#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "commands/listing/radix_sort.h"
#include "commands/listing/record_list.h"
#include "commands/sessionlog/login_record.h"
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

/// Collects FTP or Telnet records: appends every one to a list that is sorted by their time. A fold
/// in its interface alone, `add` as `fold_all` calls it; records are not summed up, each is a row.
template <class Record>
class LoginFold {
 public:
  /// The list outlives the fold.
  explicit LoginFold(RecordList& list) : list_(list) {}

  void add(std::span<const Record> records) {
    if (list_.page().end >= kBlockRecords) {  // a block has none to leave out
      for (const Record& record : records) add_one(record);
      return;
    }
    while (!records.empty()) {
      const std::size_t count = records.size() < kBlockRecords ? records.size() : kBlockRecords;
      add_block(records.first(count));
      records = records.subspan(count);
    }
  }

 private:
  static constexpr std::size_t kBlockRecords = 4096;

  /// Of the records of a block only as many are packed as the page could show if there were no
  /// others: of a million records in the order of time a page of 20 takes 8 ms so, and 14 ms where
  /// each is packed and dropped again.
  void add_block(std::span<const Record> records) {
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < records.size(); ++i) {
      const std::uint32_t time = read_once(std::uint32_t{records[i].head.time});
      if (!list_.lies_behind(time)) chosen_[count++] = std::uint64_t{~time} << 32 | i;
    }
    const std::uint32_t kept = keep_first({chosen_, count}, list_.page().end);
    list_.count_behind(static_cast<std::uint32_t>(records.size()) - kept);
    for (const std::uint64_t item : std::span(chosen_, kept)) {
      append(~static_cast<std::uint32_t>(item >> 32), records[static_cast<std::uint32_t>(item)]);
    }
  }

  void add_one(const Record& record) {
    const std::uint32_t time = read_once(std::uint32_t{record.head.time});
    list_.lies_behind(time) ? list_.count_behind(1) : append(time, record);
  }

  void append(std::uint32_t time, const Record& record) {
    char* const room = list_.room(kPackRoom<Record>);
    if (room != nullptr) list_.append(time, pack_login(room, record));
  }

  RecordList& list_;
  /// Of a block: the time inverted in the upper half, the record's number in the lower.
  std::uint64_t chosen_[kBlockRecords];
};

}  // namespace qsvmon
