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

// A fixed-offset local zone to run the same checks in, with what the clock
// reads at 2023-11-14 22:13:20 UTC (a Tuesday) in that zone. The rules of
// real zones are covered by the daylight-saving test below.
struct Zone {
  std::string name;
  long offsetSeconds;
  std::string timeAtReference;
  std::string dayAtReference;
};

void PrintTo(const Zone& zone, std::ostream* out) { *out << zone.name; }

class DateFormatorTest : public ::testing::TestWithParam<Zone> {
 protected:
  // The instant of the given local wall time.
  double local(int year, int month, int day, int hour, int minute, int second = 0) const {
    return static_cast<double>(clock_->fromLocal(testing::wallTime(year, month, day, hour, minute, second)));
  }
  void setLocal(int year, int month, int day, int hour, int minute, int second = 0, double fraction = 0) {
    clock_->set(Date{local(year, month, day, hour, minute, second) + fraction});
  }
  DateFormator formator() const {
    return DateFormator(*clock_, [this] { return launch_; });
  }

  std::shared_ptr<VirtualClock> clock_ = std::make_shared<VirtualClock>(Date{0}, GetParam().offsetSeconds);
  std::optional<Date> launch_;
};

TEST_P(DateFormatorTest, RuleDatesParseStrictlyAsGMTWhateverTheLocalZone) {
  const DateFormator f = formator();
  const Date expected{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30, 0))};
  EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00")), expected);
  EXPECT_EQ(f.formatDate(std::string("2017-11-05 14:30:00"), "yyyy-MM-dd HH:mm:ss"), expected);
  EXPECT_EQ(f.formatDate(std::string("05/11/2017"), "dd/MM/yyyy"), Date{static_cast<double>(utcSeconds(2017, 11, 5))});
  EXPECT_EQ(f.formatDate(std::nullopt), std::nullopt);
  EXPECT_EQ(f.formatDate(std::nullopt, "yyyy-MM-dd HH:mm:ss"), std::nullopt);
  for (const char* text : {"2017-11-05T14:30:00Z", "2017-02-30T10:00:00", ""}) {
    EXPECT_EQ(f.formatDate(std::string(text)), std::nullopt) << text;
  }
  EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00"), "yyyy-MM-dd HH:mm:ss"), std::nullopt);
  EXPECT_EQ(f.formatDate(std::string("2017"), "YYYY"), std::nullopt);  // unsupported pattern
}

TEST_P(DateFormatorTest, NowReadsAsTheLocalWallTime) {
  setLocal(2024, 7, 9, 8, 5, 3, 0.999);
  EXPECT_EQ(formator().getUserLocalTimeStamp(), "240709080503");
  EXPECT_EQ(formator().getCurrentDate(), Date{local(2024, 7, 9, 8, 5, 3)});  // the fraction is dropped
  setLocal(2099, 12, 31, 23, 59, 59);
  EXPECT_EQ(formator().getUserLocalTimeStamp(), "991231235959");

  clock_->set(Date{static_cast<double>(utcSeconds(2023, 11, 14, 22, 13, 20))});
  EXPECT_EQ(formator().getCurrentTime(), GetParam().timeAtReference);
  EXPECT_EQ(formator().getCurrentDateDay(), GetParam().dayAtReference);
}

