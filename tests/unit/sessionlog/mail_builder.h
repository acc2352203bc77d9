#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "commands/sessionlog/mail_record.h"

namespace qsvmon {

/// Makes mail records for tests, element by element.
///
///     MailBuilder(7).endpoints().time(100).text(kMailFrom, "a@x.com").record()
class MailBuilder {
 public:
  explicit MailBuilder(std::uint32_t key) { record_.key = key; }

  /// An element whose length is that of its value.
  MailBuilder& element(int type, std::string_view value) {
    return element(type, static_cast<unsigned>(value.size()), value);
  }
  /// An element that claims `length` bytes.
  MailBuilder& element(int type, unsigned length, std::string_view value) {
    const char head[3] = {static_cast<char>(type), static_cast<char>(length & 0xFF),
                          static_cast<char>(length >> 8)};
    raw({head, 3});
    return raw(value);
  }
  MailBuilder& raw(std::string_view bytes) {
    std::memcpy(record_.elems + record_.elemlen, bytes.data(), bytes.size());
    record_.elemlen = static_cast<std::uint16_t>(record_.elemlen + bytes.size());
    return *this;
  }

  /// 10.0.0.1:1025 to 192.168.1.2:25.
  MailBuilder& endpoints() {
    return element(kMailAddresses,
                   std::string_view("\x0A\0\0\x01\xC0\xA8\x01\x02\x04\x01\0\x19", 12));
  }
  /// 0x65E6C4A9 = 1709622441: 2024-03-05 07:07:21 UTC.
  MailBuilder& time() { return element(kMailTime, std::string_view("\xA9\xC4\xE6\x65", 4)); }
  MailBuilder& mac() { return element(kMailMac, std::string_view("\x00\x11\x22\x33\x44\x55", 6)); }
  MailBuilder& apid(std::uint16_t id) {
    const char bytes[2] = {static_cast<char>(id & 0xFF), static_cast<char>(id >> 8)};
    return element(kMailAppId, {bytes, 2});
  }
  MailBuilder& from(std::string_view text) { return element(kMailFrom, text); }
  MailBuilder& to(std::string_view text) { return element(kMailTo, text); }
  MailBuilder& cc(std::string_view text) { return element(kMailCc, text); }
  MailBuilder& subject(std::string_view text) { return element(kMailSubject, text); }
  /// A name and its NUL.
  MailBuilder& attachment(std::string_view name) {
    return element(kMailAttachment, std::string(name) + '\0');
  }

  MailRecord record() const { return record_; }

 private:
  MailRecord record_{};
};

/// A record that has all that is required.
inline MailBuilder whole_mail(std::uint32_t key = 1) {
  return MailBuilder(key).endpoints().time();
}

}  // namespace qsvmon
