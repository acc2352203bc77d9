// What platform/ asks of the system, tested on the system itself: a plain program, built for
// FreeBSD too and run there. Reports in the Test Anything Protocol.
#include <arpa/inet.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "platform/large_memory.h"
#include "platform/socket_address.h"
#include "platform/system.h"

namespace {

using namespace qsvmon;

int number = 0;
int failures = 0;

void is_true(bool good, const char* what) {
  if (!good) ++failures;
  std::printf("%sok %d %s\n", good ? "" : "not ", ++number, what);
}

constexpr std::size_t kPage = 4096;
constexpr std::size_t kSuperpage = std::size_t{2} << 20;

bool is_zero_and_writable(char* memory, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; i += kPage) {
    if (memory[i] != 0) return false;
  }
  if (memory[bytes - 1] != 0) return false;
  memory[0] = memory[bytes - 1] = 'x';
  return memory[0] == 'x' && memory[bytes - 1] == 'x';
}

std::uintptr_t beyond(const void* memory, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(memory) % alignment;
}

void test_boot_time() {
  BootTime boot{};
  BootTime again{};
  is_true(read_boot_time(boot) && read_boot_time(again), "the kernel says when it was started");
  is_true(boot.seconds > 0 && boot.seconds <= static_cast<std::uint64_t>(std::time(nullptr)),
          "the start lies in the past");
  is_true(boot.microseconds < 1000000, "the microseconds are less than a second");
  is_true(again.seconds - boot.seconds + 1 <= 2, "asked again, it is the same start");
}

void test_memory() {
  constexpr std::size_t kOdd = 3 * kSuperpage + 1;
  auto* whole = static_cast<char*>(large_memory_allocate(kOdd, Pages::kWhole));
  auto* touched = static_cast<char*>(large_memory_allocate(kOdd, Pages::kOnTouch));
  is_true(whole != nullptr && touched != nullptr, "both kinds of memory are there");
  is_true(beyond(whole, kPage) == 0 && beyond(touched, kPage) == 0, "they begin at a page");
#ifdef __FreeBSD__
  is_true(beyond(whole, kSuperpage) == 0, "memory to be filled begins where a superpage can");
#endif
  is_true(is_zero_and_writable(whole, kOdd), "whole memory is zero and can be written to its end");
  is_true(is_zero_and_writable(touched, kOdd), "so is memory by touch");
  large_memory_free(whole, kOdd);
  large_memory_free(touched, kOdd);
  large_memory_free(nullptr, kOdd);
  is_true(large_memory_allocate(std::size_t{1} << 62, Pages::kWhole) == nullptr &&
              large_memory_allocate(std::size_t{1} << 62, Pages::kOnTouch) == nullptr,
          "what no machine has is refused");
}

void test_seed() {
  unsigned char seeds[2][16] = {};
  const unsigned char zero[16] = {};
  random_seed(seeds[0], sizeof seeds[0]);
  random_seed(seeds[1], sizeof seeds[1]);
  is_true(std::memcmp(seeds[0], zero, 16) != 0, "a seed is not zero");
  is_true(std::memcmp(seeds[0], seeds[1], 16) != 0, "two seeds differ");
}

// The first bytes of a record, its family and what it is passed with.
bool record_is(const SocketAddress& address, std::string_view bytes, std::size_t length) {
  return std::memcmp(&address.storage, bytes.data(), bytes.size()) == 0 && address.length == length;
}

void test_addresses() {
  using namespace std::string_view_literals;
  SocketAddress address;
#ifdef __FreeBSD__
  // The length byte is 0 and the family is the second byte.
  constexpr auto kUnix = "\0\1/var/x\0"sv;
  constexpr auto kIpv4 = "\0\2\x1f\x90\x7f\0\0\1\0\0\0\0\0\0\0\0"sv;
  constexpr std::size_t kLongest = 104;
  constexpr std::size_t kUnixBytes = 106;
#else
  constexpr auto kUnix = "\1\0/var/x\0"sv;
  constexpr auto kIpv4 = "\2\0\x1f\x90\x7f\0\0\1\0\0\0\0\0\0\0\0"sv;
  constexpr std::size_t kLongest = 108;
  constexpr std::size_t kUnixBytes = 110;
#endif
  is_true(make_unix_address("/var/x", address) && record_is(address, kUnix, kUnixBytes),
          "the record of a local path");
  make_ipv4_address(htonl(0x7f000001), 8080, address);
  is_true(record_is(address, kIpv4, 16), "the record of an IPv4 address");

  char path[kLongest + 2];
  std::memset(path, 'p', sizeof path);
  path[kLongest] = '\0';
  is_true(make_unix_address(path, address) && address.length == kUnixBytes,
          "the longest path fills the record");
  path[kLongest] = 'p';
  path[kLongest + 1] = '\0';
  is_true(!make_unix_address(path, address), "a longer one is refused");
}

}  // namespace

int main() {
  test_boot_time();
  test_memory();
  test_seed();
  test_addresses();
  std::printf("1..%d\n", number);
  return failures == 0 ? 0 : 1;
}
