#include "base/clock.h"

#include <chrono>
#include <ctime>
#include <optional>

#include "base/text.h"

namespace tarnvisor {

namespace {
std::optional<int64_t> fixedTime;
const char* const dayNames[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
const char* const monthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                  "July",    "August",   "September", "October", "November", "December"};
}  // namespace

int64_t currentTime() { return fixedTime ? *fixedTime : static_cast<int64_t>(std::time(nullptr)); }

double steadySeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

LocalTime localTime(int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (!localtime_r(&time, &parts)) return {};
  return {parts.tm_year + 1900, parts.tm_mon, parts.tm_mday, parts.tm_hour,
          parts.tm_min,         parts.tm_sec, parts.tm_wday};
}

std::string longDateTime(int64_t seconds) {
  const LocalTime t = localTime(seconds);
  return format("%s, %s %02i, %i, %02i:%02i:%02i", dayNames[t.weekday], monthNames[t.month], t.day, t.year,
                t.hour, t.minute, t.second);
}

std::string ascTime(int64_t seconds) {
  const LocalTime t = localTime(seconds);
  return format("%.3s %.3s %2i %02i:%02i:%02i %i\n", dayNames[t.weekday], monthNames[t.month], t.day, t.hour,
                t.minute, t.second, t.year);
}

FixedClock::FixedClock(int64_t seconds) { fixedTime = seconds; }
FixedClock::~FixedClock() { fixedTime.reset(); }

}  // namespace tarnvisor
