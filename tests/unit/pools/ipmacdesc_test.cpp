#include "pools/ipmacdesc.h"

#include <sys/mman.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <thread>
#include <vector>

#include "tests/unit/pools/pool_samples.h"

namespace qsvmon {
namespace {

using namespace pool_samples;

static_assert(offsetof(IpMacDesc, next) == 0 && offsetof(IpMacDesc, key_len) == 8);
static_assert(offsetof(IpMacDesc, pid) == 10 && offsetof(IpMacDesc, key) == 12);
static_assert(offsetof(IpMacDesc, desc) == 18 && sizeof(IpMacDesc) == 56);

constexpr Bytes4 kTen = {10, 0, 0, 1};
constexpr Bytes6 kMac = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};

class IpMac : public PoolTest<ipmacdesc_release> {
 protected:
  IpMac() { EXPECT_EQ(ipmacdesc_init(), 0); }
  static std::string line(const std::string& rest) { return error_of(ipmacdesc_line, rest); }
  static const IpMacDesc* find(Bytes4 ip) { return ipmacdesc_find(ip.data(), 4); }
  static const IpMacDesc* find(Bytes6 mac) { return ipmacdesc_find(mac.data(), 6); }
};

TEST_F(IpMac, StoresAnIpv4Address) {
  EXPECT_EQ(line("m=10.0.0.1 d=office pid=7"), "");
  const IpMacDesc* const entry = find(kTen);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->key_len, 4);
  EXPECT_EQ(entry->pid, 7);
  EXPECT_STREQ(entry->desc, "office");
  const std::uint8_t key[6] = {10, 0, 0, 1, 0, 0};
  EXPECT_EQ(std::memcmp(entry->key, key, 6), 0);
  EXPECT_EQ(ipmacdesc_count(), 1U);
}

TEST_F(IpMac, StoresAMacInEachNotationThatIsNoIpv4) {
  for (const char* text : {"00:11:22:33:44:55", "0-11-22-33-44-55", "0:11:22:33:44:155"}) {
    EXPECT_EQ(line(std::string("ip=") + text + " d=" + text), "") << text;
    ASSERT_NE(find(kMac), nullptr);
    EXPECT_STREQ(find(kMac)->desc, text);
    EXPECT_EQ(find(kMac)->key_len, 6);
  }
  EXPECT_EQ(ipmacdesc_count(), 1U);
}

TEST_F(IpMac, FourNumbersAreAnAddressWhateverFollows) {
  struct Case {
    const char* text;
    Bytes4 key;
  };
  constexpr Case kCases[] = {
      {"256.1.1.1x", {0, 1, 1, 1}},
      {"-1.+2.003.4", {255, 2, 3, 4}},
      {"00.11.22.33.44.55", {0, 11, 22, 33}},  // a MAC with dots
      {"4294967297.1.1.2", {1, 1, 1, 2}},
      {"99999999999999999999.1.1.3", {255, 1, 1, 3}},
      {"-99999999999999999999.1.1.4", {0, 1, 1, 4}},
      {"1.2.3.4/24", {1, 2, 3, 4}},
      {"1.\v2.3.5", {1, 2, 3, 5}},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(line(std::string("ip=") + c.text + " d=" + c.text), "") << c.text;
    ASSERT_NE(find(c.key), nullptr) << c.text;
    EXPECT_STREQ(find(c.key)->desc, c.text);
  }
}

TEST_F(IpMac, RejectsOtherAddresses) {
  for (const char* text : {"", "1", "1.2.3", "1.2.3.", "1.2..3", "1 .2.3.4", "host", "1:2:3:4:5",
                           "zz:11:22:33:44:55", "1.2.3.-", "-"}) {
    EXPECT_EQ(line(std::string("ip=") + text + " d=x"), "INV_IPMAC") << text;
  }
  EXPECT_EQ(line("m=10.0.0.1 d=x ip=bad"), "INV_IPMAC");
  EXPECT_EQ(ipmacdesc_count(), 0U);
}

