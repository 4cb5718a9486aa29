#include <gtest/gtest.h>

#include "support/log_lines.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

// Event 5 with products against one rule whose audience is "new" with the
// given filter: whether its popup is shown.
bool filterShows(std::string_view filter, const Array& products) {
  InAppHarness in;
  in.loadRules({ruleText("r", "5", R"("whomTo":{"eventList":"5","everyone":"new","filter":[)" + std::string(filter) +
                                       "]}")});
  in.manager.showPopup(5, products);
  return in.shown() == Ids{"r"};
}

Array products(std::initializer_list<Map> maps) {
  Array array;
  for (const Map& m : maps) array.emplace_back(m);
  return array;
}

TEST(RuleEvaluationTest, CandidatesListenToTheEventAndSortByIdAsText) {
  InAppHarness in;
  in.loadRules({ruleText("9", "5"), ruleText("10", "5"), ruleText("x", "6"), R"({"whomTo":{"eventList":"5"}})",
                ruleText("10", "5", R"("whereTo":"second")"), ruleText("a", "007"), R"({"id":"b","whomTo":{"eventList":7}})",
                ruleText("c", "-3"), R"({"id":"d"})"});
  const std::pair<std::int64_t, Ids> cases[] = {
      {5, {"-", "10", "10", "9"}}, {6, {"x"}}, {7, {"b"}}, {-3, {"c"}}, {8, {}},
  };
  for (const auto& [event, ids] : cases) EXPECT_EQ(candidateIds(in.manager, event), ids) << event;
  // Equal ids keep document order.
  EXPECT_EQ(in.manager.checkInAppRuleForEventId(5)[1]->strWhereTo, std::nullopt);
  EXPECT_EQ(in.manager.checkInAppRuleForEventId(5)[2]->strWhereTo, "second");

  // The first that passes wins: "10" before "9", and later ones are not tried.
  in.manager.showPopup(5, {});
  EXPECT_EQ(in.shown(), Ids{"10"});
  EXPECT_EQ(in.lastTrace().candidates.size(), 2u);
  EXPECT_EQ(in.manager.strId(), "10");
}

TEST(RuleEvaluationTest, TheAudienceNewNeedsAMatchingFilter) {
  const std::pair<const char*, bool> cases[] = {
      {R"("whomTo":{"eventList":"5","everyone":"all"})", true},
      {R"("whomTo":{"eventList":"5"})", true},
      {R"("whomTo":{"eventList":"5","everyone":"New"})", false},
      {R"("whomTo":{"eventList":"5","everyone":"NEW","filter":[{"ostype":"ios"}]})", true},
      {R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"ostype":"android"},{"make":"Apple"}]})", true},
      {R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"model":"iphone x"}]})", true},
      {R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"model":"iPhone 8"},{"ostype":"android"}]})", false},
      {R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"filter":"x^brand","ostype":"ios"}]})", false},
  };
  for (const auto& [whomTo, shows] : cases) {
    InAppHarness in;  // the device is an "iPhone10,3", an iPhone X
    in.loadRules({ruleText("r", "5", whomTo)});
    in.manager.showPopup(5, {});
    EXPECT_EQ(in.shown().size(), shows ? 1u : 0u) << whomTo;
  }
}

// Text filters: the pattern against the lower-cased product text; the
// operator says only whether to negate.
TEST(RuleEvaluationTest, TextFiltersMatchPatternsAndTheOperatorOnlyNegates) {
  struct Case {
    const char* value;
    const char* op;  // nullptr: no operator
    Value product;
    bool shows;
  };
  const std::string catastrophic = std::string(30, 'a') + "!";
  const Case cases[] = {
      {"nik", "", "Nike", true},          {"nik", nullptr, "Nike", true},     {"nik", "!=", "Nike", false},
      {"nik", "contains", "Nike", false}, {"nik", "==", "Nike", false},       {"adi", "!=", "Nike", true},
      {"adi", "", "Nike", false},         {"^NIKE$", "", "nike", true},       {"\\\\W", "", "abc", true},
      {"4", "", 42, true},                {"1", "", true, true},              {"x", "!", Value(Array{}), false},
      {"[", "", "[", false},              {"[", "!=", "x", true},            {"(a+)+$", "", catastrophic, false},
      {"(a+)+$", "!", catastrophic, true}, {"", "", "", true},
  };
  for (const Case& c : cases) {
    const std::string op = c.op ? R"(,"operator":")" + std::string(c.op) + "\"" : "";
    const std::string filter = R"({"filter":"s^brand","value":")" + std::string(c.value) + "\"" + op + "}";
    SCOPED_TRACE(filter);
    EXPECT_EQ(filterShows(filter, products({Map{{"s^brand", c.product}}})), c.shows);
  }
}

