#include "pools/ipmacdesc.h"

#include <cstdlib>
#include <cstring>

#include "format/address.h"
#include "format/number.h"
#include "pools/config_file.h"
#include "pools/pool_holder.h"
#include "pools/spin_lock.h"
#include "pools/text_field.h"
#include "rpc/wire/request.h"

namespace qsvmon {
namespace {

constexpr int kBucketBits = 12;

struct IpMacPool {
  SpinLock lock;
  std::uint32_t count;       ///< entries in use
  std::uint32_t high_water;  ///< entries ever handed out: those from here on are free, in order
  /// 1-based numbers of the newest entries, 0 for none. By a mix of the whole key: the last two
  /// octets are often shared by hundreds of addresses.
  std::uint16_t heads[1 << kBucketBits];
  IpMacDesc entries[kIpMacEntries];
};

constinit PoolHolder<IpMacPool> holder;

bool is_key_len(std::size_t len) {
  return len == kIpv4KeyLen || len == kMacKeyLen;
}

bool has_key(const IpMacDesc& entry, const void* key, std::size_t len) {
  if (entry.key_len != len) return false;
  return len == kIpv4KeyLen ? std::memcmp(entry.key, key, kIpv4KeyLen) == 0
                            : std::memcmp(entry.key, key, kMacKeyLen) == 0;
}

std::uint32_t bucket_of(std::uint32_t hash) {
  return hash >> (kIpMacHashBits - kBucketBits);
}

IpMacDesc* entry_of(IpMacPool& pool, std::uint16_t number) {
  return number == 0 ? nullptr : &pool.entries[number - 1];
}

IpMacDesc* find_in_chain(IpMacPool& pool, const void* key, std::size_t len) {
  IpMacDesc* entry = entry_of(pool, pool.heads[bucket_of(ipmacdesc_hash(key, len))]);
  while (entry != nullptr && !has_key(*entry, key, len)) entry = entry->next;
  return entry;
}

/// What `use` makes of the entry with this key, or `absent` without one. `use` runs while the
/// pool's lock is held, so that no other thread changes what it reads.
template <class Result, class Use>
Result with_entry(const void* key, std::size_t len, Result absent, const Use& use) {
  IpMacPool* const pool = holder.get();
  if (pool == nullptr || !is_key_len(len) || !ipmacdesc_may_have(key, len)) return absent;
  const SpinGuard guard(pool->lock);
  IpMacDesc* const entry = find_in_chain(*pool, key, len);
  return entry == nullptr ? absent : use(*entry);
}

/// The next free entry, counted, with the key of `like` and at the head of its chain; or null.
IpMacDesc* add_entry(IpMacPool& pool, const IpMacDesc& like) {
  if (pool.high_water == kIpMacEntries) return nullptr;
  __atomic_store_n(&pool.count, pool.count + 1, __ATOMIC_RELAXED);
  IpMacDesc& entry = pool.entries[pool.high_water++];
  const std::uint32_t hash = ipmacdesc_hash(like.key, like.key_len);
  entry.key_len = like.key_len;
  std::memcpy(entry.key, like.key, sizeof entry.key);
  std::uint16_t& head = pool.heads[bucket_of(hash)];
  entry.next = entry_of(pool, head);
  head = static_cast<std::uint16_t>(pool.high_water);
  __atomic_fetch_or(&ipmacdesc_filter[hash / 64], std::uint64_t{1} << hash % 64, __ATOMIC_RELAXED);
  return &entry;
}

/// The low byte of what a "%d" field reads. `text` moves behind it; false when it reads none.
bool scan_number(const char*& text, std::uint8_t& low_byte) {
  char* end = nullptr;
  low_byte = static_cast<std::uint8_t>(std::strtoll(text, &end, 10));
  const bool found = end != text;
  text = end;
  return found;
}

/// Reads what sscanf's "%d.%d.%d.%d" takes.
/// KEEP: a number counts by its low byte, may carry a sign or blanks before it, and text after the
/// fourth is ignored: "256.1.1.1x" is 0.1.1.1, and a MAC address written with dots is an IPv4
/// address.
bool scan_ipv4(const char* text, std::uint8_t (&key)[6]) {
  std::uint8_t octets[kIpv4KeyLen];
  for (std::size_t i = 0; i < kIpv4KeyLen; ++i) {
    if (i > 0 && *text++ != '.') return false;
    if (!scan_number(text, octets[i])) return false;
  }
  std::memcpy(key, octets, sizeof octets);
  return true;
}

/// Makes `entry` an empty one with the address that `text` gives. False when it gives none.
bool parse_key(const char* text, IpMacDesc& entry) {
  entry = {};
  if (scan_ipv4(text, entry.key)) {
    entry.key_len = kIpv4KeyLen;
    return true;
  }
  if (parse_mac(text, entry.key) != 0) return false;
  entry.key_len = kMacKeyLen;
  return true;
}

}  // namespace

int ipmacdesc_init() {
  std::memset(ipmacdesc_filter, 0, sizeof ipmacdesc_filter);
  return holder.renew() == nullptr ? -1 : 0;
}

bool ipmacdesc_ready() {
  return holder.get() != nullptr;
}

std::uint32_t ipmacdesc_count() {
  const IpMacPool* const pool = holder.get();
  return pool == nullptr ? 0 : __atomic_load_n(&pool->count, __ATOMIC_RELAXED);
}

IpMacDesc* ipmacdesc_find(const void* key, std::size_t len) {
  return with_entry(key, len, static_cast<IpMacDesc*>(nullptr),
                    [](IpMacDesc& entry) { return &entry; });
}

int ipmacdesc_getdesc(const void* key, std::size_t len, char* dest, std::size_t size) {
  return with_entry(key, len, -1, [&](const IpMacDesc& entry) {
    copy_text(dest, entry.desc, size);
    return 0;
  });
}

int ipmacdesc_getmacdesc(const void* mac, char* dest) {
  return ipmacdesc_getdesc(mac, kMacKeyLen, dest);
}

std::uint16_t ipmacdesc_getpid(const void* mac) {
  return with_entry(mac, kMacKeyLen, std::uint16_t{0},
                    [](const IpMacDesc& entry) { return entry.pid; });
}

int ipmacdesc_setmacdesc(const void* mac, const char* desc) {
  IpMacDesc entry{};
  entry.key_len = kMacKeyLen;
  std::memcpy(entry.key, mac, kMacKeyLen);
  set_field(entry.desc, desc);
  return ipmacdesc_set(entry, 0) == nullptr ? -1 : 0;
}

IpMacDesc* ipmacdesc_set(const IpMacDesc& entry, std::uint16_t pid) {
  IpMacPool* const pool = holder.get();
  if (pool == nullptr || !is_key_len(entry.key_len)) return nullptr;
  const SpinGuard guard(pool->lock);
  IpMacDesc* stored = find_in_chain(*pool, entry.key, entry.key_len);
  if (stored == nullptr) stored = add_entry(*pool, entry);
  if (stored == nullptr) return nullptr;
  std::memmove(stored->desc, entry.desc, sizeof stored->desc);  // may be the entry itself
  stored->pid = pid;
  return stored;
}

void ipmacdesc_line(RpcRequest& line) {
  IpMacDesc entry{};
  std::uint16_t pid = 0;
  for (LineWords words(line); words.next();) {
    if (words.is("m") || words.is("ip")) {
      pid = 0;
      if (!parse_key(words.value(), entry)) return set_request_error(line, "INV_IPMAC");
    } else if (words.is("d")) {
      set_field(entry.desc, words.value());
    } else if (words.is("pid")) {
      pid = static_cast<std::uint16_t>(parse_atoi(words.value()));
    }
  }
  if (entry.desc[0] == '\0') return set_request_error(line, "NO_DESC");
  if (!is_key_len(entry.key_len)) return set_request_error(line, "INV_LEN");
  ipmacdesc_set(entry, pid);
}

void ipmacdesc_release() {
  holder.release();
}

}  // namespace qsvmon
