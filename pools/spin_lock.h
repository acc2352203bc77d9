#pragma once

#include <cstdint>

namespace qsvmon {

/// One lock word, 0 when free. Plain data, so that it may lie in zeroed memory.
struct SpinLock {
  std::uint32_t word;
};

/// Holds a lock for the length of a scope.
class SpinGuard {
 public:
  explicit SpinGuard(SpinLock& lock) : word_(&lock.word) {
    while (__atomic_exchange_n(word_, 1, __ATOMIC_ACQUIRE) != 0) {
      // Plain reads leave the cache line shared until the holder lets go.
      while (__atomic_load_n(word_, __ATOMIC_RELAXED) != 0) {
      }
    }
  }
  ~SpinGuard() { __atomic_store_n(word_, 0, __ATOMIC_RELEASE); }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;

 private:
  std::uint32_t* word_;
};

}  // namespace qsvmon
