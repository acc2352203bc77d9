#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/login_fold.h"
#include "format/printer.h"

/// Rows of the FTP and Telnet lists. No row is ever hidden. A loaded row refers to its entry.
/// KEEP: user and file names are printed as they stand; a double quote in one breaks the JSON.
namespace qsvmon {

/// The FTP command of an operation; "NULL" for one beyond the table.
std::string_view ftp_verb(std::uint8_t optype);

/// What both kinds of rows have: the record that they show.
class LoginRow {
 public:
  bool load(std::span<const char> packed) {
    login_ = &packed_login(packed);
    return true;
  }

 protected:
  const PackedLogin* login_ = nullptr;
};

class FtpRow : public LoginRow {
 public:
  using Record = FtpLogRecord;

  void print(Printer& out) const;
  void write(CsvSheet& sheet) const;
  /// KEEP: in UTF-8, unlike the other two lists.
  static void write_header(CsvSheet& sheet);
};

class TelnetRow : public LoginRow {
 public:
  using Record = TelnetLogRecord;

  void print(Printer& out) const;
  /// KEEP: the command as it stands, not cleaned as in JSON.
  void write(CsvSheet& sheet) const;
  /// KEEP: in GBK bytes.
  static void write_header(CsvSheet& sheet);
};

}  // namespace qsvmon
