#include "commands/listing/key_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace qsvmon {
namespace {

/// The most that any of 4096 ranges of hash values received.
std::uint32_t fullest(const std::vector<std::uint32_t>& hashes) {
  std::vector<std::uint32_t> count(4096);
  for (std::uint32_t hash : hashes) ++count[hash >> 20];
  return *std::max_element(count.begin(), count.end());
}

TEST(KeyHash, SpreadsRegularAddresses) {
  const KeySecret secret = new_key_secret();
  // 16384 keys in 4096 ranges are 4 a range; 32 would be the odd one in 10^17.
  for (std::uint32_t step : {1u, 0x10001u, 0x10000u, 0x40000u, 0x1001000u}) {
    std::vector<std::uint32_t> hashes;
    for (std::uint32_t i = 0; i < 16384; ++i) hashes.push_back(hash_address(i * step, secret));
    EXPECT_LT(fullest(hashes), 32u) << step;
  }
}

TEST(KeyHash, SpreadsNamesThatDifferInOnePlace) {
  const KeySecret secret = new_key_secret();
  for (std::size_t length = 5; length <= 42; ++length) {
    std::vector<std::uint32_t> hashes;
    for (std::uint32_t i = 0; i < 16384; ++i) {
      std::string name(length, 'a');
      for (std::size_t digit = 0; digit < 5; ++digit) {
        name[length - 1 - digit] = static_cast<char>('a' + (i >> (3 * digit) & 7));
      }
      hashes.push_back(hash_bytes(name.data(), name.size(), secret));
    }
    EXPECT_LT(fullest(hashes), 32u) << length;
  }
}

TEST(KeyHash, LengthsAreApart) {
  const KeySecret secret = new_key_secret();
  const std::string zeros(64, '\0');
  std::vector<std::uint32_t> hashes;
  for (std::size_t length = 0; length <= 64; ++length) {
    hashes.push_back(hash_bytes(zeros.data(), length, secret));
  }
  std::sort(hashes.begin(), hashes.end());
  EXPECT_EQ(std::adjacent_find(hashes.begin(), hashes.end()), hashes.end());
}

TEST(KeyHash, ReadsNothingBehindTheKey) {
  const KeySecret secret = new_key_secret();
  for (std::size_t length = 0; length <= 42; ++length) {
    const std::vector<char> exact(length, 'k');  // the address sanitizer watches its end
    std::string longer(length, 'k');
    longer += "different";
    EXPECT_EQ(hash_bytes(exact.data(), length, secret), hash_bytes(longer.data(), length, secret));
  }
}

TEST(KeyHash, SecretsDiffer) {
  const KeySecret a = new_key_secret();
  const KeySecret b = new_key_secret();
  EXPECT_NE(a.word[0], b.word[0]);
  EXPECT_NE(hash_address(1, a), hash_address(1, b));
}

}  // namespace
}  // namespace qsvmon
