#include "pools/value_index.h"

#include <bit>
#include <cstring>

#include "format/lookup2.h"
#include "pools/assetsdesc.h"

namespace qsvmon {
namespace {

/// Every path tests a bit at most once.
constexpr std::size_t kMaxDepth = kAssetsTextBytes * 8;

unsigned bit_of(const char* text, std::uint8_t byte, std::uint8_t shift) {
  return static_cast<unsigned char>(text[byte]) >> shift & 1U;
}

/// The first bit in which two different fields differ.
struct BitPlace {
  std::uint8_t byte;
  std::uint8_t shift;
};

BitPlace first_difference(const char* a, const char* b) {
  std::uint8_t byte = 0;
  while (byte < kAssetsTextBytes - 1 && a[byte] == b[byte]) ++byte;
  const auto bits = static_cast<unsigned char>(a[byte] ^ b[byte]);
  return {byte, static_cast<std::uint8_t>(std::bit_width(bits) - 1)};
}

}  // namespace

std::uint32_t ValueIndex::bucket_of(const char* text) {
  return lookup2(text, ::strnlen(text, kNameHashBytes), 0) % kBuckets;
}

ValueIndex::Ref ValueIndex::newer(Ref a, Ref b) const {
  return stamps_[a - 1] > stamps_[b - 1] ? a : b;
}

ValueIndex::Ref ValueIndex::take_node() {
  if (freed_ == 0) return static_cast<Ref>(kInner | nodes_used_++);
  const Ref ref = freed_;
  freed_ = node(ref).child[0];
  return ref;
}

void ValueIndex::add(const AssetsObject* objects, std::uint32_t at) {
  const char* const text = objects[at].value.text;
  const auto leaf = static_cast<Ref>(at + 1);
  stamps_[at] = ++last_stamp_;
  Ref* place = &roots_[bucket_of(text)];
  if (*place == 0) {
    *place = leaf;
    return;
  }
  Ref like = *place;  // any object that agrees in all bits tested on the way
  while (is_inner(like)) like = node(like).child[bit_of(text, node(like).byte, node(like).shift)];
  const BitPlace split = first_difference(text, objects[like - 1].value.text);
  while (is_inner(*place)) {
    Node& inner = node(*place);
    if (inner.byte > split.byte || (inner.byte == split.byte && inner.shift < split.shift)) break;
    inner.newest = leaf;
    place = &inner.child[bit_of(text, inner.byte, inner.shift)];
  }
  const Ref ref = take_node();
  const unsigned side = bit_of(text, split.byte, split.shift);
  Node& fresh = node(ref);
  fresh.child[side] = leaf;
  fresh.child[1 - side] = *place;
  fresh.newest = leaf;
  fresh.byte = split.byte;
  fresh.shift = split.shift;
  *place = ref;
}

void ValueIndex::remove(const AssetsObject* objects, std::uint32_t at) {
  const char* const text = objects[at].value.text;
  Ref path[kMaxDepth];
  std::size_t depth = 0;
  Ref* const root = &roots_[bucket_of(text)];
  for (Ref ref = *root; is_inner(ref);) {
    path[depth++] = ref;
    ref = node(ref).child[bit_of(text, node(ref).byte, node(ref).shift)];
  }
  if (depth == 0) {
    *root = 0;
    return;
  }
  const Ref parent = path[--depth];
  const Ref sibling = node(parent).child[1 - bit_of(text, node(parent).byte, node(parent).shift)];
  if (depth == 0) {
    *root = sibling;
  } else {
    Node& above = node(path[depth - 1]);
    above.child[bit_of(text, above.byte, above.shift)] = sibling;
  }
  node(parent).child[0] = freed_;
  freed_ = parent;
  while (depth > 0) {
    Node& inner = node(path[--depth]);
    inner.newest = newer(newest_of(inner.child[0]), newest_of(inner.child[1]));
  }
}

const AssetsObject* ValueIndex::find(const AssetsObject* objects, std::uint32_t bucket,
                                     const char* prefix, std::size_t len) const {
  Ref ref = roots_[bucket];
  if (ref == 0) return nullptr;
  // Below a node that tests a later byte, all texts share their first `len` bytes.
  while (is_inner(ref) && node(ref).byte < len) {
    ref = node(ref).child[bit_of(prefix, node(ref).byte, node(ref).shift)];
  }
  const AssetsObject& object = objects[newest_of(ref) - 1];
  const std::size_t compared = len < kAssetsTextBytes ? len : kAssetsTextBytes;
  return std::memcmp(object.value.text, prefix, compared) == 0 ? &object : nullptr;
}

}  // namespace qsvmon
