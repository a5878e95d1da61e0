// Time: seconds since 1970 for what is stored, a steady count for what is measured, and the two texts that
// times are shown as. Names of days and months are English whatever the locale.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tarnvisor {

// Seconds since 1970 (UTC).
int64_t currentTime();
// Seconds on a clock that never jumps; only differences mean anything.
double steadySeconds();

struct LocalTime {
  int year = 1970;  // full year
  int month = 0;    // 0 to 11
  int day = 1;      // 1 to 31
  int hour = 0, minute = 0, second = 0;
  int weekday = 0;  // 0 is Sunday
};
LocalTime localTime(int64_t seconds);

// "Tuesday, March 14, 1995, 12:41:29": the long local date and time that users see everywhere.
std::string longDateTime(int64_t seconds);
// "Tue Mar 14 12:41:29 1995\n": the log's form.
std::string ascTime(int64_t seconds);

// While one lives, currentTime() answers with it (tests).
class FixedClock {
 public:
  explicit FixedClock(int64_t seconds);
  ~FixedClock();
  FixedClock(const FixedClock&) = delete;
  FixedClock& operator=(const FixedClock&) = delete;
};

}  // namespace tarnvisor
