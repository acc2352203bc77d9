#include "pools/spin_lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace qsvmon {
namespace {

TEST(SpinLock, IsFreeInZeroedMemoryAndAfterItsGuard) {
  SpinLock lock{};
  for (int i = 0; i < 3; ++i) {
    const SpinGuard guard(lock);
    EXPECT_EQ(lock.word, 1U);
  }
  EXPECT_EQ(lock.word, 0U);
}

TEST(SpinLock, ASecondHolderWaitsForTheFirst) {
  SpinLock lock{};
  std::string order;
  std::thread second;
  {
    const SpinGuard guard(lock);
    second = std::thread([&] {
      const SpinGuard waits(lock);
      order += "second";
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    order += "first, ";
  }
  second.join();
  EXPECT_EQ(order, "first, second");
}

}  // namespace
}  // namespace qsvmon