TEST_F(IpMac, AnAddressClearsWhatCameBeforeIt) {
  EXPECT_EQ(line("d=office m=10.0.0.1"), "NO_DESC");
  EXPECT_EQ(find(kTen), nullptr);
  EXPECT_EQ(line("pid=9 m=10.0.0.1 d=office"), "");
  EXPECT_EQ(find(kTen)->pid, 0);
  EXPECT_EQ(line("m=10.0.0.2 d=a pid=3 ip=10.0.0.3 d=b"), "");
  EXPECT_EQ(find(Bytes4{10, 0, 0, 2}), nullptr);
  EXPECT_STREQ(find(Bytes4{10, 0, 0, 3})->desc, "b");
  EXPECT_EQ(find(Bytes4{10, 0, 0, 3})->pid, 0);
}

TEST_F(IpMac, NeedsADescriptionAndThenAnAddress) {
  EXPECT_EQ(line("m=10.0.0.1"), "NO_DESC");
  EXPECT_EQ(line("m=10.0.0.1 d="), "NO_DESC");
  EXPECT_EQ(line("m=10.0.0.1 d=\"\""), "NO_DESC");
  EXPECT_EQ(line("pid=3"), "NO_DESC");
  EXPECT_EQ(line("d=x"), "INV_LEN");
  EXPECT_EQ(line("m=10.0.0.1 stop d=x"), "NO_DESC");
  EXPECT_EQ(ipmacdesc_count(), 0U);
}

TEST_F(IpMac, UpdatesTheEntryOfAnAddress) {
  EXPECT_EQ(line("m=10.0.0.1 d=a"), "");
  const IpMacDesc* const entry = find(kTen);
  EXPECT_EQ(line("ip=10.0.0.1 d=b pid=3"), "");
  EXPECT_EQ(find(kTen), entry);
  EXPECT_EQ(ipmacdesc_count(), 1U);
  EXPECT_STREQ(entry->desc, "b");
  EXPECT_EQ(entry->pid, 3);
}

TEST_F(IpMac, CutsTextAndNumbersToTheirFields) {
  EXPECT_EQ(line("m=10.0.0.1 pid=65538 d=123456789012345678901234567890123456789"), "");
  EXPECT_STREQ(find(kTen)->desc, "123456789012345678901234567890123");  // 33 characters
  EXPECT_EQ(find(kTen)->pid, 2);
  EXPECT_EQ(line("m=10.0.0.1 d=\"quoted\" pid=x unknown=1"), "");
  EXPECT_STREQ(find(kTen)->desc, "quoted");
  EXPECT_EQ(find(kTen)->pid, 0);
}

TEST_F(IpMac, KeysOfDifferentLengthAreDifferent) {
  const std::uint8_t bytes[6] = {10, 0, 0, 1, 0, 0};
  EXPECT_EQ(line("m=10.0.0.1 d=ip"), "");
  EXPECT_EQ(ipmacdesc_find(bytes, 6), nullptr);
  EXPECT_EQ(line("m=0a:0:0:1:0:0 d=mac"), "");
  EXPECT_STREQ(ipmacdesc_find(bytes, 6)->desc, "mac");
  EXPECT_STREQ(ipmacdesc_find(bytes, 4)->desc, "ip");
  EXPECT_EQ(ipmacdesc_find(bytes, 5), nullptr);
  EXPECT_EQ(ipmacdesc_find(bytes, 0), nullptr);
}

TEST_F(IpMac, OperationsOnMacs) {
  char dest[34] = "kept";
  EXPECT_EQ(ipmacdesc_getmacdesc(kMac.data(), dest), -1);
  EXPECT_EQ(ipmacdesc_getpid(kMac.data()), 0);
  EXPECT_STREQ(dest, "kept");
  EXPECT_EQ(line("m=00:11:22:33:44:55 d=printer pid=12"), "");
  EXPECT_EQ(ipmacdesc_getpid(kMac.data()), 12);
  EXPECT_EQ(ipmacdesc_getmacdesc(kMac.data(), dest), 0);
  EXPECT_STREQ(dest, "printer");
  EXPECT_EQ(ipmacdesc_setmacdesc(kMac.data(), "scanner"), 0);
  EXPECT_EQ(ipmacdesc_getdesc(kMac.data(), 6, dest), 0);
  EXPECT_STREQ(dest, "scanner");
  EXPECT_EQ(ipmacdesc_getpid(kMac.data()), 0);  // set to 0 with the description
  EXPECT_EQ(ipmacdesc_getdesc(kMac.data(), 4, dest), -1);
  EXPECT_EQ(ipmacdesc_getdesc(kMac.data(), 6, dest, 5), 0);
  EXPECT_STREQ(dest, "scan");
}

