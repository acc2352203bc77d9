#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/label_cache.h"
#include "commands/sessionlog/login_record.h"
#include "format/printer.h"

/// Rows of the FTP and Telnet lists. No row is ever hidden. A loaded row refers to its record.
/// KEEP: user and file names are printed as they stand; a double quote in one breaks the JSON.
namespace qsvmon {

/// The FTP command of an operation; "NULL" for one beyond the table.
std::string_view ftp_verb(std::uint8_t optype);

/// What both kinds of rows have: the record they show and the labels seen so far.
template <class LoginRecord>
class LoginRow {
 public:
  using Record = LoginRecord;
  bool load(std::span<const char> record) {
    record_ = reinterpret_cast<const Record*>(record.data());
    return true;
  }

 protected:
  const Record* record_ = nullptr;
  LabelCache labels_;
};

class FtpRow : public LoginRow<FtpLogRecord> {
 public:
  void print(Printer& out);
  void write(CsvSheet& sheet) const;
  /// KEEP: in UTF-8, unlike the other two lists.
  static void write_header(CsvSheet& sheet);
};

class TelnetRow : public LoginRow<TelnetLogRecord> {
 public:
  void print(Printer& out);
  /// KEEP: the command as it stands, not cleaned as in JSON.
  void write(CsvSheet& sheet) const;
  /// KEEP: in GBK bytes.
  static void write_header(CsvSheet& sheet);
};

}  // namespace qsvmon
