#include <gtest/gtest.h>

#include "support/value_printer.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

constexpr double kDay = 86400;

OrvantaFrequencyCapping fullRecord() {
  OrvantaFrequencyCapping r;
  r.frequency = 3;
  r.frequencyType = "day";
  r.frequencyRemaining = -2;
  r.displayDay = 1699920000000;
  r.sessionID = kStartSession;
  r.modifiedDate = Date{1700000000};
  return r;
}

TEST(FrequencyCappingTest, PeriodKindCodes) {
  const std::pair<std::optional<std::string>, std::int64_t> cases[] = {
      {"session", 0}, {"day", 1}, {"campaign", 2}, {"Day", 1000}, {"week", 1000}, {"", 1000}, {std::nullopt, 1000},
  };
  for (const auto& [type, code] : cases) {
    EXPECT_EQ(OrvantaFrequencyCapping::getFrequencyWithType(type), code) << type.value_or("(none)");
  }
}

// The stored form keeps its keys and kinds through the settings file's
// tagged JSON, and reads back as the same record.
TEST(FrequencyCappingTest, TheStoredFormRoundTripsWithItsKinds) {
  const OrvantaFrequencyCapping sparse;  // no type, session or version
  for (const OrvantaFrequencyCapping& record : {fullRecord(), sparse}) {
    const Value stored = record.encodeWithCoder();
    const Value reread = fromTaggedJson(Json::parse(toTaggedJson(stored).dump()));
    EXPECT_EQ(reread, stored);
    EXPECT_EQ(OrvantaFrequencyCapping::initWithCoder(reread), record);
  }
  EXPECT_EQ(fullRecord().encodeWithCoder(),
            Value(Map{{"frequency", 3}, {"frequencyType", "day"}, {"frequencyRemaining", -2},
                      {"modifiedDate", Date{1700000000}}, {"displayDay", 1699920000000LL},
                      {"sessionID", kStartSession}}));
}

// A stored value that does not read as a record is no record: the rule is
// uncapped, and checking it counts nothing.
TEST(FrequencyCappingTest, ACorruptRecordIsUncappedAndLeftAlone) {
  const Value corrupt[] = {
      Value("day"),
      Value(Bytes{0x62, 0x70}),
      Value(Array{Value(3)}),
      Value(Map{{"frequency", "3"}, {"frequencyRemaining", 0}, {"frequencyType", "campaign"}}),
      Value(Map{{"frequencyRemaining", 2.5}}),
      Value(Map{{"frequencyType", 1}, {"frequencyRemaining", 0}}),
      Value(Map{{"modifiedDate", "2024-01-01 00:00:00"}}),
      Value(Map{{"displayDay", true}}),
      Value(Map{{"sessionID", Null{}}, {"frequencyType", "campaign"}}),
  };
  for (const Value& stored : corrupt) {
    SCOPED_TRACE(dumpJson(stored));
    InAppHarness in;
    in.platform->standardSettings->set("r", stored);
    EXPECT_EQ(in.record("r"), std::nullopt);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(OrvantaInAppRuleWhenTo::shouldShowPopUpWithId("r", in.records));
    EXPECT_EQ(in.platform->standardSettings->get("r"), stored);
  }
  // Keys that are missing read as unset, which is not corruption.
  EXPECT_EQ(OrvantaFrequencyCapping::initWithCoder(Value(Map{{"frequency", 2}}))->frequencyRemaining, 0);
}

// A downloaded cap meets the stored record: the stored one wins unless the
// version differs, and then the count is reset only for a new frequency.
TEST(FrequencyCappingTest, ADownloadedCapMergesWithTheStoredRecord) {
  struct Case {
    const char* name;
    const char* downloaded;  // the rule's "whenTo"
    std::int64_t frequency, remaining;
    const char* type;     // nullptr: none
    const char* version;  // the record's version afterwards; nullptr: none
  };
  constexpr const char* kJanuary = "2024-01-01 00:00:00";
  constexpr const char* kFebruary = "2024-02-01 00:00:00";
  // Stored: 3 per day, version January, 1 left, shown in session "old".
  const Case cases[] = {
      {"same version", R"({"frequency":5,"frequencyType":"session","modifiedDate":"2024-01-01 00:00:00"})", 3, 1,
       "day", kJanuary},
      {"new version, same frequency", R"({"frequency":3,"frequencyType":"session","modifiedDate":"2024-02-01 00:00:00"})",
       3, 1, "session", kFebruary},
      {"new version, new frequency", R"({"frequency":5,"frequencyType":"day","modifiedDate":"2024-02-01 00:00:00"})", 5,
       5, "day", kFebruary},
      {"version dropped", R"({"frequency":3,"frequencyType":"campaign"})", 3, 1, "campaign", nullptr},
      {"unreadable version", R"({"frequency":5,"modifiedDate":"soon"})", 5, 5, nullptr, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    InAppHarness in;
    const auto version = [&](const char* text) -> std::optional<Date> {
      if (!text) return std::nullopt;
      return in.dates.formatDate(std::string(text), "yyyy-MM-dd HH:mm:ss");
    };
    OrvantaFrequencyCapping stored;
    stored.frequency = 3;
    stored.frequencyType = "day";
    stored.frequencyRemaining = 1;
    stored.displayDay = 12345000;
    stored.sessionID = "old";
    stored.modifiedDate = version(kJanuary);
    in.records.setSavedFrequency(stored, "r");

    const auto rules = in.parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"r","whenTo":)" +
                                                       std::string(c.downloaded) + "}]}"));
    OrvantaFrequencyCapping expected = stored;
    expected.frequency = c.frequency;
    expected.frequencyRemaining = c.remaining;
    expected.frequencyType = c.type ? std::optional<std::string>(c.type) : std::nullopt;
    expected.modifiedDate = version(c.version);
    EXPECT_EQ(in.record("r"), expected);
    EXPECT_EQ(rules[0].freqCap, expected);
    EXPECT_EQ(rules[0].whenTo->frequencyCap, expected);
  }
}

