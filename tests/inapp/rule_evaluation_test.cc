#include <gtest/gtest.h>

#include "support/log_lines.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

TEST(RuleEvaluationTest, CandidatesListenToTheEventAndSortByIdAsText) {
  InAppHarness in;
  in.loadRules({ruleText("9", "5"), ruleText("10", "5"), ruleText("x", "6"), R"({"whomTo":{"eventList":"5"}})",
                ruleText("10", "5", R"("whereTo":"second")"), ruleText("a", "007"),
                R"({"id":"b","whomTo":{"eventList":7}})", ruleText("c", "-3"), R"({"id":"d"})"});
  const std::pair<std::int64_t, Ids> cases[] = {
      {5, {"-", "10", "10", "9"}}, {6, {"x"}}, {7, {"b"}}, {-3, {"c"}}, {8, {}}};
  for (const auto& [event, ids] : cases) EXPECT_EQ(candidateIds(in.manager, event), ids) << event;
  // Equal ids keep document order.
  EXPECT_EQ(in.manager.checkInAppRuleForEventId(5)[2]->strWhereTo, "second");
}

TEST(RuleEvaluationTest, TheAudienceNewNeedsAMatchingFilter) {
  const std::pair<const char*, bool> cases[] = {
      {R"("everyone":"all")", true},
      {R"("everyone":"New")", false},
      {R"("everyone":"NEW","filter":[{"ostype":"ios"}])", true},
      {R"("everyone":"new","filter":[{"model":"iphone x"}])", true},
      {R"("everyone":"new","filter":[{"filter":"x^brand","ostype":"ios"}])", false},
  };
  for (const auto& [whomTo, shows] : cases) {
    InAppHarness in;  // the device is an "iPhone10,3", an iPhone X
    EXPECT_EQ(in.fires(R"("whomTo":{"eventList":"5",)" + std::string(whomTo) + "}"), shows) << whomTo;
  }
}

// Product filters of the audience "new". A text key ("s^") searches its
// pattern in the lower-cased product text, the operator saying only whether
// to negate; a number key ("i^", "f^") compares the product's number (never
// text) with the predicate operators. Bad patterns and operators are logged.
// Any product may satisfy the filter: each case's comes after one without the
// key and a value that is no product.
TEST(RuleEvaluationTest, ProductFiltersMatchPatternsOrCompareNumbers) {
  struct Case {
    const char* key;
    const char* op;  // nullptr: no operator
    const char* value;
    Value product;
    bool shows;
    const char* logged = nullptr;
  };
  const std::string catastrophic = std::string(30, 'a') + "!";
  const char* const kGaveUp = "ran out of its match limit";
  const Case cases[] = {
      {"s^b", "", "nik", "Nike", true},     {"s^b", nullptr, "nik", "Nike", true},  {"s^b", "!=", "nik", "Nike", false},
      {"s^b", "==", "nik", "Nike", false},  {"s^b", "!=", "adi", "Nike", true},     {"s^b", "", "adi", "Nike", false},
      {"s^b", "", "^NIKE$", "nike", true},  {"s^b", "", "\\\\W", "abc", true},      {"s^b", "", "4", 42, true},
      {"s^b", "", "1", true, true},         {"s^b", "!", "x", Value(Array{}), false}, {"s^b", "", "", "", true},
      {"s^b", "!=", "[", "x", true},        {"s^b", "", "[", "[", false, "pattern \"[\" does not compile"},
      {"s^b", "", "(a+)+$", catastrophic, false, kGaveUp}, {"s^b", "!", "(a+)+$", catastrophic, true, kGaveUp},
      {"i^q", ">", "2", 3, true},           {"i^q", ">", "2", "3", false},          {"i^q", ">", "2", 2, false},
      {"i^q", ">=", "2", 2, true},          {"i^q", "=>", "2", 2, true},            {"i^q", "<", "2", 1, true},
      {"i^q", "<=", "2", 3, false},         {"i^q", "=<", "2", 2, true},            {"i^q", "==", "2", 2.0, true},
      {"i^q", "=", "2x", 2, true},          {"i^q", "!=", "2", 2, false},           {"i^q", "<>", "2", 3, true},
      {"i^q", " > ", "2", 3, true},         {"i^q", "", "2", 2, false},             {"i^q", "==", "abc", 0, true},
      {"i^q", "==", "1", true, true},       {"f^p", "<", "10", 9.99, true},
      {"f^p", "==", "9007199254740992", 9007199254740993LL, false},
      {"i^q", "contains", "2", 2, false, "operator \"contains\" is not a numeric comparison"},
  };
  for (const Case& c : cases) {
    const std::string op = c.op ? R"(,"operator":")" + std::string(c.op) + "\"" : "";
    const std::string filter = R"({"filter":")" + std::string(c.key) + R"(","value":")" + c.value + "\"" + op + "}";
    SCOPED_TRACE(filter);
    LogLines log;
    InAppHarness in;
    EXPECT_EQ(in.fires(R"("whomTo":{"eventList":"5","everyone":"new","filter":[)" + filter + "]}",
                       Array{Value("x"), Value(Map{{"other", 1}}), Value(Map{{c.key, c.product}})}),
              c.shows);
    if (c.logged) {
      EXPECT_TRUE(log.contains(c.logged));
    }
  }
}