TEST(RuleEvaluationTest, BadPatternsAndOperatorsAreLogged) {
  LogLines log;
  EXPECT_FALSE(filterShows(R"({"filter":"s^b","value":"(","operator":""})", products({Map{{"s^b", "("}}})));
  EXPECT_TRUE(log.contains("in-app filter pattern \"(\" does not compile"));
  EXPECT_FALSE(filterShows(R"({"filter":"s^b","value":"(x+x+)+y"})", products({Map{{"s^b", std::string(40, 'x')}}})));
  EXPECT_TRUE(log.contains("ran out of its match limit"));
  EXPECT_FALSE(filterShows(R"({"filter":"i^n","value":"1","operator":"between"})", products({Map{{"i^n", 2}}})));
  EXPECT_TRUE(log.contains("operator \"between\" is not a numeric comparison"));
}

// Number filters: product value, operator, rule value; only a product number
// compares.
TEST(RuleEvaluationTest, NumberFiltersCompareWithThePredicateOperators) {
  struct Case {
    const char* key;
    const char* op;
    const char* value;
    Value product;
    bool shows;
  };
  const Case cases[] = {
      {"i^qty", ">", "2", 3, true},       {"i^qty", ">", "2", "3", false},     {"i^qty", ">", "2", 2, false},
      {"i^qty", ">=", "2", 2, true},      {"i^qty", "=>", "2", 2, true},       {"i^qty", "<", "2", 1, true},
      {"i^qty", "<=", "2", 3, false},     {"i^qty", "=<", "2", 2, true},       {"i^qty", "==", "2", 2.0, true},
      {"i^qty", "=", "2x", 2, true},      {"i^qty", "!=", "2", 2, false},      {"i^qty", "<>", "2", 3, true},
      {"i^qty", " > ", "2", 3, true},     {"i^qty", "contains", "2", 2, false}, {"i^qty", "", "2", 2, false},
      {"i^qty", "==", "abc", 0, true},    {"i^qty", ">", "-5", -4, true},      {"i^qty", "==", "1", true, true},
      {"f^price", "<", "10", 9.99, true}, {"f^price", "==", "9007199254740992", 9007199254740993LL, false},
      {"f^price", ">", "1e999", 1e308, false},
  };
  for (const Case& c : cases) {
    const std::string filter = R"({"filter":")" + std::string(c.key) + R"(","operator":")" + c.op +
                               R"(","value":")" + c.value + "\"}";
    SCOPED_TRACE(filter);
    EXPECT_EQ(filterShows(filter, products({Map{{c.key, c.product}}})), c.shows);
  }
  // Any product may satisfy the filter; what is not a product is skipped.
  const std::string filter = R"({"filter":"i^qty","operator":">","value":"2"})";
  EXPECT_TRUE(filterShows(filter, Array{Value("x"), Value(Map{{"i^qty", 1}}), Value(Map{{"i^qty", 9}})}));
  EXPECT_FALSE(filterShows(filter, Array{Value(Map{{"i^qty", 1}}), Value(Map{{"s^qty", "9"}})}));
}

// Time since start-up must exceed "spentTime"; a rule without a campaign
// is then shown, uncapped.
TEST(RuleEvaluationTest, SpentTimeMustBeExceeded) {
  const std::tuple<const char*, double, bool> cases[] = {
      {R"("whenTo":{"spentTime":"30"})", 29, false}, {R"("whenTo":{"spentTime":"30"})", 30, false},
      {R"("whenTo":{"spentTime":"30"})", 31, true},  {R"("whenTo":{"spentTime":"30.5"})", 30.9, false},
      {R"("whenTo":{})", 0, false},                  {R"("whenTo":{})", 1, true},
      {R"("whenTo":{"spentTime":"later"})", 1, true}, {"", 0, false},
      {"", 1, true},
  };
  for (const auto& [whenTo, seconds, shows] : cases) {
    InAppHarness in;
    in.model.setIntializationDate(Date{kStart});
    in.loadRules({ruleText("r", "5", whenTo)});
    in.advance(seconds);
    in.manager.showPopup(5, {});
    EXPECT_EQ(in.shown().size(), shows ? 1u : 0u) << whenTo << " at " << seconds;
  }
}

