#include "commands/sessionlog/codec/gb2312.h"

#include <cstring>

#include "commands/sessionlog/codec/gb2312_bulk.h"
#include "commands/sessionlog/codec/gb2312_tables.h"

namespace qsvmon {
namespace {

/// The last code point that is a single byte on both sides. KEEP: 0x80 is one.
constexpr std::uint32_t kLastSingle = 0x80;

unsigned char byte_at(const char* p) {
  return static_cast<unsigned char>(*p);
}

/// The EUC-CN bytes of `cp`, the first in the low byte; 0 when GB2312 lacks it.
unsigned gb_code(std::uint32_t cp) {
  return cp < 0x10000 ? kGbCodes[kGbPages[cp >> 6] + (cp & 0x3FU)] : 0;
}

/// The code point of a pair of bytes, high bits ignored; 0 when it is no character.
std::uint32_t gb_pair(unsigned char first, unsigned char second) {
  const std::uint32_t utf8 = kGbUtf8[gb_index(first, second)];
  if (utf8 >> 24 != 3) return (utf8 & 0x1FU) << 6 | (utf8 >> 8 & 0x3FU);
  return (utf8 & 0x0FU) << 12 | (utf8 >> 8 & 0x3FU) << 6 | (utf8 >> 16 & 0x3FU);
}

/// The bytes of a UTF-8 character as its lead byte says.
int utf8_length(unsigned char lead) {
  if (lead < 0xC0) return 1;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  return lead < 0xFC ? 5 : 6;
}

/// Decodes the character at `p`, of which `left` (at least 1) bytes are there.
int decode_bounded(const char* p, std::size_t left, std::uint32_t* cp) {
  constexpr unsigned char kLeadBits[7] = {0, 0xFF, 0x1F, 0x0F, 0x07, 0x03, 0x01};
  const int length = utf8_length(byte_at(p));
  std::uint32_t value = byte_at(p) & kLeadBits[length];
  int used = 1;
  for (int i = 1; i < length; ++i) {
    value <<= 6;
    if (static_cast<std::size_t>(i) < left) value |= byte_at(p + used++) & 0x3FU;
  }
  *cp = value;
  return used;
}

/// Writes `cp`, 1 to 3 bytes. REQUIRES: cp is below 0x10000 and there is room.
int encode_short(char* out, std::uint32_t cp) {
  if (cp >= 0x800) {
    out[0] = static_cast<char>(0xE0U | cp >> 12);
    out[1] = static_cast<char>(0x80U | (cp >> 6 & 0x3FU));
    out[2] = static_cast<char>(0x80U | (cp & 0x3FU));
    return 3;
  }
  if (cp >= 0x80) {
    out[0] = static_cast<char>(0xC0U | cp >> 6);
    out[1] = static_cast<char>(0x80U | (cp & 0x3FU));
    return 2;
  }
  out[0] = static_cast<char>(cp);
  return 1;
}

bool bad_arguments(const char* out, int outcap, const char* in, int inlen) {
  return out == nullptr || in == nullptr || outcap < 1 || inlen < 1;
}

/// Reads one character of UTF-8 as 16 bits.
std::uint32_t take_utf8(GbConversion& c) {
  std::uint32_t cp = byte_at(c.p);
  if (cp < 0x80) {
    ++c.p;
  } else if ((cp & 0xF0) == 0xE0 && c.end - c.p >= 3) {  // nearly all that is not ASCII
    cp =
        (byte_at(c.p) & 0x0FU) << 12 | (byte_at(c.p + 1) & 0x3FU) << 6 | (byte_at(c.p + 2) & 0x3FU);
    c.p += 3;
  } else {
    c.p += decode_bounded(c.p, static_cast<std::size_t>(c.end - c.p), &cp);
  }
  return cp & 0xFFFF;
}

/// Reads one character of GB2312; 0 ends the text.
std::uint32_t take_gb(GbConversion& c) {
  const unsigned char first = byte_at(c.p);
  if (first >= 0x20 && first <= kLastSingle) {
    ++c.p;
    return first;
  }
  if (c.end - c.p < 2) return 0;
  const std::uint32_t cp = gb_pair(first, byte_at(c.p + 1));
  c.p += 2;
  return cp;
}

}  // namespace

int utf8_decode_char(const char* p, std::uint32_t* cp) {
  const std::size_t left = ::strnlen(p, 6);
  return decode_bounded(p, left == 0 ? 1 : left, cp);
}

int utf8_encode_char(char* out, std::uint32_t cp, int room) {
  if (cp >= 0x110000) return -1;
  const int length = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
  if (length > room) return -2;
  if (length < 4) return encode_short(out, cp);
  out[0] = static_cast<char>(0xF0U | cp >> 18);
  out[1] = static_cast<char>(0x80U | (cp >> 12 & 0x3FU));
  out[2] = static_cast<char>(0x80U | (cp >> 6 & 0x3FU));
  out[3] = static_cast<char>(0x80U | (cp & 0x3FU));
  return 4;
}

int gb2312_char_to_uni(const char* bytes, int len, std::uint32_t* cp) {
  if (len < 2) return 0;
  const std::uint32_t found = gb_pair(byte_at(bytes), byte_at(bytes + 1));
  if (found == 0) return 0;
  *cp = found;
  return 2;
}

int uni_to_gb2312_char(std::uint32_t cp, unsigned char* out2, int len) {
  if (len < 2) return -2;
  const unsigned code = gb_code(cp);
  if (code == 0) return -1;
  out2[0] = static_cast<unsigned char>(code & 0x7FU);
  out2[1] = static_cast<unsigned char>(code >> 8 & 0x7FU);
  return 2;
}

int utf8_to_gb2312(char* out, int outcap, const char* in, int inlen) {
  if (bad_arguments(out, outcap, in, inlen)) return -1;
  const std::size_t length = ::strnlen(in, static_cast<std::size_t>(inlen));
  GbConversion c{in, in + length, out, out + outcap, kMaxUtf8Codes};
  while (c.more()) {
    if (byte_at(c.p) < 0x80 ? gb_bulk::copy_ascii(c) : gb_bulk::convert_utf8_triples(c)) continue;
    const std::uint32_t cp = take_utf8(c);
    --c.codes;
    const unsigned code = cp <= kLastSingle ? 0 : gb_code(cp);
    if (code == 0) {
      if (!c.fits(1)) break;
      *c.at++ = cp <= kLastSingle ? static_cast<char>(cp) : '\0';
      continue;
    }
    if (!c.fits(2)) break;
    c.at[0] = static_cast<char>(code & 0xFFU);
    c.at[1] = static_cast<char>(code >> 8);
    c.at += 2;
  }
  *c.at = '\0';
  return 0;
}

int gb2312_to_utf8(char* out, int outcap, const char* in, int inlen) {
  if (bad_arguments(out, outcap, in, inlen)) return -1;
  GbConversion c{in, in + inlen, out, out + outcap, kMaxGbCodes};
  while (c.more()) {
    if (byte_at(c.p) < 0x80 ? gb_bulk::copy_ascii(c) : gb_bulk::convert_gb_pairs(c)) continue;
    const std::uint32_t cp = take_gb(c);
    --c.codes;
    const int length = cp < 0x80 ? 1 : cp < 0x800 ? 2 : 3;
    if (cp == 0 || !c.fits(length)) break;
    c.at += encode_short(c.at, cp);
  }
  *c.at = '\0';
  return 0;
}

}  // namespace qsvmon
