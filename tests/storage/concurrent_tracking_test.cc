// Several host threads journal, settle and deliver notifications while the
// replay runs and the network comes and goes: no message may be lost, and
// the run must be clean under ThreadSanitizer.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "support/database_probe.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

constexpr int kThreads = 4;
constexpr int kMessagesPerThread = 60;

TEST(ConcurrentTrackingTest, EveryMessageIsDeliveredOrQueuedWhileReplayRuns) {
  testing::TestRuntime runtime;
  auto& platform = runtime.platform();
  DBManager& manager = runtime.runtime().dbManager();
  DatabaseSource& database = runtime.runtime().databaseSource();

  std::atomic<int> running{kThreads + 1};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Every third first send fails; the replays (scripted) all get 200.
      for (int i = 0; i < kMessagesPerThread; ++i) {
        const std::string params = "data=" + std::to_string(t) + "-" + std::to_string(i);
        const auto ticket = manager.recordInFlight("app_activity", params);
        manager.settleInFlight(ticket, "app_activity", params, i % 3 == 0 ? 500 : 200);
      }
      --running;
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < kMessagesPerThread; ++i) {
      database.NotificationReceived(Map{{"payload", Map{{"trid", "n" + std::to_string(i % 15)}}}}, "unread");
      platform.reachability->setFlags(i % 2 == 0 ? 0 : kReachabilityFlagReachable);
    }
    platform.reachability->setFlags(kReachabilityFlagReachable);
    --running;
  });
  // The main queue runs here, on the test's thread, as long as they run.
  while (running > 0) platform.mainQueue->advance(2);
  for (auto& thread : threads) thread.join();
  for (int round = 0; round < 1000 && database.getEvent(); ++round) platform.mainQueue->advance(2);

  std::vector<std::string> delivered;
  for (const auto& request : platform.http->requests()) delivered.push_back(request.body);
  std::vector<std::string> expected;
  for (int t = 0; t < kThreads; ++t) {
    for (int i = 0; i < kMessagesPerThread; i += 3)
      expected.push_back("data=" + std::to_string(t) + "-" + std::to_string(i));
  }
  std::sort(delivered.begin(), delivered.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(delivered, expected) << "each failed message replayed exactly once";
  EXPECT_TRUE(testing::DatabaseProbe(testing::databasePathIn(platform.paths->documentsDirectory()))
                  .rows("SELECT * FROM OrvantaInFlightEvents")
                  .empty());
  EXPECT_EQ(database.GetAllReceivedNotifications().size(), 10u);
}

}  // namespace
}  // namespace orvanta
