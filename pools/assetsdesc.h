#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/wire/request.h"

namespace qsvmon {

constexpr std::uint32_t kAssetsGroups = 1024;
constexpr std::uint32_t kAssetsObjects = 4096;
constexpr std::size_t kAssetsTextBytes = 48;

/// One asset group. Its slot is free while its name is empty.
struct AssetsGroup {
  std::uint16_t id;   ///< slot number, from 1
  std::uint16_t pid;  ///< parent group, not checked
  char name[kAssetsTextBytes];
};

enum AssetsKind : std::uint16_t { kAssetsAddress = 0, kAssetsText = 1 };

/// One asset object.
struct AssetsObject {
  AssetsObject* next;  ///< in its chain of addresses
  AssetsKind kind;     ///< which member of `value` counts
  std::uint16_t pid;   ///< owning group
  std::uint32_t id;    ///< slot number, from 1; 0 while the slot is free
  std::uint32_t logicid;
  char name[kAssetsTextBytes];
  union {
    std::uint32_t ip;             ///< host order
    char text[kAssetsTextBytes];  ///< filled up with zeros
  } value;
};

// Groups and objects are never removed, but a line with the number of a slot in use replaces what
// the slot holds. Pointers stay valid until the process ends. Without a pool, searches find
// nothing.

/// Makes the pool anew, empty, and loads kAssetsConfigPath, which may be missing. Returns 0, or -1
/// after a message when there is no memory: there is then no pool.
int assetsdesc_init();

/// The number of groups and objects that lines have stored. KEEP: one that replaced another counts
/// again.
std::uint32_t assetsgrp_count();
std::uint32_t assetsobj_count();

/// The group in use with this id (1..kAssetsGroups), or null.
const AssetsGroup* assetsgrp_find(std::uint32_t id);
/// The object with this address (host order), or null.
const AssetsObject* assetsobj_find_ip(std::uint32_t ip);
/// The newest object in the bucket of `text` (NUL-terminated) whose value's first `len` bytes equal
/// the text's, compared as strncmp does, or null.
/// KEEP: a longer value that begins with the text is found too, though only when its first 16 bytes
/// hash to the same bucket.
const AssetsObject* assetsobj_find_value(const char* text, std::size_t len);

/// Stores a "group" line: keys id, pid, name. An id of 0 means the first free slot. Rejects with
/// "INV_ID\n", "INV_PID\n", "INV_NAME\n" or "GRPPOOL_FULL\n".
void assetsgrp_line(RpcRequest& line);
/// Stores an "assets" line: keys id, logicid, pid, name, value (an address or any text). An id of 0
/// means the first free slot; a line with an id above kAssetsObjects is ignored. Rejects with
/// "INV_OBJECT\n", "INV_NAME\n", "INV_PID\n", "EXISTS\n" or "ASSETS_POOL_FULL\n".
void assetsobj_line(RpcRequest& line);

/// Frees the pools; for tests.
void assetsdesc_release();

}  // namespace qsvmon
