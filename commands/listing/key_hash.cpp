#include "commands/listing/key_hash.h"

#include "platform/random_seed.h"

namespace qsvmon {

namespace {

std::uint64_t load64(const unsigned char* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

std::uint64_t load32(const unsigned char* at) {
  std::uint32_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

}  // namespace

KeySecret new_key_secret() {
  KeySecret secret;
  random_seed(&secret, sizeof secret);
  for (std::uint64_t& word : secret.word) word |= 1;  // a factor of 0 would forget the other
  return secret;
}

std::uint32_t hash_bytes(const void* bytes, std::size_t length, const KeySecret& secret) {
  const unsigned char* at = static_cast<const unsigned char*>(bytes);
  std::uint64_t mixed = secret.word[0] ^ length;
  std::size_t left = length;
  for (; left > 16; left -= 16, at += 16) {
    mixed = multiply_mix(load64(at) ^ secret.word[1], load64(at + 8) ^ mixed);
  }
  // The last 0 to 16 bytes: two words that may overlap, which the length keeps apart.
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (left >= 8) {
    low = load64(at);
    high = load64(at + left - 8);
  } else if (left >= 4) {
    low = load32(at);
    high = load32(at + left - 4);
  } else if (left > 0) {
    low = std::uint64_t{at[0]} << 16 | std::uint64_t{at[left / 2]} << 8 | at[left - 1];
  }
  mixed = multiply_mix(low ^ secret.word[2], high ^ mixed);
  return static_cast<std::uint32_t>(multiply_mix(mixed ^ secret.word[1], secret.word[3]) >> 32);
}

}  // namespace qsvmon
