#include "format/lookup2.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kGolden = 0x9e3779b9;

struct State {
  std::uint32_t a, b, c;
};

constexpr void mix(State& s) {
  s.a = (s.a - s.b - s.c) ^ (s.c >> 13);
  s.b = (s.b - s.c - s.a) ^ (s.a << 8);
  s.c = (s.c - s.a - s.b) ^ (s.b >> 13);
  s.a = (s.a - s.b - s.c) ^ (s.c >> 12);
  s.b = (s.b - s.c - s.a) ^ (s.a << 16);
  s.c = (s.c - s.a - s.b) ^ (s.b >> 5);
  s.a = (s.a - s.b - s.c) ^ (s.c >> 3);
  s.b = (s.b - s.c - s.a) ^ (s.a << 10);
  s.c = (s.c - s.a - s.b) ^ (s.b >> 15);
}

/// Four bytes, little-endian; written so that the compiler sees one load.
std::uint32_t word(const unsigned char* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 |
         std::uint32_t{p[3]} << 24;
}

/// The first `count` bytes (at most 3), little-endian.
std::uint32_t part(const unsigned char* p, std::size_t count) {
  std::uint32_t value = 0;
  if (count > 0) value |= p[0];
  if (count > 1) value |= std::uint32_t{p[1]} << 8;
  if (count > 2) value |= std::uint32_t{p[2]} << 16;
  return value;
}

}  // namespace

std::uint32_t lookup2(const void* bytes, std::size_t length, std::uint32_t initial) {
  const auto* p = static_cast<const unsigned char*>(bytes);
  State s{kGolden, kGolden, initial};
  std::size_t left = length;
  for (; left >= 12; left -= 12, p += 12) {
    s.a += word(p);
    s.b += word(p + 4);
    s.c += word(p + 8);
    mix(s);
  }
  s.c += static_cast<std::uint32_t>(length);
  if (left >= 8) {
    s.a += word(p);
    s.b += word(p + 4);
    s.c += part(p + 8, left - 8) << 8;  // c's low byte holds the length
  } else if (left >= 4) {
    s.a += word(p);
    s.b += part(p + 4, left - 4);
  } else {
    s.a += part(p, left);
  }
  mix(s);
  return s.c;
}

}  // namespace qsvmon