TEST_F(IpMac, SettingByEntryTakesThePidBesideIt) {
  IpMacDesc entry{};
  entry.key_len = 4;
  entry.pid = 5;
  std::memcpy(entry.key, kTen.data(), 4);
  std::strcpy(entry.desc, "set");
  const IpMacDesc* const stored = ipmacdesc_set(entry, 9);
  ASSERT_EQ(stored, find(kTen));
  EXPECT_EQ(stored->pid, 9);
  EXPECT_EQ(ipmacdesc_set(*stored, 9), stored);  // the entry itself
  EXPECT_STREQ(stored->desc, "set");
  entry.key_len = 5;
  EXPECT_EQ(ipmacdesc_set(entry, 9), nullptr);
}

TEST_F(IpMac, AFullPoolDropsNewAddressesAndUpdatesOldOnes) {
  for (int i = 0; i < 4096; ++i) {  // all with the same last two octets
    const std::string ip = "m=" + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".7.7";
    ASSERT_EQ(line(ip + " d=n" + std::to_string(i)), "");
  }
  EXPECT_EQ(ipmacdesc_count(), 4096U);
  EXPECT_EQ(line("m=10.0.0.1 d=late"), "");
  EXPECT_EQ(find(kTen), nullptr);
  EXPECT_EQ(ipmacdesc_setmacdesc(kMac.data(), "late"), -1);
  EXPECT_EQ(ipmacdesc_count(), 4096U);
  EXPECT_EQ(line("m=15.255.7.7 d=new"), "");
  EXPECT_STREQ(find(Bytes4{15, 255, 7, 7})->desc, "new");
  EXPECT_STREQ(find(Bytes4{0, 0, 7, 7})->desc, "n0");
  EXPECT_STREQ(find(Bytes4{1, 2, 7, 7})->desc, "n258");
  EXPECT_EQ(find(Bytes4{16, 0, 7, 7}), nullptr);
}