// The campaign's weekdays and hours, at local times of Tuesday 14 November
// 2023 (the test zone is UTC+1).
TEST(RuleEvaluationTest, CampaignDaysAndHoursAreLocal) {
  const std::tuple<const char*, const char*, const char*, int, int, bool> cases[] = {
      {"Monday,Tuesday", "09:00", "18:00", 9, 1, true},   {"tuesday", "09:00", "18:00", 17, 59, true},
      {"TUESDAY", "09:00", "18:00", 9, 0, false},         {"Tuesday", "09:00", "18:00", 18, 0, false},
      {"Monday, Tuesday", "09:00", "18:00", 12, 0, false}, {"Monday", "09:00", "18:00", 12, 0, false},
      {"", "09:00", "18:00", 12, 0, false},               {"Tuesday", "22:00", "02:00", 23, 0, false},
      {"Tuesday", "9", "1800", 12, 0, true},
  };
  for (const auto& [days, from, to, hour, minute, shows] : cases) {
    SCOPED_TRACE(std::string(days) + " " + from + "-" + to + " at " + std::to_string(hour) + ":" + std::to_string(minute));
    InAppHarness in(3600);
    in.platform->clock->set(Date{1699916400.0 + hour * 3600 + minute * 60});  // 2023-11-14 00:00 local
    in.loadRules({ruleText("r", "5", std::string(R"("fromDate":"2023-11-01T00:00:00","whenTo":{"campaign":{"days":")") +
                                         days + R"(","from":")" + from + R"(","to":")" + to + R"("}})")});
    in.model.setIntializationDate(Date{1699900000});
    in.manager.showPopup(5, {});
    EXPECT_EQ(in.shown().size(), shows ? 1u : 0u);
  }
}

TEST(RuleEvaluationTest, TheValidityWindowExcludesItsBounds) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"2023-11-14T22:13:19", "2023-11-14T22:13:21", true},
      {"2023-11-14T22:13:20", "2023-11-15T00:00:00", false},
      {"2023-11-13T00:00:00", "2023-11-14T22:13:20", false},
      {"2023-11-15T00:00:00", "2023-11-13T00:00:00", false},
      {"2023-11-13 00:00:00", "2023-11-15T00:00:00", false},
  };
  for (const auto& [from, to, shows] : cases) {
    InAppHarness in;
    in.advance(0.9);  // fractions of a second do not count
    in.loadRules({ruleText("r", "5", std::string(R"("fromDate":")") + from + R"(","toDate":")" + to + "\"")});
    in.manager.showPopup(5, {});
    EXPECT_EQ(in.shown().size(), shows ? 1u : 0u) << from << " " << to;
  }
}

// The cap is counted when the rule passes, before anything is shown: a rule
// without content uses its showings up all the same.
TEST(RuleEvaluationTest, ARuleWithoutContentStillSpendsItsCap) {
  InAppHarness in;
  const std::string capped = R"("whenTo":{"frequency":2,"frequencyType":"campaign","campaign":{"days":"Tuesday","from":"00:00","to":"23:59"}})";
  in.loadRules({ruleText("a", "5", R"("whatTo":"",)" + capped), ruleText("b", "5")});
  for (int i = 0; i < 3; ++i) in.manager.showPopup(5, {});
  EXPECT_EQ(in.shown(), (Ids{"b", "b", "b"}));
  EXPECT_EQ(in.record("a")->frequencyRemaining, 0);
  EXPECT_EQ(in.lastTrace().candidates.front().decidedBy, RuleCheck::kFrequencyCap);
}

TEST(RuleEvaluationTest, NothingHappensOffline) {
  InAppHarness in;
  const std::string capped = R"("whenTo":{"frequency":2,"frequencyType":"day","campaign":{"days":"tuesday","from":"0","to":"2359"}})";
  in.loadRules({ruleText("21", "21", capped)});
  in.reachable = false;
  in.manager.showPopup(21, products({Map{{"s^a", "b"}}}));
  EXPECT_EQ(in.shown(), Ids{});
  EXPECT_TRUE(in.lastTrace().offline);
  EXPECT_EQ(in.popupEvent, kPopupEventNone);
  EXPECT_EQ(in.record("21")->frequencyRemaining, 2);
  EXPECT_EQ(in.manager.prouctsArray(), Array{});

  in.reachable = true;
  in.manager.showPopup(21, products({Map{{"s^a", "b"}}}));
  EXPECT_EQ(in.shown(), Ids{"21"});
  EXPECT_EQ(in.popupEvent, 21);
  EXPECT_EQ(in.record("21")->frequencyRemaining, 1);
  EXPECT_EQ(in.manager.prouctsArray(), products({Map{{"s^a", "b"}}}));
}

