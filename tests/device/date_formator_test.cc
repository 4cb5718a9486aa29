#include "device/date_formator.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
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

// A local zone to run the same checks in, with what the clock reads at
// 2023-11-14 22:13:20 UTC (a Tuesday) in that zone.
struct Zone {
  std::string name;
  long fixedOffsetSeconds;  // used when olson is empty
  std::string olson;        // rules of the Linux clock under this TZ
  std::string timeAtReference;
  std::string dayAtReference;
};

void PrintTo(const Zone& zone, std::ostream* out) { *out << zone.name; }

class DateFormatorTest : public ::testing::TestWithParam<Zone> {
 protected:
  void SetUp() override {
    const Zone& zone = GetParam();
    if (zone.olson.empty()) {
      clock_ = std::make_shared<VirtualClock>(Date{0}, zone.fixedOffsetSeconds);
      return;
    }
    if (!ScopedTimeZone::installed(zone.olson)) GTEST_SKIP() << zone.olson << " is not installed";
    timeZone_.emplace(zone.olson);
    clock_ = std::make_shared<VirtualClock>(Date{0}, std::make_shared<LinuxClock>());
  }

  // The instant of the given local wall time, plus fraction.
  double local(int year, int month, int day, int hour, int minute, int second = 0) const {
    return static_cast<double>(clock_->fromLocal(testing::wallTime(year, month, day, hour, minute, second)));
  }
  void setLocal(int year, int month, int day, int hour, int minute, int second = 0, double fraction = 0) {
    clock_->set(Date{local(year, month, day, hour, minute, second) + fraction});
  }

  std::optional<ScopedTimeZone> timeZone_;
  std::shared_ptr<VirtualClock> clock_;
  std::optional<Date> launch_;
  DateFormator formator() const {
    return DateFormator(*clock_, [this] { return launch_; });
  }
};

TEST_P(DateFormatorTest, RuleDatesReadAsGMTWhateverTheLocalZone) {
  const Date expected{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30, 0))};
  EXPECT_EQ(formator().formatDate(std::string("2017-11-05T14:30:00")), expected);
  EXPECT_EQ(formator().formatDate(std::string("2017-11-05 14:30:00"), "yyyy-MM-dd HH:mm:ss"), expected);
}

TEST_P(DateFormatorTest, RuleDatesParseStrictly) {
  const DateFormator f = formator();
  EXPECT_EQ(f.formatDate(std::nullopt), std::nullopt);
  EXPECT_EQ(f.formatDate(std::nullopt, "yyyy-MM-dd HH:mm:ss"), std::nullopt);
  for (const char* text : {"2017-11-05 14:30:00", "2017-11-05T14:30:00Z", "2017-11-05T14:30:00.000",
                           "2017-02-30T10:00:00", "2017-11-05", ""}) {
    EXPECT_EQ(f.formatDate(std::string(text)), std::nullopt) << text;
  }
  EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00"), "yyyy-MM-dd HH:mm:ss"), std::nullopt);
  EXPECT_EQ(f.formatDate(std::string("05/11/2017"), "dd/MM/yyyy"),
            Date{static_cast<double>(utcSeconds(2017, 11, 5))});
  EXPECT_EQ(f.formatDate(std::string("2017"), "YYYY"), std::nullopt);  // unsupported pattern
}

TEST_P(DateFormatorTest, TimestampIsTheLocalWallTimeInTwelveDigits) {
  setLocal(2024, 7, 9, 8, 5, 3, 0.999);
  EXPECT_EQ(formator().getUserLocalTimeStamp(), "240709080503");
  setLocal(2000, 1, 1, 0, 0, 0);
  EXPECT_EQ(formator().getUserLocalTimeStamp(), "000101000000");
  setLocal(2099, 12, 31, 23, 59, 59);
  EXPECT_EQ(formator().getUserLocalTimeStamp(), "991231235959");
}

TEST_P(DateFormatorTest, CurrentDateDropsTheFractionOfASecond) {
  setLocal(2024, 1, 15, 10, 20, 30, 0.75);
  EXPECT_EQ(formator().getCurrentDate(), Date{local(2024, 1, 15, 10, 20, 30)});
}

