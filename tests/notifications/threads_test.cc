// Host threads and the main queue meet in the push task manager: the same
// notifications received and tapped on two threads at once, while the main
// queue runs the delayed openings, are still reported once each.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

#include "notifications/notification_fixture.h"

namespace orvanta::testing {
namespace {

TEST_F(NotificationTest, TwoHostThreadsHandingOverTheSameNotificationsReportEachOnce) {
  manager().setDelegate(nullptr);  // its recorder is not for threads
  setState(ApplicationState::Inactive);
  constexpr int kNotifications = 8;
  std::atomic<int> running{2};
  // Each thread receives a notification, then taps its action button: on
  // either thread the tap comes after the notification is stored.
  const auto host = [&] {
    for (int i = 0; i < kNotifications; ++i) {
      const Map userInfo = notification("t-" + std::to_string(i), "https://shop.example/" + std::to_string(i));
      manager().didReceiveRemoteNotification(userInfo);
      manager().handleActionWithIdentifier("https://shop.example/button", userInfo, Map{});
    }
    --running;
  };
  std::thread first(host);
  std::thread second(host);
  while (running > 0) platform().mainQueue->advance(0.1);
  first.join();
  second.join();
  platform().mainQueue->advance(1);

  std::map<std::string, int> reported;
  for (const std::string& report : reports()) ++reported[report];
  for (int i = 0; i < kNotifications; ++i) {
    SCOPED_TRACE(i);
    const std::string trid = "t-" + std::to_string(i);
    EXPECT_EQ(reported["pn_deliver " + trid], 1);
    EXPECT_EQ(reported["pn_open " + trid], 1);
  }
}

}  // namespace
}  // namespace orvanta::testing
