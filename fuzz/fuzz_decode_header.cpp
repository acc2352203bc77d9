// The header decoder on any bytes, twice, as the mail list decodes a Subject.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "commands/sessionlog/codec/mail_header.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1 || size > 4096) return 0;
  constexpr int kCapacities[] = {1024, 128, 2000, 16, 5, 1};
  const int capacity = kCapacities[data[0] % 6];
  const std::size_t length = size - 1;
  // Blocks of exactly these sizes, so that the sanitizer sees one byte too many.
  const std::unique_ptr<char[]> text(new char[length]);
  const std::unique_ptr<char[]> out(new char[static_cast<std::size_t>(capacity)]);
  if (length != 0) std::memcpy(text.get(), data + 1, length);
  for (int pass = 0; pass < 2; ++pass) {
    const int n = qsvmon::decode_header(text.get(), static_cast<int>(length), out.get(), capacity);
    if (n < -1 || n >= capacity) std::abort();
    if (n >= 0 && out[static_cast<std::size_t>(n)] != '\0') std::abort();
  }
  return 0;
}
