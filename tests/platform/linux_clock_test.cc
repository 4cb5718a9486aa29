#include "platform/linux/linux_clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/civil_time.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

using testing::ScopedEnvironment;
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

TEST(LinuxClockTest, NowIsTheSystemClock) {
  using namespace std::chrono;
  const double before = duration<double>(system_clock::now().time_since_epoch()).count();
  const double now = LinuxClock().now().secondsSince1970;
  const double after = duration<double>(system_clock::now().time_since_epoch()).count();
  EXPECT_LE(before, now);
  EXPECT_LE(now, after);
}

TEST(LinuxClockTest, UtcFields) {
  ScopedTimeZone zone("UTC");
  const LinuxClock clock;
  const LocalTime epoch = clock.toLocal(0);
  expectWallTime(epoch, 1970, 1, 1, 0, 0, 0);
  EXPECT_EQ(epoch.weekday, 4);  // Thursday
  EXPECT_EQ(epoch.utcOffsetSeconds, 0);
  const LocalTime leapDay = clock.toLocal(utcSeconds(2024, 2, 29, 23, 59, 59));
  expectWallTime(leapDay, 2024, 2, 29, 23, 59, 59);
  EXPECT_EQ(leapDay.weekday, 4);
  EXPECT_EQ(clock.toLocal(-1).year, 1969);
  EXPECT_EQ(clock.fromLocal(wallTime(2024, 2, 29, 23, 59, 59)), utcSeconds(2024, 2, 29, 23, 59, 59));
}

class LinuxClockZoneTest : public ::testing::Test {
 protected:
  void use(const std::string& olson) {
    if (!ScopedTimeZone::installed(olson)) GTEST_SKIP() << olson << " is not installed";
    zone_.emplace(olson);
    clock_.emplace();
  }
  std::optional<ScopedTimeZone> zone_;
  std::optional<LinuxClock> clock_;
};

TEST_F(LinuxClockZoneTest, BerlinOffsetsFollowDaylightSaving) {
  use("Europe/Berlin");
  EXPECT_EQ(clock_->toLocal(utcSeconds(2024, 1, 15, 12)).utcOffsetSeconds, 3600);
  EXPECT_EQ(clock_->toLocal(utcSeconds(2024, 7, 15, 12)).utcOffsetSeconds, 7200);
  EXPECT_EQ(clock_->fromLocal(wallTime(2024, 1, 15, 13, 0)), utcSeconds(2024, 1, 15, 12));
  EXPECT_EQ(clock_->fromLocal(wallTime(2024, 7, 15, 14, 0)), utcSeconds(2024, 7, 15, 12));
}

TEST_F(LinuxClockZoneTest, AdelaideHasHalfHourOffsets) {
  use("Australia/Adelaide");
  EXPECT_EQ(clock_->toLocal(utcSeconds(2024, 7, 15, 12)).utcOffsetSeconds, 9 * 3600 + 1800);
  EXPECT_EQ(clock_->toLocal(utcSeconds(2024, 1, 15, 12)).utcOffsetSeconds, 10 * 3600 + 1800);
  expectWallTime(clock_->toLocal(utcSeconds(2024, 7, 15, 14, 45)), 2024, 7, 16, 0, 15, 0);
}

TEST_F(LinuxClockZoneTest, WallTimesRoundTripThroughAYear) {
  use("Europe/Berlin");
  for (long long t = utcSeconds(2024, 1, 1); t < utcSeconds(2025, 1, 1); t += 3607) {
    const LocalTime fields = clock_->toLocal(t);
    const long long back = clock_->fromLocal(fields);
    // Inside the repeated hour of October the wall time names two instants.
    ASSERT_TRUE(back == t || (fields.month == 10 && back == t + 3600) || (fields.month == 10 && back == t - 3600))
        << t;
    const LocalTime again = clock_->toLocal(back);
    ASSERT_EQ(again.hour, fields.hour) << t;
    ASSERT_EQ(again.minute, fields.minute) << t;
  }
}

TEST_F(LinuxClockZoneTest, SkippedWallTimeMovesPastTheGapAndRepeatedOneIsOneOfItsInstants) {
  use("Europe/Berlin");
  expectWallTime(clock_->toLocal(clock_->fromLocal(wallTime(2024, 3, 31, 2, 30))), 2024, 3, 31, 3, 30, 0);
  const long long repeated = clock_->fromLocal(wallTime(2024, 10, 27, 2, 30));
  EXPECT_TRUE(repeated == utcSeconds(2024, 10, 27, 0, 30) || repeated == utcSeconds(2024, 10, 27, 1, 30)) << repeated;
}

TEST(LinuxClockWeekdayTest, EnglishNamesInTheCLocaleAndWhenTheLocaleIsMissing) {
  for (const char* locale : {"C", "xx_NOWHERE.UTF-8"}) {
    ScopedEnvironment all("LC_ALL", std::string(locale));
    const LinuxClock clock;
    EXPECT_EQ(clock.weekdayName(0), "Sunday") << locale;
    EXPECT_EQ(clock.weekdayName(3), "Wednesday") << locale;
    EXPECT_EQ(clock.weekdayName(6), "Saturday") << locale;
  }
}

}  // namespace
}  // namespace orvanta
