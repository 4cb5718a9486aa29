#include <gtest/gtest.h>

#include "core/data_model.h"
#include "core/session_time.h"
#include "core/url_query.h"
#include "orvanta/app_tracking.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

// The test platform starts at 2023-11-14 22:13:20 UTC, in UTC.
constexpr const char* kStartStamp = "231114221320";

class SessionTest : public ::testing::Test {
 protected:
  OrvantaSharedManager& manager() { return app.runtime().sharedManager(); }
  OrvantaDataModel& model() { return app.runtime().dataModel(); }
  Map track(std::int64_t eventId) {
    app.runtime().appTracking().sendAppTrackingEvent(eventId, nullptr);
    return app.lastMessage().object;
  }

  TestRuntime app;
};

TEST_F(SessionTest, TheStartUpSessionLastsWhileNoPreviousTimeIsRecorded) {
  manager().setUpApplicationId("app");
  const std::string session = model().strSessionid();
  app.platform().clock->advance(3 * 3600);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(*track(100 + i).find("sessionid"), Value(session));
  EXPECT_FALSE(model().prevTrackingEventTime());
}

TEST_F(SessionTest, ASessionIsRenewedOnceThePreviousEventIsOlderThanTheTimeout) {
  manager().setUpApplicationId("app");
  const std::string startSession = model().strSessionid();
  model().setPrevTrackingEventTime(kStartStamp);

  // 30 minutes on: the session continues and the previous time moves.
  app.platform().clock->advance(30 * 60);
  EXPECT_EQ(*track(100).find("sessionid"), Value(startSession));
  EXPECT_EQ(model().prevTrackingEventTime(), "231114224320");

  // 61 minutes after that: a new session, carried by the next message only;
  // later ones carry the stored start-up id again.
  app.platform().clock->advance(61 * 60);
  EXPECT_EQ(*track(101).find("sessionid"), Value("231114234420"));
  EXPECT_EQ(*track(102).find("sessionid"), Value(startSession));
}

TEST_F(SessionTest, TheTimeoutSetAfterStartUpRenewsTheSessionOnceReached) {
  manager().setUpApplicationId("app");
  manager().setSessionTimeOutInMinutes(5);
  const std::string startSession = model().strSessionid();
  model().setPrevTrackingEventTime(kStartStamp);

  // Under a minute since the previous event: nothing changes at all.
  app.platform().clock->advance(59);
  EXPECT_EQ(*track(100).find("sessionid"), Value(startSession));
  EXPECT_EQ(model().prevTrackingEventTime(), kStartStamp);

  // Four whole minutes: the session goes on from now.
  app.platform().clock->advance(4 * 60);
  EXPECT_EQ(*track(101).find("sessionid"), Value(startSession));
  EXPECT_EQ(model().prevTrackingEventTime(), "231114221819");

  // Exactly the timeout: renewed.
  app.platform().clock->advance(5 * 60);
  EXPECT_EQ(*track(102).find("sessionid"), Value("231114222319"));
}

TEST_F(SessionTest, ResetSessionEndsAttributionAndClearsStoredRules) {
  manager().setUpApplicationId("app");
  app.platform().standardSettings->set("popupRules", "old");
  manager().setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
  app.platform().clock->advance(5);
  manager().resetSession();
  EXPECT_EQ(model().strSessionid(), "231114221325");
  EXPECT_EQ(model().prevTrackingEventTime(), "231114221325");
  EXPECT_FALSE(model().deeplinkQueryParam());
  EXPECT_FALSE(app.platform().standardSettings->get("popupRules"));
}

TEST_F(SessionTest, DeepLinkAttributionIsRenamedStoredAndSentWithTheSendingTime) {
  manager().setUpApplicationId("app");
  manager().setDeepLinkQueryParameters(
      queryParameters("myapp://open?__ktm_source=mail&__ktm_medium=push&__ktm_id=7&__kta=x&k=v"));

  const auto stored = app.platform().standardSettings->get("OrvantaAttribution");
  ASSERT_TRUE(stored && stored->isMap());
  const Map renamed{{"atcs", "mail"}, {"atcm", "push"}, {"atci", "7"}, {"k", "v"}};
  const Map& attribution = *stored->asMap();
  for (const auto& [key, value] : renamed) EXPECT_EQ(*attribution.find(key), value) << key;
  EXPECT_FALSE(attribution.contains("__kta"));
  EXPECT_EQ(*attribution.find("updated_date"), Value(Date{1700000000}));

  app.platform().clock->advance(90);
  const Map sent = track(101);
  for (const auto& [key, value] : renamed) EXPECT_EQ(*sent.find(key), value) << key;
  EXPECT_EQ(*sent.find("updated_date"), Value("231114221450"));
}

