#include "device/date_utilities.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <tuple>

#include "platform/linux/linux_clock.h"
#include "orvanta/testing/virtual_clock.h"
#include "support/civil_time.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

using testing::ScopedTimeZone;
using testing::utcSeconds;
using testing::VirtualClock;

TEST(GetMinutesTest, CountsWholeMinutesEitherWayTruncatingTowardZero) {
  const double now = 1700000000.25;
  const VirtualClock clock(Date{now});
  EXPECT_EQ(getMinutes(Date{now - 119.9}, clock), 1);
  EXPECT_EQ(getMinutes(Date{now + 119.9}, clock), 1);
  EXPECT_EQ(getMinutes(Date{now - 59.9}, clock), 0);
  // Absurd dates give an answer instead of undefined behaviour.
  EXPECT_GT(getMinutes(Date{-1e300}, clock), 0);
  EXPECT_EQ(getMinutes(Date{std::numeric_limits<double>::quiet_NaN()}, clock), 0);
}

// Every instant of the local day that starts at dayStart (seconds) maps to
// dayStart * 1000; the next day starts after lengthHours.
void expectOneStartForTheWholeDay(const Clock& clock, long long dayStart, int lengthHours) {
  const long long nextStart =
      getStartDate(Date{static_cast<double>(dayStart + lengthHours * 3600 + 1800)}, clock) / 1000;
  ASSERT_EQ(nextStart - dayStart, lengthHours * 3600LL);
  for (long long t = dayStart; t < nextStart; t += 599) {
    ASSERT_EQ(getStartDate(Date{static_cast<double>(t) + 0.999}, clock), dayStart * 1000)
        << "at " << t;
  }
  EXPECT_EQ(getStartDate(Date{static_cast<double>(nextStart - 1)}, clock), dayStart * 1000);
  EXPECT_EQ(getStartDate(Date{static_cast<double>(nextStart)}, clock), nextStart * 1000);
}

TEST(GetStartDateTest, IsLocalMidnightInFixedOffsetZonesAndBefore1970) {
  for (const long offset : {0L, 19800L, -34200L, 50400L}) {
    SCOPED_TRACE(offset);
    expectOneStartForTheWholeDay(VirtualClock(Date{0}, offset), utcSeconds(2024, 2, 29) - offset,
                                 24);
  }
  // 1969-12-31 23:59:59.5 local: the day before, not truncated toward 1970.
  EXPECT_EQ(getStartDate(Date{-3600.5}, VirtualClock(Date{0}, 3600)), (-3600 - 86400) * 1000LL);
}

TEST(GetStartDateTest, OneStartForEveryInstantOfADaylightSavingDay) {
  struct Day {
    const char* zone;
    int year, month, day;
    int hours;             // length of that local day
    int midnightHour = 0;  // where the day starts, when midnight is skipped
  };
  std::string missing;
  for (const Day day :
       {Day{"Europe/Berlin", 2024, 3, 31, 23}, Day{"Europe/Berlin", 2024, 10, 27, 25},
        Day{"Australia/Adelaide", 2024, 10, 6, 23},
        // Clocks went from 00:00 to 01:00, so the day began at 01:00.
        Day{"America/Sao_Paulo", 2018, 11, 4, 23, 1}}) {
    if (!ScopedTimeZone::installed(day.zone)) {
      missing += std::string(" ") + day.zone;
      continue;
    }
    SCOPED_TRACE(std::string(day.zone) + " " + std::to_string(day.month) + "-" +
                 std::to_string(day.day));
    ScopedTimeZone zone(day.zone);
    const LinuxClock clock;
    const LocalTime noon = testing::wallTime(day.year, day.month, day.day, 12, 0);
    const long long dayStart =
        getStartDate(Date{static_cast<double>(clock.fromLocal(noon))}, clock) / 1000;
    const LocalTime start = clock.toLocal(dayStart);
    EXPECT_EQ(std::tuple(start.day, start.hour, start.minute),
              std::tuple(day.day, day.midnightHour, 0));
    expectOneStartForTheWholeDay(clock, dayStart, day.hours);
  }
  if (!missing.empty()) GTEST_SKIP() << "not installed:" << missing;
}

}  // namespace
}  // namespace orvanta
