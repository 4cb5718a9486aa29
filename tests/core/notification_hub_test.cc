// NotificationHub: delivery by name and order, removal, and observers that
// change the hub while a post runs.
#include "core/notification_hub.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace orvanta {
namespace {

TEST(NotificationHubTest, PostRunsTheLiveObserversOfThatNameInOrderWithTheObject) {
  NotificationHub hub;
  std::vector<std::string> calls;
  const int sender = 0;
  const auto first = hub.addObserver("changed", [&](const void* o) { calls.push_back(o == &sender ? "1st" : "1st?"); });
  hub.addObserver("other", [&](const void*) { calls.push_back("other"); });
  hub.addObserver("changed", [&](const void* o) { calls.push_back(o == &sender ? "2nd" : "2nd?"); });
  hub.post("changed", &sender);
  hub.post("nobody", &sender);
  EXPECT_EQ(calls, (std::vector<std::string>{"1st", "2nd"}));

  hub.removeObserver(first);
  hub.removeObserver(first);
  hub.removeObserver(9999);
  hub.post("changed", &sender);
  EXPECT_EQ(calls, (std::vector<std::string>{"1st", "2nd", "2nd"}));
}

TEST(NotificationHubTest, ObserversMayRemoveAddAndPostWhileAPostRuns) {
  NotificationHub hub;
  std::vector<std::string> calls;
  NotificationHub::Token self = 0;
  NotificationHub::Token later = 0;
  self = hub.addObserver("n", [&](const void*) {
    calls.push_back("once");
    hub.removeObserver(self);   // itself
    hub.removeObserver(later);  // one this same post has yet to run
    hub.addObserver("n", [&](const void*) { calls.push_back("added"); });
    hub.post("nested", nullptr);
  });
  later = hub.addObserver("n", [&](const void*) { calls.push_back("removed before its turn"); });
  hub.addObserver("nested", [&](const void*) { calls.push_back("nested"); });

  hub.post("n", nullptr);
  EXPECT_EQ(calls, (std::vector<std::string>{"once", "nested"})) << "an observer added during a post waits for the next";
  hub.post("n", nullptr);
  EXPECT_EQ(calls, (std::vector<std::string>{"once", "nested", "added"}));
}

TEST(NotificationHubTest, RemovalReturnsOnlyAfterACallRunningOnAnotherThreadEnds) {
  NotificationHub hub;
  std::atomic<bool> inside{false}, removing{false}, finished{false};
  const auto token = hub.addObserver("n", [&](const void*) {
    inside = true;
    while (!removing) std::this_thread::yield();
    for (int i = 0; i < 2000; ++i) std::this_thread::yield();  // still busy well after removal began
    finished = true;
  });
  std::thread poster([&] { hub.post("n", nullptr); });
  while (!inside) std::this_thread::yield();
  removing = true;
  hub.removeObserver(token);
  EXPECT_TRUE(finished);
  poster.join();
}

TEST(NotificationHubTest, ConcurrentPostsAndRemovalsDeliverOnlyToLiveObservers) {
  NotificationHub hub;
  std::atomic<int> calls{0}, afterRemoval{0};
  std::atomic<bool> removed{false};
  const auto token = hub.addObserver("n", [&](const void*) {
    if (removed) ++afterRemoval;
    ++calls;
  });
  std::vector<std::thread> posters;
  for (int t = 0; t < 4; ++t) {
    posters.emplace_back([&] {
      for (int i = 0; i < 500; ++i) hub.post("n", nullptr);
    });
  }
  while (calls < 100) std::this_thread::yield();
  hub.removeObserver(token);
  removed = true;
  for (auto& p : posters) p.join();
  EXPECT_EQ(afterRemoval, 0);
}

}  // namespace
}  // namespace orvanta
