#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

struct AssetsObject;

/// Finds the newest asset object of a bucket whose text begins with a prefix, as a walk down a
/// chain of the bucket's objects, newest first, would, but in the time of a few bit tests however
/// many objects share the bucket: one binary trie a bucket, whose every inner node tests one bit
/// and knows the newest object below it. Plain data: an index of zero bytes is empty. Objects are
/// named by their place in the array that every operation is passed; the texts are the objects' own
/// and must not change while they are in.
class ValueIndex {
 public:
  static constexpr std::uint32_t kBuckets = 1024;
  static constexpr std::uint32_t kMaxObjects = 4096;

  /// The bucket of a text: a hash of its first 16 bytes.
  static std::uint32_t bucket_of(const char* text);

  /// Adds object `at` under its text's bucket. REQUIRES: it is not in, nor is an equal text.
  void add(const AssetsObject* objects, std::uint32_t at);
  /// Takes object `at` out. REQUIRES: it is in.
  void remove(const AssetsObject* objects, std::uint32_t at);
  /// The newest object of the bucket whose text's field begins with the `len` bytes, or null.
  const AssetsObject* find(const AssetsObject* objects, std::uint32_t bucket, const char* prefix,
                           std::size_t len) const;

 private:
  /// 0 for nothing, an object's place plus 1, or kInner and a node's place.
  using Ref = std::uint16_t;
  static constexpr Ref kInner = 0x8000;

  struct Node {
    Ref child[2];  ///< by the bit that is tested
    Ref newest;    ///< of the objects below
    std::uint8_t byte;
    std::uint8_t shift;  ///< the bit of that byte; a parent tests an earlier byte or a higher bit
  };

  static bool is_inner(Ref ref) { return (ref & kInner) != 0; }
  Node& node(Ref ref) { return nodes_[ref & ~kInner]; }
  const Node& node(Ref ref) const { return nodes_[ref & ~kInner]; }
  Ref newest_of(Ref ref) const { return is_inner(ref) ? node(ref).newest : ref; }
  Ref newer(Ref a, Ref b) const;
  Ref take_node();

  Ref roots_[kBuckets];
  std::uint32_t last_stamp_;
  std::uint32_t stamps_[kMaxObjects];  ///< when each object was added
  Ref freed_;                          ///< nodes given back, linked through child[0]
  std::uint16_t nodes_used_;
  Node nodes_[kMaxObjects];
};

}  // namespace qsvmon