TEST_F(SessionTest, WithoutADeepLinkNoAttributionKeysAreSent) {
  manager().setUpApplicationId("app");
  const Map sent = track(101);
  for (const char* key : {"atcm", "atcs", "atci", "updated_date"}) EXPECT_FALSE(sent.contains(key)) << key;
}

TEST_F(SessionTest, AttributionIsRestoredAtStartUpWithinTheSessionTimeout) {
  for (const int minutes : {59, 60, 61}) {
    TestRuntime launch;
    auto& launchManager = launch.runtime().sharedManager();
    launchManager.setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
    launch.platform().clock->advance(minutes * 60);
    launch.relaunch();
    launch.runtime().sharedManager().setUpApplicationId("app");
    EXPECT_EQ(launch.runtime().dataModel().deeplinkQueryParam().has_value(), minutes <= 60) << minutes;
  }
}

TEST(SessionClockTest, MinutesSinceALocalTimestamp) {
  VirtualClock clock(Date{1700000000}, 5 * 3600 + 1800);  // +05:30
  // 2023-11-15 03:43:20 local is now.
  EXPECT_EQ(minusCurrentTimeInMinutes("231115034320", clock), 0);
  EXPECT_EQ(minusCurrentTimeInMinutes("231115034150", clock), 1);   // 90 s ago
  EXPECT_EQ(minusCurrentTimeInMinutes("231115034250", clock), 0);   // 30 s ago
  EXPECT_EQ(minusCurrentTimeInMinutes("231115044320", clock), 60);  // an hour ahead
  EXPECT_EQ(minusCurrentTimeInMinutes("231114221320", clock), 330); // the same digits read as UTC
  for (const char* bad : {"", "not a stamp", "2311150343", "231315034320", "2311150343201"})
    EXPECT_EQ(minusCurrentTimeInMinutes(bad, clock), 0) << bad;
}

TEST(QueryParametersTest, DecodesItemsWithValuesLastOneWinning) {
  const Map parameters = queryParameters("myapp://x/y?a=1&b&c=&a=2&sp=%20x%2By+z&%6Eame=v#frag=1");
  EXPECT_EQ(parameters, (Map{{"a", "2"}, {"c", ""}, {"sp", " x+y+z"}, {"name", "v"}}));
}

TEST(QueryParametersTest, AQuestionMarkInsideTheFragmentStartsNoQuery) {
  EXPECT_TRUE(queryParameters("myapp://open#/page?__ktm_source=mail").empty());
  EXPECT_EQ(queryParameters("myapp://open?a=1#/page?b=2"), (Map{{"a", "1"}}));
  EXPECT_EQ(queryParameters("myapp://[::1]:8080/p?a=1"), (Map{{"a", "1"}}));
}

TEST(QueryParametersTest, EscapesThatAreNotUTF8LeaveTheItemWithoutAValue) {
  EXPECT_EQ(queryParameters("myapp://x?a=%FF&b=%C3%A9&c=%C3&d=%ED%A0%80"), (Map{{"b", "\u00e9"}}));
}

TEST(QueryParametersTest, TextThatIsNotAURLGivesNothing) {
  for (const char* bad : {"myapp://x?a=b c", "myapp://x?a=%zz", "myapp://x?a=%4", "myapp://x?a=\"q\"",
                          "myapp://x?a=[1]", "myapp://x?a=1#f#g"})
    EXPECT_TRUE(queryParameters(bad).empty()) << bad;
  EXPECT_TRUE(queryParameters("myapp://no-query").empty());
}

TEST(ReplaceKeyTest, MovesAPresentKeyAndLeavesAnExistingTargetAlone) {
  Map map{{"old", 1}, {"other", 2}};
  replaceKey(map, "old", "new");
  EXPECT_EQ(map, (Map{{"other", 2}, {"new", 1}}));
  Map untouched{{"new", 3}};
  replaceKey(untouched, "old", "new");
  EXPECT_EQ(untouched, (Map{{"new", 3}}));
  Map onto{{"a", 1}, {"b", 2}};
  replaceKey(onto, "a", "b");
  EXPECT_EQ(onto, (Map{{"b", 1}}));
  replaceKey(onto, "b", "b");
  EXPECT_TRUE(onto.empty());
}

}  // namespace
}  // namespace orvanta::testing
