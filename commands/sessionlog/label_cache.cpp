#include "commands/sessionlog/label_cache.h"

#include <cstring>

namespace qsvmon {

std::string_view LabelCache::find(std::uint64_t family, const void* address, std::size_t bytes) {
  std::uint64_t key = 0;
  std::memcpy(&key, address, bytes);
  key |= family;
  if (slots_ == nullptr) return look_up(nullptr, key, address);
  Slot& slot = slots_[key * 0x9E3779B97F4A7C15U >> (64 - kBits)];
  if (slot.key == key) return {slot.text, slot.length};
  return look_up(&slot, key, address);
}

std::string_view LabelCache::look_up(Slot* slot, std::uint64_t key, const void* address) {
  constexpr int kDescFamilyIpv4 = 4;  // any value but kDescFamilyMac
  const int family = (key & kMac) != 0 ? kDescFamilyMac : kDescFamilyIpv4;
  if (desc_lookup(address, family, fresh_, sizeof fresh_) == nullptr) fresh_[0] = '\0';
  const std::size_t length = std::strlen(fresh_);
  if (slot != nullptr && length <= sizeof slot->text) {
    slot->key = key;
    slot->length = static_cast<std::uint8_t>(length);
    std::memcpy(slot->text, fresh_, length);
  }
  return {fresh_, length};
}

}  // namespace qsvmon
