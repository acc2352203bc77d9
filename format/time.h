#pragma once

#include <cstddef>
#include <cstdint>

namespace qsvmon {

// Times are unsigned 32-bit seconds since the epoch and are shown in local time. The conversions
// are cached, so that a row costs no system call; one thread at a time.

/// A local date and time of day; month and day count from 1.
struct LocalTime {
  int year;
  int month;
  int day;
  int hour;
  int minute;
  int second;
};

/// What localtime gives for `seconds`.
LocalTime local_time(std::uint32_t seconds);

constexpr std::size_t kTimeTextBytes = 19;
constexpr std::size_t kDateTextBytes = 10;

/// Writes "2024-03-05/07:08:09" and a NUL to `dst` (kTimeTextBytes + 1 bytes).
void format_time(char* dst, std::uint32_t seconds);

/// Writes the same kTimeTextBytes bytes without a NUL and returns their end.
char* format_local_time(char* dst, std::uint32_t seconds);

/// Writes "2024-03-05" (kDateTextBytes bytes, no NUL) and returns its end.
char* format_local_date(char* dst, std::uint32_t seconds);

/// Prints as `format_time` writes.
struct LocalTimeText {
  static constexpr std::size_t kMostBytes = kTimeTextBytes;
  std::uint32_t seconds;
};
inline char* write_value(char* at, LocalTimeText time) {
  return format_local_time(at, time.seconds);
}

/// Reads the process's time zone anew and forgets every cached conversion: for a process that
/// changes TZ after it has shown a time.
void reset_local_time();

}  // namespace qsvmon
