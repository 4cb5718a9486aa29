#include <gtest/gtest.h>

#include "support/value_printer.h"
#include "inapp_harness.h"

namespace orvanta::testing {
namespace {

bool check(InAppHarness& in) { return OrvantaInAppRuleWhenTo::shouldShowPopUpWithId("r", in.records); }

// The stored form's keys and kinds, as records already on disk hold them;
// keys that are missing read as unset, which is not corruption.
TEST(FrequencyCappingTest, TheStoredFormKeepsItsKeysAndKinds) {
  const OrvantaFrequencyCapping full{3, "day", -2, 1699920000000, kStartSession, Date{1700000000}};
  EXPECT_EQ(full.encodeWithCoder(), Value(Map{{"frequency", 3}, {"frequencyType", "day"}, {"frequencyRemaining", -2},
                                              {"modifiedDate", Date{1700000000}}, {"displayDay", 1699920000000LL},
                                              {"sessionID", kStartSession}}));
  EXPECT_EQ(OrvantaFrequencyCapping::initWithCoder(Value(Map{{"frequency", 2}})),
            (OrvantaFrequencyCapping{2, std::nullopt, 0, 0, std::nullopt, std::nullopt}));
}

// A stored value that does not read as a record is no record: the rule is
// uncapped, and checking it counts nothing.
TEST(FrequencyCappingTest, ACorruptRecordIsUncappedAndLeftAlone) {
  const Value corrupt[] = {
      Value("day"), Value(Bytes{0x62, 0x70}), Value(Array{Value(3)}),
      Value(Map{{"frequency", "3"}, {"frequencyRemaining", 0}, {"frequencyType", "campaign"}}),
      Value(Map{{"frequencyRemaining", 2.5}}), Value(Map{{"frequencyType", 1}, {"frequencyRemaining", 0}}),
      Value(Map{{"modifiedDate", "2024-01-01 00:00:00"}}), Value(Map{{"displayDay", true}}),
      Value(Map{{"sessionID", Null{}}, {"frequencyType", "campaign"}}),
  };
  for (const Value& stored : corrupt) {
    SCOPED_TRACE(dumpJson(stored));
    InAppHarness in;
    in.platform->standardSettings->set("r", stored);
    EXPECT_EQ(in.record("r"), std::nullopt);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(check(in));
    EXPECT_EQ(in.platform->standardSettings->get("r"), stored);
  }
}

// A downloaded cap meets the stored record: the stored one wins unless the
// version differs, and then the count is reset only for a new frequency.
TEST(FrequencyCappingTest, ADownloadedCapMergesWithTheStoredRecord) {
  constexpr const char* kJanuary = "2024-01-01 00:00:00";
  constexpr const char* kFebruary = "2024-02-01 00:00:00";
  // Stored: 3 per day, version January, 1 left, shown in session "old". The
  // rule's "whenTo", then the record's frequency, count left, kind and
  // version afterwards (nullptr: none).
  const std::tuple<const char*, std::int64_t, std::int64_t, const char*, const char*> cases[] = {
      {R"({"frequency":5,"frequencyType":"session","modifiedDate":"2024-01-01 00:00:00"})", 3, 1, "day", kJanuary},
      {R"({"frequency":3,"frequencyType":"session","modifiedDate":"2024-02-01 00:00:00"})", 3, 1, "session", kFebruary},
      {R"({"frequency":5,"frequencyType":"day","modifiedDate":"2024-02-01 00:00:00"})", 5, 5, "day", kFebruary},
      {R"({"frequency":3,"frequencyType":"campaign"})", 3, 1, "campaign", nullptr},
      {R"({"frequency":5,"modifiedDate":"soon"})", 5, 5, nullptr, nullptr},
  };
  for (const auto& [downloaded, frequency, remaining, type, after] : cases) {
    SCOPED_TRACE(downloaded);
    InAppHarness in;
    const auto version = [&](const char* text) {
      return text ? in.dates.formatDate(std::string(text), "yyyy-MM-dd HH:mm:ss") : std::nullopt;
    };
    in.records.setSavedFrequency({3, "day", 1, 12345000, "old", version(kJanuary)}, "r");
    const auto rules = in.parseTiming(downloaded);
    const OrvantaFrequencyCapping expected{
        frequency, type ? std::optional<std::string>(type) : std::nullopt, remaining, 12345000, "old", version(after)};
    EXPECT_EQ(in.record("r"), expected);
    EXPECT_EQ(rules[0].freqCap, expected);
  }
}

// Checks of one rule's cap over days and sessions: each step moves time or
// the session, or downloads the rule again in a new version, then checks once.
TEST(FrequencyCappingTest, TheCheckCountsAndRestartsPeriods) {
  struct Step {
    double days;
    const char* session;  // "": unchanged
    bool allowed;
    std::int64_t remaining;
    std::int64_t downloaded = -1;  // the frequency of a new version; -1: none
  };
  // What the case shows, the rule's frequency and kind, and its steps.
  const std::tuple<const char*, std::int64_t, const char*, std::vector<Step>> cases[] = {
      {"a day restarts only once used up", 3, "day",
       {{0, "", true, 2}, {1, "", true, 1}, {1, "", true, 0}, {0, "", false, 0}, {0.5, "", true, 2}}},
      {"a new session with showings left costs two", 3, "session",
       {{0, "", true, 2}, {0, "B", true, 1}, {0, "", true, 0}, {0, "", false, 0}, {0, "C", true, 2}}},
      {"campaign never restarts", 1, "campaign", {{0, "", true, 0}, {1, "B", false, 0}, {30, "C", false, 0}}},
      {"a used-up campaign is revived by a new frequency only", 1, "campaign",
       {{0, "", true, 0}, {0, "", false, 0, 1}, {0, "", true, 1, 2}, {0, "", true, 0}, {0, "", false, 0}}},
      {"no known kind (they are case-sensitive): counted down, then always shown", 2, "Day",
       {{0, "", true, 1}, {0, "", true, 0}, {0, "", true, 0}, {1, "B", true, 0}}},
      {"0 a day is once a day", 0, "day", {{0, "", true, -1}, {0, "", false, -1}, {1, "", true, -1}}},
      {"0 a session is once a session", 0, "session",
       {{0, "", false, 0}, {0, "B", true, -1}, {1, "", false, -1}, {0, "C", true, -1}}},
  };
  for (const auto& [name, frequency, type, steps] : cases) {
    SCOPED_TRACE(name);
    InAppHarness in;
    const auto download = [&](std::int64_t count, std::size_t version) {
      in.parseTiming(R"({"frequency":)" + std::to_string(count) + R"(,"frequencyType":")" + type +
                     R"(","modifiedDate":"2024-01-0)" + std::to_string(version) + R"( 00:00:00"})");
    };
    download(frequency, 1);
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Step& step = steps[i];
      in.platform->clock->advance(step.days * 86400);
      if (*step.session) in.model.setStrSessionid(step.session);
      if (step.downloaded >= 0) download(step.downloaded, i + 2);
      EXPECT_EQ(check(in), step.allowed) << "step " << i;
      EXPECT_EQ(in.record("r")->frequencyRemaining, step.remaining) << "step " << i;
    }
  }
}

}  // namespace
}  // namespace orvanta::testing
