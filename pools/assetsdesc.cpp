#include "pools/assetsdesc.h"

#include <cstring>

#include "format/address.h"
#include "format/lookup2.h"
#include "format/message.h"
#include "format/number.h"
#include "platform/appliance_paths.h"
#include "pools/config_file.h"
#include "pools/key_hash.h"
#include "pools/pool_holder.h"
#include "pools/spin_lock.h"
#include "pools/text_field.h"
#include "rpc/wire/request.h"

namespace qsvmon {
namespace {

constexpr int kAddressBucketBits = 12;
constexpr std::uint32_t kValueBuckets = 1024;
constexpr std::uint32_t kFirstAutomaticId = 1024;  // no line may name a group from here on
constexpr std::uint32_t kMaxPid = 1024;
constexpr std::size_t kReportedBytes = 660480;  // what the message always names

struct AssetsPool {
  SpinLock lock;
  SpinLock further_locks[256];  ///< cleared with the pool; nothing here holds them
  std::uint32_t group_count;
  std::uint32_t groups_full;  ///< every slot below is in use
  std::uint32_t object_count;
  std::uint32_t objects_full;  ///< every slot below is in use
  std::uint32_t high_water;    ///< highest slot that a line named
  std::uint32_t logicid;       ///< highest one so far
  /// By a hash of the whole address: the addresses of a subnet must not share a chain.
  AssetsObject* by_address[1 << kAddressBucketBits];
  AssetsObject* by_value[kValueBuckets];
  AssetsGroup groups[kAssetsGroups];
  AssetsObject objects[kAssetsObjects];
};

constinit PoolHolder<AssetsPool> holder;

AssetsObject** address_bucket(AssetsPool& pool, std::uint32_t ip) {
  return &pool.by_address[key_bucket(ip, kAddressBucketBits)];
}

AssetsObject** value_bucket(AssetsPool& pool, const char* text) {
  const std::size_t length = ::strnlen(text, kNameHashBytes);
  return &pool.by_value[lookup2_name(text, length, 0) % kValueBuckets];
}

AssetsObject** bucket_of(AssetsPool& pool, const AssetsObject& object) {
  return object.kind == kAssetsText ? value_bucket(pool, object.value.text)
                                    : address_bucket(pool, object.value.ip);
}

/// The first free slot. No slot is ever freed, so the search goes on where the last one ended.
AssetsGroup* free_group(AssetsPool& pool) {
  std::uint32_t& at = pool.groups_full;
  while (at < kAssetsGroups && pool.groups[at].name[0] != '\0') ++at;
  return at < kAssetsGroups ? &pool.groups[at] : nullptr;
}

AssetsObject* free_object(AssetsPool& pool) {
  std::uint32_t& at = pool.objects_full;
  while (at < kAssetsObjects && pool.objects[at].id != 0) ++at;
  return at < kAssetsObjects ? &pool.objects[at] : nullptr;
}

void link(AssetsPool& pool, AssetsObject& object) {
  AssetsObject** const bucket = bucket_of(pool, object);
  object.next = *bucket;
  *bucket = &object;
}

void unlink(AssetsPool& pool, AssetsObject& object) {
  AssetsObject** at = bucket_of(pool, object);
  while (*at != &object) at = &(*at)->next;
  *at = object.next;
}

/// A line without a number gets the next one after the highest so far.
std::uint32_t assign_logicid(AssetsPool& pool, std::uint32_t wanted) {
  if (wanted == 0) return ++pool.logicid;
  if (wanted > pool.logicid) pool.logicid = wanted;
  return wanted;
}

/// Fills a slot with `object`, whose `id` is the slot's. What the slot held leaves its chain first:
/// linked twice it would close the chain to a ring or cut others off.
void place(AssetsPool& pool, const AssetsObject& object) {
  AssetsObject& slot = pool.objects[object.id - 1];
  if (slot.id != 0) unlink(pool, slot);
  slot = object;
  slot.logicid = assign_logicid(pool, object.logicid);
  link(pool, slot);
  ++pool.object_count;
}

/// KEEP: a text is known, too, when it begins a longer one in its bucket.
bool is_known(const AssetsObject& object) {
  return object.kind == kAssetsText
             ? assetsobj_find_value(object.value.text, std::strlen(object.value.text)) != nullptr
             : assetsobj_find_ip(object.value.ip) != nullptr;
}

/// Stores an object that is complete; returns an error word or null.
const char* store(AssetsPool& pool, AssetsObject& object) {
  const SpinGuard guard(pool.lock);
  if (is_known(object)) return "EXISTS\n";
  if (object.id == 0) {
    const AssetsObject* const slot = free_object(pool);
    if (slot == nullptr) return "ASSETS_POOL_FULL\n";
    object.id = static_cast<std::uint32_t>(slot - pool.objects) + 1;
  } else if (object.id > pool.high_water) {
    pool.high_water = object.id;
  }
  place(pool, object);
  return nullptr;
}

/// The last "value" of a line counts, so nothing of an earlier one may be left.
void set_value(AssetsObject& object, const char* text) {
  std::uint32_t ip = 0;
  object.value = {};
  if (parse_ipv4(text, &ip) == 0) {
    object.kind = kAssetsAddress;
    object.value.ip = ip;
  } else {
    object.kind = kAssetsText;
    set_field(object.value.text, text);
  }
}

std::uint16_t parse_u16(const char* text) {
  return static_cast<std::uint16_t>(parse_atoi(text));
}

std::uint32_t parse_u32(const char* text) {
  return static_cast<std::uint32_t>(parse_atoi(text));
}

/// Stores a group that is complete; returns an error word or null.
const char* store_group(AssetsPool& pool, AssetsGroup& group) {
  if (group.id != 0) {  // KEEP: without the lock, and whatever the slot holds
    pool.groups[group.id - 1] = group;
    ++pool.group_count;
    return nullptr;
  }
  const SpinGuard guard(pool.lock);
  AssetsGroup* const slot = free_group(pool);
  if (slot == nullptr) return "GRPPOOL_FULL\n";
  group.id = static_cast<std::uint16_t>(slot - pool.groups + 1);
  *slot = group;
  ++pool.group_count;
  return nullptr;
}

}  // namespace

int assetsdesc_init() {
  static constexpr ConfigSection kSections[] = {{"group", assetsgrp_line},
                                                {"assets", assetsobj_line}};
  if (holder.renew() == nullptr) {
    put_message("assetsdesc_init: fail to alloc ", kReportedBytes, " bytes\n");
    return -1;
  }
  (void)read_config_file(kAssetsConfigPath, kSections);  // no file, no assets
  return 0;
}

std::uint32_t assetsgrp_count() {
  return holder.get() == nullptr ? 0 : holder.get()->group_count;
}

std::uint32_t assetsobj_count() {
  return holder.get() == nullptr ? 0 : holder.get()->object_count;
}

const AssetsGroup* assetsgrp_find(std::uint32_t id) {
  AssetsPool* const pool = holder.get();
  if (pool == nullptr || id < 1 || id > kAssetsGroups) return nullptr;
  const AssetsGroup& group = pool->groups[id - 1];
  return group.name[0] != '\0' ? &group : nullptr;
}

const AssetsObject* assetsobj_find_ip(std::uint32_t ip) {
  AssetsPool* const pool = holder.get();
  if (pool == nullptr || pool->object_count == 0) return nullptr;
  const AssetsObject* object = *address_bucket(*pool, ip);
  while (object != nullptr && object->value.ip != ip) object = object->next;
  return object;
}

const AssetsObject* assetsobj_find_value(const char* text, std::size_t len) {
  AssetsPool* const pool = holder.get();
  if (pool == nullptr || pool->object_count == 0) return nullptr;
  const AssetsObject* object = *value_bucket(*pool, text);
  while (object != nullptr && std::strncmp(object->value.text, text, len) != 0) {
    object = object->next;
  }
  return object;
}

void assetsgrp_line(RpcRequest& line) {
  AssetsGroup group{};
  for (LineWords words(line); words.next();) {
    if (words.is("id")) {
      group.id = parse_u16(words.value());
    } else if (words.is("pid")) {
      group.pid = parse_u16(words.value());
    } else if (words.is("name")) {
      set_field(group.name, words.value());
    }
  }
  if (group.id >= kFirstAutomaticId) return set_request_error(line, "INV_ID\n");
  if (group.pid > kMaxPid) return set_request_error(line, "INV_PID\n");
  if (group.name[0] == '\0') return set_request_error(line, "INV_NAME\n");
  if (holder.get() == nullptr) return;
  if (const char* error = store_group(*holder.get(), group)) set_request_error(line, error);
}

void assetsobj_line(RpcRequest& line) {
  AssetsObject object{};
  for (LineWords words(line); words.next();) {
    if (words.is("id")) {
      object.id = parse_u32(words.value());
    } else if (words.is("logicid")) {
      object.logicid = parse_u32(words.value());
    } else if (words.is("pid")) {
      object.pid = parse_u16(words.value());
    } else if (words.is("name")) {
      set_field(object.name, words.value());
    } else if (words.is("value")) {
      set_value(object, words.value());
    }
  }
  // KEEP: without an error word, and before anything else of the line is looked at.
  if (object.id > kAssetsObjects) return;
  // A line without a value names the address 0 as well.
  if (object.kind == kAssetsAddress && object.value.ip == 0) {
    return set_request_error(line, "INV_OBJECT\n");
  }
  if (object.name[0] == '\0') return set_request_error(line, "INV_NAME\n");
  if (object.pid == 0 || object.pid > kMaxPid || assetsgrp_find(object.pid) == nullptr) {
    return set_request_error(line, "INV_PID\n");
  }
  // A group was found, so there is a pool.
  if (const char* error = store(*holder.get(), object)) set_request_error(line, error);
}

void assetsdesc_release() {
  holder.release();
}

}  // namespace qsvmon
