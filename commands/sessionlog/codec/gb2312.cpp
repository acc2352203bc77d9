#include "commands/sessionlog/codec/gb2312.h"

#include <cstring>

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

/// The bytes that `cp` takes.
int utf8_bytes(std::uint32_t cp) {
  return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
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

}  // namespace

int utf8_decode_char(const char* p, std::uint32_t* cp) {
  const std::size_t left = ::strnlen(p, 6);
  return decode_bounded(p, left == 0 ? 1 : left, cp);
}

int utf8_encode_char(char* out, std::uint32_t cp, int room) {
  if (cp >= 0x110000) return -1;
  const int length = utf8_bytes(cp);
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
  const std::uint32_t found = kGbCodePoints[gb_index(byte_at(bytes), byte_at(bytes + 1))];
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
  const char* const end = in + ::strnlen(in, static_cast<std::size_t>(inlen));
  const char* const last = out + outcap - 1;  // where the NUL goes at the latest
  for (unsigned codes = 0; in < end && codes < kMaxUtf8Codes; ++codes) {
    std::uint32_t cp = 0;
    in += decode_bounded(in, static_cast<std::size_t>(end - in), &cp);
    cp &= 0xFFFFU;
    const unsigned code = cp <= kLastSingle ? cp : gb_code(cp);
    const bool is_pair = code > kLastSingle;
    if (last - out < (is_pair ? 2 : 1)) break;
    *out++ = static_cast<char>(code & 0xFFU);  // KEEP: a NUL for what GB2312 lacks
    if (is_pair) *out++ = static_cast<char>(code >> 8);
  }
  *out = '\0';
  return 0;
}

int gb2312_to_utf8(char* out, int outcap, const char* in, int inlen) {
  if (bad_arguments(out, outcap, in, inlen)) return -1;
  const char* const end = in + inlen;
  const char* const last = out + outcap - 1;
  for (unsigned codes = 0; in < end && codes < kMaxGbCodes; ++codes) {
    std::uint32_t cp = byte_at(in++);
    if (cp < 0x20 || cp > kLastSingle) {
      if (in == end) break;
      cp = kGbCodePoints[gb_index(static_cast<unsigned char>(cp), byte_at(in++))];
    }
    if (cp == 0 || last - out < utf8_bytes(cp)) break;
    out += encode_short(out, cp);
  }
  *out = '\0';
  return 0;
}

}  // namespace qsvmon