TEST_P(DateFormatorTest, ClockTimeRangeExcludesBothBoundsAndReadsLeadingDigits) {
  const DateFormator f = formator();
  struct Case {
    int hour, minute, second;
    const char *from, *to;
    bool inside;
  };
  for (const Case c : {
           Case{8, 59, 59, "09:00", "17:00", false}, Case{9, 0, 59, "09:00", "17:00", false},
           Case{9, 1, 0, "09:00", "17:00", true}, Case{16, 59, 59, "09:00", "17:00", true},
           Case{17, 0, 0, "09:00", "17:00", false},
           // Across midnight never matches.
           Case{23, 30, 0, "22:00", "02:00", false}, Case{1, 30, 0, "22:00", "02:00", false},
           // Digits up to the first other character, after blanks and a sign,
           // saturating at int's limit; none read as 0.
           Case{9, 30, 0, "9:29", "9:31", true}, Case{9, 30, 0, " 900x", "1000", true},
           Case{9, 30, 0, "", "10:00", true}, Case{9, 30, 0, "09:30", "10:00", false},
           Case{9, 30, 0, "9h45", "9:31", true}, Case{9, 30, 0, "-5", "99999999999", true}}) {
    setLocal(2024, 5, 20, c.hour, c.minute, c.second);
    EXPECT_EQ(f.isCurrentTimeBetween2Dates(c.from, c.to), c.inside)
        << c.hour << ":" << c.minute << ":" << c.second << " in " << c.from << ".." << c.to;
  }
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

TEST_P(DateFormatorTest, DifferenceFromLaunchAndTodaysStart) {
  setLocal(2024, 6, 1, 12, 0, 0, 0.25);
  EXPECT_EQ(formator().getDifferenceBetweenLaunchDate(), 0.0);  // before start-up
  launch_ = Date{local(2024, 6, 1, 11, 58, 20) + 0.5};
  EXPECT_DOUBLE_EQ(formator().getDifferenceBetweenLaunchDate(), 99.5);  // whole seconds of now
  launch_ = Date{local(2024, 6, 1, 12, 0, 10)};
  EXPECT_DOUBLE_EQ(formator().getDifferenceBetweenLaunchDate(), -10.0);

  const double midnight = local(2024, 3, 31, 0, 0, 0);
  for (const int hour : {0, 12, 23}) {
    setLocal(2024, 3, 31, hour, 59, 59, 0.9);
    EXPECT_EQ(formator().getTodaysDay(), static_cast<std::int64_t>(midnight) * 1000) << hour;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Zones, DateFormatorTest,
    ::testing::Values(Zone{"UTC", 0, "22:13", "Tuesday"}, Zone{"PlusFiveThirty", 19800, "03:43", "Wednesday"},
                      Zone{"MinusNineThirty", -34200, "12:43", "Tuesday"}),
    [](const ::testing::TestParamInfo<Zone>& info) { return info.param.name; });

// The wire timestamp and the current date through daylight-saving changes of
// the real zone rules; rule dates still read as GMT.
TEST(DateFormatorDaylightSavingTest, SkippedAndRepeatedHours) {
  struct Case {
    const char* zone;
    long long utc;
    const char* stamp;
  };
  std::string missing;
  for (const Case c : {// Berlin, 2024-03-31: 02:00 CET becomes 03:00 CEST.
                       Case{"Europe/Berlin", utcSeconds(2024, 3, 31, 0, 59, 59), "240331015959"},
                       Case{"Europe/Berlin", utcSeconds(2024, 3, 31, 1, 0, 0), "240331030000"},
                       // 2024-10-27: 03:00 CEST becomes 02:00 CET, so 02:xx comes twice.
                       Case{"Europe/Berlin", utcSeconds(2024, 10, 27, 0, 30, 0), "241027023000"},
                       Case{"Europe/Berlin", utcSeconds(2024, 10, 27, 0, 59, 59), "241027025959"},
                       Case{"Europe/Berlin", utcSeconds(2024, 10, 27, 1, 0, 0), "241027020000"},
                       Case{"Europe/Berlin", utcSeconds(2024, 10, 27, 1, 30, 0), "241027023000"},
                       // Adelaide, 2024-10-06: 02:00 ACST (+09:30) becomes 03:00 ACDT (+10:30).
                       Case{"Australia/Adelaide", utcSeconds(2024, 10, 5, 16, 29, 59), "241006015959"},
                       Case{"Australia/Adelaide", utcSeconds(2024, 10, 5, 16, 30, 0), "241006030000"}}) {
    if (!ScopedTimeZone::installed(c.zone)) {
      missing += std::string(" ") + c.zone;
      continue;
    }
    ScopedTimeZone zone(c.zone);
    VirtualClock clock(Date{static_cast<double>(c.utc) + 0.5}, std::make_shared<LinuxClock>());
    const DateFormator f(clock, [] { return std::optional<Date>(); });
    EXPECT_EQ(f.getUserLocalTimeStamp(), c.stamp) << c.zone << " " << c.utc;
    EXPECT_EQ(f.getCurrentDate(), Date{static_cast<double>(c.utc)}) << c.zone << " " << c.utc;
    EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00")), Date{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30))})
        << "rule dates read as GMT under " << c.zone;
  }
  if (!missing.empty()) GTEST_SKIP() << "not installed:" << missing;
}

}  // namespace
}  // namespace orvanta
