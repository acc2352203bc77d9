#include "pools/value_index.h"

#include <cstring>

#include "format/lookup2.h"
#include "pools/assetsdesc.h"

namespace qsvmon {
namespace {

/// Every path tests a half byte at most once.
constexpr std::size_t kMaxDepth = kAssetsTextBytes * 2;

/// The first half byte in which two different fields differ.
struct Place {
  std::uint8_t byte;
  std::uint8_t shift;
};

Place first_difference(const char* a, const char* b) {
  std::uint8_t byte = 0;
  while (byte < kAssetsTextBytes - 1 && a[byte] == b[byte]) ++byte;
  const bool in_high_half = ((a[byte] ^ b[byte]) & 0xf0) != 0;
  return {byte, static_cast<std::uint8_t>(in_high_half ? 4 : 0)};
}

}  // namespace

std::uint32_t ValueIndex::bucket_of(const char* text, std::size_t length) {
  return lookup2_name(text, length, 0) % kBuckets;
}

ValueIndex::Ref& ValueIndex::root_of(const char* text) {
  return roots_[bucket_of(text, ::strnlen(text, kNameHashBytes))];
}

ValueIndex::Ref ValueIndex::take_node(std::uint8_t byte, std::uint8_t shift) {
  Ref ref = freed_;
  if (ref != 0) {
    freed_ = node(ref).newest;
  } else {
    ref = static_cast<Ref>(kInner | nodes_used_++);
  }
  node(ref) = {{}, 0, byte, shift};
  return ref;
}

void ValueIndex::add(const AssetsObject* objects, std::uint32_t at) {
  const char* const text = objects[at].value.text;
  const auto leaf = static_cast<Ref>(at + 1);
  stamps_[at] = ++last_stamp_;
  Ref* place = &root_of(text);
  if (*place == 0) {
    *place = leaf;
    return;
  }
  Ref like = *place;  // any object that agrees in all that was tested on the way
  while (is_inner(like)) {
    const Ref next = node(like).child_of(text);
    like = next != 0 ? next : node(like).newest;
  }
  const char* const like_text = objects[like - 1].value.text;
  const Place split = first_difference(text, like_text);
  while (is_inner(*place)) {
    Node& inner = node(*place);
    if (inner.byte > split.byte || (inner.byte == split.byte && inner.shift < split.shift)) break;
    inner.newest = leaf;
    place = &inner.child_of(text);
  }
  if (*place == 0) {  // the last node passed branches at the split already
    *place = leaf;
    return;
  }
  const Ref ref = take_node(split.byte, split.shift);
  node(ref).child_of(like_text) = *place;
  node(ref).child_of(text) = leaf;
  node(ref).newest = leaf;
  *place = ref;
}

/// Puts an only child in its node's place.
void ValueIndex::shrink(Ref* place) {
  const Ref ref = *place;
  Ref only = 0;
  for (const Ref child : node(ref).child) {
    if (child == 0) continue;
    if (only != 0) return;
    only = child;
  }
  *place = only;
  node(ref).newest = freed_;
  freed_ = ref;
}

void ValueIndex::find_newest(Node& inner) {
  inner.newest = 0;
  for (const Ref child : inner.child) {
    if (child == 0) continue;
    const Ref candidate = newest_of(child);
    if (inner.newest == 0 || stamps_[candidate - 1] > stamps_[inner.newest - 1]) {
      inner.newest = candidate;
    }
  }
}

void ValueIndex::remove(const AssetsObject* objects, std::uint32_t at) {
  const char* const text = objects[at].value.text;
  Ref* path[kMaxDepth];
  std::size_t depth = 0;
  Ref* place = &root_of(text);
  while (is_inner(*place)) {
    path[depth++] = place;
    place = &node(*place).child_of(text);
  }
  *place = 0;
  if (depth > 0) shrink(path[depth - 1]);
  while (depth > 0) {
    if (const Ref ref = *path[--depth]; is_inner(ref)) find_newest(node(ref));
  }
}

const AssetsObject* ValueIndex::find(const AssetsObject* objects, std::uint32_t bucket,
                                     const char* prefix, std::size_t len) const {
  Ref ref = roots_[bucket];
  // Below a node that tests a later byte, all texts share their first `len` bytes.
  while (is_inner(ref) && node(ref).byte < len) ref = node(ref).child_of(prefix);
  if (ref == 0) return nullptr;
  const AssetsObject& object = objects[newest_of(ref) - 1];
  const std::size_t compared = len < kAssetsTextBytes ? len : kAssetsTextBytes;
  return std::memcmp(object.value.text, prefix, compared) == 0 ? &object : nullptr;
}

}  // namespace qsvmon
