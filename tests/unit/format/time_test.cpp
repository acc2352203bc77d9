#include "format/time.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include "format/printer.h"

using namespace std::literals;

namespace qsvmon {
namespace {

/// Sets the process's time zone for one test.
class Zone {
 public:
  explicit Zone(const char* name) {
    ::setenv("TZ", name, 1);
    reset_local_time();
  }
  ~Zone() {
    ::unsetenv("TZ");
    reset_local_time();
  }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;
};

std::string time_text(std::uint32_t seconds) {
  char dst[21];
  std::memset(dst, '#', sizeof dst);
  format_time(dst, seconds);
  EXPECT_EQ(dst[19], '\0');
  EXPECT_EQ(dst[20], '#');
  return dst;
}

struct ZoneCase {
  const char* zone;
  std::uint32_t seconds;
  const char* text;
};

constexpr ZoneCase kCases[] = {
    {"UTC", 0u, "1970-01-01/00:00:00"},
    {"UTC", 1u, "1970-01-01/00:00:01"},
    {"UTC", 951782399u, "2000-02-28/23:59:59"},
    {"UTC", 951782400u, "2000-02-29/00:00:00"},
    {"UTC", 951868799u, "2000-02-29/23:59:59"},
    {"UTC", 951868800u, "2000-03-01/00:00:00"},
    {"UTC", 2147483648u, "2038-01-19/03:14:08"},  // times are unsigned
    {"UTC", 4107542399u, "2100-02-28/23:59:59"},  // no leap year
    {"UTC", 4107542400u, "2100-03-01/00:00:00"},
    {"UTC", 4294967295u, "2106-02-07/06:28:15"},
    {"Europe/Berlin", 0u, "1970-01-01/01:00:00"},
    {"Europe/Berlin", 1711846799u, "2024-03-31/01:59:59"},  // an hour is skipped
    {"Europe/Berlin", 1711846800u, "2024-03-31/03:00:00"},
    {"Europe/Berlin", 1729990799u, "2024-10-27/02:59:59"},  // an hour comes twice
    {"Europe/Berlin", 1729990800u, "2024-10-27/02:00:00"},
    {"Europe/Berlin", 4294967295u, "2106-02-07/07:28:15"},
    {"Australia/Lord_Howe", 1712415599u, "2024-04-07/01:59:59"},  // half an hour comes twice
    {"Australia/Lord_Howe", 1712415600u, "2024-04-07/01:30:00"},
    {"Australia/Lord_Howe", 1728142199u, "2024-10-06/01:59:59"},  // half an hour is skipped
    {"Australia/Lord_Howe", 1728142200u, "2024-10-06/02:30:00"},
    {"America/New_York", 0u, "1969-12-31/19:00:00"},  // before the epoch's day
    {"America/New_York", 1710053999u, "2024-03-10/01:59:59"},
    {"America/New_York", 1710054000u, "2024-03-10/03:00:00"},
    {"America/New_York", 1730613599u, "2024-11-03/01:59:59"},
    {"America/New_York", 1730613600u, "2024-11-03/01:00:00"},
    {"Asia/Kathmandu", 504901799u, "1985-12-31/23:59:59"},  // from +5:30 to +5:45
    {"Asia/Kathmandu", 504901800u, "1986-01-01/00:15:00"},
    {"Asia/Kathmandu", 1700000000u, "2023-11-15/03:58:20"},
    {"Pacific/Apia", 1325239199u, "2011-12-29/23:59:59"},  // a whole day is skipped
    {"Pacific/Apia", 1325239200u, "2011-12-31/00:00:00"},
    {"Africa/Monrovia", 0u, "1969-12-31/23:15:30"},         // 44 minutes 30 seconds off UTC
    {"Africa/Monrovia", 63593069u, "1972-01-06/23:59:59"},  // changes within a quarter of an hour
    {"Africa/Monrovia", 63593070u, "1972-01-07/00:44:30"},
    {"Africa/Monrovia", 63593100u, "1972-01-07/00:45:00"},
    // Rules given by hand: the clock goes forward at 02:07:11 local time of 31 March 2024.
    {"AAA-1BBB,M3.5.0/2:07:11,M10.5.0/3", 1711847230u, "2024-03-31/02:07:10"},
    {"AAA-1BBB,M3.5.0/2:07:11,M10.5.0/3", 1711847231u, "2024-03-31/03:07:11"},
};

TEST(Time, LocalTimeAcrossEveryKindOfChange) {
  for (const ZoneCase& c : kCases) {
    const Zone zone(c.zone);
    EXPECT_EQ(time_text(c.seconds), c.text) << c.zone << " " << c.seconds;
    EXPECT_EQ(time_text(c.seconds), c.text) << c.zone << " again " << c.seconds;
  }
}

/// A zone file for the lifetime of a test, and that zone.
class ZoneFile {
 public:
  /// One offset from UTC (seconds, big-endian) and `count` leap seconds, each as its moment and the
  /// sum so far.
  ZoneFile(std::string_view offset, std::string_view leaps, char count) {
    std::string bytes("TZif", 4);
    bytes.append(16, '\0');
    for (const char number : {'\0', '\0', count, '\0', '\1', '\4'}) {
      bytes.append(3, '\0').push_back(number);
    }
    bytes.append(offset).append("\0\0XYZ\0", 6).append(leaps);  // no summer time, the name
    ::close(::mkstemp(path_));
    std::ofstream(path_, std::ios::binary) << bytes;
    ::setenv("TZ", path_, 1);
    reset_local_time();
  }
  explicit ZoneFile(std::string_view offset) : ZoneFile(offset, "", '\0') {}
  ~ZoneFile() {
    ::unlink(path_);
    ::unsetenv("TZ");
    reset_local_time();
  }
  ZoneFile(const ZoneFile&) = delete;
  ZoneFile& operator=(const ZoneFile&) = delete;

