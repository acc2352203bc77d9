#pragma once

#include <cstddef>
#include <type_traits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Where pools get their zeroed memory: `large_memory_take`, whose pages cost nothing until they
/// are touched. Tests put a failing one in its place.
extern void* (*pool_take)(std::size_t bytes, Pages pages);

/// Owns one kind of pool for the whole process: the current pool and, since what it handed out
/// stays valid, those it took the place of. A pool starts as all zero bytes.
template <class Pool>
class PoolHolder {
  static_assert(std::is_trivially_copyable_v<Pool> &&
                std::is_trivially_default_constructible_v<Pool>);

 public:
  /// The pool that was made last, or null when there is none.
  Pool* get() const { return current_; }

  /// Puts a zeroed pool in the current one's place; null without memory, which leaves no pool. A
  /// pool that will be filled is made of large pages, one about to hold little of small ones.
  Pool* renew(Pages pages = Pages::kOnTouch) {
    const std::size_t bytes = pages == Pages::kOnTouch ? sizeof(Block) : kWholeBytes;
    auto* block = static_cast<Block*>(pool_take(bytes, pages));
    current_ = nullptr;
    if (block == nullptr) return nullptr;
    block->bytes = bytes;
    block->earlier = blocks_;
    blocks_ = block;
    current_ = &block->pool;
    return current_;
  }

  /// Frees the pool and all earlier ones.
  void release() {
    current_ = nullptr;
    while (blocks_ != nullptr) {
      Block* const earlier = blocks_->earlier;
      large_memory_give(blocks_, blocks_->bytes);
      blocks_ = earlier;
    }
  }

 private:
  struct Block {
    Block* earlier;
    std::size_t bytes;
    Pool pool;
  };
  /// Whole large pages, since a part of one is made of small ones.
  static constexpr std::size_t kLargePageBytes = std::size_t{2} << 20;
  static constexpr std::size_t kWholeBytes =
      (sizeof(Block) + kLargePageBytes - 1) / kLargePageBytes * kLargePageBytes;

  Block* blocks_ = nullptr;
  Pool* current_ = nullptr;
};

}  // namespace qsvmon
