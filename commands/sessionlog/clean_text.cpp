#include "commands/sessionlog/clean_text.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace qsvmon {
namespace {

/// How often each byte is written.
using Copies = std::array<std::uint8_t, 256>;

constexpr Copies copies_without(std::string_view dropped) {
  Copies copies{};
  for (std::uint8_t& count : copies) count = 1;
  for (const char c : dropped) copies[static_cast<unsigned char>(c)] = 0;
  return copies;
}

constexpr Copies kMailCopies = copies_without("\"\x1b\r\n \t\\");
constexpr Copies kCommandCopies = copies_without("\"\x1b\r\n\t");

std::string_view up_to_nul(std::string_view text) {
  return text.empty() ? text : text.substr(0, ::strnlen(text.data(), text.size()));
}

}  // namespace

char* write_value(char* at, CleanMailText clean) {
  const char* const limit = at + kCleanBytes;
  for (const char c : up_to_nul(clean.text)) {
    if (at == limit) break;
    *at = c;  // a dropped byte is overwritten by the next: no branch depends on it
    at += kMailCopies[static_cast<unsigned char>(c)];
  }
  return at;
}

char* write_value(char* at, CleanCommand clean) {
  const char* const limit = at + kCleanBytes;
  for (const char c : up_to_nul(clean.text)) {
    if (at == limit) break;
    *at = c;
    at += kCommandCopies[static_cast<unsigned char>(c)];
    if (c == '\\' && at < limit) *at++ = '\\';
  }
  return at;
}

}  // namespace qsvmon
