#include "device/date_utilities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <ostream>
#include <string>

#include "platform/linux/linux_clock.h"
#include "platform/testing/virtual_clock.h"
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
  struct Case {
    double offset;  // seconds from now to the date
    std::int64_t minutes;
  };
  for (const Case c : {Case{0, 0}, Case{-59, 0}, Case{59, 0}, Case{-59.9, 0}, Case{59.9, 0}, Case{-60, 1},
                       Case{60, 1}, Case{-61, 1}, Case{61, 1}, Case{-119.9, 1}, Case{119.9, 1}, Case{180, 3},
                       Case{-180, 3}, Case{-3600, 60}, Case{86400 * 365.0, 525600}}) {
    EXPECT_EQ(getMinutes(Date{now + c.offset}, clock), c.minutes) << c.offset;
  }
}

TEST(GetMinutesTest, AbsurdDatesGiveAnAnswerInsteadOfUndefinedBehaviour) {
  const VirtualClock clock(Date{1700000000});
  EXPECT_GT(getMinutes(Date{1e300}, clock), 0);
  EXPECT_GT(getMinutes(Date{-1e300}, clock), 0);
  EXPECT_EQ(getMinutes(Date{std::numeric_limits<double>::quiet_NaN()}, clock), 0);
}

// Every instant of the local day that starts at dayStart (seconds) maps to
// dayStart * 1000; the next day starts after lengthHours.
void expectOneStartForTheWholeDay(const Clock& clock, long long dayStart, int lengthHours) {
  const LocalTime midnight = clock.toLocal(dayStart);
  const long long nextStart = getStartDate(Date{static_cast<double>(dayStart + lengthHours * 3600 + 1800)}, clock) / 1000;
  EXPECT_EQ(nextStart - dayStart, lengthHours * 3600LL) << "day of " << midnight.year << "-" << midnight.month << "-"
                                                        << midnight.day;
  for (long long t = dayStart; t < nextStart; t += 599) {
    const std::int64_t start = getStartDate(Date{static_cast<double>(t) + 0.999}, clock);
    ASSERT_EQ(start, dayStart * 1000) << "at " << t;
  }
  EXPECT_EQ(getStartDate(Date{static_cast<double>(nextStart - 1)}, clock), dayStart * 1000);
  EXPECT_EQ(getStartDate(Date{static_cast<double>(nextStart)}, clock), nextStart * 1000);
}

TEST(GetStartDateTest, IsLocalMidnightInFixedOffsetZones) {
  for (const long offset : {0L, 19800L, -34200L, 50400L}) {
    const VirtualClock clock(Date{0}, offset);
    const long long dayStart = utcSeconds(2024, 2, 29) - offset;
    SCOPED_TRACE(offset);
    expectOneStartForTheWholeDay(clock, dayStart, 24);
  }
}

TEST(GetStartDateTest, BeforeAndLongAfter1970) {
  const VirtualClock clock(Date{0}, 3600);
  EXPECT_EQ(getStartDate(Date{-0.5}, clock), -3600 * 1000);  // 1970-01-01 00:59:59.5 local
  EXPECT_EQ(getStartDate(Date{-3600.5}, clock), (-3600 - 86400) * 1000LL);
  EXPECT_EQ(getStartDate(Date{static_cast<double>(utcSeconds(2200, 7, 4, 12))}, clock),
            (utcSeconds(2200, 7, 4) - 3600) * 1000);
}

struct DaylightSavingDay {
  std::string zone;
  int year, month, day;
  int hours;             // length of that local day
  int midnightHour = 0;  // where the day starts, when midnight is skipped
};

void PrintTo(const DaylightSavingDay& day, std::ostream* out) {
  *out << day.zone << " " << day.year << "-" << day.month << "-" << day.day;
}

class GetStartDateDaylightSavingTest : public ::testing::TestWithParam<DaylightSavingDay> {};

TEST_P(GetStartDateDaylightSavingTest, OneStartForEveryInstantOfTheDay) {
  const DaylightSavingDay& day = GetParam();
  if (!ScopedTimeZone::installed(day.zone)) GTEST_SKIP() << day.zone << " is not installed";
  ScopedTimeZone zone(day.zone);
  const LinuxClock clock;
  const LocalTime noon = testing::wallTime(day.year, day.month, day.day, 12, 0);
  const long long dayStart = getStartDate(Date{static_cast<double>(clock.fromLocal(noon))}, clock) / 1000;
  const LocalTime start = clock.toLocal(dayStart);
  EXPECT_EQ(start.day, day.day);
  EXPECT_EQ(start.hour, day.midnightHour);
  EXPECT_EQ(start.minute, 0);
  expectOneStartForTheWholeDay(clock, dayStart, day.hours);
}

INSTANTIATE_TEST_SUITE_P(
    Days, GetStartDateDaylightSavingTest,
    ::testing::Values(DaylightSavingDay{"Europe/Berlin", 2024, 3, 31, 23}, DaylightSavingDay{"Europe/Berlin", 2024, 10, 27, 25},
                      DaylightSavingDay{"Europe/Berlin", 2024, 6, 15, 24},
                      DaylightSavingDay{"Australia/Adelaide", 2024, 10, 6, 23},
                      DaylightSavingDay{"Australia/Adelaide", 2024, 4, 7, 25},
                      // Clocks went from 00:00 to 01:00, so the day began at 01:00.
                      DaylightSavingDay{"America/Sao_Paulo", 2018, 11, 4, 23, 1}),
    [](const ::testing::TestParamInfo<DaylightSavingDay>& info) {
      std::string name = info.param.zone.substr(info.param.zone.find('/') + 1) + "_" + std::to_string(info.param.year) +
                         "_" + std::to_string(info.param.month) + "_" + std::to_string(info.param.day);
      return name;
    });

}  // namespace
}  // namespace orvanta
