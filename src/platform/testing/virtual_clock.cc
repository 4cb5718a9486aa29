#include "orvanta/testing/virtual_clock.h"

#include <array>
#include <chrono>

namespace orvanta::testing {
namespace {

LocalTime civilFields(long long t) {
  using namespace std::chrono;
  const sys_seconds instant{seconds{t}};
  const sys_days day = floor<days>(instant);
  const year_month_day ymd{day};
  const hh_mm_ss hms{instant - day};
  LocalTime local;
  local.year = int(ymd.year());
  local.month = int(unsigned(ymd.month()));
  local.day = int(unsigned(ymd.day()));
  local.hour = int(hms.hours().count());
  local.minute = int(hms.minutes().count());
  local.second = int(hms.seconds().count());
  local.weekday = int(weekday{day}.c_encoding());
  return local;
}

long long civilSeconds(const LocalTime& local) {
  using namespace std::chrono;
  const sys_days day{year{local.year} / month{unsigned(local.month)} / std::chrono::day{unsigned(local.day)}};
  return day.time_since_epoch().count() * 86400LL + local.hour * 3600LL + local.minute * 60LL + local.second;
}

}  // namespace

VirtualClock::VirtualClock(Date start, long utcOffsetSeconds)
    : now_(start), utcOffsetSeconds_(utcOffsetSeconds) {}

VirtualClock::VirtualClock(Date start, std::shared_ptr<const Clock> zoneRules)
    : now_(start), utcOffsetSeconds_(0), zoneRules_(std::move(zoneRules)) {}

Date VirtualClock::now() const {
  std::lock_guard lock(mutex_);
  return now_;
}

LocalTime VirtualClock::toLocal(long long t) const {
  if (zoneRules_) return zoneRules_->toLocal(t);
  LocalTime local = civilFields(t + utcOffsetSeconds_);
  local.utcOffsetSeconds = utcOffsetSeconds_;
  return local;
}

long long VirtualClock::fromLocal(const LocalTime& local) const {
  if (zoneRules_) return zoneRules_->fromLocal(local);
  return civilSeconds(local) - utcOffsetSeconds_;
}

std::string VirtualClock::weekdayName(int weekday) const {
  static const std::array<const char*, 7> names = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};
  return names.at(static_cast<std::size_t>(weekday % 7));
}

void VirtualClock::set(Date now) {
  std::lock_guard lock(mutex_);
  now_ = now;
}

void VirtualClock::advance(double seconds) {
  std::lock_guard lock(mutex_);
  now_.secondsSince1970 += seconds;
}

}  // namespace orvanta::testing
