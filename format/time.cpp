#include "format/time.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "format/number.h"

namespace qsvmon {
namespace {

constexpr std::uint32_t kBlockSeconds = 900;
constexpr std::uint32_t kSlots = 4096;  // 42 days of blocks
constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kShiftDays = 365;
/// Zones are within 26 hours of UTC. What a damaged zone file has beyond is left to the C library.
constexpr std::int64_t kFarthestSeconds = 2 * kDaySeconds;
constexpr std::uint32_t kDateSlots = 64;
/// Stands for a block without one offset of at most kFarthestSeconds.
constexpr std::int32_t kVaries = 0x7fffffff;

/// The distance of local time from UTC during one block of 900 seconds.
struct BlockOffset {
  std::uint32_t key;  ///< number of the block plus 1; 0 = empty
  std::int32_t offset_secs;
};

BlockOffset offsets[kSlots];
bool zone_read = false;

/// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
constexpr std::int64_t days_from_date(int year, int month, int day) {
  // Years that begin in March put the leap day at their end.
  const int y = month > 2 ? year : year - 1;
  const int month_from_march = month > 2 ? month - 3 : month + 9;
  const int day_of_year = (153 * month_from_march + 2) / 5 + day - 1;
  const int leap_days = y / 4 - y / 100 + y / 400;
  return std::int64_t{365} * y + leap_days + day_of_year - 719468;
}
static_assert(days_from_date(1970, 1, 1) == 0);
static_assert(days_from_date(2000, 3, 1) == 11017);

/// Fills the date fields from days since 1970-01-01; the inverse of days_from_date.
constexpr void date_from_days(std::int64_t days, LocalTime& t) {
  const auto z = static_cast<std::uint32_t>(days + 719468);  // days since 0000-03-01
  const std::uint32_t era = z / 146097;
  const std::uint32_t day_of_era = z % 146097;
  const std::uint32_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::uint32_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::uint32_t month_from_march = (5 * day_of_year + 2) / 153;
  t.day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
  t.month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
  t.year = static_cast<int>(year_of_era + era * 400 + (t.month <= 2 ? 1 : 0));
}

/// The C library's answer. It reads the zone once, at the first call, not at every one as
/// localtime does. A damaged zone file may ask for any year, and for any number of leap seconds at
/// once: the year is cut to four digits, the second to two.
LocalTime convert(std::uint32_t seconds) {
  const auto when = static_cast<std::time_t>(seconds);
  std::tm tm{};
  ::localtime_r(&when, &tm);  // fails for years beyond an int alone
  const int year = std::clamp(tm.tm_year, -1900, 9999 - 1900) + 1900;
  const int second = std::clamp(tm.tm_sec, 0, 99);
  return LocalTime{year, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, second};
}

std::int64_t offset_of(const LocalTime& t, std::uint32_t seconds) {
  const int into_day = t.hour * 3600 + t.minute * 60 + t.second;
  return days_from_date(t.year, t.month, t.day) * kDaySeconds + into_day - std::int64_t{seconds};
}

/// The offset of a whole block: taken at both ends, since a zone changes at most once in 15
/// minutes. A block in which it changes, or a leap second shows, is converted second by second.
std::int32_t block_offset(std::uint32_t block) {
  const std::uint32_t first = block * kBlockSeconds;
  const std::uint32_t room = 0xffffffff - first;
  const std::uint32_t last = first + (room < kBlockSeconds - 1 ? room : kBlockSeconds - 1);
  const LocalTime from = convert(first);
  const LocalTime to = convert(last);
  const std::int64_t offset = offset_of(from, first);
  // A leap second is as far from UTC as the seconds before it.
  if (offset != offset_of(to, last) || to.second > 59) return kVaries;
  if (offset < -kFarthestSeconds || offset > kFarthestSeconds) return kVaries;
  return static_cast<std::int32_t>(offset);
}

std::int32_t cached_offset(std::uint32_t seconds) {
  const std::uint32_t block = seconds / kBlockSeconds;
  BlockOffset& slot = offsets[block % kSlots];
  if (slot.key != block + 1) {
    if (!zone_read) {
      ::tzset();
      zone_read = true;
    }
    slot = {block + 1, block_offset(block)};
  }
  return slot.offset_secs;
}

char* put_two(char* dst, int value) {
  return write_two_digits(dst, static_cast<unsigned>(value));
}

char* put_date(char* dst, const LocalTime& t) {
  dst = put_two(dst, t.year / 100);
  dst = put_two(dst, t.year % 100);
  *dst++ = '-';
  dst = put_two(dst, t.month);
  *dst++ = '-';
  return put_two(dst, t.day);
}

char* put_clock(char* dst, int hour, int minute, int second) {
  dst = put_two(dst, hour);
  *dst++ = ':';
  dst = put_two(dst, minute);
  *dst++ = ':';
  return put_two(dst, second);
}

/// Seconds since the start of the year before 1970, so that no local time is negative.
/// REQUIRES: `offset` is at most kFarthestSeconds either way.
std::uint64_t shifted_local(std::uint32_t seconds, std::int32_t offset) {
  return static_cast<std::uint64_t>(std::int64_t{seconds} + offset + kShiftDays * kDaySeconds);
}

/// A date as text, by its number of days since the start of the shifted count.
struct DateText {
  std::uint32_t day;  ///< 0 at first, which no time falls on: the count began a year before 1970
  char text[kDateTextBytes + 1];  ///< with the "/" after it
};

DateText dates[kDateSlots];

/// The 11 bytes "2024-03-05/" of a shifted day. Times of the same month find them ready.
const char* date_text(std::uint32_t day) {
  DateText& slot = dates[day % kDateSlots];
  if (slot.day != day) {
    LocalTime t{};
    date_from_days(std::int64_t{day} - kShiftDays, t);
    slot.day = day;
    *put_date(slot.text, t) = '/';
  }
  return slot.text;
}

}  // namespace

LocalTime local_time(std::uint32_t seconds) {
  const std::int32_t offset = cached_offset(seconds);
  if (offset == kVaries) return convert(seconds);
  const std::uint64_t local = shifted_local(seconds, offset);
  LocalTime t{};
  date_from_days(static_cast<std::int64_t>(local / kDaySeconds) - kShiftDays, t);
  const auto of_day = static_cast<int>(local % kDaySeconds);
  t.hour = of_day / 3600;
  t.minute = of_day / 60 % 60;
  t.second = of_day % 60;
  return t;
}

char* format_local_date(char* dst, std::uint32_t seconds) {
  return put_date(dst, local_time(seconds));
}

namespace {

/// The time that was formatted last, for those within the same block: rows of a sorted list follow
/// each other. A time costs 3.2 ns, with the look-ups of offset and date 5.1 ns.
struct LastBlock {
  std::uint32_t first_second = 1;  ///< of the block; above the last one when there is none
  std::uint32_t last_second = 0;
  std::uint32_t of_day;  ///< local time at the first second
  char date[kDateTextBytes + 1];
};

LastBlock last_block;

/// Remembers the block of `seconds` unless local midnight falls into it.
void remember_block(std::uint32_t seconds, std::uint64_t local, const char* date) {
  const std::uint32_t into_block = seconds % kBlockSeconds;
  const auto of_day = static_cast<std::uint32_t>(local % kDaySeconds);
  const std::uint32_t left = kBlockSeconds - 1 - into_block;
  if (of_day < into_block || of_day + left >= kDaySeconds || 0xffffffff - seconds < left) return;
  last_block.first_second = seconds - into_block;
  last_block.last_second = seconds + left;
  last_block.of_day = of_day - into_block;
  std::memcpy(last_block.date, date, sizeof last_block.date);
}

char* put_time_of_day(char* dst, std::uint32_t of_day) {
  return put_clock(dst, static_cast<int>(of_day / 3600), static_cast<int>(of_day / 60 % 60),
                   static_cast<int>(of_day % 60));
}

}  // namespace

char* format_local_time(char* dst, std::uint32_t seconds) {
  constexpr std::size_t kDateBytes = sizeof last_block.date;
  if (last_block.first_second <= seconds && seconds <= last_block.last_second) {
    std::memcpy(dst, last_block.date, kDateBytes);
    return put_time_of_day(dst + kDateBytes, last_block.of_day + seconds - last_block.first_second);
  }
  const std::int32_t offset = cached_offset(seconds);
  if (offset == kVaries) {
    const LocalTime t = convert(seconds);
    dst = put_date(dst, t);
    *dst++ = '/';
    return put_clock(dst, t.hour, t.minute, t.second);
  }
  const std::uint64_t local = shifted_local(seconds, offset);
  const char* const date = date_text(static_cast<std::uint32_t>(local / kDaySeconds));
  remember_block(seconds, local, date);
  std::memcpy(dst, date, kDateBytes);
  return put_time_of_day(dst + kDateBytes, static_cast<std::uint32_t>(local % kDaySeconds));
}

void format_time(char* dst, std::uint32_t seconds) {
  *format_local_time(dst, seconds) = '\0';
}

void reset_local_time() {
  for (BlockOffset& slot : offsets) slot = {};
  last_block = {};
  ::tzset();
  zone_read = true;
}

}  // namespace qsvmon
