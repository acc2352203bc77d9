#include "commands/sessionlog/codec/base64.h"

#include <array>
#include <cstdint>

namespace qsvmon {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Set in the entry of a byte outside the alphabet, above all 24 bits of a group.
constexpr std::uint32_t kOutside = 1U << 24;

using ByteTable = std::array<std::uint32_t, 256>;

/// The value of each character, shifted to its place in a group.
constexpr ByteTable make_table(int shift) {
  ByteTable table{};
  for (std::uint32_t& entry : table) entry = kOutside;
  for (std::uint32_t value = 0; value < 64; ++value) {
    table[static_cast<unsigned char>(kAlphabet[value])] = value << shift;
  }
  return table;
}

constexpr std::array<ByteTable, 4> kPlaces = {make_table(18), make_table(12), make_table(6),
                                              make_table(0)};

char byte_of(std::uint32_t group, int shift) {
  return static_cast<char>(group >> shift & 0xFF);
}

char letter_of(std::uint32_t group, int shift) {
  return kAlphabet[group >> shift & 0x3F];
}

}  // namespace

int base64_decode(char* out, std::string_view in) {
  const auto* p = reinterpret_cast<const unsigned char*>(in.data());
  const unsigned char* const end = p + in.size();
  char* at = out;
  while (end - p >= 4) {
    const std::uint32_t group =
        kPlaces[0][p[0]] | kPlaces[1][p[1]] | kPlaces[2][p[2]] | kPlaces[3][p[3]];
    if (group >= kOutside) break;
    at[0] = byte_of(group, 16);
    at[1] = byte_of(group, 8);
    at[2] = byte_of(group, 0);
    p += 4;
    at += 3;
  }
  std::uint32_t tail = 0;
  std::size_t count = 0;
  while (p < end && count < 4 && kPlaces[count][*p] != kOutside) tail |= kPlaces[count++][*p++];
  if (count > 1) *at++ = byte_of(tail, 16);
  if (count > 2) *at++ = byte_of(tail, 8);
  *at = '\0';
  return static_cast<int>(at - out);
}

int base64_encode(char* out, std::string_view in) {
  const auto* p = reinterpret_cast<const unsigned char*>(in.data());
  std::size_t left = in.size();
  char* at = out;
  while (left > 0) {
    std::uint32_t group = static_cast<std::uint32_t>(p[0]) << 16;
    if (left > 1) group |= static_cast<std::uint32_t>(p[1]) << 8;
    if (left > 2) group |= p[2];
    *at++ = letter_of(group, 18);
    *at++ = letter_of(group, 12);
    *at++ = left > 1 ? letter_of(group, 6) : '=';
    *at++ = left > 2 ? letter_of(group, 0) : '=';
    const std::size_t taken = left < 3 ? left : 3;
    p += taken;
    left -= taken;
  }
  *at = '\0';
  return static_cast<int>(at - out);
}

}  // namespace qsvmon
