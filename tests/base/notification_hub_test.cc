// NotificationHub: delivery by name and order, removal, and observers that
// change the hub while a post runs.
#include "base/notification_hub.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace orvanta {
namespace {

TEST(NotificationHubTest, PostRunsTheLiveObserversOfThatNameInOrderEvenAsTheyChangeTheHub) {
  NotificationHub hub;
  std::vector<std::string> calls;
  const auto note = [&](std::string call) {
    return [&, call](const void*) { calls.push_back(call); };
  };
  NotificationHub::Token self = 0;
  NotificationHub::Token later = 0;
  self = hub.addObserver("n", [&](const void* object) {
    calls.push_back(object == &hub ? "first" : "first without the object");
    hub.removeObserver(self);   // itself
    hub.removeObserver(later);  // one this same post has yet to run
    hub.addObserver("n", note("added"));
    hub.post("nested", nullptr);
  });
  hub.addObserver("n", note("second"));
  later = hub.addObserver("n", note("removed before its turn"));
  hub.addObserver("nested", note("nested"));

  hub.post("n", &hub);
  // An observer added during a post waits for the next.
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "nested", "second"}));
  hub.removeObserver(self);  // twice, and unknown tokens: nothing happens
  hub.removeObserver(9999);
  hub.post("n", nullptr);
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "nested", "second", "second", "added"}));
}

TEST(NotificationHubTest, RemovalReturnsOnlyAfterACallRunningOnAnotherThreadEnds) {
  NotificationHub hub;
  std::atomic<bool> inside{false}, removing{false}, finished{false};
  const auto token = hub.addObserver("n", [&](const void*) {
    inside = true;
    while (!removing) std::this_thread::yield();
    for (int i = 0; i < 2000; ++i) std::this_thread::yield();  // still busy after removal began
    finished = true;
  });
  std::thread poster([&] { hub.post("n", nullptr); });
  while (!inside) std::this_thread::yield();
  removing = true;
  hub.removeObserver(token);
  EXPECT_TRUE(finished);
  poster.join();
}

}  // namespace
}  // namespace orvanta