// Every candidate's deciding check, in order, with the cap record before
// and after; a dry run answers the same and changes nothing.
TEST(RuleEvaluationTest, TheTraceNamesTheDecidingCheckAndADryRunChangesNothing) {
  InAppHarness in;
  const std::string campaign = R"(,"campaign":{"days":"Tuesday","from":"00:00","to":"23:59"}})";
  in.loadRules({
      ruleText("1", "5", R"("toDate":"2023-11-14T00:00:00")"),
      ruleText("2", "5", R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"ostype":"android"}]})"),
      ruleText("3", "5", R"("whenTo":{"spentTime":"600"})"),
      ruleText("4", "5", R"("whenTo":{"campaign":{"days":"Monday"}})"),
      ruleText("5", "5", R"("whenTo":{"campaign":{"days":"Tuesday","from":"23:00","to":"23:59"}})"),
      ruleText("6", "5", R"("whenTo":{"frequency":1,"frequencyType":"campaign")" + campaign),
      ruleText("7", "5", R"("whatTo":"","whenTo":{"frequency":1,"frequencyType":"day")" + campaign),
      ruleText("8", "5", R"("whomTo":{"eventList":"5","everyone":"new","filter":[{"make":"x"},{"make":"apple"}]})"),
      ruleText("9", "5"),
  });
  in.records.setSavedFrequency(OrvantaFrequencyCapping{1, "campaign", 0, 0, "s", std::nullopt}, "6");
  const std::vector<RuleCheck> expected = {RuleCheck::kValidity,     RuleCheck::kAudience, RuleCheck::kSpentTime,
                                           RuleCheck::kWeekday,      RuleCheck::kHours,    RuleCheck::kFrequencyCap,
                                           RuleCheck::kNoContent,    RuleCheck::kShown};
  const auto decided = [](const PopupTrace& trace) {
    std::vector<RuleCheck> checks;
    for (const RuleTrace& rule : trace.candidates) checks.push_back(rule.decidedBy);
    return checks;
  };
  const Value storedBefore = *in.platform->standardSettings->get("7");

  const PopupTrace dry = in.manager.dryRun(5, {});
  EXPECT_TRUE(dry.dryRun);
  EXPECT_EQ(decided(dry), expected);
  EXPECT_EQ(in.shown(), Ids{});
  EXPECT_EQ(in.platform->standardSettings->get("7"), storedBefore);
  EXPECT_EQ(in.manager.strId(), std::nullopt);

  in.manager.showPopup(5, {});
  EXPECT_EQ(in.shown(), Ids{"8"});
  const PopupTrace real = in.lastTrace();
  EXPECT_FALSE(real.dryRun);
  EXPECT_EQ(decided(real), expected);
  EXPECT_EQ(in.manager.strId(), "8");

  const RuleTrace& noContent = real.candidates[6];
  EXPECT_EQ(noContent.frequency->before->frequencyRemaining, 1);
  EXPECT_EQ(noContent.frequency->after->frequencyRemaining, 0);
  EXPECT_TRUE(noContent.frequency->allowed);
  EXPECT_EQ(dry.candidates[6].frequency->after, noContent.frequency->after);
  EXPECT_FALSE(real.candidates[5].frequency->allowed);
  EXPECT_EQ(real.candidates[1].audience->matchedFilter, std::nullopt);
  EXPECT_EQ(real.candidates[7].audience->matchedFilter, 1u);
  EXPECT_TRUE(real.candidates[2].audience->everyone);
  EXPECT_EQ(real.candidates[2].detail, "60 s since start-up, more than 600 s needed");
  EXPECT_FALSE(real.candidates[0].audience);
}

TEST(RuleEvaluationTest, TheListingShowsEachRuleWithItsStoredRecord) {
  InAppHarness in;
  in.loadRules({ruleText("a", "5", R"("whenTo":{"frequency":2,"frequencyType":"day"})"), R"({"id":"b"})",
                R"({"whomTo":{"eventList":"6"},"whenTo":{}})"});
  const Array expected = {
      Value(Map{{"id", "a"}, {"eventList", "5"}, {"frequency", 2}, {"frequencyType", "day"}, {"frequencyRemaining", 2},
                {"displayDay", 0}, {"sessionID", kStartSession}}),
      Value(Map{{"id", "b"}}),
      Value(Map{{"eventList", "6"}}),
  };
  EXPECT_EQ(in.manager.rulesListing(), expected);
}

}  // namespace
}  // namespace orvanta::testing
