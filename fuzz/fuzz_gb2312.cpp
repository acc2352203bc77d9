// Both converters and the character operations on any bytes. A text that came from GB2312 must go
// back to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "commands/sessionlog/codec/gb2312.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kRoom = 4096;

void decode_each_character(const char* text) {
  std::uint32_t cp = 0;
  while (*text != '\0') {
    const int used = qsvmon::utf8_decode_char(text, &cp);
    if (used < 1 || used > 6) std::abort();
    char out[4];
    const int written = qsvmon::utf8_encode_char(out, cp, sizeof out);
    if (cp < 0x110000 ? written < 1 || written > 4 : written != -1) std::abort();
    text += used;
  }
}

/// GB2312 to UTF-8 and back: the second way must give what the first one took.
void round_trip(const char* gb, int length) {
  static char utf8[kRoom];
  static char back[kRoom];
  static char again[kRoom];
  qsvmon::gb2312_to_utf8(utf8, kRoom, gb, length);
  if (utf8[0] == '\0') return;
  std::memset(back, 0, sizeof back);
  qsvmon::utf8_to_gb2312(back, kRoom, utf8, static_cast<int>(std::strlen(utf8)));
  if (std::strlen(back) > static_cast<std::size_t>(length)) std::abort();
  qsvmon::gb2312_to_utf8(again, kRoom, back, static_cast<int>(std::strlen(back)));
  // One way takes 1024 characters, the other 511.
  if (std::strncmp(utf8, again, std::strlen(again)) != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2 || size > 3000) return 0;
  const int capacity = data[0] % 3 == 0 ? data[1] + 1 : kRoom;
  const std::size_t length = size - 2;
  const std::unique_ptr<char[]> in(new char[length + 1]);
  const std::unique_ptr<char[]> out(new char[static_cast<std::size_t>(capacity)]());
  if (length != 0) std::memcpy(in.get(), data + 2, length);
  const int inlen = static_cast<int>(length);
  const int utf8_result = qsvmon::utf8_to_gb2312(out.get(), capacity, in.get(), inlen);
  if (utf8_result != (inlen < 1 ? -1 : 0)) std::abort();
  if (::strnlen(out.get(), static_cast<std::size_t>(capacity)) ==
      static_cast<std::size_t>(capacity)) {
    std::abort();
  }
  qsvmon::gb2312_to_utf8(out.get(), capacity, in.get(), inlen);
  if (inlen > 0) round_trip(in.get(), inlen);
  in[length] = '\0';
  decode_each_character(in.get());
  return 0;
}
