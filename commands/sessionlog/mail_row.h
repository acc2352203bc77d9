#pragma once

#include <span>
#include <string_view>

#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/mail_record.h"
#include "format/printer.h"

namespace qsvmon {

/// A mail as a row of the list: its texts decoded, then shown.
class MailRow {
 public:
  using Record = MailRecord;

  /// Decodes the texts of `record`, which the decoding splits in place. False when From, To, Cc or
  /// Subject is there and cannot be decoded (one of no bytes cannot): the row is hidden.
  bool load(MailRecord& record);

  /// The loaded row as a JSON object.
  void print(Printer& out);

  /// The loaded row as cells.
  void write(CsvSheet& sheet) const;

  /// The texts of the header row. KEEP: GBK bytes, as those who open the file expect.
  static void write_header(CsvSheet& sheet);

 private:
  static constexpr int kTextBytes = 1024;
  static constexpr int kNameBytes = 128;

  struct Text {
    char bytes[kTextBytes];
    int length = 0;
    std::string_view view() const { return {bytes, static_cast<std::size_t>(length)}; }
  };

  static bool decode(MailRecord& record, MailText place, Text& text);
  void join_names(MailRecord& record);

  LabelCache labels_;
  MailParts parts_;
  Text from_;
  Text to_;
  Text cc_;
  Text subject_;
  Text names_;
};

}  // namespace qsvmon
