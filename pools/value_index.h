#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

struct AssetsObject;

/// Finds the newest asset object of a bucket whose text begins with a prefix, as a walk down a
/// chain of the bucket's objects, newest first, would, but in a few steps however many objects
/// share the bucket: one trie a bucket, whose every inner node branches by one half byte, the first
/// in which the texts below it differ, and knows the newest object below it. Plain data: an index
/// of zero bytes is empty. Objects are named by their place in the array that every operation is
/// passed; the texts are the objects' own and must not change while they are in.
class ValueIndex {
 public:
  static constexpr std::uint32_t kBuckets = 1024;
  static constexpr std::uint32_t kMaxObjects = 4096;

  /// The bucket of a text of `length` bytes: a hash of its first 16.
  static std::uint32_t bucket_of(const char* text, std::size_t length);

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
    Ref child[16];  ///< by the half byte; two or more are there
    Ref newest;     ///< of the objects below
    std::uint8_t byte;
    std::uint8_t shift;  ///< 4 for its high half, which comes first, or 0

    Ref& child_of(const char* text) { return child[half_byte(text, byte, shift)]; }
    Ref child_of(const char* text) const { return child[half_byte(text, byte, shift)]; }
  };

  static unsigned half_byte(const char* text, std::uint8_t byte, std::uint8_t shift) {
    return static_cast<unsigned>(static_cast<unsigned char>(text[byte])) >> shift & 15U;
  }
  static bool is_inner(Ref ref) { return (ref & kInner) != 0; }
  Node& node(Ref ref) { return nodes_[ref & ~kInner]; }
  const Node& node(Ref ref) const { return nodes_[ref & ~kInner]; }
  Ref newest_of(Ref ref) const { return is_inner(ref) ? node(ref).newest : ref; }
  Ref& root_of(const char* text);
  Ref take_node(std::uint8_t byte, std::uint8_t shift);
  void shrink(Ref* place);
  void find_newest(Node& inner);

  Ref roots_[kBuckets];
  std::uint32_t last_stamp_;
  std::uint32_t stamps_[kMaxObjects];  ///< when each object was added
  Ref freed_;                          ///< nodes given back, linked through child[0]
  std::uint16_t nodes_used_;
  Node nodes_[kMaxObjects];
};

}  // namespace qsvmon
