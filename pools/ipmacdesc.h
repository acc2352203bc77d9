#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "pools/key_hash.h"
#include "rpc/wire/request.h"

namespace qsvmon {

constexpr std::size_t kIpMacDescBytes = 34;  ///< of a description with its NUL

/// The operator's description of one IPv4 address or MAC address.
struct IpMacDesc {
  IpMacDesc* next;        ///< in its chain
  std::uint16_t key_len;  ///< 4 for an IPv4 address, 6 for a MAC address
  std::uint16_t pid;      ///< group number from the file, only kept
  std::uint8_t key[6];    ///< the address's bytes in network order
  char desc[kIpMacDescBytes];
};

constexpr std::uint32_t kIpMacEntries = 4096;
constexpr std::size_t kIpv4KeyLen = 4;
constexpr std::size_t kMacKeyLen = 6;

// Entries are never removed; pointers to them stay valid until the process ends. Without a pool,
// searches find nothing and nothing can be set. Every operation holds the pool's lock.

/// Makes a fresh, empty pool. Returns 0, or -1 without memory: there is then no pool.
int ipmacdesc_init();
/// Whether there is a pool.
bool ipmacdesc_ready();
/// The number of entries in use.
std::uint32_t ipmacdesc_count();

/// Bits of a key's hash: with a full pool one in 32 of the other addresses passes the filter below.
constexpr int kIpMacHashBits = 17;

/// The hash of a key of 4 or 6 bytes, which are put together in a register: written to memory as 4
/// and 2 bytes and read back as 8 they cost an FTP row 2 to 10 ns.
inline std::uint32_t ipmacdesc_hash(const void* key, std::size_t len) {
  std::uint32_t first;
  std::uint16_t last = 0;
  std::memcpy(&first, key, sizeof first);
  if (len == kMacKeyLen) std::memcpy(&last, static_cast<const char*>(key) + 4, sizeof last);
  return key_bucket(std::uint64_t{last} << 32 | first, kIpMacHashBits);
}

/// A bit for each hash, set where the pool has a key of it.
inline std::uint64_t ipmacdesc_filter[(1 << kIpMacHashBits) / 64];

/// True for every key of 4 or 6 bytes that an entry has, and for few others. Needs no lock, and no
/// call: an FTP row, which asks for three keys, takes 1,097 instead of 1,232 instructions so.
inline bool ipmacdesc_may_have(const void* key, std::size_t len) {
  const std::uint32_t hash = ipmacdesc_hash(key, len);
  return (__atomic_load_n(&ipmacdesc_filter[hash / 64], __ATOMIC_RELAXED) >> hash % 64 & 1) != 0;
}

/// The entry with this key of `len` bytes, or null. Where another thread may change the entry, read
/// it with the operations below instead: they copy it while the lock is held.
IpMacDesc* ipmacdesc_find(const void* key, std::size_t len);
/// Copies an entry's description to `dest`, cut to `size` - 1 characters and NUL-terminated.
/// Returns 0, or -1 with `dest` untouched when there is no entry.
int ipmacdesc_getdesc(const void* key, std::size_t len, char* dest,
                      std::size_t size = kIpMacDescBytes);
/// `ipmacdesc_getdesc` of the 6 bytes at `mac`.
int ipmacdesc_getmacdesc(const void* mac, char* dest);
/// The `pid` of the 6 bytes at `mac`, 0 without an entry.
std::uint16_t ipmacdesc_getpid(const void* mac);
/// Sets the description of the 6 bytes at `mac`, cut to 33 characters, and its `pid` to 0. Returns
/// 0, or -1 when there is no room for one more entry.
int ipmacdesc_setmacdesc(const void* mac, const char* desc);
/// Makes or updates the entry with the key of `entry`: its description and `pid`. Returns it, or
/// null when there is no room for one more entry or the key is no address.
IpMacDesc* ipmacdesc_set(const IpMacDesc& entry, std::uint16_t pid);

/// Stores a "mac" line: keys "m" or "ip" (the address), "d" (the description), "pid". Rejects with
/// INV_IPMAC, NO_DESC or INV_LEN; a line for a full pool is dropped.
/// KEEP: an address clears what the line gave before it, so "d" and "pid" must follow it.
void ipmacdesc_line(RpcRequest& line);

/// Frees the pools; for tests.
void ipmacdesc_release();

}  // namespace qsvmon
