#include "platform/linux/linux_clock.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/civil_time.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

using testing::ScopedTimeZone;
using testing::utcSeconds;
using testing::wallTime;

void expectWallTime(const LocalTime& f, int year, int month, int day, int hour, int minute, int second) {
  EXPECT_EQ(f.year, year);
  EXPECT_EQ(f.month, month);
  EXPECT_EQ(f.day, day);
  EXPECT_EQ(f.hour, hour);
  EXPECT_EQ(f.minute, minute);
  EXPECT_EQ(f.second, second);
}

TEST(LinuxClockTest, ConvertsInUtcAndInAHalfHourZoneWithDaylightSaving) {
  std::optional<ScopedTimeZone> zone;
  zone.emplace("UTC");
  {
    const LinuxClock clock;
    const LocalTime leapDay = clock.toLocal(utcSeconds(2024, 2, 29, 23, 59, 59));
    expectWallTime(leapDay, 2024, 2, 29, 23, 59, 59);
    EXPECT_EQ(leapDay.weekday, 4);  // Thursday
    EXPECT_EQ(leapDay.utcOffsetSeconds, 0);
    EXPECT_EQ(clock.toLocal(-1).year, 1969);
    EXPECT_EQ(clock.fromLocal(wallTime(2024, 2, 29, 23, 59, 59)), utcSeconds(2024, 2, 29, 23, 59, 59));
  }
  if (!ScopedTimeZone::installed("Australia/Adelaide")) GTEST_SKIP() << "Australia/Adelaide is not installed";
  zone.reset();
  zone.emplace("Australia/Adelaide");
  const LinuxClock clock;
  EXPECT_EQ(clock.toLocal(utcSeconds(2024, 1, 15, 12)).utcOffsetSeconds, 10 * 3600 + 1800);
  const LocalTime winter = clock.toLocal(utcSeconds(2024, 7, 15, 14, 45));
  expectWallTime(winter, 2024, 7, 16, 0, 15, 0);
  EXPECT_EQ(winter.utcOffsetSeconds, 9 * 3600 + 1800);
  EXPECT_EQ(clock.fromLocal(wallTime(2024, 7, 16, 0, 15)), utcSeconds(2024, 7, 15, 14, 45));
  EXPECT_EQ(clock.fromLocal(wallTime(2024, 1, 15, 22, 30)), utcSeconds(2024, 1, 15, 12));
}

}  // namespace
}  // namespace orvanta
