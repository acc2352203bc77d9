#pragma once

#include <cstddef>
#include <limits>

#include "platform/large_memory.h"

namespace qsvmon {

/// Memory that runs out, for whatever is told where its memory comes from.
///
///     ScarceMemory::allow(2);
///     pool_allocate = ScarceMemory::allocate;
class ScarceMemory {
 public:
  static constexpr int kAll = std::numeric_limits<int>::max();

  /// Lets so many allocations through and refuses so many after them; then there is memory again.
  static void allow(int allowed, int refused = kAll) {
    allowed_ = allowed;
    refused_ = refused;
  }
  /// How many of the allowed allocations are left.
  static int left() { return allowed_; }
  static void* allocate(std::size_t bytes, Pages pages) {
    int& left = allowed_ > 0 ? allowed_ : refused_;
    const bool refuses = allowed_ == 0 && refused_ > 0;
    if (left > 0) --left;
    return refuses ? nullptr : large_memory_allocate(bytes, pages);
  }

 private:
  static inline int allowed_ = 0;
  static inline int refused_ = kAll;
};

}  // namespace qsvmon
