#include "commands/sessionlog/codec/quoted_printable.h"

#include <cstddef>
#include <cstring>

namespace qsvmon {
namespace {

unsigned digit_of(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'Z') return static_cast<unsigned>(c - 'A') + 10;
  if (c >= 'a' && c <= 'z') return static_cast<unsigned>(c - 'a') + 10;
  return 0;
}

}  // namespace

int qp_decode(std::string_view in, char* out, int cap) {
  const char* p = in.data();
  const char* const end = p + ::strnlen(p, in.size());
  const std::size_t room = cap > 0 ? static_cast<std::size_t>(cap) : 0;
  std::size_t used = 0;
  while (p < end && used < room) {
    if (*p != '=') {
      const void* escape = std::memchr(p, '=', static_cast<std::size_t>(end - p));
      const char* const stop = escape == nullptr ? end : static_cast<const char*>(escape);
      const auto run = static_cast<std::size_t>(stop - p);
      const std::size_t count = run < room - used ? run : room - used;
      std::memcpy(out + used, p, count);
      used += count;
      p += count;
      continue;
    }
    const unsigned high = end - p > 1 ? digit_of(p[1]) : 0;
    const unsigned low = end - p > 2 ? digit_of(p[2]) : 0;
    out[used++] = static_cast<char>((high * 16 + low) & 0xFF);
    p += end - p > 2 ? 3 : end - p;
  }
  return used == room ? -1 : static_cast<int>(used);
}

}  // namespace qsvmon
