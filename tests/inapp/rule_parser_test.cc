#include <gtest/gtest.h>

#include <limits>

#include "inapp/value_readings.h"
#include "support/civil_time.h"
#include "support/value_printer.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

using Text = std::optional<std::string>;

std::vector<OrvantaInAppRules> parse(InAppHarness& in, std::string_view document) {
  return in.parser.parserInAppRules(json(document));
}

TEST(RuleParserTest, OnlyTheRuleMapsOfAnInAppRuleListAreRead) {
  const std::pair<const char*, std::vector<Text>> cases[] = {
      {R"({"InAppRuleList":"x"})", {}},
      {R"([{"id":"1"}])", {}},
      {R"({"rules":[{"id":"1"}]})", {}},
      {R"({"InAppRuleList":{"id":"1"}})", {}},
      {R"({"InAppRuleList":[]})", {}},
      {R"({"InAppRuleList":[1,"a",{"id":"1"},null,[{"id":"x"}],{"id":"2"},{}]})", {"1", "2", std::nullopt}},
  };
  for (const auto& [document, ids] : cases) {
    InAppHarness in;
    std::vector<Text> parsed;
    for (const OrvantaInAppRules& rule : parse(in, document)) parsed.push_back(rule.strRuleId);
    EXPECT_EQ(parsed, ids) << document;
  }
}

// Every scalar field of every section, given each JSON kind: text and
// numbers read as text, anything else as nothing.
TEST(RuleParserTest, EveryScalarFieldReadsTextAndNumbersOnly) {
  const std::pair<const char*, Text> kinds[] = {
      {R"("abc")", "abc"}, {R"("")", ""},     {"12", "12"},     {"-3", "-3"},         {"2.5", "2.5"},
      {"1e20", "1e+20"},   {"3.0", "3"},      {"true", "1"},    {"false", "0"},       {"null", std::nullopt},
      {"[1]", std::nullopt}, {R"({"a":1})", std::nullopt},      {R"x("(null)")x", "(null)"},
  };
  for (const auto& [kind, expected] : kinds) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    InAppHarness in;
    const auto rules = parse(in, R"({"InAppRuleList":[{"id":)" + v + R"(,"whatTo":)" + v + R"(,"whereTo":)" + v +
                                     R"(,"whomTo":{"everyone":)" + v + R"(,"eventList":)" + v +
                                     R"(,"filter":[{"model":)" + v + R"(,"make":)" + v + R"(,"ostype":)" + v +
                                     R"(,"filter":)" + v + R"(,"value":)" + v + R"(,"operator":)" + v +
                                     R"(}]},"whenTo":{"spentTime":)" + v + R"(,"campaign":{"days":)" + v +
                                     R"(,"from":)" + v + R"(,"to":)" + v + "}}}]}");
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
  }
}

// A section of another kind than a map (a list for "filter") is left unset.
TEST(RuleParserTest, SectionsOfTheWrongKindAreLeftEmpty) {
  for (const char* kind : {R"("x")", "7", "true", "null", "[]", "[{}]"}) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    InAppHarness in;
    const auto rules = parse(in, R"({"InAppRuleList":[{"id":"1","whomTo":)" + v + R"(,"whenTo":)" + v +
                                     R"(},{"id":"2","whomTo":{"filter":)" + v + R"(},"whenTo":{"campaign":)" + v +
                                     "}}]}");
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_FALSE(rules[0].whomTo);
    EXPECT_FALSE(rules[0].whenTo);
    EXPECT_FALSE(rules[0].freqCap);
    EXPECT_FALSE(rules[1].whenTo->campaign);
    EXPECT_EQ(rules[1].whomTo->filter.size(), v == "[{}]" ? 1u : 0u);
  }
  InAppHarness in;
  const auto rules = parse(in, R"({"InAppRuleList":[{"whomTo":{"filter":[{"make":"a"},"b",{"make":"c"}]}}]})");
  ASSERT_EQ(rules[0].whomTo->filter.size(), 2u);
  EXPECT_EQ(rules[0].whomTo->filter[1].strMake, "c");
}

TEST(RuleParserTest, RuleDatesAreGMTTextInTheRuleDateFormat) {
  const std::optional<Date> date = Date{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30))};
  const std::pair<const char*, std::optional<Date>> cases[] = {
      {R"("2017-11-05T14:30:00")", date}, {R"("2017-11-05 14:30:00")", std::nullopt}, {"1509892200", std::nullopt}};
  for (const auto& [text, expected] : cases) {
    InAppHarness in(5 * 3600);  // the device's zone plays no part
    const auto rules = parse(in, R"({"InAppRuleList":[{"fromDate":)" + std::string(text) + R"(,"toDate":)" + text + "}]}");
    EXPECT_EQ(rules[0].fromDate, expected) << text;
    EXPECT_EQ(rules[0].toDate, expected) << text;
  }
}

// The cap comes from the "whenTo" map itself.
TEST(RuleParserTest, TheCapIsReadFromTheTimingSection) {
  struct Case {
    const char* whenTo;
    std::int64_t frequency;
    Text frequencyType;
    std::optional<Date> modifiedDate;
  };
  const Date modified{static_cast<double>(utcSeconds(2024, 1, 2, 3, 4, 5))};
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const Case cases[] = {
      {R"({"frequency":3,"frequencyType":"day","modifiedDate":"2024-01-02 03:04:05"})", 3, "day", modified},
      {R"({"frequency":"3","frequencyType":"session"})", 3, "session", std::nullopt},
      {R"({"frequency":" 7abc"})", 7, std::nullopt, std::nullopt},
      {R"({"frequency":2.7,"modifiedDate":"2024-01-02T03:04:05"})", 2, std::nullopt, std::nullopt},
      {R"({"frequency":true,"frequencyType":5,"modifiedDate":5})", 1, std::nullopt, std::nullopt},
      {R"({"frequency":1e30})", kMax, std::nullopt, std::nullopt},
      {R"({"frequency":"99999999999999999999"})", kMax, std::nullopt, std::nullopt},
      {R"({"frequency":"x","frequencyType":"campaign"})", 0, "campaign", std::nullopt},
      {R"({"frequency":[3]})", 0, std::nullopt, std::nullopt},
      {R"({})", 0, std::nullopt, std::nullopt},
  };
  for (const Case& c : cases) {
    InAppHarness in;
    const auto rules = parse(in, R"({"InAppRuleList":[{"id":"r","whenTo":)" + std::string(c.whenTo) + "}]}");
    OrvantaFrequencyCapping expected;
    expected.frequency = expected.frequencyRemaining = c.frequency;
    expected.frequencyType = c.frequencyType;
    expected.modifiedDate = c.modifiedDate;
    expected.sessionID = kStartSession;
    EXPECT_EQ(rules[0].freqCap, expected) << c.whenTo;
    EXPECT_EQ(in.record("r"), expected) << c.whenTo;
  }
}

TEST(RuleParserTest, LenientNumbersReadTheirLeadingPart) {
  const std::pair<const char*, double> doubles[] = {
      {"30", 30},     {" 30s", 30},   {"+2.5e1x", 25}, {"-.5", -0.5}, {"5.", 5},      {"1e", 1},
      {"abc", 0},     {"", 0},        {".", 0},        {"-", 0},      {"1e999", HUGE_VAL}, {"1e-999", 0},
      {"0.0e-999", 0}, {"nan", 0},    {"inf", 0},
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
