// Instants written as UTC calendar fields, so tests read as the dates they mean.
#pragma once

#include <chrono>

#include "orvanta/platform/clock.h"

namespace orvanta::testing {

// Seconds since 1970 of y-m-d h:mi:s UTC.
inline long long utcSeconds(int y, unsigned m, unsigned d, int h = 0, int mi = 0, int s = 0) {
  using namespace std::chrono;
  const sys_days day{year{y} / month{m} / std::chrono::day{d}};
  return static_cast<long long>(day.time_since_epoch().count()) * 86400 + h * 3600 + mi * 60 + s;
}

// Calendar fields of a wall time, as a clock's local conversions take them.
inline LocalTime wallTime(int year, int month, int day, int hour, int minute, int second = 0, int weekday = 0) {
  LocalTime f;
  f.year = year;
  f.month = month;
  f.day = day;
  f.hour = hour;
  f.minute = minute;
  f.second = second;
  f.weekday = weekday;
  return f;
}

}  // namespace orvanta::testing
