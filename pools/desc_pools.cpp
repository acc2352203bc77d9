#include "pools/desc_pools.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "format/byte_order.h"
#include "format/message.h"
#include "format/text.h"
#include "platform/appliance_paths.h"
#include "pools/assetsdesc.h"
#include "pools/config_file.h"
#include "pools/cusiprng.h"
#include "pools/ipmacdesc.h"
#include "pools/itlgc_pool.h"
#include "pools/text_field.h"

namespace qsvmon {
namespace {

/// Loads the main file. It is opened before the pool of ranges is made, as no pool is made once
/// something has failed.
int load_main_file() {
  static constexpr ConfigSection kSections[] = {
      {"mac", ipmacdesc_line}, {"malcitlgc", itlgc_pool_line}, {"cusiprng", cusiprng_line}};
  if (ipmacdesc_init() != 0) {
    put_message("fail to init ipmacdesc pool\n");
    return -1;
  }
  std::FILE* const file = std::fopen(kMainConfigPath, "re");
  if (file == nullptr) {
    std::perror("fopen");
    return -1;
  }
  const bool has_ranges = cusiprng_init() == 0;
  if (!has_ranges) put_message("NO_MEM\n");
  read_config(file, kSections);  // ranges without their pool are dropped
  std::fclose(file);
  cusiprng_sort();  // while there is one thread
  return has_ranges ? 0 : -1;
}

/// The label that the ranges or, outside of them, the assets give an IPv4 address (network order);
/// or null. They are asked after the pool of descriptions, and not where that one is missing.
const char* range_or_asset_label(std::uint32_t net) {
  if (!ipmacdesc_ready()) return nullptr;
  const std::uint32_t ip = from_net32(net);
  if (const CusIpRange* range = cusiprng_find(ip)) return cusiprng_info(*range)->info;
  const AssetsObject* const object = assetsobj_find_ip(ip);
  return object == nullptr ? nullptr : object->name;
}

/// A template, so that the length is a constant: copying the key then takes three instructions.
template <std::size_t Len>
const char* description(const void* key) {
  if (!ipmacdesc_may_have(key, Len)) return nullptr;
  const IpMacDesc* const entry = ipmacdesc_find(key, Len);
  return entry == nullptr ? nullptr : entry->desc;
}

}  // namespace

int desc_pools_init() {
  // Categories are names beside numbers; addresses can be labelled without them.
  if (itlgc_pool_init() != 0) put_message("itlgc_pool alloc fail\n");
  if (load_main_file() != 0) return -1;
  return assetsdesc_init();
}

char* desc_lookup(const void* addr, int family, char* dest, std::size_t size) {
  const bool is_mac = family == kDescFamilyMac;
  if (ipmacdesc_getdesc(addr, is_mac ? kMacKeyLen : kIpv4KeyLen, dest, size) == 0) return dest;
  if (is_mac) return nullptr;
  std::uint32_t net = 0;
  std::memcpy(&net, addr, sizeof net);
  const char* const label = range_or_asset_label(net);
  if (label == nullptr) return nullptr;
  copy_text(dest, label, size);
  return dest;
}

const char* address_label(std::uint32_t net) {
  const char* const text = description<kIpv4KeyLen>(&net);
  return text != nullptr ? text : range_or_asset_label(net);
}

const char* mac_label(const std::uint8_t* mac) {
  return description<kMacKeyLen>(mac);
}

char* write_label(char* at, const char* text) {
  static_assert(sizeof CusIpInfo::info <= AddressLabel::kMostBytes &&
                sizeof AssetsObject::name <= AddressLabel::kMostBytes &&
                kIpMacDescBytes < AddressLabel::kMostBytes);
  static_assert(sizeof CusIpInfo::info >= 16 && sizeof AssetsObject::name >= 16 &&
                kIpMacDescBytes >= 16);
  // A million FTP rows with full labels take 102 ms so, and 108 with the two calls for each.
  if (const std::size_t length = copy_16(at, text); length < 16) return at + length;
  const std::size_t length = ::strnlen(text, AddressLabel::kMostBytes);
  std::memcpy(at, text, length);
  return at + length;
}

void desc_pools_release() {
  itlgc_pool_release();
  ipmacdesc_release();
  cusiprng_release();
  assetsdesc_release();
}

}  // namespace qsvmon
