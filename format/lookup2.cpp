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

/// The first `count` bytes (at most 4), little-endian.
std::uint32_t word(const unsigned char* p, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value |= std::uint32_t{p[i]} << (8 * i);
  return value;
}

std::size_t at_most(std::size_t n, std::size_t limit) {
  return n < limit ? n : limit;
}

}  // namespace

std::uint32_t lookup2(const void* bytes, std::size_t length, std::uint32_t initial) {
  const auto* p = static_cast<const unsigned char*>(bytes);
  State s{kGolden, kGolden, initial};
  std::size_t left = length;
  for (; left >= 12; left -= 12, p += 12) {
    s.a += word(p, 4);
    s.b += word(p + 4, 4);
    s.c += word(p + 8, 4);
    mix(s);
  }
  s.c += static_cast<std::uint32_t>(length);
  if (left > 0) s.a += word(p, at_most(left, 4));
  if (left > 4) s.b += word(p + 4, at_most(left - 4, 4));
  if (left > 8) s.c += word(p + 8, left - 8) << 8;  // c's low byte holds the length
  mix(s);
  return s.c;
}

}  // namespace qsvmon
