#pragma once

#include <array>
#include <string>

#include "orvanta/platform/clock.h"

namespace orvanta {

// The system clock in the process's time zone (TZ, else /etc/localtime), with
// the weekday names of the device locale (LC_ALL / LC_TIME / LANG), read once
// at construction; English when that locale is not available.
//
// The zone is read when the clock is built; a later change of TZ takes effect
// once tzset() has been called. Thread-safe.
class LinuxClock : public Clock {
 public:
  LinuxClock();

  Date now() const override;
  LocalTime toLocal(long long t) const override;
  // Through mktime with the daylight-saving flag left to the zone rules: a
  // wall time skipped by a change is moved forward past the gap, a repeated
  // one reads as one of its two instants.
  long long fromLocal(const LocalTime& local) const override;
  std::string weekdayName(int weekday) const override;

 private:
  std::array<std::string, 7> weekdayNames_;
};

}  // namespace orvanta
