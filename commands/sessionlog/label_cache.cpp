#include "commands/sessionlog/label_cache.h"

#include "pools/desc_pools.h"

namespace qsvmon {

const char* LabelCache::look_up(std::uint64_t key, const void* address) {
  const char* const label =
      desc_label(address, (key & kMac) != 0 ? kDescFamilyMac : kDescFamilyIpv4);
  return label == nullptr ? "" : label;
}

}  // namespace qsvmon
