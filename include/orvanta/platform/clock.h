#pragma once

#include <string>

#include "orvanta/value.h"

namespace orvanta {

// Broken-down local calendar fields of one instant (Gregorian).
struct LocalTime {
  int year = 1970;     // e.g. 2026
  int month = 1;       // 1..12
  int day = 1;         // 1..31
  int hour = 0;        // 0..23
  int minute = 0;      // 0..59
  int second = 0;      // 0..60
  int weekday = 4;     // 0 = Sunday .. 6 = Saturday
  long utcOffsetSeconds = 0;
};

// Wall time and the device's local zone and locale. Thread-safe.
class Clock {
 public:
  virtual ~Clock() = default;
  // Now, wall time.
  virtual Date now() const = 0;
  // The local calendar fields of instant t (seconds since 1970, whole seconds).
  virtual LocalTime toLocal(long long t) const = 0;
  // The instant of the given local calendar fields (weekday and offset
  // ignored). For a time that does not exist or exists twice in the local zone
  // (daylight saving), the zone's usual resolution applies.
  virtual long long fromLocal(const LocalTime& local) const = 0;
  // Full weekday name in the device locale, 0 = Sunday.
  virtual std::string weekdayName(int weekday) const = 0;
};

}  // namespace orvanta
