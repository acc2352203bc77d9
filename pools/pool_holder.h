#pragma once

#include <cstddef>
#include <type_traits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Where pools get their zeroed memory: `large_memory_allocate`. Tests put a failing one in its place.
extern void* (*pool_allocate)(std::size_t bytes, Pages pages);

/// Owns one kind of pool for the whole process: the current pool and, since what it handed out
/// stays valid, those it took the place of. A pool starts as all zero bytes.
template <class Pool>
class PoolHolder {
  static_assert(std::is_trivially_copyable_v<Pool> &&
                std::is_trivially_default_constructible_v<Pool>);

 public:
  /// The pool that was made last, or null when there is none.
  Pool* get() const { return current_; }

  /// Puts a zeroed pool in the current one's place; null without memory, which leaves no pool. Most
  /// entries of a pool stay empty: their pages cost nothing.
  Pool* renew() {
    auto* block = static_cast<Block*>(pool_allocate(sizeof(Block), Pages::kOnTouch));
    current_ = nullptr;
    if (block == nullptr) return nullptr;
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
      large_memory_free(blocks_, sizeof(Block));
      blocks_ = earlier;
    }
  }

 private:
  struct Block {
    Block* earlier;
    Pool pool;
  };

  Block* blocks_ = nullptr;
  Pool* current_ = nullptr;
};

}  // namespace qsvmon
