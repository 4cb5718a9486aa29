// Notification intake: which notifications are the library's own, the
// toggle, the application states, the launch and response delays, local
// notifications in the foreground, and delivery and opening reported once.
#include <gtest/gtest.h>

#include "notifications/notification_fixture.h"
#include "orvanta/platform/notification_center.h"

namespace orvanta::testing {
namespace {

using Texts = std::vector<std::string>;

TEST_F(NotificationTest, OnlyANonBlankTextTridMakesANotificationTheLibrarysOwn) {
  struct Case {
    const char* what;
    Map userInfo;
    bool own;
  };
  const std::vector<Case> cases{
      {"another provider's", Map{{"aps", Map{{"alert", "hi"}}}}, false},
      {"payload a string", Map{{"payload", "t-1"}}, false},
      {"trid a number", Map{{"payload", Map{{"trid", 42}}}}, false},
      {"trid blank", Map{{"payload", Map{{"trid", " \t\n\xE3\x80\x80"}}}}, false},
      {"trid not UTF-8", Map{{"payload", Map{{"trid", "t\xFF"}}}}, false},
      {"trid with a NUL", Map{{"payload", Map{{"trid", std::string("t\0u", 3)}}}}, false},
      {"trid padded", Map{{"payload", Map{{"trid", " t-1 "}}}}, true},
      {"trid with quotes", Map{{"payload", Map{{"trid", "it's \"x\""}}}}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(OrvantaPushTaskManager::isNotificationFromOrvanta(c.userInfo), c.own);
    const std::size_t before = log.lines().size();
    manager().didReceiveRemoteNotification(c.userInfo);
    EXPECT_EQ(log.lines().size() - before, c.own ? 0u : 1u) << "one line for each one left alone";
  }
  EXPECT_EQ(reports(), (Texts{"pn_deliver  t-1 ", "pn_deliver it's \"x\""}));
  EXPECT_EQ(inbox().size(), 2u);
}

// Flipped by each remote notification outside the background, so two in a
// row leave it as it was; the background neither flips it nor stores.
TEST_F(NotificationTest, IsNotificationOpenedTogglesOutsideTheBackground) {
  const std::vector<std::pair<ApplicationState, bool>> steps{
      {ApplicationState::Active, true},     {ApplicationState::Active, false},
      {ApplicationState::Background, false}, {ApplicationState::Inactive, true},
      {ApplicationState::Background, true},  {ApplicationState::Inactive, false},
  };
  for (std::size_t i = 0; i < steps.size(); ++i) {
    SCOPED_TRACE(i);
    setState(steps[i].first);
    manager().didReceiveRemoteNotification(notification("t-" + std::to_string(i)));
    EXPECT_EQ(manager().isNotificationOpened(), steps[i].second);
  }
  EXPECT_EQ(inbox().size(), 4u) << "the two background ones are not stored";
}

TEST_F(NotificationTest, EachApplicationStateDeliversAndOpensAsItShould) {
  struct Case {
    ApplicationState state;
    Texts reportsAfterHalfASecond;
  };
  const std::vector<Case> cases{
      {ApplicationState::Active, {"pn_deliver active"}},
      {ApplicationState::Inactive, {"pn_deliver inactive", "pn_open inactive"}},
      {ApplicationState::Background, {}},
  };
  for (const Case& c : cases) {
    const std::string trid = c.reportsAfterHalfASecond.empty() ? "background" : c.reportsAfterHalfASecond[0].substr(11);
    SCOPED_TRACE(trid);
    platform().http->clearRequests();
    setState(c.state);
    // A fresh toggle for each case: false before, so this one sets it.
    ASSERT_FALSE(manager().isNotificationOpened());
    manager().didReceiveRemoteNotification(notification(trid));
    const std::size_t atOnce = reports().size();
    platform().mainQueue->advance(0.49);
    EXPECT_EQ(reports().size(), atOnce) << "nothing opens before 0.5 s";
    platform().mainQueue->advance(0.01);
    EXPECT_EQ(reports(), c.reportsAfterHalfASecond);
    if (manager().isNotificationOpened()) manager().didReceiveRemoteNotification(Map{});
  }
}

TEST_F(NotificationTest, ANotificationThatLaunchedTheAppIsOpenedHalfASecondLater) {
  const std::vector<std::pair<const char*, const char*>> launches{
      {kLaunchOptionsRemoteNotificationKey, "remote"}, {kLaunchOptionsLocalNotificationKey, "local"}};
  for (const auto& [key, trid] : launches) {
    SCOPED_TRACE(trid);
    app.runtime().sharedManager().handleApplicationLaunchEvent(Map{{key, notification(trid, "myapp://" + std::string(trid))}},
                                                               "app-42");
    platform().mainQueue->advance(0.49);
    EXPECT_EQ(reports(), Texts{});
    EXPECT_TRUE(hostLinks.empty());
    platform().mainQueue->advance(0.01);
    EXPECT_EQ(reports(), Texts{"pn_open " + std::string(trid)});
    EXPECT_EQ(hostLinks, Texts{"myapp://" + std::string(trid)});
    EXPECT_TRUE(manager().options());
    app.relaunch();
    manager().setDelegate(host);
    hostLinks.clear();
  }
}

// A response right after a launch from a notification only clears the
// options (the launch opens it); the next one is handled by state and kind.
TEST_F(NotificationTest, ResponsesDependOnTheLaunchTheStateAndTheKindOfNotification) {
  manager().handelApplicationLaunchEvent(Map{{"other", 1}});
  EXPECT_TRUE(platform().notificationCenter->respond({"remote", notification("skipped"), ""}));
  EXPECT_FALSE(manager().options());
  platform().mainQueue->advance(1);
  EXPECT_EQ(reports(), Texts{});

  struct Case {
    ApplicationState state;
    const char* identifier;
    Texts atOnce;
    Texts onTheNextTurn;
  };
  const std::vector<Case> cases{
      {ApplicationState::Active, "remote", {}, {"pn_open active-remote"}},
      {ApplicationState::Active, kLocalNotificationIdentifier, {"pn_open active-LocalNotification"}, {}},
      // Inactive: received (stored, reported) and, once the toggle is on, opened 0.5 s later.
      {ApplicationState::Inactive, "remote", {"pn_deliver inactive-remote"}, {}},
      {ApplicationState::Background, kLocalNotificationIdentifier, {"pn_open background-LocalNotification"}, {}},
  };
  for (const Case& c : cases) {
    const std::string trid = std::string(c.state == ApplicationState::Active     ? "active"
                                         : c.state == ApplicationState::Inactive ? "inactive"
                                                                                 : "background") +
                             "-" + c.identifier;
    SCOPED_TRACE(trid);
    platform().http->clearRequests();
    setState(c.state);
    platform().notificationCenter->respond({c.identifier, notification(trid), ""});
    EXPECT_EQ(reports(), c.atOnce);
    platform().mainQueue->runUntilIdle();
    Texts all = c.atOnce;
    all.insert(all.end(), c.onTheNextTurn.begin(), c.onTheNextTurn.end());
    EXPECT_EQ(reports(), all);
  }
}

TEST_F(NotificationTest, LocalNotificationsAndForegroundPresentationsOpenOnlyWhereTheyShould) {
  setState(ApplicationState::Active);
  manager().didReceiveLocalNotification(notification("local-active"));
  EXPECT_EQ(platform().notificationCenter->present({"remote", notification("presented-remote"), ""}),
            kNotificationOptionAlert);
  EXPECT_EQ(platform().notificationCenter->present({kLocalNotificationIdentifier, notification("presented-local"), ""}),
            kNotificationOptionAlert);
  setState(ApplicationState::Inactive);
  manager().didReceiveLocalNotification(notification("local-inactive"));
  setState(ApplicationState::Background);
  manager().didReceiveLocalNotification(notification("local-background"));
  EXPECT_EQ(reports(), (Texts{"pn_open presented-local", "pn_open local-inactive", "pn_open local-background"}));
}

// Below "10.0" the system shows nothing in the foreground, so the library
// schedules a local notification 1 s ahead; below "8.2" without its title.
TEST_F(NotificationTest, ForegroundNotificationsAreShownLocallyOnOlderSystemsOnly) {
  struct Case {
    const char* version;
    Value alert;
    std::optional<std::pair<std::string, std::string>> shown;  // title, body
  };
  const std::string longTitle(1 << 20, 'x');
  const std::vector<Case> cases{
      {"17.0", Map{{"title", "T"}, {"body", "B"}}, std::nullopt},
      {"10.0", Map{{"title", "T"}, {"body", "B"}}, std::nullopt},
      {"10", Map{{"title", "T"}, {"body", "B"}}, std::pair<std::string, std::string>{"T", "B"}},
      {"9.3", Map{{"title", longTitle}, {"body", 7}}, std::pair<std::string, std::string>{longTitle, "7"}},
      {"8.2", Map{{"title", "T"}, {"body", "B"}}, std::pair<std::string, std::string>{"T", "B"}},
      {"8.1.3", Map{{"title", "T"}, {"body", "B"}}, std::pair<std::string, std::string>{"", "B"}},
      {"9.0", "a plain string", std::pair<std::string, std::string>{"", ""}},
      {"9.0", Array{1}, std::pair<std::string, std::string>{"", ""}},
  };
  int trid = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    platform().appHost->setSystemVersion(c.version);
    Map userInfo = notification("v" + std::to_string(++trid));
    userInfo.set("aps", Map{{"alert", c.alert}});
    const std::size_t before = platform().notificationCenter->localNotifications().size();
    manager().didReceiveRemoteNotification(userInfo);
    manager().didReceiveRemoteNotification(Map{});  // the toggle back
    const auto shown = platform().notificationCenter->localNotifications();
    ASSERT_EQ(shown.size() - before, c.shown ? 1u : 0u);
    if (!c.shown) continue;
    EXPECT_EQ(shown.back().title, c.shown->first);
    EXPECT_EQ(shown.back().body, c.shown->second);
    EXPECT_EQ(shown.back().userInfo, userInfo);
    EXPECT_EQ(shown.back().fireAfterSeconds, 1.0);
  }
}

TEST_F(NotificationTest, DeliveryAndOpeningAreReportedOnceWithTheirFields) {
  platform().standardSettings->set("OrvantaToken", Bytes{0xab, 0x01});
  manager().didReceiveRemoteNotification(notification("t-1"));  // toggle on: stored, reported
  manager().didReceiveRemoteNotification(notification("t-1"));  // toggle off: stored already, so opened
  manager().didReceiveRemoteNotification(notification("t-1"));  // toggle on: stored, nothing more
  manager().handleOpenAction(notification("t-1"));               // read already
  EXPECT_EQ(reports(), (Texts{"pn_deliver t-1", "pn_open t-1"}));
  EXPECT_EQ(inbox(), Texts{"t-1=read"});
  const auto sent = app.sentMessages();
  for (const auto& [message, eventId, action] :
       {std::tuple{sent[0], 12, "delivered"}, std::tuple{sent[1], 13, "open"}}) {
    EXPECT_EQ(*message.object.find("eventid"), Value(eventId));
    EXPECT_EQ(*message.object.find("action"), Value(action));
    EXPECT_EQ(*message.object.find("token"), Value("ab01"));
  }

  // The service extension reported this one in its own process: stored, not reported.
  platform().standardSettings->set("OrvantaTRID", "t-2");
  platform().clock->advance(1);  // stored a second later, so listed first
  manager().handleDeliverAction(notification("t-2"));
  EXPECT_EQ(inbox(), (Texts{"t-2=unread", "t-1=read"}));
  EXPECT_EQ(reports().size(), 2u);
}

TEST_F(NotificationTest, ValuesAreReadAsTextOrNotAtAll) {
  const Map values{{"text", " a "}, {"integer", 42}, {"real", 2.5}, {"flag", true},
                   {"null", Value(Null{})}, {"map", Map{}}, {"array", Array{"a"}}};
  const std::vector<std::pair<const char*, std::optional<std::string>>> cases{
      {"text", " a "}, {"integer", "42"}, {"real", "2.5"}, {"flag", "1"},
      {"null", std::nullopt}, {"map", std::nullopt}, {"array", std::nullopt}, {"missing", std::nullopt}};
  for (const auto& [key, text] : cases) {
    EXPECT_EQ(OrvantaPushTaskManager::getValueForKey(key, values), text) << key;
  }
}

}  // namespace
}  // namespace orvanta::testing
