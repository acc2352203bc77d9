#include "format/text.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qsvmon {
namespace {

/// What stands for a character after a "%", or NUL.
char escape_letter(char c) {
  switch (c) {
    case '\t':
      return 'T';
    case '\n':
      return 'N';
    case '\f':
      return 'C';
    case '\r':
      return 'R';
    case 24:  // CAN
      return '8';
    case ' ':
      return 'S';
    default:
      return '\0';
  }
}

/// Removes the double quote in front and then, if there is one, the one at the end.
char* unquoted(char* value) {
  if (*value != '"') return value;
  ++value;
  const std::size_t length = std::strlen(value);
  if (length > 0 && value[length - 1] == '"') value[length - 1] = '\0';
  return value;
}

}  // namespace

char* trim(char* text) {
  if (text == nullptr) return nullptr;
  while (*text == ' ') ++text;
  char* end = text;
  for (;; ++end) {
    if (static_cast<unsigned char>(*end) > '\r') continue;  // nearly all: one test a character
    if (*end == '\t') *end = ' ';
    if (*end == '\0' || *end == '\r' || *end == '\n') break;
  }
  while (end > text && end[-1] == ' ') --end;
  *end = '\0';
  return text;
}

char* next_keyvalue(char* text, char** value, char** save) {
  *value = nullptr;
  *save = text;
  if (text == nullptr) return nullptr;
  char* word = text;
  while (*word == ' ') ++word;
  char* end = std::strchr(word, ' ');
  if (end != nullptr) {
    *end = '\0';
    *save = end + 1;
  } else {
    end = word + std::strlen(word);
    *save = end;
  }
  // The next word's "=" does not count, so the search ends with this one.
  auto* equals = static_cast<char*>(std::memchr(word, '=', static_cast<std::size_t>(end - word)));
  if (equals == nullptr) return nullptr;
  *equals = '\0';
  *value = unquoted(equals + 1);
  return word;
}

char* escape_ctl(const char* src, char* dst) {
  char* out = dst;
  for (; src != nullptr && *src != '\0'; ++src) {
    if (const char letter = escape_letter(*src); letter != '\0') {
      *out++ = '%';
      *out++ = letter;
    } else if (*src == '(' || *src == ')') {
      *out++ = *src == '(' ? '[' : ']';
    } else {
      *out++ = *src;
    }
  }
  *out = '\0';
  return dst;
}

int copy_len_in(const char* text, int min, int max, char* dst) {
  if (text == nullptr) return 0;
  const auto length = static_cast<std::int64_t>(std::strlen(text));  // an int could wrap below min
  if (length < min || length > max) return 0;
  if (dst != nullptr) std::memcpy(dst, text, static_cast<std::size_t>(length) + 1);
  return 1;
}

int field32_printf(char* dst, const char* format, ...) {
  std::memset(dst, 0, kField32Bytes);
  std::va_list args;
  va_start(args, format);
  const int length = std::vsnprintf(dst, kField32Bytes, format, args);
  va_end(args);
  constexpr int kMaxText = static_cast<int>(kField32Bytes) - 1;
  if (length < 0) return 0;
  return length < kMaxText ? length : kMaxText;
}

void field32_copy(char* dst, const char* src) {
  std::memset(dst, 0, kField32Bytes);
  if (src != nullptr) std::memcpy(dst, src, ::strnlen(src, kField32Bytes));
}

}  // namespace qsvmon
