#include "device/date_pattern.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/testing/virtual_clock.h"
#include "support/civil_time.h"

namespace orvanta {
namespace {

using testing::utcSeconds;
using testing::wallTime;

DatePattern compiled(const std::string& pattern) {
  std::optional<DatePattern> p = DatePattern::compile(pattern);
  EXPECT_TRUE(p.has_value()) << pattern;
  return p.value_or(*DatePattern::compile(""));
}

// Seconds since 1970 read from text with pattern in GMT, or nullopt.
std::optional<long long> parsedSeconds(const std::string& pattern, const std::string& text) {
  const std::optional<LocalTime> f = compiled(pattern).parse(text);
  if (!f) return std::nullopt;
  return utcSecondsOf(*f);
}

class DatePatternTest : public ::testing::Test {
 protected:
  testing::VirtualClock names_;  // English weekday names
};

TEST_F(DatePatternTest, RejectsPatternsOutsideTheSupportedSubset) {
  for (const char* pattern : {"M", "yyy", "yyyyy", "hh:mm", "HH:mm:ss.SSS", "EEE", "yyyy-MM-dd'T", "'", "a"}) {
    EXPECT_FALSE(DatePattern::compile(pattern).has_value()) << pattern;
  }
}

TEST_F(DatePatternTest, FormatsEveryFieldZeroPadded) {
  const LocalTime early = wallTime(2005, 3, 4, 5, 6, 7, 5);
  EXPECT_EQ(compiled("yyyy-MM-dd HH:mm:ss EEEE").format(early, names_), "2005-03-04 05:06:07 Friday");
  EXPECT_EQ(compiled("yyMMddHHmmss").format(early, names_), "050304050607");
  EXPECT_EQ(compiled("yyyy").format(wallTime(987, 1, 1, 0, 0, 0), names_), "0987");
  EXPECT_EQ(compiled("yy").format(wallTime(2100, 1, 1, 0, 0, 0), names_), "00");
}

TEST_F(DatePatternTest, QuotedTextAndPunctuationAreLiteral) {
  const DatePattern pattern = compiled("HH 'o''clock' ''mm'' 'yyyy'");
  EXPECT_EQ(pattern.format(wallTime(2020, 1, 1, 9, 5, 0), names_), "09 o'clock '05' yyyy");
  const std::optional<LocalTime> read = pattern.parse("09 o'clock '05' yyyy");
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(read->hour, 9);
  EXPECT_EQ(read->minute, 5);
  EXPECT_EQ(read->year, 1970);  // "yyyy" was quoted, so the year keeps its default
}

TEST_F(DatePatternTest, ParsesTheWholeTextAndNothingElse) {
  const std::string pattern = "yyyy-MM-dd'T'HH:mm:ss";
  EXPECT_EQ(parsedSeconds(pattern, "2017-11-05T14:30:00"), utcSeconds(2017, 11, 5, 14, 30, 0));
  for (const char* text : {"2017-11-05T14:30:00Z", "2017-11-05T14:30:00 ", " 2017-11-05T14:30:00",
                           "2017-11-05 14:30:00", "2017-11-05T14:30", "2017-1-05T14:30:00", "2017-11-05T14:3O:00",
                           "17-11-05T14:30:00", "+017-11-05T14:30:00", ""}) {
    EXPECT_EQ(parsedSeconds(pattern, text), std::nullopt) << text;
  }
}

TEST_F(DatePatternTest, RejectsFieldsOutOfRangeAndDaysTheMonthLacks) {
  const std::string pattern = "yyyy-MM-dd HH:mm:ss";
  for (const char* text : {"2017-02-30 00:00:00", "2023-02-29 00:00:00", "2100-02-29 00:00:00", "2017-04-31 00:00:00",
                           "2017-13-01 00:00:00", "2017-00-10 00:00:00", "2017-01-00 00:00:00", "2017-01-01 24:00:00",
                           "2017-01-01 23:60:00", "2017-01-01 23:59:60"}) {
    EXPECT_EQ(parsedSeconds(pattern, text), std::nullopt) << text;
  }
  EXPECT_EQ(parsedSeconds(pattern, "2024-02-29 00:00:00"), utcSeconds(2024, 2, 29));
  EXPECT_EQ(parsedSeconds(pattern, "2000-02-29 23:59:59"), utcSeconds(2000, 2, 29, 23, 59, 59));
}

TEST_F(DatePatternTest, TwoDigitYearsReadAsThisCentury) {
  EXPECT_EQ(parsedSeconds("yyMMddHHmmss", "991231235959"), utcSeconds(2099, 12, 31, 23, 59, 59));
  EXPECT_EQ(parsedSeconds("yyMMddHHmmss", "000101000000"), utcSeconds(2000, 1, 1));
}

TEST_F(DatePatternTest, FieldsThePatternLacksDefaultToTheStartOf1970) {
  EXPECT_EQ(parsedSeconds("HH:mm", "13:45"), 13 * 3600 + 45 * 60);
  EXPECT_EQ(parsedSeconds("yyyy", "2001"), utcSeconds(2001, 1, 1));
}

TEST_F(DatePatternTest, ParsedFieldsCarryTheirWeekdayWhoseNameFormatsButNeverParses) {
  const std::optional<LocalTime> sunday = compiled("yyyy-MM-dd").parse("2017-11-05");
  ASSERT_TRUE(sunday.has_value());
  EXPECT_EQ(sunday->weekday, 0);
  EXPECT_EQ(compiled("EEEE").format(*sunday, names_), "Sunday");
  EXPECT_FALSE(compiled("EEEE").parse("Sunday").has_value());
  EXPECT_FALSE(compiled("yyyy-MM-dd EEEE").parse("2017-11-05 Sunday").has_value());
}

// Instants the parsing cases above do not reach.
TEST_F(DatePatternTest, UtcSecondsOfKnownInstants) {
  EXPECT_EQ(utcSecondsOf(wallTime(2038, 1, 19, 3, 14, 8)), 2147483648LL);
  EXPECT_EQ(utcSecondsOf(wallTime(1969, 12, 31, 23, 59, 59)), -1);
}

}  // namespace
}  // namespace orvanta
