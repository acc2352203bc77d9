// Both configuration files as one text of any bytes: read with every section, twice over, then
// looked up with the addresses and texts that the text itself suggests. What the look-ups answer is
// checked against what was stored.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "format/byte_order.h"
#include "pools/assetsdesc.h"
#include "pools/config_file.h"
#include "pools/cusiprng.h"
#include "pools/desc_pools.h"
#include "pools/ipmacdesc.h"
#include "pools/itlgc_pool.h"

namespace {

using namespace qsvmon;

constexpr ConfigSection kAllSections[] = {{"mac", ipmacdesc_line},
                                          {"malcitlgc", itlgc_pool_line},
                                          {"cusiprng", cusiprng_line},
                                          {"group", assetsgrp_line},
                                          {"assets", assetsobj_line}};

void require(bool holds) {
  if (!holds) std::abort();
}

/// The bytes as a file. One of no bytes could not be opened, and has no lines.
void read_bytes(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return;
  std::FILE* const file = ::fmemopen(const_cast<std::uint8_t*>(data), size, "r");
  require(file != nullptr);
  read_config(file, kAllSections);
  std::fclose(file);
}

template <std::size_t N>
void check_terminated(const char (&field)[N]) {
  require(::strnlen(field, N) < N);
}

void check_address(std::uint32_t ip) {
  const std::uint32_t net = from_net32(ip);
  char label[64];
  std::memset(label, 'x', sizeof label);
  const char* const found = desc_lookup(&net, 4, label, sizeof label);
  if (found != nullptr) check_terminated(label);
  if (const CusIpRange* range = cusiprng_find(ip)) {
    require(range->lo <= ip && ip <= range->hi && cusiprng_info(*range) != nullptr);
    check_terminated(cusiprng_info(*range)->iprng);
    require(found != nullptr);
  }
  if (const AssetsObject* object = assetsobj_find_ip(ip)) {
    require(object->kind == kAssetsAddress && object->value.ip == ip);
    require(assetsgrp_find(object->pid) != nullptr && found != nullptr);
    check_terminated(object->name);
  }
}

/// Every word and every four bytes of the input serve as a key.
void look_up_all(const std::uint8_t* data, std::size_t size) {
  char label[5];
  for (std::size_t i = 0; i + 6 <= size; ++i) {
    std::uint32_t ip = 0;
    std::memcpy(&ip, data + i, sizeof ip);
    check_address(ip);
    (void)desc_lookup(data + i, 6, label, sizeof label);
    char desc[sizeof IpMacDesc::desc];
    (void)ipmacdesc_getmacdesc(data + i, desc);
    (void)ipmacdesc_getpid(data + i);
  }
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (std::size_t at = text.find("value="); at != std::string::npos;
       at = text.find("value=", at + 1)) {
    const std::string value = text.substr(at + 6, text.find_first_of(" \n", at) - at - 6);
    for (const std::size_t length : {value.size(), value.size() / 2, value.size() + 1}) {
      const AssetsObject* const object = assetsobj_find_value(value.c_str(), length);
      if (object == nullptr) continue;
      require(object->kind == kAssetsText);
      require(std::strncmp(object->value.text, value.c_str(), length) == 0);
    }
  }
}

void check_tables() {
  require(ipmacdesc_count() <= kIpMacEntries);
  require(cusiprng_count() >= 0 && cusiprng_count() <= static_cast<std::int32_t>(kCusIpRanges));
  for (int i = 0; i < kItlgcCategories; ++i) {
    check_terminated(itlgc_pool()[i].name);
    check_terminated(itlgc_pool()[i].cname);
  }
  for (std::uint32_t id = 1; id <= kAssetsGroups; ++id) {
    const AssetsGroup* const group = assetsgrp_find(id);
    require(group == nullptr || group->id == id);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  require(itlgc_pool_init() == 0 && ipmacdesc_init() == 0 && cusiprng_init() == 0);
  require(assetsdesc_init() == 0);
  read_bytes(data, size);
  look_up_all(data, size);
  read_bytes(data, size);  // everything again: updates, repeats, overwriting
  look_up_all(data, size);
  check_tables();
  desc_pools_release();
  return 0;
}
