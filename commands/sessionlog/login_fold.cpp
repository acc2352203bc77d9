#include "commands/sessionlog/login_fold.h"

#include <cstring>

#include "format/text.h"

namespace qsvmon {
namespace {

/// What an entry begins with; its texts follow.
struct [[gnu::packed]] PackedHead {
  LoginHead head;
  std::uint8_t code;
  std::uint8_t text_bytes;
  std::uint8_t user_bytes;
};

}  // namespace

PackedLogin::PackedLogin(const FtpLogRecord& record) {
  pack(record.head, read_once(std::uint8_t{record.optype}), field_text(record.name),
       field_text(record.user));
}

PackedLogin::PackedLogin(const TelnetLogRecord& record) {
  pack(record.head, read_once(std::uint8_t{record.cmdlen}), field_text(record.cmd),
       field_text(record.user));
}

/// The lengths are read once, so that they fit the fields even if the daemon changes the texts
/// meanwhile.
void PackedLogin::pack(const LoginHead& head, std::uint8_t code, std::string_view text,
                       std::string_view user) {
  const std::size_t text_bytes = read_once(text.size());
  const std::size_t user_bytes = read_once(user.size());
  const PackedHead packed{head, code, static_cast<std::uint8_t>(text_bytes),
                          static_cast<std::uint8_t>(user_bytes)};
  char* const texts = bytes_ + sizeof packed;
  std::memcpy(bytes_, &packed, sizeof packed);
  std::memcpy(texts, text.data(), text_bytes);
  std::memcpy(texts + text_bytes, user.data(), user_bytes);
  size_ = sizeof packed + text_bytes + user_bytes;
}

LoginEntry::LoginEntry(std::span<const char> packed) {
  PackedHead begin;
  std::memcpy(&begin, packed.data(), sizeof begin);
  head = begin.head;
  code = begin.code;
  text = {packed.data() + sizeof begin, begin.text_bytes};
  user = {text.data() + text.size(), begin.user_bytes};
}

}  // namespace qsvmon
