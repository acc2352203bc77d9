#pragma once

#include <cstdint>
#include <span>
#include <string_view>

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
    for (const Record& record : records) {
      const std::uint32_t time = read_once(std::uint32_t{record.head.time});
      if (list_.lies_behind(time)) {
        list_.append(time, {});
      } else {
        list_.append(time, PackedLogin(record).bytes());
      }
    }
  }

 private:
  RecordList& list_;
};

}  // namespace qsvmon
