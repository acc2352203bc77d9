#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "commands/listing/key_hash.h"
#include "format/byte_order.h"
#include "format/lookup2.h"

/// How a fold table (fold_table.h) sees the keys of its entries. A key has a 32-bit tag that lies
/// in the bucket beside the entry's number. The first tag and bucket are the appliance's own
/// hashes; a table that grew uses tags of whole keys.
namespace qsvmon {

/// IPv4 addresses in network order; `Stat` has a member `ip`, which this sets. The tag is the key.
template <class Stat>
struct AddressKeys {
  using Entry = Stat;
  using Key = std::uint32_t;
  static constexpr bool kTagIsKey = true;

  static std::uint32_t first_tag(Key key) { return key; }
  static std::uint32_t first_bucket(std::uint32_t tag) {
    const std::uint32_t host = from_net32(tag);
    return host >> 16 ^ host;
  }
  static std::uint32_t whole_tag(Key key, const KeySecret&) { return key; }
  static std::uint32_t spread(std::uint32_t tag, const KeySecret& secret) {
    return hash_address(tag, secret);
  }

  static Key key_of(const Entry& entry) { return entry.ip; }
  static void begin(Entry& entry, Key key) { entry.ip = key; }
};

/// Names of 1 to 255 bytes; `Stat` has members `name` (an array of char with room for the NUL, or
/// the key is cut) and `namelen` (u8), which this sets. Only the first 16 bytes count for the first
/// bucket.
template <class Stat>
struct NameKeys {
  using Entry = Stat;
  using Key = std::string_view;
  static constexpr bool kTagIsKey = false;
  static constexpr std::uint32_t kInitialHash = 0x20120303;

  static std::uint32_t first_tag(Key key) {
    return lookup2_name(key.data(), key.size(), kInitialHash);
  }
  static std::uint32_t first_bucket(std::uint32_t tag) { return tag; }
  static std::uint32_t whole_tag(Key key, const KeySecret& secret) {
    return hash_bytes(key.data(), key.size(), secret);
  }
  static std::uint32_t spread(std::uint32_t tag, const KeySecret&) { return tag; }

  static Key key_of(const Entry& entry) { return {entry.name, entry.namelen}; }
  static void begin(Entry& entry, Key key) {
    const std::size_t length = key.size() < sizeof entry.name ? key.size() : sizeof entry.name - 1;
    std::memcpy(entry.name, key.data(), length);
    entry.name[length] = '\0';
    entry.namelen = static_cast<std::uint8_t>(length);
  }
};

}  // namespace qsvmon
