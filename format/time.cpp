#include "format/time.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "format/number.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kBlockSeconds = 900;
constexpr std::uint32_t kSlots = 4096;  // 42 days of blocks

/// What the times of a block of 900 seconds have in common, in one cache line.
struct alignas(32) Block {
  std::uint32_t key;              ///< number of the block plus 1; 0 = empty
  std::uint32_t shift;            ///< from a second to its local time of day, modulo 2^32
  char date[kDateTextBytes + 1];  ///< with the "/" after it
  bool varies;                    ///< its times are converted second by second
};

Block blocks[kSlots];
bool zone_read = false;

/// The C library's answer. It reads the zone once, here, not at every call as localtime does. A
/// damaged zone file may ask for any year, and for any number of leap seconds at once: the year is
/// cut to four digits, the second to two.
LocalTime convert(std::uint32_t seconds) {
  if (!zone_read) ::tzset();
  zone_read = true;
  const auto when = static_cast<std::time_t>(seconds);
  std::tm tm{};
  ::localtime_r(&when, &tm);  // fails for years beyond an int alone
  const int year = std::clamp(tm.tm_year, -1900, 9999 - 1900) + 1900;
  const int second = std::clamp(tm.tm_sec, 0, 99);
  return LocalTime{year, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, second};
}

char* put_three(char* dst, unsigned first, char between, unsigned second, unsigned third) {
  dst = write_two_digits(dst, first);
  *dst++ = between;
  dst = write_two_digits(dst, second);
  *dst++ = between;
  return write_two_digits(dst, third);
}

char* put_date(char* dst, const LocalTime& t) {
  const auto year = static_cast<unsigned>(t.year);
  dst = write_two_digits(dst, year / 100);
  return put_three(dst, year % 100, '-', static_cast<unsigned>(t.month),
                   static_cast<unsigned>(t.day));
}

std::uint32_t of_day(const LocalTime& t) {
  return static_cast<std::uint32_t>(t.hour * 3600 + t.minute * 60 + t.second);
}

/// Converts both ends of a block: a zone changes at most once in 15 minutes. Where it does, where
/// local midnight comes or a leap second shows, the seconds between them have no rule.
[[gnu::noinline]] void fill(Block& block, std::uint32_t number) {
  const std::uint32_t first = number * kBlockSeconds;
  const std::uint32_t last = first + std::min(kBlockSeconds - 1, 0xffffffff - first);
  const LocalTime from = convert(first);
  const LocalTime to = convert(last);
  char end_date[kDateTextBytes];
  put_date(end_date, to);
  *put_date(block.date, from) = '/';
  block.varies = of_day(to) - of_day(from) != last - first || to.second > 59 ||
                 std::memcmp(block.date, end_date, sizeof end_date) != 0;
  block.shift = of_day(from) - first;
  block.key = number + 1;
}

[[gnu::noinline]] char* put_converted(char* dst, std::uint32_t seconds) {
  const LocalTime t = convert(seconds);
  dst = put_date(dst, t);
  *dst++ = '/';
  return put_three(dst, static_cast<unsigned>(t.hour), ':', static_cast<unsigned>(t.minute),
                   static_cast<unsigned>(t.second));
}

}  // namespace

LocalTime local_time(std::uint32_t seconds) {
  return convert(seconds);
}

char* format_local_date(char* dst, std::uint32_t seconds) {
  return put_date(dst, convert(seconds));
}

/// A time of a block that was converted before takes 4 ns, the C library 200 ns. What is rare is
/// not inlined: it would save registers on the stack for every time.
char* format_local_time(char* dst, std::uint32_t seconds) {
  const std::uint32_t number = seconds / kBlockSeconds;
  Block& block = blocks[number % kSlots];
  if (block.key != number + 1) fill(block, number);
  if (block.varies) return put_converted(dst, seconds);
  std::memcpy(dst, block.date, sizeof block.date);
  const std::uint32_t now = seconds + block.shift;
  return put_three(dst + sizeof block.date, now / 3600, ':', now / 60 % 60, now % 60);
}

void format_time(char* dst, std::uint32_t seconds) {
  *format_local_time(dst, seconds) = '\0';
}

void reset_local_time() {
  for (Block& block : blocks) block = {};
  ::tzset();  // at once: the file that TZ names may be another one by the time of the next call
  zone_read = true;
}

}  // namespace qsvmon
