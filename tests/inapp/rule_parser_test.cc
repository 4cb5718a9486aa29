#include <gtest/gtest.h>

#include <limits>

#include "inapp/value_readings.h"
#include "support/civil_time.h"
#include "support/value_printer.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

using Text = std::optional<std::string>;

// Every scalar field of every section, given each JSON kind: text and
// numbers read as text, anything else as nothing; the dates are GMT text in
// the rule date format, whatever the device's zone. A section of another kind
// than a map is left unset, as is a "filter" list's element.
TEST(RuleParserTest, EveryFieldReadsTextAndNumbersOnlyAndEverySectionMapsOnly) {
  const std::optional<Date> date = Date{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30))};
  const std::tuple<const char*, Text, std::optional<Date>> kinds[] = {
      {R"("2017-11-05T14:30:00")", "2017-11-05T14:30:00", date},
      {R"("2017-11-05 14:30:00")", "2017-11-05 14:30:00", std::nullopt},
      {R"("")", "", std::nullopt},         {"12", "12", std::nullopt},     {"2.5", "2.5", std::nullopt},
      {"1e20", "1e+20", std::nullopt},     {"3.0", "3", std::nullopt},     {"true", "1", std::nullopt},
      {"null", std::nullopt, std::nullopt}, {"[1]", std::nullopt, std::nullopt},
      {R"({"a":1})", std::nullopt, std::nullopt}, {R"x("(null)")x", "(null)", std::nullopt},
  };
  for (const auto& [kind, expected, expectedDate] : kinds) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    const bool map = v.front() == '{';
    InAppHarness in(5 * 3600);
    const auto rules = in.parser.parserInAppRules(
        json(R"({"InAppRuleList":[{"id":)" + v + R"(,"whatTo":)" + v + R"(,"whereTo":)" + v + R"(,"fromDate":)" + v +
             R"(,"toDate":)" + v + R"(,"whomTo":{"everyone":)" + v + R"(,"eventList":)" + v +
             R"(,"filter":[{"model":)" + v + R"(,"make":)" + v + R"(,"ostype":)" + v + R"(,"filter":)" + v +
             R"(,"value":)" + v + R"(,"operator":)" + v + R"(}]},"whenTo":{"spentTime":)" + v +
             R"(,"campaign":{"days":)" + v + R"(,"from":)" + v + R"(,"to":)" + v + R"(}}},{"whomTo":)" + v +
             R"(,"whenTo":)" + v + R"(},{"whomTo":{"filter":)" + v + R"(},"whenTo":{"campaign":)" + v +
             R"(}},{"whomTo":{"filter":[)" + v + R"(,{"make":"c"}]}}]})"));
    ASSERT_EQ(rules.size(), 4u);
    const OrvantaInAppRules& r = rules[0];
    const OrvantaInAppRuleFilter& f = r.whomTo->filter.at(0);
    const OrvantaInAppRuleCampaign& c = *r.whenTo->campaign;
    const Text fields[] = {r.strRuleId,     r.strWhatTo, r.strWhereTo, r.whomTo->strEveryone, r.whomTo->strEventList,
                           f.strModel,      f.strMake,   f.strOStype,  f.strFilter,           f.strOperator,
                           r.whenTo->strSpentTime,       c.strDays,    c.strFrom,             c.strTo};
    for (const Text& field : fields) EXPECT_EQ(field, expected);
    // A filter's value is never nothing.
    EXPECT_EQ(f.strValue, expected.value_or(""));
    EXPECT_EQ(r.fromDate, expectedDate);
    EXPECT_EQ(r.toDate, expectedDate);
    EXPECT_EQ(rules[1].whomTo.has_value(), map);
    EXPECT_EQ(rules[1].whenTo.has_value(), map);
    EXPECT_EQ(rules[1].freqCap.has_value(), map);
    EXPECT_EQ(rules[2].whomTo->filter.size(), 0u);
    EXPECT_EQ(rules[2].whenTo->campaign.has_value(), map);
    EXPECT_EQ(rules[3].whomTo->filter.size(), map ? 2u : 1u);
    EXPECT_EQ(rules[3].whomTo->filter.back().strMake, "c");
  }
}

// The cap comes from the "whenTo" map itself, and is stored as it came.
TEST(RuleParserTest, TheCapIsReadFromTheTimingSection) {
  const Date modified{static_cast<double>(utcSeconds(2024, 1, 2, 3, 4, 5))};
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const std::tuple<const char*, std::int64_t, Text, std::optional<Date>> cases[] = {
      {R"({"frequency":3,"frequencyType":"day","modifiedDate":"2024-01-02 03:04:05"})", 3, "day", modified},
      {R"({"frequency":" 7abc","frequencyType":"session"})", 7, "session", std::nullopt},
      {R"({"frequency":2.7,"modifiedDate":"2024-01-02T03:04:05"})", 2, std::nullopt, std::nullopt},
      {R"({"frequency":true,"frequencyType":5,"modifiedDate":5})", 1, std::nullopt, std::nullopt},
      {R"({"frequency":1e30})", kMax, std::nullopt, std::nullopt},
      {R"({"frequency":"99999999999999999999"})", kMax, std::nullopt, std::nullopt},
      {R"({"frequency":"x","frequencyType":"campaign"})", 0, "campaign", std::nullopt},
      {R"({"frequency":[3]})", 0, std::nullopt, std::nullopt},
  };
  for (const auto& [whenTo, frequency, type, modifiedDate] : cases) {
    InAppHarness in;
    const OrvantaFrequencyCapping expected{frequency, type, frequency, 0, kStartSession, modifiedDate};
    EXPECT_EQ(in.parseTiming(whenTo)[0].freqCap, expected) << whenTo;
    EXPECT_EQ(in.record("r"), expected) << whenTo;
  }
}

TEST(RuleParserTest, LenientNumbersReadTheirLeadingPart) {
  const std::pair<const char*, double> doubles[] = {
      {" 30s", 30},    {"+2.5e1x", 25}, {"-.5", -0.5}, {"5.", 5},   {"1e", 1},         {"abc", 0},    {"", 0},
      {".", 0},        {"-", 0},        {"1e999", HUGE_VAL},        {"1e-999", 0},     {"0.0e-999", 0},
      {"nan", 0},      {"inf", 0},
  };
  for (const auto& [text, value] : doubles) EXPECT_EQ(leadingDouble(text), value) << text;
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const std::pair<const char*, std::int64_t> integers[] = {
      {"42", 42}, {"\t-7x", -7}, {"3.9", 3}, {"x1", 0}, {"-9223372036854775808", kMin}, {"-99999999999999999999", kMin},
  };
  for (const auto& [text, value] : integers) EXPECT_EQ(leadingInteger(text), value) << text;
}

}  // namespace
}  // namespace orvanta::testing
