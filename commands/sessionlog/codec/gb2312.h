#pragma once

#include <cstddef>
#include <cstdint>

/// Conversion between UTF-8 and GB2312 in its EUC-CN form: ASCII as itself, every other character
/// two bytes 0xA1 to 0xFE. Both directions go through Unicode code points and tables without a
/// search. Nothing is read outside the given length and nothing written outside the given capacity.
namespace qsvmon {

/// Most code points of one text; the rest is dropped.
constexpr unsigned kMaxUtf8Codes = 511;
constexpr unsigned kMaxGbCodes = 1024;

/// Converts the `inlen` bytes of UTF-8 at `in`, up to a NUL in them, to a NUL-terminated GB2312
/// text in `out`. A code point above U+FFFF keeps its low 16 bits. A character that would leave no
/// room for the NUL ends the conversion.
/// Returns 0, or -1 when a pointer is null, `outcap` < 1 or `inlen` < 1.
/// KEEP: a character that GB2312 lacks becomes a NUL and the conversion goes on behind it, so that
/// for a caller that reads the text up to its NUL it ends there.
int utf8_to_gb2312(char* out, int outcap, const char* in, int inlen);

/// Converts the `inlen` bytes of GB2312 at `in` to NUL-terminated UTF-8 in `out`. The text ends
/// before the first byte or pair that is no character, so at a NUL, a TAB or any other control
/// character; before a character that would fill `out` to its last byte or beyond; and after 1024
/// characters. Returns 0, or -1 for the same bad arguments.
int gb2312_to_utf8(char* out, int outcap, const char* in, int inlen);

/// The code point of the pair at `bytes`, of which `len` bytes may be read. The high bits of both
/// bytes are ignored. Returns 2, or 0 (`*cp` untouched) for no GB2312 character or `len` < 2.
int gb2312_char_to_uni(const char* bytes, int len, std::uint32_t* cp);

/// The GB code of `cp`: row and column, high bits clear, into `out2`, which has room for `len`.
/// Returns 2; -1 when GB2312 lacks the character; -2 when `len` < 2.
int uni_to_gb2312_char(std::uint32_t cp, unsigned char* out2, int len);

/// Reads one character of the NUL-terminated UTF-8 text at `p`; returns the bytes it takes, 1 to 6.
/// Lenient: continuation bytes are not checked, and a stray one stands for its own value. A
/// character that the NUL cuts off has the bytes before it, its missing bits zero. At the NUL
/// itself it is 1 byte with value 0.
int utf8_decode_char(const char* p, std::uint32_t* cp);

/// Writes `cp` as 1 to 4 bytes into `out`, which has room for `room`. Returns the bytes written; -1
/// when cp >= 0x110000; -2 when they do not fit.
int utf8_encode_char(char* out, std::uint32_t cp, int room);

}  // namespace qsvmon
