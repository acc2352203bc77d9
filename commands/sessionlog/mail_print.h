#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "commands/sessionlog/codec/mail_header.h"
#include "commands/sessionlog/csv_sheet.h"
#include "commands/sessionlog/mail_parts.h"
#include "format/printer.h"

namespace qsvmon {

/// The texts of a mail, decoded.
struct MailTexts {
  /// Decodes From, To, Cc and Subject. False when one is there and cannot be decoded (one of no
  /// bytes cannot). The texts that `parts` refers to are split.
  bool decode(const MailParts& parts);

  DecodedHeader from;
  DecodedHeader to;
  DecodedHeader cc;
  DecodedHeader subject;
};

/// Whether a mail of these elements is left out of the page: one of its texts cannot be decoded.
bool is_hidden_mail(std::span<const char> elements);

/// A mail as a row of the list.
class MailRow {
 public:
  /// Decodes a mail's elements. False when it is hidden.
  bool load(std::span<const char> elements);

  /// The loaded row as a JSON object.
  void print(Printer& out) const;

  /// The loaded row as cells.
  void write(CsvSheet& sheet) const;

  /// The texts of the header row. KEEP: GBK bytes, as those who open the file expect.
  static void write_header(CsvSheet& sheet);

 private:
  static constexpr int kNameBytes = 128;
  static constexpr int kNamesBytes = MailParts::kMaxAttachments * kNameBytes;

  void join_names(const MailParts& parts);
  std::string_view names() const { return {names_, static_cast<std::size_t>(names_length_)}; }

  Endpoints endpoints_{};
  std::uint32_t time_ = 0;
  std::uint16_t apid_ = 0;
  std::size_t tolen_ = 0;
  MailTexts texts_;
  char names_[kNamesBytes];
  int names_length_ = 0;
};

}  // namespace qsvmon
