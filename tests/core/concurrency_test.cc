// Several host threads at once. These tests earn their keep under the
// ThreadSanitizer build, which reports any data race they provoke.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "core/data_model.h"
#include "orvanta/app_tracking.h"
#include "orvanta/installation.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

constexpr int kThreads = 4;

template <typename Body>
void inParallel(Body body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(body, t);
  for (auto& thread : threads) thread.join();
}

TEST(ConcurrencyTest, DataModelWritersAndReadersLeaveOneOfTheWrittenValues) {
  OrvantaDataModel model;
  inParallel([&](int t) {
    for (int i = 0; i < 2000; ++i) {
      model.setStrIdentity("user-" + std::to_string(t));
      model.setDeeplinkQueryParam(Map{{"k", t}});
      model.setSessionIdTimeoutInMinutes(t);
      ASSERT_EQ(model.strIdentity().rfind("user-", 0), 0u);
      const auto attribution = model.deeplinkQueryParam();
      ASSERT_TRUE(attribution && attribution->find("k"));
    }
  });
  EXPECT_TRUE((std::set<std::string>{"user-0", "user-1", "user-2", "user-3"})
                  .contains(model.strIdentity()));
  EXPECT_LT(model.SessionIdTimeoutInMinutes(), kThreads);
}

TEST(ConcurrencyTest, TrackingFromSeveralThreadsSendsEveryMessageOnce) {
  TestRuntime app;
  app.runtime().sharedManager().setUpApplicationId("app");
  app.platform().http->clearRequests();
  constexpr int kPerThread = 50;
  inParallel([&](int t) {
    for (int i = 0; i < kPerThread; ++i) {
      if (i % 10 == 0)
        app.runtime().installation().orvantaPushLogin("user-" + std::to_string(t), nullptr);
      app.runtime().appTracking().sendAppTrackingEvent(1000 * t + i, nullptr);
    }
  });
  std::multiset<std::int64_t> eventIds;
  for (const auto& message : app.sentMessages()) {
    if (message.method == "app_activity")
      eventIds.insert(*message.object.find("eventid")->asInteger());
  }
  EXPECT_EQ(eventIds.size(), static_cast<std::size_t>(kThreads * kPerThread));
  EXPECT_EQ(std::set<std::int64_t>(eventIds.begin(), eventIds.end()).size(), eventIds.size());
}

}  // namespace
}  // namespace orvanta::testing
