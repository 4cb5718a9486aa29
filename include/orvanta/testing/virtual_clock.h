#pragma once

#include <memory>
#include <mutex>

#include "orvanta/platform/clock.h"

namespace orvanta::testing {

// A clock whose time moves only when the test moves it. Its zone is a fixed
// UTC offset, or the rules of another clock (for daylight-saving tests, a
// Linux clock under a chosen TZ). Weekday names are English. Thread-safe.
class VirtualClock : public Clock {
 public:
  explicit VirtualClock(Date start = Date{1700000000}, long utcOffsetSeconds = 0);
  VirtualClock(Date start, std::shared_ptr<const Clock> zoneRules);

  Date now() const override;
  LocalTime toLocal(long long t) const override;
  long long fromLocal(const LocalTime& local) const override;
  std::string weekdayName(int weekday) const override;

  void set(Date now);
  void advance(double seconds);

 private:
  mutable std::mutex mutex_;
  Date now_;
  long utcOffsetSeconds_;
  std::shared_ptr<const Clock> zoneRules_;
};

}  // namespace orvanta::testing
