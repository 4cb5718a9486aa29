#include "device/date_pattern.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "orvanta/testing/virtual_clock.h"
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

std::optional<long long> parsed(const std::string& pattern, const std::string& text) {
  const std::optional<LocalTime> fields = compiled(pattern).parse(text);
  return fields ? std::optional<long long>(utcSecondsOf(*fields)) : std::nullopt;
}

TEST(DatePatternTest, FormatsTheSupportedFieldsZeroPaddedAndRejectsOtherPatterns) {
  for (const char* pattern : {"M", "yyy", "hh:mm", "HH:mm:ss.SSS", "EEE", "yyyy-MM-dd'T", "a"}) {
    EXPECT_FALSE(DatePattern::compile(pattern).has_value()) << pattern;
  }
  const testing::VirtualClock names;  // English weekday names
  const LocalTime early = wallTime(2005, 3, 4, 5, 6, 7, 5);
  EXPECT_EQ(compiled("yyyy-MM-dd HH:mm:ss EEEE").format(early, names),
            "2005-03-04 05:06:07 Friday");
  EXPECT_EQ(compiled("yyMMddHHmmss").format(early, names), "050304050607");
  EXPECT_EQ(compiled("HH 'o''clock' 'yyyy'").format(early, names), "05 o'clock yyyy");
}

TEST(DatePatternTest, ParsesTheWholeTextStrictlyAsGMT) {
  EXPECT_EQ(parsed("yyyy-MM-dd'T'HH:mm:ss", "2017-11-05T14:30:00"),
            utcSeconds(2017, 11, 5, 14, 30, 0));
  EXPECT_EQ(parsed("yyyy-MM-dd HH:mm:ss", "2000-02-29 23:59:59"),
            utcSeconds(2000, 2, 29, 23, 59, 59));
  // Two-digit years are of this century; missing fields: the start of 1970.
  EXPECT_EQ(parsed("yyMMddHHmmss", "991231235959"), utcSeconds(2099, 12, 31, 23, 59, 59));
  EXPECT_EQ(parsed("HH:mm", "13:45"), 13 * 3600 + 45 * 60);

  // Anything but the whole text, fields out of range, days the month lacks.
  for (const char* text :
       {"2017-11-05T14:30:00Z", " 2017-11-05T14:30:00", "2017-11-05 14:30:00", "2017-11-05T14:30",
        "2017-1-05T14:30:00", "2017-11-05T14:3O:00", "17-11-05T14:30:00", "+017-11-05T14:30:00", "",
        "2017-02-30T00:00:00", "2023-02-29T00:00:00", "2100-02-29T00:00:00", "2017-04-31T00:00:00",
        "2017-13-01T00:00:00", "2017-00-10T00:00:00", "2017-01-00T00:00:00", "2017-01-01T24:00:00",
        "2017-01-01T23:60:00", "2017-01-01T23:59:60"}) {
    EXPECT_EQ(parsed("yyyy-MM-dd'T'HH:mm:ss", text), std::nullopt) << text;
  }
  EXPECT_EQ(parsed("EEEE", "Sunday"), std::nullopt);  // weekday names format but never parse
}

}  // namespace
}  // namespace orvanta
