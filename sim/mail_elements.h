#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "commands/sessionlog/mail_record.h"

namespace qsvmon::sim {

/// Packs the elements of a mail record one after the other. What does not fit is left out whole.
class MailElements {
 public:
  void add_text(std::uint8_t type, std::string_view text) { add(type, text.data(), text.size()); }
  /// A file name: its length counts the NUL.
  void add_attachment(const char* name) { add(kMailAttachment, name, std::strlen(name) + 1); }
  template <class Value>
  void add_value(std::uint8_t type, const Value& value) {
    add(type, &value, sizeof value);
  }

  /// False once something was left out.
  bool all_fit() const { return all_fit_; }

  MailRecord record(std::uint32_t key) const {
    MailRecord record = record_;
    record.key = key;
    return record;
  }

 private:
  static constexpr std::size_t kHeadBytes = 3;  // type and length

  void add(std::uint8_t type, const void* value, std::size_t size) {
    const std::size_t used = record_.elemlen;
    if (used + kHeadBytes + size > sizeof record_.elems) {
      all_fit_ = false;
      return;
    }
    char* at = record_.elems + used;
    const auto length = static_cast<std::uint16_t>(size);
    std::memcpy(at, &type, sizeof type);
    std::memcpy(at + 1, &length, sizeof length);
    if (size > 0) std::memcpy(at + kHeadBytes, value, size);
    record_.elemlen = static_cast<std::uint16_t>(used + kHeadBytes + size);
  }

  MailRecord record_{};
  bool all_fit_ = true;
};

}  // namespace qsvmon::sim