TEST(FrequencyCappingTest, RulesWithoutTimingOrIdStoreNothingAndADocumentFlushesOnce) {
  InAppHarness in;
  in.parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"a"},{"whenTo":{"frequency":1}}]})"));
  EXPECT_EQ(in.platform->standardSettings->size(), 0u);
  EXPECT_EQ(in.platform->standardSettings->synchronizeCount(), 0);
  in.parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"a","whenTo":{}},{"id":"b","whenTo":{}}]})"));
  EXPECT_EQ(in.platform->standardSettings->size(), 2u);
  EXPECT_EQ(in.platform->standardSettings->synchronizeCount(), 1);
}

// Checks of one rule's cap over days and sessions: each step moves time or
// the session, then checks once.
TEST(FrequencyCappingTest, TheCheckCountsAndRestartsPeriods) {
  struct Step {
    double days;
    const char* session;  // nullptr: unchanged
    bool allowed;
    std::int64_t remaining;
  };
  struct Case {
    const char* name;
    const char* whenTo;
    std::vector<Step> steps;
  };
  const Case cases[] = {
      {"2 a day",
       R"({"frequency":2,"frequencyType":"day"})",
       {{0, nullptr, true, 1}, {0, nullptr, true, 0}, {0, nullptr, false, 0}, {1, nullptr, true, 1}}},
      {"a day restarts only once used up",
       R"({"frequency":3,"frequencyType":"day"})",
       {{0, nullptr, true, 2}, {1, nullptr, true, 1}, {1, nullptr, true, 0}, {0, nullptr, false, 0},
        {0.5, nullptr, true, 2}}},
      {"a new session with showings left costs two",
       R"({"frequency":3,"frequencyType":"session"})",
       {{0, nullptr, true, 2}, {0, "B", true, 1}, {0, nullptr, true, 0}, {0, nullptr, false, 0},
        {0, "C", true, 2}}},
      {"campaign never restarts",
       R"({"frequency":1,"frequencyType":"campaign"})",
       {{0, nullptr, true, 0}, {1, "B", false, 0}, {30, "C", false, 0}}},
      {"no known kind: counted down, then always shown",
       R"({"frequency":2,"frequencyType":"week"})",
       {{0, nullptr, true, 1}, {0, nullptr, true, 0}, {0, nullptr, true, 0}, {1, "B", true, 0}}},
      {"0 a day is once a day",
       R"({"frequency":0,"frequencyType":"day"})",
       {{0, nullptr, true, -1}, {0, nullptr, false, -1}, {1, nullptr, true, -1}}},
      {"0 a session is once a session",
       R"({"frequency":0,"frequencyType":"session"})",
       {{0, nullptr, false, 0}, {0, "B", true, -1}, {1, nullptr, false, -1}, {0, "C", true, -1}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    InAppHarness in;
    in.parser.parserInAppRules(json(R"({"InAppRuleList":[{"id":"r","whenTo":)" + std::string(c.whenTo) + "}]}"));
    for (std::size_t i = 0; i < c.steps.size(); ++i) {
      const Step& step = c.steps[i];
      in.advance(step.days * kDay);
      if (step.session) in.model.setStrSessionid(step.session);
      EXPECT_EQ(OrvantaInAppRuleWhenTo::shouldShowPopUpWithId("r", in.records), step.allowed) << "step " << i;
      EXPECT_EQ(in.record("r")->frequencyRemaining, step.remaining) << "step " << i;
    }
  }
}

// A campaign cap used up stays so until the server changes its frequency.
TEST(FrequencyCappingTest, OnlyANewFrequencyRevivesAUsedUpCampaign) {
  InAppHarness in;
  const auto download = [&](const char* frequency, const char* version) {
    in.parser.parserInAppRules(json(std::string(R"({"InAppRuleList":[{"id":"r","whenTo":{"frequency":)") + frequency +
                                    R"(,"frequencyType":"campaign","modifiedDate":")" + version + R"("}}]})"));
  };
  const auto check = [&] { return OrvantaInAppRuleWhenTo::shouldShowPopUpWithId("r", in.records); };
  download("1", "2024-01-01 00:00:00");
  EXPECT_TRUE(check());
  EXPECT_FALSE(check());
  download("1", "2024-02-01 00:00:00");
  EXPECT_FALSE(check());
  download("2", "2024-03-01 00:00:00");
  EXPECT_TRUE(check());
  EXPECT_TRUE(check());
  EXPECT_FALSE(check());
}

}  // namespace
}  // namespace orvanta::testing
