#include "commands/listing/key_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "commands/listing/fold_keys.h"

namespace qsvmon {
namespace {

struct Named {
  NameKey<48> name;
};

std::uint32_t name_hash(const std::string& name, const KeySecret& secret) {
  char field[45] = {};
  name.copy(field, sizeof field);
  return NameKeys<Named>::hash(NameKey<48>::of(field, name.size()), secret);
}

/// The most hash values of which the lower 12 bits, by which a table looks keys up, are the same.
std::uint32_t fullest(const std::vector<std::uint32_t>& hashes) {
  std::vector<std::uint32_t> count(4096);
  for (std::uint32_t hash : hashes) ++count[hash % 4096];
  return *std::max_element(count.begin(), count.end());
}

// 16384 keys are 4 for each of 4096 values; 32 would be the odd one in 10^17.
void expect_scattered(const KeySecret& secret) {
  for (std::uint32_t step : {1u, 0x10001u, 0x10000u, 0x40000u, 0x1001000u, 0x01000100u}) {
    std::vector<std::uint32_t> hashes;
    for (std::uint32_t i = 0; i < 16384; ++i) hashes.push_back(permute32(i * step, secret));
    EXPECT_LT(fullest(hashes), 32u) << step;
  }
}

TEST(KeyHash, RegularAddressesScatter) {
  expect_scattered(new_key_secret());
}

// Secrets with which weaker permutations crowded one value: other shifts (218 addresses), none in
// front (135), none between the products (292), none at the end (256), no first product (143).
TEST(KeyHash, RegularAddressesScatterWithWeakSecrets) {
  constexpr KeySecret kWeak[] = {{{0x961079230c93fb5d, 0x605028f15e5c77a1, 0xf682953be1771249}},
                                 {{0x728da1a7fcceb5bf, 0x8990ef575bca0c2f, 0xe365c1cc47c02147}},
                                 {{0x656f77d0448b21db, 0x4805ca8e669c63ef, 0x67cb197079c75861}},
                                 {{0xd4026444f2d6579b, 0x556ed58ae67f52ab, 0x3766b2b4b638269f}},
                                 {{0xb9e3a160b358ed47, 0x8d79d0b41253a1e3, 0x511fb27f6e0e7fe3}}};
  for (const KeySecret& secret : kWeak) expect_scattered(secret);
}

TEST(KeyHash, DifferentAddressesHaveDifferentHashes) {
  const KeySecret secret = new_key_secret();
  std::vector<std::uint32_t> hashes;
  for (std::uint32_t i = 0; i < 1000000; ++i) hashes.push_back(permute32(i * 4099, secret));
  std::sort(hashes.begin(), hashes.end());
  EXPECT_EQ(std::adjacent_find(hashes.begin(), hashes.end()), hashes.end());
}

TEST(KeyHash, NamesThatDifferInFivePlacesScatter) {
  const KeySecret secret = new_key_secret();
  for (std::size_t length = 5; length <= 42; ++length) {
    std::vector<std::uint32_t> hashes;
    for (std::uint32_t i = 0; i < 16384; ++i) {
      std::string name(length, 'a');
      for (std::size_t digit = 0; digit < 5; ++digit) {
        name[length - 1 - digit] = static_cast<char>('a' + (i >> (3 * digit) & 7));
      }
      hashes.push_back(name_hash(name, secret));
    }
    EXPECT_LT(fullest(hashes), 32u) << length;
  }
}

TEST(KeyHash, NamesOfZerosDifferByTheirLength) {
  const KeySecret secret = new_key_secret();
  std::vector<std::uint32_t> hashes;
  for (std::size_t length = 0; length <= 45; ++length) {
    hashes.push_back(name_hash(std::string(length, '\0'), secret));
  }
  std::sort(hashes.begin(), hashes.end());
  EXPECT_EQ(std::adjacent_find(hashes.begin(), hashes.end()), hashes.end());
}

TEST(KeyHash, SecretsDifferFromRunToRun) {
  const KeySecret a = new_key_secret();
  const KeySecret b = new_key_secret();
  EXPECT_NE(a.word[0], b.word[0]);
  EXPECT_NE(permute32(1, a), permute32(1, b));
  for (const std::uint64_t word : a.word) EXPECT_EQ(word & 1, 1u);  // an odd factor loses nothing
}

}  // namespace
}  // namespace qsvmon
