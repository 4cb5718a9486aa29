// Notifications of the wrong shape at any level, through every entry point:
// nothing throws, nothing is stored or reported, and one log line says why.
#include <gtest/gtest.h>

#include <functional>

#include "notifications/notification_fixture.h"

namespace orvanta::testing {
namespace {

TEST_F(NotificationTest, WrongShapesAreLeftAloneWithOneLineEach) {
  const std::vector<std::pair<const char*, Map>> shapes{
      {"no payload", Map{{"aps", Map{{"alert", Map{{"title", "Sale"}}}}}}},
      {"payload a string", Map{{"payload", "t-1"}}},
      {"payload an array", Map{{"payload", Array{Map{{"trid", "t-1"}}}}}},
      {"trid a number", Map{{"payload", Map{{"trid", 12.5}}}}},
      {"trid null", Map{{"payload", Map{{"trid", Value(Null{})}}}}},
      {"trid blank", Map{{"payload", Map{{"trid", ""}}}}},
      {"trid a map", Map{{"payload", Map{{"trid", Map{{"trid", "t-1"}}}}}}},
      {"trid not UTF-8", Map{{"payload", Map{{"trid", "\xC0\xAF"}}}}},
  };
  using EntryPoint = std::function<void(const Map&)>;
  const std::vector<std::pair<const char*, EntryPoint>> entries{
      {"received", [this](const Map& m) { manager().didReceiveRemoteNotification(m); }},
      {"handled", [this](const Map& m) { manager().handleRemoteNotification(m); }},
      {"delivered", [this](const Map& m) { manager().handleDeliverAction(m); }},
      {"local while inactive",
       [this](const Map& m) {
         setState(ApplicationState::Inactive);
         manager().didReceiveLocalNotification(m);
         setState(ApplicationState::Active);
       }},
      {"responded in the background",
       [this](const Map& m) {
         setState(ApplicationState::Background);
         platform().notificationCenter->respond({"remote", m, ""});
         setState(ApplicationState::Active);
       }},
      {"an action button", [this](const Map& m) { manager().handleActionWithIdentifier("https://x.example/", m, m); }},
      {"launched the app",
       [this](const Map& m) {
         manager().handelApplicationLaunchEvent(Map{{kLaunchOptionsRemoteNotificationKey, m}});
         platform().mainQueue->advance(0.5);
       }},
  };
  for (const auto& [entry, call] : entries) {
    for (const auto& [shape, userInfo] : shapes) {
      SCOPED_TRACE(std::string(entry) + ", " + shape);
      const std::size_t lines = log.lines().size();
      EXPECT_NO_THROW(call(userInfo));
      EXPECT_EQ(log.lines().size() - lines, 1u);
    }
  }
  EXPECT_TRUE(reports().empty());
  EXPECT_TRUE(inbox().empty());
  // The action button's link is followed whatever the notification was.
  EXPECT_EQ(platform().appHost->openedURLs().size(), shapes.size());
}

TEST_F(NotificationTest, ALaunchOptionThatIsNotANotificationIsNotOpened) {
  const std::size_t waiting = platform().mainQueue->pendingCount();
  for (const Value& entry : {Value("t-1"), Value(Array{}), Value(Null{})}) {
    const std::size_t lines = log.lines().size();
    manager().handelApplicationLaunchEvent(Map{{kLaunchOptionsRemoteNotificationKey, entry}});
    EXPECT_EQ(log.lines().size() - lines, 1u);
  }
  EXPECT_EQ(platform().mainQueue->pendingCount(), waiting) << "nothing is opened later either";
}

}  // namespace
}  // namespace orvanta::testing
