#include "device/date_formator.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/linux_clock.h"
#include "orvanta/testing/virtual_clock.h"
#include "support/civil_time.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

using testing::ScopedTimeZone;
using testing::utcSeconds;
using testing::VirtualClock;

Date utc(int year, int month, int day, int hour = 0, int minute = 0) {
  return Date{static_cast<double>(utcSeconds(year, month, day, hour, minute))};
}

// Rule dates read as GMT and the wire timestamp as the local wall time, in
// fixed zones with whole and half-hour offsets either side of UTC.
TEST(DateFormatorTest, RuleDatesParseAsGMTAndTheStampIsTheLocalWallTime) {
  for (const long offset : {0L, 19800L, -34200L}) {
    SCOPED_TRACE(offset);
    const double now = static_cast<double>(utcSeconds(2024, 7, 9, 8, 5, 3) - offset);
    VirtualClock clock(Date{now + 0.999}, offset);
    const DateFormator f(clock, [] { return std::optional<Date>(); });
    EXPECT_EQ(f.getUserLocalTimeStamp(), "240709080503");
    EXPECT_EQ(f.getCurrentDate(), Date{now});  // the fraction is dropped

    EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00")), utc(2017, 11, 5, 14, 30));
    EXPECT_EQ(f.formatDate(std::string("05/11/2017"), "dd/MM/yyyy"), utc(2017, 11, 5));
    for (const char* text : {"2017-11-05T14:30:00Z", "2017-02-30T10:00:00", ""}) {
      EXPECT_EQ(f.formatDate(std::string(text)), std::nullopt) << text;
    }
  }
}

// The range checks the in-app timing rules use: both bounds excluded, now
// cut to whole seconds first.
TEST(DateFormatorTest, RangesExcludeTheirBoundsAndLaunchDifferenceIsInWholeSeconds) {
  const double now = static_cast<double>(utcSeconds(2024, 5, 20, 9, 30));
  VirtualClock clock(Date{now + 0.5}, 19800);  // 15:00:00.5 local
  std::optional<Date> launch;
  const DateFormator f(clock, [&] { return launch; });
  EXPECT_TRUE(f.isDateBetweenDates(Date{now - 1}, Date{now + 1}));
  EXPECT_FALSE(f.isDateBetweenDates(Date{now}, Date{now + 60}));
  EXPECT_FALSE(f.isDateBetweenDates(Date{now - 1}, std::nullopt));

  const std::pair<const char*, const char*> inside[] = {{"14:59", "15:01"}, {"9h45", "15:01"}};
  for (const auto& [from, to] : inside) EXPECT_TRUE(f.isCurrentTimeBetween2Dates(from, to)) << from;
  // Bounds count as outside, and a range across midnight never matches.
  const std::pair<const char*, const char*> outside[] = {{"15:00", "16:00"}, {"22:00", "02:00"}};
  for (const auto& [from, to] : outside) EXPECT_FALSE(f.isCurrentTimeBetween2Dates(from, to)) << from;

  EXPECT_EQ(f.getDifferenceBetweenLaunchDate(), 0.0);  // before start-up
  launch = Date{now - 99.5};
  EXPECT_DOUBLE_EQ(f.getDifferenceBetweenLaunchDate(), 99.5);
}

// The wire timestamp and the current date through daylight-saving changes of
// the real zone rules; rule dates still read as GMT.
TEST(DateFormatorTest, SkippedAndRepeatedDaylightSavingHours) {
  struct Case {
    const char* zone;
    long long utc;
    const char* stamp;
  };
  // Berlin, 2024-03-31: 02:00 CET becomes 03:00 CEST; 2024-10-27: 03:00 CEST
  // becomes 02:00 CET, so 02:xx comes twice. Adelaide, 2024-10-06: 02:00
  // ACST (+09:30) becomes 03:00 ACDT (+10:30).
  const Case cases[] = {{"Europe/Berlin", utcSeconds(2024, 3, 31, 0, 59, 59), "240331015959"},
                        {"Europe/Berlin", utcSeconds(2024, 3, 31, 1, 0, 0), "240331030000"},
                        {"Europe/Berlin", utcSeconds(2024, 10, 27, 1, 30, 0), "241027023000"},
                        {"Australia/Adelaide", utcSeconds(2024, 10, 5, 16, 30, 0), "241006030000"}};
  std::string missing;
  for (const Case& c : cases) {
    if (!ScopedTimeZone::installed(c.zone)) {
      missing += std::string(" ") + c.zone;
      continue;
    }
    SCOPED_TRACE(std::string(c.zone) + " " + std::to_string(c.utc));
    ScopedTimeZone zone(c.zone);
    VirtualClock clock(Date{static_cast<double>(c.utc) + 0.5}, std::make_shared<LinuxClock>());
    const DateFormator f(clock, [] { return std::optional<Date>(); });
    EXPECT_EQ(f.getUserLocalTimeStamp(), c.stamp);
    EXPECT_EQ(f.getCurrentDate(), Date{static_cast<double>(c.utc)});
    EXPECT_EQ(f.formatDate(std::string("2017-11-05T14:30:00")), utc(2017, 11, 5, 14, 30));
  }
  if (!missing.empty()) GTEST_SKIP() << "not installed:" << missing;
}

}  // namespace
}  // namespace orvanta
