#include "commands/sessionlog/codec/mail_header.h"

#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "commands/sessionlog/codec/base64.h"
#include "commands/sessionlog/codec/gb2312.h"
#include "commands/sessionlog/codec/quoted_printable.h"

namespace qsvmon {
namespace {

constexpr std::size_t kCharsetBytes = 16;  ///< with the NUL that the name has elsewhere
constexpr std::ptrdiff_t kShortestWord = 9;

bool begins_with(std::string_view text, std::string_view lower) {
  return text.size() >= lower.size() && ::strncasecmp(text.data(), lower.data(), lower.size()) == 0;
}

/// Copies `text` into `out`, cut to leave room for a NUL, and returns what was copied.
int copy_cut(std::string_view text, char* out, int outcap) {
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(outcap - 1));
  std::memcpy(out, text.data(), count);
  out[count] = '\0';
  return static_cast<int>(count);
}

int plain_word(std::string_view word, char* out, int outcap) {
  std::size_t length = 0;
  while (length < word.size() && word[length] != '\r' && word[length] != '\n' &&
         word[length] != '\0') {
    ++length;
  }
  if (length >= static_cast<std::size_t>(outcap)) return -1;
  return copy_cut(word.substr(0, length), out, outcap);
}

/// Decodes the text of an encoded word, cut to what the word buffer holds.
int encoded_text(std::string_view text, bool base64, bool utf8, char* out, int outcap) {
  static_assert(base64_decoded_bytes(kWordBytes - 1) <= kWordBytes);
  char decoded[kWordBytes];
  text = text.substr(0, kWordBytes - 1);  // neither decoder makes more of it than it has bytes
  const int count = base64 ? base64_decode(decoded, text) : qp_decode(text, decoded, kWordBytes);
  if (!utf8) return copy_cut({decoded, static_cast<std::size_t>(count)}, out, outcap);
  std::memset(out, 0, static_cast<std::size_t>(outcap));
  if (utf8_to_gb2312(out, outcap, decoded, count) != 0) return -1;
  return static_cast<int>(std::strlen(out));  // an unmappable character has cut it short
}

/// `word` begins with "=".
int encoded_word(std::string_view word, char* out, int outcap) {
  if (static_cast<std::ptrdiff_t>(word.size()) < kShortestWord) return -1;
  word.remove_prefix(2);
  const std::size_t name = word.substr(0, ::strnlen(word.data(), word.size())).find('?');
  if (name >= kCharsetBytes) return -1;  // none is larger still
  const std::string_view charset = word.substr(0, name);
  const bool utf8 = begins_with(charset, "utf-8");
  if (!utf8 && !begins_with(charset, "gb")) {
    return copy_cut(word.substr(0, word.size() - name), out, outcap);
  }
  word.remove_prefix(name + 1);
  if (word.size() < 3 || (word[0] != 'B' && word[0] != 'Q')) return -1;
  const bool base64 = word[0] == 'B';
  word.remove_prefix(2);  // the letter and its "?"
  std::size_t length = 0;
  while (length < word.size() && word[length] != '?' && word[length] != '\r' &&
         word[length] != '\0') {
    ++length;
  }
  if (length == 0 || length == word.size() || word[length] != '?') return -1;
  return encoded_text(word.substr(0, length), base64, utf8, out, outcap);
}

char* skip_between_words(char* p, const char* end) {
  while (p < end && (*p == ' ' || *p == '\r' || *p == '\n')) ++p;
  return p;
}

/// Appends decoded words to the header's text.
struct HeaderText {
  char* out;
  int capacity;
  int used = 0;

  /// Decodes and appends a word, with a blank behind it when `blank`. False when the word fails.
  bool append(const char* word, const char* end, bool blank) {
    char decoded[kWordBytes];
    const int count = decode_word(word, decoded, kWordBytes, static_cast<int>(end - word));
    if (count < 1) return false;
    if (used + count + (blank ? 1 : 0) >= capacity) return true;  // no room: left out
    std::memcpy(out + used, decoded, static_cast<std::size_t>(count));
    used += count;
    if (blank) out[used++] = ' ';
    return true;
  }
};

}  // namespace

int decode_word(const char* word, char* out, int outcap, int len) {
  if (outcap < 1 || len < 1) return -1;
  std::string_view text(word, static_cast<std::size_t>(len));
  const std::size_t first = text.find_first_not_of(" \"\t\r\n");
  if (first == std::string_view::npos) return -1;
  text.remove_prefix(first);
  return text[0] == '=' ? encoded_word(text, out, outcap) : plain_word(text, out, outcap);
}

int decode_header(char* text, int len, char* out, int outcap) {
  if (outcap < 1 || len < 1) return -1;
  char* word = text;
  char* const end = text + len;
  while (word < end && (*word == ' ' || *word == '"')) ++word;
  if (word == end || *word == '\0' || *word == '\r' || *word == '\n') return -1;
  char* const nul = word + ::strnlen(word, static_cast<std::size_t>(end - word));
  std::replace(word, nul, '\t', ' ');

  HeaderText header{out, outcap};
  while (void* found = std::memchr(word, ' ', static_cast<std::size_t>(nul - word))) {
    char* const blank = static_cast<char*>(found);
    *blank = '\0';
    if (!header.append(word, blank, true)) return -1;
    word = skip_between_words(blank + 1, end);
  }
  // KEEP: the last word's length is that of the rest of the header, beyond a NUL that ends it.
  if (word < end && *word != '\0' && !header.append(word, end, false)) return -1;
  out[header.used] = '\0';
  return header.used;
}

}  // namespace qsvmon