// Time since start-up, now counted in whole seconds, must exceed
// "spentTime" (none: 0); a rule without a campaign is then shown, uncapped.
TEST(RuleEvaluationTest, SpentTimeMustBeExceeded) {
  // The rule's "whenTo", the start-up that many seconds before the platform's
  // start, the clock moved on that many seconds from it.
  const std::tuple<const char*, double, double, bool> cases[] = {
      {R"("whenTo":{"spentTime":"30"})", 0, 30, false},       {R"("whenTo":{"spentTime":"30"})", 0, 31, true},
      {R"("whenTo":{"spentTime":"30.5"})", 0.3, 30.9, false}, {R"("whenTo":{})", 0, 0, false},
      {"", 0, 0, false},
      {R"("whenTo":{"spentTime":"later","frequency":0,"frequencyType":"campaign"})", 0, 1, true},
  };
  for (const auto& [whenTo, launchedBefore, seconds, shows] : cases) {
    InAppHarness in;
    in.model.setIntializationDate(Date{kStart - launchedBefore});
    in.platform->clock->advance(seconds);
    EXPECT_EQ(in.fires(whenTo), shows) << whenTo << " at " << seconds;
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
    InAppHarness in(3600);
    in.platform->clock->set(Date{1699916400.0 + hour * 3600 + minute * 60});  // 2023-11-14 00:00 local
    in.model.setIntializationDate(Date{1699900000});
    EXPECT_EQ(in.fires(std::string(R"("fromDate":"2023-11-01T00:00:00","whenTo":{"campaign":{"days":")") + days +
                       R"(","from":")" + from + R"(","to":")" + to + R"("}})"),
              shows)
        << days << " " << from << "-" << to << " at " << hour << ":" << minute;
  }
}

TEST(RuleEvaluationTest, TheValidityWindowExcludesItsBounds) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"2023-11-14T22:13:19", "2023-11-14T22:13:21", true}, {"2023-11-14T22:13:20", "2023-11-15T00:00:00", false},
      {"2023-11-13T00:00:00", "2023-11-14T22:13:20", false}, {"2023-11-15T00:00:00", "2023-11-13T00:00:00", false},
      {"2023-11-13 00:00:00", "2023-11-15T00:00:00", false},
  };
  for (const auto& [from, to, shows] : cases) {
    InAppHarness in;
    in.platform->clock->advance(0.9);  // fractions of a second do not count
    EXPECT_EQ(in.fires(std::string(R"("fromDate":")") + from + R"(","toDate":")" + to + "\""), shows) << from << to;
  }
}

// Every candidate's deciding check, in order, with the cap record before
// and after: the first rule that passes wins, and later ones are not tried.
// A dry run answers the same and changes nothing. The cap is
// counted when a rule passes, before anything is shown: a rule without
// content uses its showings up all the same.
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
  using enum RuleCheck;
  const std::vector<RuleCheck> expected = {kValidity, kAudience,     kSpentTime, kWeekday,
                                           kHours,    kFrequencyCap, kNoContent, kShown};
  const std::optional<OrvantaFrequencyCapping> before = in.record("7");
  PopupTrace trace;
  for (const bool dryRun : {true, false}) {
    SCOPED_TRACE(dryRun ? "dry run" : "event");
    if (!dryRun) in.manager.showPopup(5, {});
    trace = dryRun ? in.manager.dryRun(5, {}) : in.traces().back();
    EXPECT_EQ(trace.dryRun, dryRun);
    ASSERT_EQ(trace.candidates.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(trace.candidates[i].decidedBy, expected[i]) << i;
    EXPECT_EQ(in.shown(), dryRun ? Ids{} : Ids{"8"});
    EXPECT_EQ(in.manager.strId(), dryRun ? std::nullopt : std::optional<std::string>("8"));
    EXPECT_EQ(in.record("7")->frequencyRemaining, dryRun ? 1 : 0);
    EXPECT_EQ(trace.candidates[6].frequency->before, before->encodeWithCoder());
    EXPECT_EQ(*trace.candidates[6].frequency->after->asMap()->find("frequencyRemaining")->asInteger(), 0);
  }
  EXPECT_FALSE(trace.candidates[5].frequency->allowed);
  EXPECT_EQ(trace.candidates[1].audience->matchedFilter, std::nullopt);
  EXPECT_EQ(trace.candidates[7].audience->matchedFilter, 1u);
  EXPECT_TRUE(trace.candidates[2].audience->everyone);
  EXPECT_EQ(trace.candidates[2].detail, "60 s since start-up, more than 600 s needed");
  EXPECT_FALSE(trace.candidates[0].audience);
}

// Only a rule with an id and timing stores a record; a document's records
// are flushed once.
TEST(RuleEvaluationTest, TheListingShowsEachRuleWithItsStoredRecord) {
  InAppHarness in;
  in.loadRules({ruleText("a", "5", R"("whenTo":{"frequency":2,"frequencyType":"day"})"), R"({"id":"b"})",
                R"({"id":"c","whenTo":{}})", R"({"whomTo":{"eventList":"6"},"whenTo":{}})"});
  const Array expected = {
      Value(Map{{"id", "a"}, {"eventList", "5"}, {"frequency", 2}, {"frequencyType", "day"}, {"frequencyRemaining", 2},
                {"displayDay", 0}, {"sessionID", kStartSession}}),
      Value(Map{{"id", "b"}}),
      Value(Map{{"id", "c"}, {"frequency", 0}, {"frequencyRemaining", 0}, {"displayDay", 0},
                {"sessionID", kStartSession}}),
      Value(Map{{"eventList", "6"}}),
  };
  EXPECT_EQ(in.manager.rulesListing(), expected);
  EXPECT_EQ(in.platform->standardSettings->size(), 2u);
  EXPECT_EQ(in.platform->standardSettings->synchronizeCount(), 1);
}

}  // namespace
}  // namespace orvanta::testing
