#include <gtest/gtest.h>

#include "core/data_model.h"
#include "device/session_time.h"
#include "orvanta/url_query.h"
#include "orvanta/app_tracking.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

// The test platform starts at 2023-11-14 22:13:20 UTC, in UTC.
constexpr const char* kStartStamp = "231114221320";

class SessionTest : public ::testing::Test {
 protected:
  void SetUp() override { manager().setUpApplicationId("app"); }
  OrvantaSharedManager& manager() { return app.runtime().sharedManager(); }
  OrvantaDataModel& model() { return app.dataModel(); }
  void advance(std::int64_t seconds) { app.platform().clock->advance(seconds); }
  Map track(std::int64_t eventId) {
    app.runtime().appTracking().sendAppTrackingEvent(eventId, nullptr);
    return app.lastMessage().object;
  }
  Value sessionOf(std::int64_t eventId) { return *track(eventId).find("sessionid"); }

  TestRuntime app;
};

TEST_F(SessionTest, TheStartUpSessionLastsWhileNoPreviousTimeIsRecorded) {
  const Value session(model().strSessionid());
  advance(3 * 3600);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(sessionOf(100 + i), session);
  EXPECT_FALSE(model().prevTrackingEventTime());
}

TEST_F(SessionTest, ASessionIsRenewedOnceThePreviousEventIsAsOldAsTheTimeout) {
  const Value startSession(model().strSessionid());
  model().setPrevTrackingEventTime(kStartStamp);

  // Under a minute since the previous event: nothing changes at all.
  advance(59);
  EXPECT_EQ(sessionOf(100), startSession);
  EXPECT_EQ(model().prevTrackingEventTime(), kStartStamp);
  // 30 minutes on: the session continues and the previous time moves.
  advance(30 * 60);
  EXPECT_EQ(sessionOf(101), startSession);
  EXPECT_EQ(model().prevTrackingEventTime(), "231114224419");
  // 61 minutes after that: a new session, carried by the next message only;
  // later ones carry the stored start-up id again.
  advance(61 * 60);
  EXPECT_EQ(sessionOf(102), Value("231114234519"));
  EXPECT_EQ(sessionOf(103), startSession);

  // A timeout set after start-up applies from the next event on.
  manager().setSessionTimeOutInMinutes(5);
  advance(4 * 60);
  EXPECT_EQ(sessionOf(104), startSession);
  EXPECT_EQ(model().prevTrackingEventTime(), "231114234919");
  advance(5 * 60);  // exactly the timeout
  EXPECT_EQ(sessionOf(105), Value("231114235419"));
}

TEST_F(SessionTest, ResetSessionEndsAttributionAndClearsStoredRules) {
  app.platform().standardSettings->set("popupRules", "old");
  manager().setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
  advance(5);
  manager().resetSession();
  EXPECT_EQ(model().strSessionid(), "231114221325");
  EXPECT_EQ(model().prevTrackingEventTime(), "231114221325");
  EXPECT_FALSE(model().deeplinkQueryParam());
  EXPECT_FALSE(app.platform().standardSettings->get("popupRules"));
}

TEST_F(SessionTest, DeepLinkAttributionIsRenamedStoredAndSentWithTheSendingTime) {
  EXPECT_FALSE(track(100).contains("atcs"));
  manager().setDeepLinkQueryParameters(queryParameters(
      "myapp://open?atcs=old&__ktm_source=mail&__ktm_medium=push&__ktm_id=7&__kta=x&k=v"));
  Map attribution{{"atcs", "mail"}, {"k", "v"}, {"atcm", "push"}, {"atci", "7"}};
  attribution.set("updated_date", Date{1700000000});
  EXPECT_EQ(app.platform().standardSettings->get("OrvantaAttribution"), Value(attribution));

  advance(90);
  const Map sent = track(101);
  attribution.set("updated_date", "231114221450");
  for (const auto& [key, value] : attribution) EXPECT_EQ(*sent.find(key), value) << key;
}

TEST(SessionRestoreTest, AttributionIsRestoredAtStartUpWithinTheSessionTimeout) {
  for (const int minutes : {59, 60, 61}) {
    TestRuntime launch;
    launch.runtime().sharedManager().setDeepLinkQueryParameters(Map{{"__ktm_source", "mail"}});
    launch.platform().clock->advance(minutes * 60);
    launch.relaunch();
    launch.runtime().sharedManager().setUpApplicationId("app");
    EXPECT_EQ(launch.dataModel().deeplinkQueryParam().has_value(), minutes <= 60)
        << minutes;
  }
}

TEST(SessionClockTest, MinutesSinceALocalTimestamp) {
  VirtualClock clock(Date{1700000000}, 5 * 3600 + 1800);  // +05:30: now is 2023-11-15 03:43:20
  EXPECT_EQ(minusCurrentTimeInMinutes("231115034150", clock), 1);
  EXPECT_EQ(minusCurrentTimeInMinutes("231115044320", clock), 60);   // an hour ahead
  EXPECT_EQ(minusCurrentTimeInMinutes("231114221320", clock), 330);  // the same digits as UTC
  for (const char* stamp : {"231115034250", "", "not a stamp", "2311150343", "231315034320"}) {
    EXPECT_EQ(minusCurrentTimeInMinutes(stamp, clock), 0) << stamp;
  }
}

TEST(QueryParametersTest, DecodesTheQueryOfWellFormedURLsOnly) {
  // Items without a value are dropped and the last of a name wins.
  EXPECT_EQ(queryParameters("myapp://x/y?a=1&b&c=&a=2&sp=%20x%2By+z&%6Eame=v#frag=1"),
            (Map{{"a", "2"}, {"c", ""}, {"sp", " x+y+z"}, {"name", "v"}}));
  EXPECT_EQ(queryParameters("myapp://open?a=1#/page?b=2"), (Map{{"a", "1"}}));
  // Escapes that are not UTF-8 leave the item without a value.
  EXPECT_EQ(queryParameters("myapp://x?a=%FF&b=%C3%A9&c=%C3&d=%ED%A0%80"), (Map{{"b", "\u00e9"}}));
  // A decoded zero byte is kept, not taken for the end of the value.
  EXPECT_EQ(queryParameters("myapp://x?a=%00b"), (Map{{"a", std::string("\0b", 2)}}));

  // A question mark inside the fragment starts no query, and text that is
  // not a URL gives nothing.
  for (const char* url : {"myapp://open#/page?__ktm_source=mail", "myapp://x?a=b c",
                          "myapp://x?a=%zz", "myapp://x?a=%4", "myapp://x?a=\"q\"",
                          "myapp://x?a=[1]", "myapp://x?a=1#f#g", "myapp://no-query",
                          "myapp://host:8o/?a=1"}) {
    EXPECT_EQ(queryParameters(url), Map{}) << url;
  }
}

}  // namespace
}  // namespace orvanta::testing