TEST_F(IpMac, TheFilterKeepsNearlyAllOthersOut) {
  const auto passes = [](Bytes4 ip) { return ipmacdesc_may_have(ip.data(), 4); };
  const auto others = [&] {  // of 65,536 addresses without a description
    int count = 0;
    for (int i = 0; i < 65536; ++i) {
      const auto octet = [&](int shift) { return static_cast<std::uint8_t>(i >> shift); };
      count += passes({10, octet(8), octet(0), 8}) ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(others(), 0);
  for (int i = 0; i < 4096; ++i) {
    const std::string ip = std::to_string(i / 256) + "." + std::to_string(i % 256);
    ASSERT_EQ(line("m=10." + ip + ".7 d=n"), "");
    ASSERT_TRUE(passes({10, static_cast<std::uint8_t>(i / 256), static_cast<std::uint8_t>(i), 7}));
  }
  EXPECT_EQ(line("m=00:11:22:33:44:55 d=full"), "");
  EXPECT_FALSE(ipmacdesc_may_have(kMac.data(), 6));
  EXPECT_LT(others(), 65536 / 24);  // one in 32 is to be expected
  ipmacdesc_init();
  EXPECT_EQ(others(), 0);
}

TEST_F(IpMac, EveryByteOfAMacCounts) {
  EXPECT_EQ(line("m=00:11:22:33:44:55 d=full"), "");
  EXPECT_TRUE(ipmacdesc_may_have(kMac.data(), 6));
  for (std::size_t at = 0; at < kMac.size(); ++at) {
    Bytes6 other = kMac;
    int passes = 0;
    for (int value = 0; value < 256; ++value) {
      other[at] = static_cast<std::uint8_t>(value);
      passes += ipmacdesc_may_have(other.data(), 6) ? 1 : 0;
    }
    EXPECT_EQ(passes, 1) << at;
  }
}

TEST_F(IpMac, ThreadsShareThePool) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 1000; ++i) {  // the same addresses by every thread
        const Bytes6 mac = {
            1, 2, 3, 4, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
        EXPECT_EQ(ipmacdesc_setmacdesc(mac.data(), "shared"), 0);
        EXPECT_NE(find(mac), nullptr);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ipmacdesc_count(), 1000U);
}

/// A page whose first write finds a writer at work: the fault lets another thread try to change an
/// entry before it lets the write go on.
class PageThatWaits {
 public:
  PageThatWaits() {
    bytes_ = ::mmap(nullptr, kBytes, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0);
    EXPECT_NE(bytes_, MAP_FAILED);
    is_reached = is_changed = was_changed_before = false;
    struct sigaction action = {};
    action.sa_handler = on_fault;
    ::sigaction(SIGSEGV, &action, &segv_before_);
    ::sigaction(SIGBUS, &action, &bus_before_);
  }
  ~PageThatWaits() {
    ::sigaction(SIGSEGV, &segv_before_, nullptr);
    ::sigaction(SIGBUS, &bus_before_, nullptr);
    ::munmap(bytes_, kBytes);
  }

  static char* text() { return static_cast<char*>(bytes_); }
  static inline std::atomic<bool> is_reached = false;
  static inline std::atomic<bool> is_changed = false;          ///< the other thread is done
  static inline std::atomic<bool> was_changed_before = false;  ///< so before the write went on

 private:
  static constexpr std::size_t kBytes = 4096;

  static void on_fault(int) {
    is_reached = true;
    constexpr timespec kLongEnough = {0, 100000000};
    ::nanosleep(&kLongEnough, nullptr);
    was_changed_before = is_changed.load();
    ::mprotect(bytes_, kBytes, PROT_READ | PROT_WRITE);
  }

  static inline void* bytes_ = nullptr;
  struct sigaction segv_before_ = {};
  struct sigaction bus_before_ = {};
};

TEST_F(IpMac, NothingChangesAnEntryWhileItIsCopied) {
  ASSERT_EQ(ipmacdesc_setmacdesc(kMac.data(), "before"), 0);
  const PageThatWaits page;
  std::thread writer([] {
    while (!PageThatWaits::is_reached) std::this_thread::yield();
    EXPECT_EQ(ipmacdesc_setmacdesc(kMac.data(), "after"), 0);
    PageThatWaits::is_changed = true;
  });
  EXPECT_EQ(ipmacdesc_getmacdesc(kMac.data(), PageThatWaits::text()), 0);
  writer.join();
  EXPECT_FALSE(PageThatWaits::was_changed_before);
  EXPECT_STREQ(PageThatWaits::text(), "before");
  EXPECT_STREQ(find(kMac)->desc, "after");
}

// The description is always 33 equal letters; a copy of two kinds was taken while it was written.
TEST_F(IpMac, AReaderGetsTheWholeDescriptionWhileAWriterChangesIt) {
  const auto letters = [](int i) { return std::string(33, static_cast<char>('a' + i % 2)); };
  ASSERT_EQ(ipmacdesc_setmacdesc(kMac.data(), letters(0).c_str()), 0);
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 0; !done; ++i) ipmacdesc_setmacdesc(kMac.data(), letters(i).c_str());
  });
  int torn = 0;
  char dest[kIpMacDescBytes];
  for (int i = 0; i < 20000; ++i) {
    ASSERT_EQ(ipmacdesc_getmacdesc(kMac.data(), dest), 0);
    if (dest != letters(dest[0] - 'a')) ++torn;
    ASSERT_EQ(ipmacdesc_getpid(kMac.data()), 0);
  }
  done = true;
  writer.join();
  EXPECT_EQ(torn, 0);
}

TEST_F(IpMac, AFreshPoolIsEmptyAndOldEntriesStayValid) {
  EXPECT_EQ(line("m=10.0.0.1 d=a"), "");
  const IpMacDesc* const entry = find(kTen);
  EXPECT_EQ(ipmacdesc_init(), 0);
  EXPECT_EQ(find(kTen), nullptr);
  EXPECT_EQ(ipmacdesc_count(), 0U);
  EXPECT_STREQ(entry->desc, "a");
}

TEST(IpMacWithoutAPool, FindsAndSetsNothing) {
  ipmacdesc_release();
  char dest[34];
  EXPECT_FALSE(ipmacdesc_ready());
  EXPECT_EQ(ipmacdesc_count(), 0U);
  EXPECT_EQ(ipmacdesc_find(kMac.data(), 6), nullptr);
  EXPECT_EQ(ipmacdesc_getmacdesc(kMac.data(), dest), -1);
  EXPECT_EQ(ipmacdesc_getpid(kMac.data()), 0);
  EXPECT_EQ(ipmacdesc_setmacdesc(kMac.data(), "x"), -1);
  EXPECT_EQ(error_of(ipmacdesc_line, "m=10.0.0.1 d=x"), "");
}

}  // namespace
}  // namespace qsvmon