 private:
  char path_[32] = "/tmp/qsvmon-zone-XXXXXX";
};

// The first: 59 at once, so that the second one, at 1799, is the last second of a quarter.
TEST(Time, LeapSecondsShow) {
  const ZoneFile zone("\0\0\0\0"sv,
                      "\0\0\0\x3c\0\0\0\x3b"
                      "\0\0\x07\x07\0\0\0\x3c"sv,
                      2);
  EXPECT_EQ(time_text(900), "1970-01-01/00:14:01");
  EXPECT_EQ(time_text(1798), "1970-01-01/00:28:59");
  EXPECT_EQ(time_text(1799), "1970-01-01/00:28:60");
  EXPECT_EQ(time_text(1800), "1970-01-01/00:29:00");
}

// No zone is more than 26 hours off UTC; a damaged file may say so all the same.
TEST(Time, OffsetsThatNoZoneHas) {
  {
    const ZoneFile zone("\x80\0\0\1"sv);  // -2147483647: 24855 days, 3 hours, 14 min and 7 s back
    EXPECT_EQ(time_text(0), "1901-12-13/20:45:53");
    EXPECT_EQ(time_text(4294967295u), "2038-01-19/03:14:08");
  }
  {
    const ZoneFile zone("\xfe\x1e\x7a\x80"sv);  // -31556992: 365 days, 5 hours, 49 min and 52 s
    EXPECT_EQ(time_text(0), "1968-12-31/18:10:08");
    EXPECT_EQ(time_text(20992), "1969-01-01/00:00:00");
    char date[kDateTextBytes];
    format_local_date(date, 0);
    EXPECT_EQ(std::string(date, 10), "1968-12-31");
    EXPECT_EQ(local_time(0).year, 1968);
  }
  {
    const ZoneFile zone("\x7f\xff\xff\xff"sv);  // the same days ahead
    EXPECT_EQ(time_text(0), "2038-01-19/03:14:07");
    EXPECT_EQ(time_text(4294967295u), "2174-02-25/09:42:22");
  }
  {
    const ZoneFile zone("\xff\xfd\x5d\0"sv);  // -172800, the farthest that is kept: two days
    EXPECT_EQ(time_text(0), "1969-12-30/00:00:00");
    EXPECT_EQ(time_text(900), "1969-12-30/00:15:00");
  }
}

// Hundreds of leap seconds in a row are all shown in one minute by the C library.
TEST(Time, LeapSecondsWithoutEnd) {
  std::string leaps;
  for (int i = 0; i < 120; ++i) {  // one more at each second from 59 on
    leaps.append(3, '\0').push_back(static_cast<char>(59 + i));
    leaps.append(3, '\0').push_back(static_cast<char>(1 + i));
  }
  const ZoneFile zone("\0\0\0\0"sv, leaps, 120);
  for (std::uint32_t second = 0; second < 1000; ++second) {
    for (const char c : time_text(second)) EXPECT_TRUE(c >= '-' && c <= ':') << second;
  }
}

TEST(Time, NeighboursShareNoWrongAnswer) {
  const Zone zone("Europe/Berlin");
  EXPECT_EQ(time_text(1711846800), "2024-03-31/03:00:00");
  // 4096 blocks of 900 seconds earlier, in winter: the same slot of the offsets.
  EXPECT_EQ(time_text(1711846800 - 4096 * 900), "2024-02-17/10:00:00");
  EXPECT_EQ(time_text(1711846800), "2024-03-31/03:00:00");
  // 64 days later: the same slot of the dates.
  EXPECT_EQ(time_text(1711846800 + 64 * 86400), "2024-06-03/03:00:00");
  EXPECT_EQ(time_text(1711846800), "2024-03-31/03:00:00");
  EXPECT_EQ(time_text(1711847699), "2024-03-31/03:14:59");  // last of the block
  EXPECT_EQ(time_text(1711847700), "2024-03-31/03:15:00");
}

// Times that follow each other, as rows of a sorted list do, are made of the one before.
TEST(Time, EverySecondOfTwoDaysInTurn) {
  const Zone zone("AAA+0:44:30");  // local midnight lies within a quarter of an hour
  for (std::uint32_t second = 0; second < 2 * 86400; ++second) {
    const std::uint32_t of_day = (second + 86400 - 2670) % 86400;
    const char* date = second < 2670 ? "1969-12-31" : second < 89070 ? "1970-01-01" : "1970-01-02";
    char expected[32];
    std::snprintf(expected, sizeof expected, "%s/%02u:%02u:%02u", date, of_day / 3600,
                  of_day / 60 % 60, of_day % 60);
    ASSERT_EQ(time_text(second), expected);
  }
  EXPECT_EQ(time_text(4294967295u), "2106-02-07/05:43:45");
  EXPECT_EQ(time_text(4294967294u), "2106-02-07/05:43:44");
}

TEST(Time, FieldsAndDate) {
  const Zone zone("Asia/Kathmandu");
  const LocalTime t = local_time(1700000000);
  EXPECT_EQ(t.year, 2023);
  EXPECT_EQ(t.month, 11);
  EXPECT_EQ(t.day, 15);
  EXPECT_EQ(t.hour, 3);
  EXPECT_EQ(t.minute, 58);
  EXPECT_EQ(t.second, 20);
  char date[kDateTextBytes];
  EXPECT_EQ(format_local_date(date, 1700000000), date + 10);
  EXPECT_EQ(std::string(date, 10), "2023-11-15");
}

// The clock moves by 44 minutes 30 seconds in the middle of a quarter of an hour.
TEST(Time, FieldsAndDateWhereTheZoneChanges) {
  const Zone zone("Africa/Monrovia");
  char date[kDateTextBytes];
  format_local_date(date, 63593069);
  EXPECT_EQ(std::string(date, 10), "1972-01-06");
  format_local_date(date, 63593070);
  EXPECT_EQ(std::string(date, 10), "1972-01-07");
  const LocalTime before = local_time(63593069);
  EXPECT_EQ(before.day, 6);
  EXPECT_EQ(before.hour, 23);
  EXPECT_EQ(before.minute, 59);
  EXPECT_EQ(before.second, 59);
  const LocalTime after = local_time(63593070);
  EXPECT_EQ(after.day, 7);
  EXPECT_EQ(after.hour, 0);
  EXPECT_EQ(after.minute, 44);
  EXPECT_EQ(after.second, 30);
}

TEST(Time, PrintsThroughThePrinter) {
  const Zone zone("UTC");
  MemoryPrinter out;
  out.put('"', LocalTimeText{1709622489}, '"');
  EXPECT_EQ(out.str(), "\"2024-03-05/07:08:09\"");
}

TEST(Time, ResetReadsTheZoneAnew) {
  const Zone first("UTC");
  EXPECT_EQ(time_text(1700000000), "2023-11-14/22:13:20");
  const Zone second("Asia/Kathmandu");
  EXPECT_EQ(time_text(1700000000), "2023-11-15/03:58:20");
}

}  // namespace
}  // namespace qsvmon
