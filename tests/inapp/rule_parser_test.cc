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
// the rule date format, whatever the device's zone. The cap's frequency reads
// as a whole number, its kind and version from text only. A section of
// another kind than a map is left unset, as is a "filter" list's element.
TEST(RuleParserTest, EveryFieldReadsTextAndNumbersOnlyAndEverySectionMapsOnly) {
  const std::optional<Date> date = Date{static_cast<double>(utcSeconds(2017, 11, 5, 14, 30))};
  constexpr std::nullopt_t none = std::nullopt;
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  // The kind, read as text, as a rule date, as a cap version and as a frequency.
  const std::tuple<const char*, Text, std::optional<Date>, std::optional<Date>, std::int64_t> kinds[] = {
      {R"("2017-11-05T14:30:00")", "2017-11-05T14:30:00", date, none, 2017},
      {R"("2017-11-05 14:30:00")", "2017-11-05 14:30:00", none, date, 2017},
      {R"("")", "", none, none, 0},           {"12", "12", none, none, 12},       {"2.7", "2.7", none, none, 2},
      {"1e20", "1e+20", none, none, kMax},    {"3.0", "3", none, none, 3},        {"true", "1", none, none, 1},
      {"null", none, none, none, 0},          {"[1]", none, none, none, 0},       {R"({"a":1})", none, none, none, 0},
      {R"x("(null)")x", "(null)", none, none, 0},
  };
  for (const auto& [kind, expected, ruleDate, capDate, frequency] : kinds) {
    SCOPED_TRACE(kind);
    const std::string v = kind;
    const bool map = v.front() == '{';
    InAppHarness in(5 * 3600);
    const auto rules = in.parser.parserInAppRules(
        json(R"({"InAppRuleList":[{"id":)" + v + R"(,"whatTo":)" + v + R"(,"whereTo":)" + v + R"(,"fromDate":)" + v +
             R"(,"toDate":)" + v + R"(,"whomTo":{"everyone":)" + v + R"(,"eventList":)" + v +
             R"(,"filter":[{"model":)" + v + R"(,"make":)" + v + R"(,"ostype":)" + v + R"(,"filter":)" + v +
             R"(,"value":)" + v + R"(,"operator":)" + v + R"(}]},"whenTo":{"spentTime":)" + v +
             R"(,"frequency":)" + v + R"(,"frequencyType":)" + v + R"(,"modifiedDate":)" + v +
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
    EXPECT_EQ(r.fromDate, ruleDate);
    EXPECT_EQ(r.toDate, ruleDate);
    const Text type = v.front() == '"' ? expected : none;
    EXPECT_EQ(r.freqCap, (OrvantaFrequencyCapping{frequency, type, frequency, 0, kStartSession, capDate}));
    EXPECT_EQ(rules[1].whomTo.has_value(), map);
    EXPECT_EQ(rules[1].whenTo.has_value(), map);
    EXPECT_EQ(rules[1].freqCap.has_value(), map);
    EXPECT_EQ(rules[2].whomTo->filter.size(), 0u);
    EXPECT_EQ(rules[2].whenTo->campaign.has_value(), map);
    EXPECT_EQ(rules[3].whomTo->filter.size(), map ? 2u : 1u);
    EXPECT_EQ(rules[3].whomTo->filter.back().strMake, "c");
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
      {"99999999999999999999", std::numeric_limits<std::int64_t>::max()},
  };
  for (const auto& [text, value] : integers) EXPECT_EQ(leadingInteger(text), value) << text;
}

}  // namespace
}  // namespace orvanta::testing
