#include "pools/ipmacdesc.h"

#include <cstdlib>
#include <cstring>

#include "format/address.h"
#include "format/number.h"
#include "format/request_error.h"
#include "pools/config_file.h"
#include "pools/key_hash.h"
#include "pools/pool_holder.h"
#include "pools/spin_lock.h"
#include "pools/text_field.h"

namespace qsvmon {
namespace {

constexpr int kBucketBits = 12;

struct IpMacPool {
  SpinLock lock;
  std::uint32_t count;       ///< entries in use
  std::uint32_t high_water;  ///< entries ever handed out: those from here on are free, in order
  /// By a mix of the whole key: the last two octets are often shared by hundreds of addresses.
  IpMacDesc* buckets[1 << kBucketBits];
  IpMacDesc entries[kIpMacEntries];
};

constinit PoolHolder<IpMacPool> holder;

bool is_key_len(std::size_t len) {
  return len == kIpv4KeyLen || len == kMacKeyLen;
}

IpMacDesc** bucket_of(IpMacPool& pool, const void* key, std::size_t len) {
  std::uint64_t packed = 0;
  std::memcpy(&packed, key, len);
  return &pool.buckets[key_bucket(packed, kBucketBits)];
}

IpMacDesc* find_in_chain(IpMacDesc* entry, const void* key, std::size_t len) {
  while (entry != nullptr && (entry->key_len != len || std::memcmp(entry->key, key, len) != 0)) {
    entry = entry->next;
  }
  return entry;
}

/// The next free entry, counted, or null.
IpMacDesc* take_free(IpMacPool& pool) {
  if (pool.high_water == kIpMacEntries) return nullptr;
  ++pool.count;
  return &pool.entries[pool.high_water++];
}

/// The low byte of what a "%d" field reads. `text` moves behind it; false when it reads none.
bool scan_number(const char*& text, std::uint8_t& low_byte) {
  unsigned value = 0;
  int digits = 0;
  for (; *text >= '0' && *text <= '9' && digits < 4; ++digits) {
    value = value * 10 + static_cast<unsigned>(*text++ - '0');
  }
  low_byte = static_cast<std::uint8_t>(value);
  if (digits > 0 && digits < 4) return true;
  text -= digits;  // a sign, blanks, a number of any length
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
  return holder.renew() == nullptr ? -1 : 0;
}

bool ipmacdesc_ready() {
  return holder.get() != nullptr;
}

std::uint32_t ipmacdesc_count() {
  return holder.get() == nullptr ? 0 : holder.get()->count;
}

IpMacDesc* ipmacdesc_find(const void* key, std::size_t len) {
  IpMacPool* const pool = holder.get();
  if (pool == nullptr || pool->count < 1 || !is_key_len(len)) return nullptr;
  const SpinGuard guard(pool->lock);
  return find_in_chain(*bucket_of(*pool, key, len), key, len);
}

int ipmacdesc_getdesc(const void* key, std::size_t len, char* dest) {
  const IpMacDesc* const entry = ipmacdesc_find(key, len);
  if (entry == nullptr) return -1;
  std::strcpy(dest, entry->desc);
  return 0;
}

int ipmacdesc_getmacdesc(const void* mac, char* dest) {
  return ipmacdesc_getdesc(mac, kMacKeyLen, dest);
}

std::uint16_t ipmacdesc_getpid(const void* mac) {
  const IpMacDesc* const entry = ipmacdesc_find(mac, kMacKeyLen);
  return entry == nullptr ? std::uint16_t{0} : entry->pid;
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
  IpMacDesc** const bucket = bucket_of(*pool, entry.key, entry.key_len);
  IpMacDesc* stored = find_in_chain(*bucket, entry.key, entry.key_len);
  if (stored == nullptr) {
    stored = take_free(*pool);
    if (stored == nullptr) return nullptr;
    stored->key_len = entry.key_len;
    std::memcpy(stored->key, entry.key, sizeof stored->key);
    stored->next = *bucket;
    *bucket = stored;
  }
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
