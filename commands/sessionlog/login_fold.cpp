#include "commands/sessionlog/login_fold.h"

#include <cstring>

#include "format/text.h"

namespace qsvmon {
namespace {

/// Copies a field to `at` and returns the length of its text, which is measured once: it fits the
/// field even if the daemon changes the text meanwhile. The whole width is copied, which takes no
/// loop; what is behind the text will be overwritten.
template <std::size_t Width>
std::uint8_t copy_field(char* at, const char (&field)[Width]) {
  const std::size_t length = read_once(field_text(field).size());
  std::memcpy(at, field, Width);
  return static_cast<std::uint8_t>(length);
}

template <std::size_t TextWidth, std::size_t UserWidth>
std::size_t pack(char* room, const LoginHead& head, std::uint8_t code,
                 const char (&text)[TextWidth], const char (&user)[UserWidth]) {
  char* const texts = room + sizeof(PackedLogin);
  const std::uint8_t text_bytes = copy_field(texts, text);
  const std::uint8_t user_bytes = copy_field(texts + text_bytes, user);
  const std::uint8_t rest[] = {code, text_bytes, user_bytes};
  std::memcpy(room, &head, sizeof head);
  std::memcpy(room + sizeof head, rest, sizeof rest);
  return sizeof(PackedLogin) + text_bytes + user_bytes;
}

}  // namespace

std::size_t pack_login(char* room, const FtpLogRecord& record) {
  return pack(room, record.head, record.optype, record.name, record.user);
}

std::size_t pack_login(char* room, const TelnetLogRecord& record) {
  return pack(room, record.head, record.cmdlen, record.cmd, record.user);
}

}  // namespace qsvmon