TEST_P(DateFormatorTest, CurrentTimeAndDayAreThoseOfTheLocalZone) {
  clock_->set(Date{static_cast<double>(utcSeconds(2023, 11, 14, 22, 13, 20))});
  EXPECT_EQ(formator().getCurrentTime(), GetParam().timeAtReference);
  EXPECT_EQ(formator().getCurrentDateDay(), GetParam().dayAtReference);
}

TEST_P(DateFormatorTest, ClockTimeRangeExcludesBothBounds) {
  const DateFormator f = formator();
  struct Case {
    int hour, minute, second;
    bool inside;
  };
  for (const Case c : {Case{8, 59, 59, false}, Case{9, 0, 0, false}, Case{9, 0, 59, false}, Case{9, 1, 0, true},
                       Case{12, 0, 0, true}, Case{16, 59, 59, true}, Case{17, 0, 0, false}, Case{17, 1, 0, false}}) {
    setLocal(2024, 5, 20, c.hour, c.minute, c.second);
    EXPECT_EQ(f.isCurrentTimeBetween2Dates("09:00", "17:00"), c.inside)
        << c.hour << ":" << c.minute << ":" << c.second;
  }
}

TEST_P(DateFormatorTest, ClockTimeRangeAcrossMidnightNeverMatches) {
  const DateFormator f = formator();
  for (const int hour : {23, 0, 1}) {
    setLocal(2024, 5, 20, hour, 30);
    EXPECT_FALSE(f.isCurrentTimeBetween2Dates("22:00", "02:00")) << hour;
  }
}

TEST_P(DateFormatorTest, ClockTimesReadByTheirLeadingDigits) {
  const DateFormator f = formator();
  setLocal(2024, 5, 20, 9, 30);  // 930
  EXPECT_TRUE(f.isCurrentTimeBetween2Dates("9:29", "9:31"));    // 929 < 930 < 931
  EXPECT_TRUE(f.isCurrentTimeBetween2Dates(" 900x", "1000"));   // blanks skipped, reading stops at x
  EXPECT_TRUE(f.isCurrentTimeBetween2Dates("", "10:00"));       // no digits reads as 0
  EXPECT_FALSE(f.isCurrentTimeBetween2Dates("09:30", "10:00"));  // equal to the current minute
  EXPECT_TRUE(f.isCurrentTimeBetween2Dates("9h45", "9:31"));    // reading stops at h: 9, not 945
  EXPECT_TRUE(f.isCurrentTimeBetween2Dates("-5", "99999999999"));  // sign, and saturation at int's limit
}

TEST_P(DateFormatorTest, DateRangeExcludesBothBoundsToTheSecond) {
  setLocal(2024, 6, 1, 12, 0, 0, 0.5);
  const double now = local(2024, 6, 1, 12, 0, 0);
  const DateFormator f = formator();
  EXPECT_TRUE(f.isDateBetweenDates(Date{now - 1}, Date{now + 1}));
  EXPECT_FALSE(f.isDateBetweenDates(Date{now}, Date{now + 60}));  // the half second is dropped first
  EXPECT_FALSE(f.isDateBetweenDates(Date{now - 60}, Date{now}));
  EXPECT_FALSE(f.isDateBetweenDates(Date{now + 1}, Date{now - 1}));
  EXPECT_FALSE(f.isDateBetweenDates(std::nullopt, Date{now + 1}));
  EXPECT_FALSE(f.isDateBetweenDates(Date{now - 1}, std::nullopt));
}

TEST_P(DateFormatorTest, DifferenceFromLaunchCountsWholeSecondsOfNow) {
  setLocal(2024, 6, 1, 12, 0, 0, 0.25);
  EXPECT_EQ(formator().getDifferenceBetweenLaunchDate(), 0.0);  // before start-up
  launch_ = Date{local(2024, 6, 1, 11, 58, 20) + 0.5};
  EXPECT_DOUBLE_EQ(formator().getDifferenceBetweenLaunchDate(), 99.5);
  launch_ = Date{local(2024, 6, 1, 12, 0, 10)};
  EXPECT_DOUBLE_EQ(formator().getDifferenceBetweenLaunchDate(), -10.0);
}

