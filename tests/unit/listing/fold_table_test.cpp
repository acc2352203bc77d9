#include "commands/listing/fold_table.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "format/byte_order.h"
#include "tests/unit/support/scarce_memory.h"

namespace qsvmon {
namespace {

struct AddressStat {
  std::uint32_t ip;
  std::uint32_t count;
};
using Name = NameKey<48>;
struct NameStat {
  Name name;
  std::uint32_t count;
};

/// A table into which keys are folded one by one.
template <class Keys>
class OneByOne : public FoldTable<Keys> {
 public:
  using Key = typename Keys::Key;
  using Entry = typename Keys::Entry;
  using FoldTable<Keys>::FoldTable;

  /// The entry of `key`; null without memory.
  Entry* insert(const Key& key) { return put(key, KeyUse::kInsert); }
  /// A new entry, which later look-ups of `key` find; null without memory.
  Entry* replace(const Key& key) { return put(key, KeyUse::kReplace); }

 private:
  Entry* put(const Key& key, KeyUse use) {
    Entry* found = nullptr;
    this->template fold<NoNote>(
        std::span<const Key>(&key, 1),
        [use](const Key& record, Key& copy, NoNote&) {
          copy = record;
          return use;
        },
        [&](Entry& entry, const Key&, NoNote) { found = &entry; });
    return found;
  }
};
using AddressTable = OneByOne<AddressKeys<AddressStat>>;
using NameTable = OneByOne<NameKeys<NameStat>>;

/// Network-order address of a host-order one.
std::uint32_t net(std::uint32_t host) {
  return from_net32(host);
}

Name named(const std::string& text) {
  char field[45] = {};
  text.copy(field, sizeof field);
  return Name::of(field, text.size());
}

/// What chosen keys look like: addresses whose halves are equal, names that share 16 bytes.
std::uint32_t crowding_address(std::uint32_t i) {
  return net(i * 0x10001u);
}
std::string crowding_name(std::uint32_t i) {
  return "sixteen-bytes-on" + std::to_string(i);
}

TEST(FoldTable, NumbersEntriesInTheOrderOfTheirFirstRecords) {
  AddressTable table;
  EXPECT_EQ(table.size(), 0u);
  EXPECT_EQ(table.slot_count(), 0u);  // no memory before the first key
  table.insert(net(5))->count += 1;
  table.insert(net(3))->count += 1;
  table.insert(net(5))->count += 1;
  ASSERT_EQ(table.size(), 2u);
  EXPECT_EQ(table[0].ip, net(5));
  EXPECT_EQ(table[0].count, 2u);
  EXPECT_EQ(table[1].ip, net(3));
  EXPECT_EQ(table[1].count, 1u);
  EXPECT_EQ(table.slot_count(), 1024u);
}

TEST(FoldTable, AddressZeroIsAKeyLikeAnyOther) {
  AddressTable table;
  AddressStat* zero = table.insert(0);
  EXPECT_EQ(table.insert(0), zero);
  EXPECT_EQ(table.size(), 1u);
}

TEST(FoldTable, KeepsEveryKeyWhileItGrows) {
  constexpr std::uint32_t kKeys = 300000;
  AddressTable table;
  for (std::uint32_t round = 0; round < 2; ++round) {
    for (std::uint32_t i = 0; i < kKeys; ++i) table.insert(i * 2654435761u)->count += 1;
  }
  ASSERT_EQ(table.size(), kKeys);
  EXPECT_EQ(table.slot_count(), 1048576u);  // 524288 hold 262144, one in two
  for (std::uint32_t i = 0; i < kKeys; ++i) {
    ASSERT_EQ(table[i].ip, i * 2654435761u);
    ASSERT_EQ(table[i].count, 2u);
  }
}

TEST(FoldTable, GrowsWhenMoreThanHalfOfTheSlotsAreUsed) {
  AddressTable table;
  for (std::uint32_t i = 0; i < 512; ++i) table.insert(i);
  EXPECT_EQ(table.slot_count(), 1024u);
  table.insert(0);  // a known key needs no slot
  EXPECT_EQ(table.slot_count(), 1024u);
  table.insert(512);
  EXPECT_EQ(table.slot_count(), 16384u);  // sixteenfold below 2 MiB of slots, then twofold
}

TEST(FoldTable, NamesOfEveryLengthAreKeysOfTheirOwn) {
  NameTable table;
  const std::string text(45, 'x');
  for (int i = 0; i < 30000; ++i) table.insert(named("other" + std::to_string(i)));
  for (std::size_t length = 0; length <= 45; ++length) table.insert(named(text.substr(0, length)));
  for (std::uint32_t length = 0; length <= 45; ++length) {
    EXPECT_EQ(table.insert(named(text.substr(0, length))), &table[30000 + length]);
    EXPECT_EQ(table[30000 + length].name.text(), text.substr(0, length));
  }
  EXPECT_EQ(table.size(), 30046u);
}

TEST(FoldTable, AReplacingEntryIsFoundFromThenOn) {
  NameTable table;
  NameStat* first = table.insert(named("name"));
  NameStat* second = table.replace(named("name"));
  EXPECT_NE(first, second);
  EXPECT_EQ(table.insert(named("name")), second);
  NameStat* third = table.replace(named("name"));
  EXPECT_EQ(table.insert(named("name")), third);
  NameStat* lone = table.replace(named("new"));
  EXPECT_EQ(table.insert(named("new")), lone);
  EXPECT_EQ(table.size(), 4u);
  EXPECT_EQ(table[0].name.text(), "name");
  EXPECT_EQ(table[2].name.text(), "name");
  // It stays so when the table grows.
  for (int i = 0; i < 20000; ++i) table.insert(named(std::to_string(i)));
  EXPECT_EQ(table.insert(named("name")), third);
}

TEST(FoldTable, ManyEntriesOfOneKeyNeedOneSlot) {
  NameTable table;
  for (int i = 0; i < 100000; ++i) table.replace(named("one"));
  EXPECT_EQ(table.size(), 100000u);
  EXPECT_EQ(table.slot_count(), 1024u);
  EXPECT_EQ(table.insert(named("one")), &table[99999]);
}

using Numbers = std::vector<std::uint32_t>;

/// Counts `keys` in; every third one is left out. `seen` gets what was noted of the others.
void fold_numbers(AddressTable& table, const Numbers& keys, Numbers* seen = nullptr) {
  table.fold<std::uint64_t>(
      std::span<const std::uint32_t>(keys),
      [](const std::uint32_t& record, std::uint32_t& key, std::uint64_t& note) {
        key = record;
        note = std::uint64_t{record} << 32;
        return record % 3 == 0 ? KeyUse::kSkip : KeyUse::kInsert;
      },
      [&](AddressStat& stat, const std::uint32_t&, std::uint64_t note) {
        stat.count += 1;
        if (seen != nullptr) seen->push_back(static_cast<std::uint32_t>(note >> 32));
      });
}

TEST(FoldTable, FoldTakesRecordsInOrderAndSkips) {
  AddressTable table;
  Numbers records;
  for (std::uint32_t i = 0; i < 100; ++i) records.push_back(i % 7);
  Numbers seen;
  fold_numbers(table, records, &seen);
  ASSERT_EQ(table.size(), 4u);
  const std::uint32_t keys[] = {1, 2, 4, 5};
  const std::uint32_t counts[] = {15, 14, 14, 14};
  for (std::uint32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(table[i].ip, keys[i]);
    EXPECT_EQ(table[i].count, counts[i]);
  }
  std::erase_if(records, [](std::uint32_t key) { return key % 3 == 0; });
  EXPECT_EQ(seen, records);
}

TEST(FoldTable, FoldFindsItsKeysWhenTheTableGrowsWithinAGroup) {
  Numbers records;
  for (std::uint32_t i = 0; i < 5000; ++i) records.insert(records.end(), {3 * i + 1, 3 * i + 1});
  AddressTable table;
  fold_numbers(table, records);
  ASSERT_EQ(table.size(), 5000u);
  for (std::uint32_t i = 0; i < 5000; ++i) ASSERT_EQ(table[i].count, 2u);
}

/// The lines of eight slots that look-ups of the first `keys` keys look at, on average.
template <class Table, class KeyOf>
double mean_lines(Table& table, std::uint32_t keys, KeyOf&& key_of) {
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < keys; ++i) sum += table.lines_probed(key_of(i));
  return static_cast<double>(sum) / keys;
}

// With half of the slots used, 1.01 lines are expected for a key of the table and 1.06 for another.
TEST(FoldTable, ProbesStayShortForChosenKeys) {
  AddressTable addresses;
  NameTable names;
  for (std::uint32_t i = 0; i < 131072; ++i) {
    addresses.insert(crowding_address(i));
    names.insert(named(crowding_name(i)));
  }
  EXPECT_EQ(addresses.slot_count(), 262144u);
  EXPECT_EQ(names.slot_count(), 262144u);
  EXPECT_LT(mean_lines(addresses, 65536, crowding_address), 1.1);
  EXPECT_LT(mean_lines(addresses, 65536, [](std::uint32_t i) { return net(i << 16 | 1); }), 1.2);
  EXPECT_LT(mean_lines(names, 65536, [](auto i) { return named(crowding_name(i)); }), 1.1);
  EXPECT_LT(mean_lines(names, 65536, [](auto i) { return named(std::to_string(i)); }), 1.2);
}

// A hash that did so for most secrets only looked at up to 30 lines a key here.
TEST(FoldTable, ProbesStayShortForConsecutiveAddressesWithAnySecret) {
  const auto consecutive = [](std::uint32_t i) { return net(0x0a000000 + i); };
  for (const std::uint32_t keys : {512u, 8192u}) {  // half of 1024 slots, and of 16384
    for (int table_number = 0; table_number < 200; ++table_number) {
      AddressTable table;
      for (std::uint32_t i = 0; i < keys; ++i) table.insert(consecutive(i));
      ASSERT_EQ(table.slot_count(), 2 * keys);
      ASSERT_LT(mean_lines(table, keys, consecutive), 1.2);
    }
  }
}

/// Keys whose hashes are chosen: no secret is in them.
struct ChosenKey {
  std::uint32_t hash;
  std::uint32_t number;
  bool operator==(const ChosenKey&) const = default;
};
struct ChosenStat {
  ChosenKey key;
  std::uint32_t count;
};
struct ChosenKeys {
  using Entry = ChosenStat;
  using Key = ChosenKey;
  static std::uint32_t hash(const Key& key, const KeySecret&) { return key.hash; }
  static bool same(const Entry& entry, const Key& key) { return entry.key == key; }
  static void begin(Entry& entry, const Key& key) { entry.key = key; }
};
using ChosenTable = OneByOne<ChosenKeys>;

// A free slot is all zeroes.
TEST(FoldTable, HashZeroIsAHashLikeAnyOther) {
  ChosenTable table;
  ChosenStat* const first = table.insert({0, 1});
  ASSERT_NE(first, nullptr);
  ChosenStat* const second = table.insert({0, 2});
  EXPECT_NE(second, first);
  EXPECT_EQ(table.insert({0, 1}), first);
  EXPECT_EQ(table.insert({0, 2}), second);
  EXPECT_EQ(table.insert({0, 0}), &table[2]);
  EXPECT_EQ(table.size(), 3u);
}

// Twenty keys fill two lines of eight slots and half of a third, from the last of 128 lines on.
TEST(FoldTable, KeysOfOneHashLieInTheirLineAndTheNext) {
  ChosenTable table;
  for (std::uint32_t i = 0; i < 20; ++i) table.insert({1023, i});
  EXPECT_EQ(table.size(), 20u);
  for (std::uint32_t i = 0; i < 20; ++i) {
    EXPECT_EQ(table.insert({1023, i}), &table[i]);
    EXPECT_EQ(table.lines_probed({1023, i}), i / 8 + 1) << i;
  }
  EXPECT_EQ(table.lines_probed({1016, 0}), 3u);
  EXPECT_EQ(table.lines_probed({0, 0}), 2u);  // one full line, and four of eight slots free
}

// In the larger table each of the twelve has a line of its own: none needs a second line.
TEST(FoldTable, GrowingPutsKeysBackIntoTheirHomeLines) {
  for (const std::uint32_t line : {0u, 8u, 1016u}) {
    ChosenTable table;
    for (std::uint32_t i = 0; i < 12; ++i) table.insert({line + i * 1024, 0});
    EXPECT_EQ(table.lines_probed({line + 11 * 1024, 0}), 2u);
    for (std::uint32_t i = 0; i < 500; ++i) table.insert({256 + i, 0});
    ASSERT_EQ(table.slot_count(), 1024u);
    table.insert({800, 0});
    ASSERT_EQ(table.slot_count(), 16384u);
    for (std::uint32_t i = 0; i < 12; ++i) {
      EXPECT_EQ(table.insert({line + i * 1024, 0}), &table[i]);
      EXPECT_EQ(table.lines_probed({line + i * 1024, 0}), 1u);
    }
    EXPECT_EQ(table.size(), 513u);
  }
}

// The last line is full before and after, and so are those that follow it.
TEST(FoldTable, GrowingKeepsKeysThatWentPastTheLastLine) {
  ChosenTable table;
  for (std::uint32_t i = 0; i < 20; ++i) table.insert({16383, i});
  for (std::uint32_t i = 0; i < 20; ++i) table.insert({16376 - 1024, i});
  for (std::uint32_t i = 0; i < 8; ++i) table.insert({i, 0});
  for (std::uint32_t i = 0; i < 464; ++i) table.insert({256 + i, 0});
  ASSERT_EQ(table.slot_count(), 1024u);
  table.insert({800, 0});
  ASSERT_EQ(table.slot_count(), 16384u);
  for (std::uint32_t i = 0; i < 20; ++i) EXPECT_EQ(table.insert({16383, i}), &table[i]);
  for (std::uint32_t i = 0; i < 20; ++i) {
    EXPECT_EQ(table.insert({16376 - 1024, i}), &table[20 + i]);
  }
  for (std::uint32_t i = 0; i < 8; ++i) EXPECT_EQ(table.insert({i, 0}), &table[40 + i]);
  EXPECT_EQ(table.size(), 513u);
}

/// Memory that is allocated `times` times, and then no more until it is back.
LargeMemory scarce(int times) {
  ScarceMemory::allow(times);
  return {ScarceMemory::allocate};
}
void memory_is_back() {
  ScarceMemory::allow(ScarceMemory::kAll);
}

TEST(FoldTable, DropsRecordsWithoutMemoryAndGoesOn) {
  for (int times = 0; times < 2; ++times) {  // the slots, the first chunk of entries
    AddressTable table(scarce(times));
    EXPECT_EQ(table.insert(1), nullptr);
    EXPECT_EQ(table.replace(1), nullptr);
    EXPECT_EQ(table.size(), 0u);
    memory_is_back();
    EXPECT_NE(table.insert(1), nullptr);
    EXPECT_EQ(table.size(), 1u);
  }
}

// Before, every slot filled up, and a record of a new key looked at all of them.
TEST(FoldTable, WithoutMemoryToGrowItStopsAtThreeQuarters) {
  AddressTable table(scarce(2));
  for (std::uint32_t i = 0; i < 100000; ++i) {
    AddressStat* const stat = table.insert(net(i));
    ASSERT_EQ(stat != nullptr, i < 768) << i;  // of 1024 slots
    if (stat != nullptr) stat->count += 1;
  }
  EXPECT_EQ(table.size(), 768u);
  EXPECT_EQ(table.slot_count(), 1024u);
  EXPECT_EQ(table.insert(net(767)), &table[767]);  // known keys still count
  EXPECT_NE(table.replace(net(767)), nullptr);     // and need no slot
  EXPECT_EQ(table.replace(net(768)), nullptr);
  while (table.replace(net(767)) != nullptr) {  // until there is no room for an entry either
  }
  memory_is_back();
  EXPECT_NE(table.replace(net(767)), nullptr);
  EXPECT_EQ(table.slot_count(), 1024u);
  EXPECT_NE(table.insert(net(768)), nullptr);
  EXPECT_EQ(table.slot_count(), 16384u);
}

/// Memory for slots and one chunk of entries, a page behind each of which nothing can be read.
int guarded_left = 0;
void* allocate_guarded(std::size_t bytes, Pages) {
  if (guarded_left-- <= 0 || bytes % 4096 != 0) return nullptr;
  void* const at =
      ::mmap(nullptr, bytes + 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
  if (at == MAP_FAILED) return nullptr;
  return ::mprotect(static_cast<char*>(at) + bytes, 4096, PROT_NONE) == 0 ? at : nullptr;
}

// At three quarters one cache line in three is full, also the last one.
TEST(FoldTable, KeysBehindTheLastLineLieInTheFirst) {
  for (int table_number = 0; table_number < 64; ++table_number) {
    guarded_left = 2;
    AddressTable table({allocate_guarded, [](void* at, std::size_t bytes) {
                          if (at != nullptr) ::munmap(at, bytes + 4096);
                        }});
    for (std::uint32_t i = 0; i < 768; ++i) ASSERT_NE(table.insert(net(i)), nullptr);
    for (std::uint32_t i = 0; i < 768; ++i) ASSERT_EQ(table.insert(net(i)), &table[i]);
  }
}

// Of 128 lines some forty are full at three quarters, and keys of theirs lie in others.
TEST(FoldTable, FindsItsKeysWhenAFullTableGrows) {
  for (int table_number = 0; table_number < 256; ++table_number) {
    AddressTable table(scarce(2));
    for (std::uint32_t i = 0; i < 768; ++i) ASSERT_NE(table.insert(net(i)), nullptr);
    ASSERT_EQ(table.slot_count(), 1024u);
    const bool twofold = table_number % 2 != 0;
    ScarceMemory::allow(0, twofold ? 1 : 0);
    ASSERT_NE(table.insert(net(768)), nullptr);
    ASSERT_EQ(table.slot_count(), twofold ? 2048u : 16384u);
    for (std::uint32_t i = 0; i <= 768; ++i) ASSERT_EQ(table.insert(net(i)), &table[i]);
    ASSERT_EQ(table.size(), 769u);
  }
  memory_is_back();
}

TEST(FoldTable, WithoutMemoryForSixteenfoldItGrowsTwofold) {
  ScarceMemory::allow(2, 1);
  AddressTable table({ScarceMemory::allocate});
  for (std::uint32_t i = 0; i <= 512; ++i) ASSERT_NE(table.insert(net(i)), nullptr);
  EXPECT_EQ(table.slot_count(), 2048u);
  EXPECT_EQ(table.insert(net(0)), &table[0]);
  EXPECT_EQ(table.insert(net(512)), &table[512]);
}

// At three quarters 1.1 lines are expected for a key of the table and 1.7 for another.
TEST(FoldTable, ProbesOfATableThatCannotGrowStayShort) {
  // Three chunks of entries; 1024 slots, and two times sixteenfold as many.
  AddressTable table(scarce(3 + 3));
  for (std::uint32_t i = 0; i < 300000; ++i) table.insert(crowding_address(i));
  ASSERT_EQ(table.slot_count(), 262144u);
  ASSERT_EQ(table.size(), 196608u);
  EXPECT_LT(mean_lines(table, 65536, crowding_address), 1.3);
  EXPECT_LT(mean_lines(table, 65536, [](std::uint32_t i) { return net(i << 16 | 1); }), 2.2);
  memory_is_back();
}

TEST(FoldTable, AnEntryThatCannotBeReplacedStays) {
  AddressTable table(scarce(2));
  AddressStat* const old = table.insert(net(1));
  ASSERT_NE(old, nullptr);
  while (table.replace(net(2)) != nullptr) {
  }
  const std::uint32_t size = table.size();
  EXPECT_EQ(table.replace(net(1)), nullptr);
  EXPECT_EQ(table.size(), size);
  EXPECT_EQ(table.insert(net(1)), old);
  memory_is_back();
  AddressStat* const replaced = table.replace(net(1));
  EXPECT_NE(replaced, nullptr);
  EXPECT_NE(replaced, old);
  EXPECT_EQ(table.insert(net(1)), replaced);
}

TEST(FoldTable, FoldDropsWhatHasNoEntry) {
  AddressTable table(scarce(0));
  Numbers seen;
  fold_numbers(table, Numbers(100, 1u), &seen);
  EXPECT_EQ(seen, Numbers{});
  EXPECT_EQ(table.size(), 0u);
  memory_is_back();
}

TEST(FoldTable, AgreesWithAPlainMapOverMixedOperations) {
  AddressTable table;
  std::unordered_map<std::uint32_t, std::uint32_t> counts;
  std::uint32_t state = 1;
  for (int i = 0; i < 200000; ++i) {
    state = state * 1664525u + 1013904223u;
    const std::uint32_t key = (state >> 8) % 50000;
    table.insert(key)->count += 1;
    counts[key] += 1;
  }
  ASSERT_EQ(table.size(), counts.size());
  for (std::uint32_t i = 0; i < table.size(); ++i) ASSERT_EQ(table[i].count, counts[table[i].ip]);
}

}  // namespace
}  // namespace qsvmon
