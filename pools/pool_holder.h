#pragma once

#include <cstddef>
#include <type_traits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Where pools get their zeroed memory: `large_memory_allocate`. Tests put a failing one in its
/// place.
inline void* (*pool_allocate)(std::size_t bytes, Pages pages) = large_memory_allocate;

/// Owns one kind of pool for the whole process: the current pool and those that it replaced, as
/// pointers into them stay valid. A pool starts as all zero bytes.
template <class Pool>
class PoolHolder {
  static_assert(std::is_trivially_copyable_v<Pool> &&
                std::is_trivially_default_constructible_v<Pool>);

 public:
  /// The pool that was made last, or null when there is none.
  Pool* get() const { return current_; }

  /// Replaces the current pool with a zeroed one; null without memory, which leaves no pool. Most
  /// entries of a pool stay empty: their pages cost nothing.
  Pool* renew() {
    auto* chunk = static_cast<Chunk*>(pool_allocate(sizeof(Chunk), Pages::kOnTouch));
    current_ = nullptr;
    if (chunk == nullptr) return nullptr;
    chunk->earlier = chunks_;
    chunks_ = chunk;
    current_ = &chunk->pool;
    return current_;
  }

  /// Frees the pool and all earlier ones.
  void release() {
    current_ = nullptr;
    while (chunks_ != nullptr) {
      Chunk* const earlier = chunks_->earlier;
      large_memory_free(chunks_, sizeof(Chunk));
      chunks_ = earlier;
    }
  }

 private:
  struct Chunk {
    Chunk* earlier;
    Pool pool;
  };

  Chunk* chunks_ = nullptr;
  Pool* current_ = nullptr;
};

}  // namespace qsvmon
