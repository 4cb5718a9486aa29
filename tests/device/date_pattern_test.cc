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

TEST(DatePatternTest, RejectsPatternsOutsideTheSupportedSubset) {
  for (const char* pattern : {"M", "yyy", "yyyyy", "hh:mm", "HH:mm:ss.SSS", "EEE", "yyyy-MM-dd'T", "'", "a"}) {
    EXPECT_FALSE(DatePattern::compile(pattern).has_value()) << pattern;
  }
}

TEST(DatePatternTest, FormatsEveryFieldZeroPaddedAndQuotedTextLiterally) {
  const testing::VirtualClock names;  // English weekday names
  const LocalTime early = wallTime(2005, 3, 4, 5, 6, 7, 5);
  EXPECT_EQ(compiled("yyyy-MM-dd HH:mm:ss EEEE").format(early, names), "2005-03-04 05:06:07 Friday");
  EXPECT_EQ(compiled("yyMMddHHmmss").format(early, names), "050304050607");
  EXPECT_EQ(compiled("yyyy").format(wallTime(987, 1, 1, 0, 0, 0), names), "0987");
  EXPECT_EQ(compiled("yy").format(wallTime(2100, 1, 1, 0, 0, 0), names), "00");

  const DatePattern quoted = compiled("HH 'o''clock' ''mm'' 'yyyy'");
  EXPECT_EQ(quoted.format(wallTime(2020, 1, 1, 9, 5, 0), names), "09 o'clock '05' yyyy");
  const std::optional<LocalTime> read = quoted.parse("09 o'clock '05' yyyy");
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(utcSecondsOf(*read), 9 * 3600 + 5 * 60);  // "yyyy" was quoted, so the year keeps its default

  // Parsed fields carry their weekday, whose name formats but never parses.
  const std::optional<LocalTime> sunday = compiled("yyyy-MM-dd").parse("2017-11-05");
  ASSERT_TRUE(sunday.has_value());
  EXPECT_EQ(compiled("EEEE").format(*sunday, names), "Sunday");
  EXPECT_FALSE(compiled("EEEE").parse("Sunday").has_value());
  EXPECT_FALSE(compiled("yyyy-MM-dd EEEE").parse("2017-11-05 Sunday").has_value());
}

TEST(DatePatternTest, ParsesTheWholeTextStrictlyAsGMT) {
  const std::string iso = "yyyy-MM-dd'T'HH:mm:ss";
  const std::string plain = "yyyy-MM-dd HH:mm:ss";
  struct Case {
    std::string pattern;
    const char* text;
    std::optional<long long> seconds;
  };
  const Case cases[] = {
      {iso, "2017-11-05T14:30:00", utcSeconds(2017, 11, 5, 14, 30, 0)},
      {plain, "2024-02-29 00:00:00", utcSeconds(2024, 2, 29)},
      {plain, "2000-02-29 23:59:59", utcSeconds(2000, 2, 29, 23, 59, 59)},
      {"yyMMddHHmmss", "991231235959", utcSeconds(2099, 12, 31, 23, 59, 59)},  // two-digit years: this century
      {"yyMMddHHmmss", "000101000000", utcSeconds(2000, 1, 1)},
      {"HH:mm", "13:45", 13 * 3600 + 45 * 60},  // missing fields: the start of 1970
      {"yyyy", "2001", utcSeconds(2001, 1, 1)},
      // Anything but the whole text, and fields out of range or days the month lacks.
      {iso, "2017-11-05T14:30:00Z", {}}, {iso, "2017-11-05T14:30:00 ", {}}, {iso, " 2017-11-05T14:30:00", {}},
      {iso, "2017-11-05 14:30:00", {}}, {iso, "2017-11-05T14:30", {}}, {iso, "2017-1-05T14:30:00", {}},
      {iso, "2017-11-05T14:3O:00", {}}, {iso, "17-11-05T14:30:00", {}}, {iso, "+017-11-05T14:30:00", {}},
      {iso, "", {}}, {plain, "2017-02-30 00:00:00", {}}, {plain, "2023-02-29 00:00:00", {}},
      {plain, "2100-02-29 00:00:00", {}}, {plain, "2017-04-31 00:00:00", {}}, {plain, "2017-13-01 00:00:00", {}},
      {plain, "2017-00-10 00:00:00", {}}, {plain, "2017-01-00 00:00:00", {}}, {plain, "2017-01-01 24:00:00", {}},
      {plain, "2017-01-01 23:60:00", {}}, {plain, "2017-01-01 23:59:60", {}}};
  for (const Case& c : cases) {
    const std::optional<LocalTime> fields = compiled(c.pattern).parse(c.text);
    EXPECT_EQ(fields ? std::optional<long long>(utcSecondsOf(*fields)) : std::nullopt, c.seconds)
        << c.pattern << " <- " << c.text;
  }
  EXPECT_EQ(utcSecondsOf(wallTime(2038, 1, 19, 3, 14, 8)), 2147483648LL);
  EXPECT_EQ(utcSecondsOf(wallTime(1969, 12, 31, 23, 59, 59)), -1);
}

}  // namespace
}  // namespace orvanta