TEST_P(DateFormatorTest, TodayStartsAtLocalMidnight) {
  const double midnight = local(2024, 3, 31, 0, 0, 0);
  for (const int hour : {0, 6, 12, 23}) {
    setLocal(2024, 3, 31, hour, 59, 59, 0.9);
    EXPECT_EQ(formator().getTodaysDay(), static_cast<std::int64_t>(midnight) * 1000) << hour;
  }
  setLocal(2024, 4, 1, 0, 0, 0);
  EXPECT_EQ(formator().getTodaysDay(), static_cast<std::int64_t>(local(2024, 4, 1, 0, 0, 0)) * 1000);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, DateFormatorTest,
    ::testing::Values(Zone{"UTC", 0, "", "22:13", "Tuesday"}, Zone{"PlusFiveThirty", 19800, "", "03:43", "Wednesday"},
                      Zone{"MinusNineThirty", -34200, "", "12:43", "Tuesday"},
                      Zone{"Berlin", 0, "Europe/Berlin", "23:13", "Tuesday"},
                      Zone{"Adelaide", 0, "Australia/Adelaide", "08:43", "Wednesday"}),
    [](const ::testing::TestParamInfo<Zone>& info) { return info.param.name; });

// The wire timestamp through daylight-saving changes of the real zone rules.
class DateFormatorDaylightSavingTest : public ::testing::Test {
 protected:
  std::string stampAt(const std::string& olson, long long utc) {
    ScopedTimeZone zone(olson);
    VirtualClock clock(Date{static_cast<double>(utc)}, std::make_shared<LinuxClock>());
    return DateFormator(clock, [] { return std::optional<Date>(); }).getUserLocalTimeStamp();
  }
};

TEST_F(DateFormatorDaylightSavingTest, BerlinSkipsAndRepeatsAnHour) {
  if (!ScopedTimeZone::installed("Europe/Berlin")) GTEST_SKIP() << "no Europe/Berlin rules";
  // 2024-03-31: 02:00 CET becomes 03:00 CEST.
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 3, 31, 0, 59, 59)), "240331015959");
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 3, 31, 1, 0, 0)), "240331030000");
  // 2024-10-27: 03:00 CEST becomes 02:00 CET, so 02:xx comes twice.
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 10, 27, 0, 30, 0)), "241027023000");
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 10, 27, 0, 59, 59)), "241027025959");
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 10, 27, 1, 0, 0)), "241027020000");
  EXPECT_EQ(stampAt("Europe/Berlin", utcSeconds(2024, 10, 27, 1, 30, 0)), "241027023000");
}

TEST_F(DateFormatorDaylightSavingTest, CurrentDateIsNowThroughoutTheRepeatedHour) {
  if (!ScopedTimeZone::installed("Europe/Berlin")) GTEST_SKIP() << "no Europe/Berlin rules";
  ScopedTimeZone zone("Europe/Berlin");
  // 02:30 comes at 00:30 UTC (summer time) and again at 01:30 UTC.
  for (const long long utc : {utcSeconds(2024, 10, 27, 0, 30, 0), utcSeconds(2024, 10, 27, 1, 30, 0)}) {
    VirtualClock clock(Date{static_cast<double>(utc) + 0.5}, std::make_shared<LinuxClock>());
    EXPECT_EQ(DateFormator(clock, [] { return std::optional<Date>(); }).getCurrentDate(),
              Date{static_cast<double>(utc)});
  }
}

TEST_F(DateFormatorDaylightSavingTest, AdelaideMovesByAnHourOnAHalfHourOffset) {
  if (!ScopedTimeZone::installed("Australia/Adelaide")) GTEST_SKIP() << "no Australia/Adelaide rules";
  // 2024-10-06: 02:00 ACST (+09:30) becomes 03:00 ACDT (+10:30).
  EXPECT_EQ(stampAt("Australia/Adelaide", utcSeconds(2024, 10, 5, 16, 29, 59)), "241006015959");
  EXPECT_EQ(stampAt("Australia/Adelaide", utcSeconds(2024, 10, 5, 16, 30, 0)), "241006030000");
}

}  // namespace
}  // namespace orvanta
