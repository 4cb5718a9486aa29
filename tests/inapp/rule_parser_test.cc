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
// the rule date format, whatever the device's zone.
TEST(RuleParserTest, EveryScalarFieldReadsTextAndNumbersOnly) {
  const std::optional<Date> date = Date{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30))};
  const std::tuple<const char*, Text, std::optional<Date>> kinds[] = {
      {R"("2017-11-05T14:30:00")", "2017-11-05T14:30:00", date},
      {R"("2017-11-05 14:30:00")", "2017-11-05 14:30:00", std::nullopt},
      {R"("")", "", std::nullopt},        {"12", "12", std::nullopt},           {"-3", "-3", std::nullopt},
      {"2.5", "2.5", std::nullopt},       {"1e20", "1e+20", std::nullopt},      {"3.0", "3", std::nullopt},
      {"true", "1", std::nullopt},        {"false", "0", std::nullopt},         {"null", std::nullopt, std::nullopt},
      {"[1]", std::nullopt, std::nullopt}, {R"({"a":1})", std::nullopt, std::nullopt},
      {R"x("(null)")x", "(null)", std::nullopt},
  };
  for (const auto& [kind, expected, expectedDate] : kinds) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    InAppHarness in(5 * 3600);
    const auto rules = in.parser.parserInAppRules(
        json(R"({"InAppRuleList":[{"id":)" + v + R"(,"whatTo":)" + v + R"(,"whereTo":)" + v + R"(,"fromDate":)" + v +
             R"(,"toDate":)" + v + R"(,"whomTo":{"everyone":)" + v + R"(,"eventList":)" + v +
             R"(,"filter":[{"model":)" + v + R"(,"make":)" + v + R"(,"ostype":)" + v + R"(,"filter":)" + v +
             R"(,"value":)" + v + R"(,"operator":)" + v + R"(}]},"whenTo":{"spentTime":)" + v +
             R"(,"campaign":{"days":)" + v + R"(,"from":)" + v + R"(,"to":)" + v + "}}}]}"));
    ASSERT_EQ(rules.size(), 1u);
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
  }
}

// A section of another kind than a map (a list for "filter") is left unset.
TEST(RuleParserTest, SectionsOfTheWrongKindAreLeftEmpty) {
  for (const char* kind : {R"("x")", "7", "true", "null", "[]", "[{}]"}) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    InAppHarness in;
    const auto rules = in.parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"1","whomTo":)" + v +
                                                       R"(,"whenTo":)" + v + R"(},{"id":"2","whomTo":{"filter":)" + v +
                                                       R"(},"whenTo":{"campaign":)" + v + "}}]}"));
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_FALSE(rules[0].whomTo);
    EXPECT_FALSE(rules[0].whenTo);
    EXPECT_FALSE(rules[0].freqCap);
    EXPECT_FALSE(rules[1].whenTo->campaign);
    EXPECT_EQ(rules[1].whomTo->filter.size(), v == "[{}]" ? 1u : 0u);
  }
  InAppHarness in;
  const auto rules = in.parser.parserInAppRules(
      json(R"({"InAppRuleList":[{"whomTo":{"filter":[{"make":"a"},"b",{"make":"c"}]}}]})"));
  ASSERT_EQ(rules[0].whomTo->filter.size(), 2u);
  EXPECT_EQ(rules[0].whomTo->filter[1].strMake, "c");
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
