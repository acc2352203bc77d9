#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/// Decoding of mail headers: plain words mixed with encoded words (RFC 2047, "=?charset?B?...?=" or
/// with Q) become one line of GB2312 text. Words of a GB charset are kept as they are, UTF-8 is
/// converted, any other charset is passed through undecoded. Nothing is allocated, read outside the
/// given length or written outside the given capacity.
namespace qsvmon {

/// Size of the buffer that one word is decoded into.
constexpr int kWordBytes = 1024;

/// Decodes the `len` bytes of header at `text`, at most up to a NUL, into `out` and NUL-terminates
/// it. Words are joined by one blank; one that does not fit the rest of `outcap` is left out.
/// Returns the bytes written without the NUL, or -1 when the header is empty (nothing but blanks
/// and quotes before its end or its first line end), when any word fails, or when `outcap` < 1.
/// KEEP: `text` is changed: its TABs become blanks, and the blank behind each word a NUL. A second
/// decoding of the same text therefore yields its first word; the mail list shows Subjects so.
int decode_header(char* text, int len, char* out, int outcap);

/// The text of a header that may be missing.
struct DecodedHeader {
  /// Decodes `header` and changes it. False when it cannot be decoded: it is there, though maybe
  /// with no bytes, and has no text. A null one is missing; its text is empty.
  bool decode(std::span<char> header) {
    length = 0;
    if (header.data() == nullptr) return true;
    length = decode_header(header.data(), static_cast<int>(header.size()), bytes, sizeof bytes);
    return length >= 1;
  }
  /// REQUIRES: `decode`, if it was called, has returned true.
  std::string_view text() const { return {bytes, static_cast<std::size_t>(length)}; }

  char bytes[1024];
  int length = 0;
};

/// Decodes one word of `len` bytes into `out`, NUL-terminated. Returns its bytes (0 for an empty
/// result, which callers take for a failure), or -1: nothing but blanks, quotes and line ends; a
/// plain word that does not fit; an encoded word that is broken, or that has no text.
/// KEEP: an encoded word in neither UTF-8 nor a GB charset gives as many bytes, from its charset's
/// name on, as the word has from the "?" behind that name to its end ("=?iso-8859-1?Q?abc?=" gives
/// "iso-8859"). KEEP: the encoding letter counts in upper case only.
int decode_word(const char* word, char* out, int outcap, int len);

}  // namespace qsvmon
