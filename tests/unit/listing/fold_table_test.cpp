#include "commands/listing/fold_table.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace qsvmon {
namespace {

struct AddressStat {
  std::uint32_t ip;
  std::uint32_t count;
};
struct NameStat {
  std::uint32_t count;
  std::uint8_t namelen;
  char name[43];
};
using AddressTable = FoldTable<AddressKeys<AddressStat>, 4096>;
using NameTable = FoldTable<NameKeys<NameStat>, 1024>;

/// Network-order address of a host-order one.
std::uint32_t net(std::uint32_t host) {
  return from_net32(host);
}

/// Addresses whose two halves are equal all begin in bucket 0.
std::uint32_t crowding_address(std::uint32_t i) {
  return net(i << 16 | i);
}

TEST(FoldTable, FirstBucketsAreTheAppliancesOwnHashes) {
  using Keys = AddressKeys<AddressStat>;
  // 10.1.2.3: 0x0a010203 >> 16 = 0x0a01; 0x0a01 ^ 0x0203 = 0x0802; and 4095 = 0x802.
  const std::uint32_t tag = Keys::first_tag(net(0x0a010203));
  EXPECT_EQ(Keys::first_bucket(tag) & 4095, 0x802u);
  EXPECT_EQ(Keys::first_bucket(Keys::first_tag(crowding_address(7))) & 4095, 0u);
  // Names that share their first 16 bytes begin in one bucket.
  using Names = NameKeys<NameStat>;
  EXPECT_EQ(Names::first_tag("abcdefghijklmnop1"), Names::first_tag("abcdefghijklmnop2"));
  EXPECT_NE(Names::first_tag("abcdefghijklmno1"), Names::first_tag("abcdefghijklmno2"));
}

TEST(FoldTable, FindsWhatItMadeAndNumbersByFirstSight) {
  AddressTable table;
  EXPECT_EQ(table.size(), 0u);
  table.find_or_add(net(5))->count += 1;
  table.find_or_add(net(3))->count += 1;
  table.find_or_add(net(5))->count += 1;
  ASSERT_EQ(table.size(), 2u);
  EXPECT_EQ(table[0].ip, net(5));
  EXPECT_EQ(table[0].count, 2u);
  EXPECT_EQ(table[1].ip, net(3));
  EXPECT_EQ(table[1].count, 1u);
  EXPECT_EQ(table.bucket_count(), 4096u);
}

TEST(FoldTable, AddressZeroIsAKeyLikeAnyOther) {
  AddressTable table;
  AddressStat* zero = table.find_or_add(0);
  EXPECT_EQ(table.find_or_add(0), zero);
  EXPECT_EQ(table.size(), 1u);
}

TEST(FoldTable, KeepsEveryKeyWhileItGrows) {
  constexpr std::uint32_t kKeys = 300000;
  AddressTable table;
  for (std::uint32_t round = 0; round < 2; ++round) {
    for (std::uint32_t i = 0; i < kKeys; ++i) table.find_or_add(i * 2654435761u)->count += 1;
  }
  ASSERT_EQ(table.size(), kKeys);
  EXPECT_EQ(table.bucket_count(), 131072u);  // 65536 hold 262144 at four a bucket
  for (std::uint32_t i = 0; i < kKeys; ++i) {
    ASSERT_EQ(table[i].ip, i * 2654435761u);
    ASSERT_EQ(table[i].count, 2u);
  }
}

TEST(FoldTable, SpreadsKeysThatCrowdOneBucket) {
  AddressTable table;
  for (std::uint32_t i = 0; i < 60000; ++i) table.find_or_add(crowding_address(i))->count += 1;
  ASSERT_EQ(table.size(), 60000u);
  for (std::uint32_t i = 0; i < 60000; ++i) {
    ASSERT_EQ(table[i].ip, crowding_address(i));
    ASSERT_EQ(table.find_or_add(crowding_address(i)), &table[i]);
  }
}

TEST(FoldTable, TellsNamesApartBehindTheirSixteenthByte) {
  NameTable table;
  std::vector<std::string> names;
  for (int i = 0; i < 50000; ++i) names.push_back("sixteen-bytes-on" + std::to_string(i));
  for (const std::string& name : names) table.find_or_add(name)->count += 1;
  for (const std::string& name : names) table.find_or_add(name)->count += 1;
  ASSERT_EQ(table.size(), 50000u);
  for (std::uint32_t i = 0; i < 50000; ++i) {
    ASSERT_STREQ(table[i].name, names[i].c_str());
    ASSERT_EQ(table[i].namelen, names[i].size());
    ASSERT_EQ(table[i].count, 2u);
  }
}

TEST(FoldTable, NamesOfEveryLengthAreKeysOfTheirOwn) {
  NameTable table;
  const std::string text(42, 'x');
  // 30000 other names make the table hash whole keys.
  for (int i = 0; i < 30000; ++i) table.find_or_add("other" + std::to_string(i));
  for (std::size_t length = 1; length <= 42; ++length) {
    table.find_or_add(std::string_view(text).substr(0, length));
  }
  for (std::size_t length = 1; length <= 42; ++length) {
    EXPECT_EQ(table.find_or_add(std::string_view(text).substr(0, length)),
              &table[29999 + static_cast<std::uint32_t>(length)]);
  }
  EXPECT_EQ(table.size(), 30042u);
}

TEST(FoldTable, AnUnfoundEntryIsNeverFound) {
  NameTable table;
  NameStat* hidden = table.add_unfound("name");
  NameStat* known = table.find_or_add("name");
  EXPECT_NE(hidden, known);
  EXPECT_NE(table.add_unfound("name"), hidden);
  EXPECT_EQ(table.find_or_add("name"), known);
  EXPECT_EQ(table.size(), 3u);
}

TEST(FoldTable, AReplacingEntryIsFoundFromThenOn) {
  NameTable table;
  NameStat* first = table.find_or_add("name");
  NameStat* second = table.add_replacing("name");
  EXPECT_NE(first, second);
  EXPECT_EQ(table.find_or_add("name"), second);
  NameStat* third = table.add_replacing("name");
  EXPECT_EQ(table.find_or_add("name"), third);
  NameStat* lone = table.add_replacing("new");
  EXPECT_EQ(table.find_or_add("new"), lone);
  EXPECT_EQ(table.size(), 4u);
  EXPECT_STREQ(table[0].name, "name");
  EXPECT_STREQ(table[2].name, "name");
  // It stays so when the table grows.
  for (int i = 0; i < 20000; ++i) table.find_or_add(std::to_string(i));
  EXPECT_EQ(table.find_or_add("name"), third);
}

TEST(FoldTable, ManyEntriesOfOneKeyCostNoBuckets) {
  NameTable table;
  for (int i = 0; i < 100000; ++i) table.add_replacing("one");
  for (int i = 0; i < 100000; ++i) table.add_unfound("two");
  EXPECT_EQ(table.size(), 200000u);
  EXPECT_EQ(table.bucket_count(), 1024u);
  EXPECT_EQ(table.find_or_add("one"), &table[99999]);
}

TEST(FoldTable, ANameTooLongForItsEntryIsCut) {
  NameTable table;
  NameStat* entry = table.add_unfound(std::string(60, 'h'));
  EXPECT_EQ(entry->namelen, 42u);
  EXPECT_EQ(std::string(entry->name), std::string(42, 'h'));
}

TEST(FoldTable, FoldTakesRecordsInOrderAndSkips) {
  AddressTable table;
  std::vector<std::uint32_t> records;
  for (std::uint32_t i = 0; i < 100; ++i) records.push_back(i % 7);
  std::vector<std::uint32_t> seen;
  table.fold(
      std::span<const std::uint32_t>(records),
      [](const std::uint32_t& key) {
        return FoldStep<std::uint32_t>{key == 3 ? Placement::kSkip : Placement::kFind, key};
      },
      [&](AddressStat& stat, const std::uint32_t& key) {
        stat.count += 1;
        seen.push_back(key);
      });
  ASSERT_EQ(table.size(), 6u);
  const std::uint32_t keys[] = {0, 1, 2, 4, 5, 6};
  const std::uint32_t counts[] = {15, 15, 14, 14, 14, 14};
  for (std::uint32_t i = 0; i < 6; ++i) {
    EXPECT_EQ(table[i].ip, keys[i]);
    EXPECT_EQ(table[i].count, counts[i]);
  }
  std::erase(records, 3u);
  EXPECT_EQ(seen, records);
}

TEST(FoldTable, FoldSurvivesAChangeOfHashWithinAGroup) {
  // The crowding names make the table change its hash in the middle of a group.
  std::vector<std::string> names;
  for (int i = 0; i < 64; ++i) names.push_back("sixteen-bytes-on" + std::to_string(i % 50));
  NameTable table;
  table.fold(
      std::span<const std::string>(names),
      [](const std::string& name) {
        return FoldStep<std::string_view>{Placement::kFind, name};
      },
      [](NameStat& stat, const std::string&) { stat.count += 1; });
  ASSERT_EQ(table.size(), 50u);
  EXPECT_EQ(table.bucket_count(), 2048u);
  for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(table[i].count, i < 14 ? 2u : 1u);
}

/// Memory that refuses every take from the n-th on, while `refuse_from` is set.
struct Scarce {
  static inline int takes = 0;
  static inline int refuse_from = 0;
  static void* take(std::size_t bytes, Pages pages) {
    return takes++ >= refuse_from ? nullptr : large_memory_take(bytes, pages);
  }
  static FoldMemory memory(int allowed) {
    takes = 0;
    refuse_from = allowed;
    return {take, large_memory_give};
  }
};

TEST(FoldTable, DropsRecordsWithoutMemoryAndGoesOn) {
  // Takes in order: the buckets, the list of pieces, the first piece.
  for (int allowed = 0; allowed < 3; ++allowed) {
    AddressTable table(Scarce::memory(allowed));
    EXPECT_EQ(table.find_or_add(1), nullptr);
    EXPECT_EQ(table.add_replacing(1), nullptr);
    EXPECT_EQ(table.add_unfound(1), nullptr);
    EXPECT_EQ(table.size(), 0u);
    Scarce::refuse_from = 1000;  // memory is back
    EXPECT_NE(table.find_or_add(1), nullptr);
    EXPECT_EQ(table.size(), 1u);
  }
}

TEST(FoldTable, WithoutMemoryToGrowItFillsUpAndKeepsWhatItHas) {
  AddressTable table(Scarce::memory(3));
  std::uint32_t dropped = 0;
  for (std::uint32_t i = 0; i < 40000; ++i) {
    AddressStat* stat = table.find_or_add(net(i));
    if (stat == nullptr) {
      ++dropped;
    } else {
      stat->count += 1;
    }
  }
  EXPECT_EQ(table.size(), 32768u);  // 4096 buckets of eight
  EXPECT_EQ(dropped, 40000u - 32768u);
  EXPECT_EQ(table.find_or_add(net(32767)), &table[32767]);
  Scarce::refuse_from = 1000;
}

TEST(FoldTable, AnEntryThatCannotBeReplacedStays) {
  AddressTable table(Scarce::memory(3));
  AddressStat* const old = table.find_or_add(net(1));
  ASSERT_NE(old, nullptr);
  while (table.add_unfound(net(2)) != nullptr) {
  }
  const std::uint32_t size = table.size();
  EXPECT_EQ(table.add_replacing(net(1)), nullptr);
  EXPECT_EQ(table.size(), size);
  EXPECT_EQ(table.find_or_add(net(1)), old);
  Scarce::refuse_from = 1000;  // memory is back
  AddressStat* const replaced = table.add_replacing(net(1));
  EXPECT_NE(replaced, nullptr);
  EXPECT_NE(replaced, old);
  EXPECT_EQ(table.find_or_add(net(1)), replaced);
}

TEST(FoldTable, FoldDropsWhatHasNoEntry) {
  AddressTable table(Scarce::memory(0));
  const std::vector<std::uint32_t> records(100, 1u);
  int updates = 0;
  table.fold(
      std::span<const std::uint32_t>(records),
      [](const std::uint32_t& key) {
        return FoldStep<std::uint32_t>{Placement::kFind, key};
      },
      [&](AddressStat&, const std::uint32_t&) { ++updates; });
  EXPECT_EQ(updates, 0);
  EXPECT_EQ(table.size(), 0u);
  Scarce::refuse_from = 1000;
}

TEST(FoldTable, EqualsAPlainMapOverMixedWork) {
  AddressTable table;
  std::unordered_map<std::uint32_t, std::uint32_t> counts;
  std::uint32_t state = 1;
  for (int i = 0; i < 200000; ++i) {
    state = state * 1664525u + 1013904223u;
    const std::uint32_t key = (state >> 8) % 50000;
    table.find_or_add(key)->count += 1;
    counts[key] += 1;
  }
  ASSERT_EQ(table.size(), counts.size());
  for (std::uint32_t i = 0; i < table.size(); ++i) ASSERT_EQ(table[i].count, counts[table[i].ip]);
}

}  // namespace
}  // namespace qsvmon
