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

/// An FTP or Telnet record as a list stores it: its texts in their real length, which takes a third
/// to a half of the memory of their fields.
struct LoginEntry {
  LoginHead head{};
  std::uint8_t code = 0;  ///< FTP: `optype`, Telnet: `cmdlen`
  std::string_view text;  ///< FTP: `name`, Telnet: `cmd`
  std::string_view user;

  LoginEntry() = default;
  /// Reads what `PackedLogin` wrote; the texts lie in it.
  explicit LoginEntry(std::span<const char> packed);
};

/// The bytes of an entry: a head with the lengths of both texts, then the texts.
class PackedLogin {
 public:
  /// The record may lie in the shared area.
  explicit PackedLogin(const FtpLogRecord& record);
  explicit PackedLogin(const TelnetLogRecord& record);

  std::span<const char> bytes() const { return {bytes_, size_}; }

 private:
  void pack(const LoginHead& head, std::uint8_t code, std::string_view text, std::string_view user);

  std::size_t size_ = 0;
  char bytes_[sizeof(TelnetLogRecord) + 2];  ///< two lengths beside the longest
};

/// Collects FTP or Telnet records: appends every one to a list that is sorted by their time. A fold
/// in its interface alone, `add` as `fold_all` calls it; records are not summed up, each is a row.
template <class Record>
class LoginFold {
 public:
  /// The list outlives the fold.
  explicit LoginFold(RecordList& list) : list_(list) {}

  void add(std::span<const Record> records) {
    while (!records.empty()) {
      const std::size_t count = records.size() < kBlockRecords ? records.size() : kBlockRecords;
      add_block(records.first(count));
      records = records.subspan(count);
    }
  }

 private:
  static constexpr std::size_t kBlockRecords = 4096;

  /// Of the records of a block only as many are copied as the page could show if there were no
  /// others: of a million records in the order of time a page of 20 takes 14 ms so, and 30 ms where
  /// each is copied and dropped again.
  void add_block(std::span<const Record> records) {
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < records.size(); ++i) {
      const std::uint32_t time = read_once(std::uint32_t{records[i].head.time});
      if (!list_.lies_behind(time)) chosen_[count++] = std::uint64_t{~time} << 32 | i;
    }
    const std::uint32_t kept = keep_first({chosen_, count}, list_.page().end);
    list_.count_behind(static_cast<std::uint32_t>(records.size()) - kept);
    for (const std::uint64_t item : std::span(chosen_, kept)) {
      const Record& record = records[static_cast<std::uint32_t>(item)];
      list_.append(~static_cast<std::uint32_t>(item >> 32), PackedLogin(record).bytes());
    }
  }

  RecordList& list_;
  /// Of a block: the time inverted in the upper half, the record's number in the lower.
  std::uint64_t chosen_[kBlockRecords];
};

}  // namespace qsvmon
