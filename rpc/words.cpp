#include "rpc/words.h"

#include <cstring>

#include "format/message.h"

namespace qsvmon {

std::optional<std::uint32_t> write_words(Words words, std::span<char> area, WordStyle style) {
  if (area.empty()) return std::nullopt;
  std::size_t used = 0;
  for (const char* word : words) {
    const std::size_t length = std::strlen(word);
    // The word, its blank and the closing NUL must fit.
    if (area.size() - used < 2 || length > area.size() - used - 2) return std::nullopt;
    if (style == WordStyle::kBlankBefore) area[used++] = ' ';
    std::memcpy(area.data() + used, word, length);
    used += length;
    if (style == WordStyle::kBlankAfter) area[used++] = ' ';
  }
  area[used] = '\0';
  return static_cast<std::uint32_t>(used);
}

int fail(const Status& status) {
  put_message(status.line(), '\n');
  return -1;
}

}  // namespace qsvmon
