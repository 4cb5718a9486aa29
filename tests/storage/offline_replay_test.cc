// The replay of the offline queue on the test platform, and the in-flight
// journal that feeds it: the virtual clock and the manual main queue decide
// when each run happens.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <utility>

#include "device/reachability.h"
#include "orvanta/app_tracking.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"
#include "support/database_probe.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

using Texts = std::vector<std::string>;

class OfflineReplayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    runtime_.databaseSource().createDatabase();
    logRequests();
  }
  // Every request is logged with the virtual time it left at.
  void logRequests() {
    http().setResponder([this](const HttpRequest& request) {
      sent_.push_back({request.body, runtime_.platform().clock->now().secondsSince1970 - start_});
      return HttpResponse{status_, {}, std::string(), {}};
    });
  }
  void queue(const std::string& data) { ASSERT_TRUE(runtime_.databaseSource().addEvent("pn_open", data)); }
  DBManager& manager() { return runtime_.dbManager(); }
  testing::ManualMainQueue& mainQueue() { return *runtime_.platform().mainQueue; }
  testing::ScriptedHttpClient& http() { return *runtime_.platform().http; }
  testing::DatabaseProbe probe() {
    return testing::DatabaseProbe(testing::databasePathIn(runtime_.platform().paths->documentsDirectory()));
  }
  // The queue as "name data", oldest first; the journal's size.
  Texts queued() { return probe().column("SELECT EventName || ' ' || EventData FROM OfflineEvents ORDER BY ID"); }
  std::size_t journaled() { return probe().column("SELECT ID FROM OrvantaInFlightEvents").size(); }
  void setReachable(bool on) { runtime_.platform().reachability->setFlags(on ? kReachabilityFlagReachable : 0); }

  // A request's body, and when it left: seconds after the start.
  using Sent = std::pair<std::string, double>;
  testing::TestRuntime runtime_;
  const double start_ = runtime_.platform().clock->now().secondsSince1970;
  int status_ = 200;
  std::vector<Sent> sent_;
};

// The first row's ID does not fit in 32 bits: one cut to 32 bits on the way
// to its deletion would miss it, and the row would go out again.
TEST_F(OfflineReplayTest, SendsOldestFirstTwoSecondsApartRetryingTheHeadAndPausingUnreachable) {
  ASSERT_TRUE(probe().execute("INSERT INTO OfflineEvents (ID, EventName, EventData) VALUES (" +
                              std::to_string((std::int64_t{1} << 32) + 1) + ", 'pn_open', 'data=1')"));
  for (const char* data : {"data=2", "data=3"}) queue(data);
  status_ = 500;
  manager();
  mainQueue().advance(2);
  status_ = 0;  // no answer at all counts the same
  mainQueue().advance(2);
  EXPECT_EQ(queued(), (Texts{"pn_open data=1", "pn_open data=2", "pn_open data=3"}));

  setReachable(false);
  mainQueue().advance(20);
  EXPECT_EQ(sent_.size(), 2u);
  EXPECT_EQ(mainQueue().pendingCount(), 0u) << "nothing runs until the network changes";

  status_ = 200;
  setReachable(true);
  mainQueue().runUntilIdle();  // at once on the change
  mainQueue().advance(6);
  EXPECT_EQ(sent_,
            (std::vector<Sent>{
                {"data=1", 2}, {"data=1", 4}, {"data=1", 24}, {"data=2", 26}, {"data=3", 28}}));
  EXPECT_TRUE(queued().empty());
  EXPECT_EQ(mainQueue().pendingCount(), 0u) << "an empty queue ends the loop";
}

TEST_F(OfflineReplayTest, ARunWhileARequestIsInFlightDoesNothing) {
  queue("data=1");
  queue("data=2");
  manager();
  http().holdAnswers(true);
  mainQueue().advance(2);
  ASSERT_EQ(http().heldCount(), 1u);
  EXPECT_TRUE(manager().isSyncing());
  // Extra runs: scheduled, on a network change, and called directly.
  manager().networkChanged();
  manager().syncOfflineData();
  mainQueue().advance(10);
  EXPECT_EQ(http().requestCount(), 1u);

  http().holdAnswers(false);
  http().releaseHeld();
  mainQueue().runUntilIdle();
  EXPECT_FALSE(manager().isSyncing());
  mainQueue().advance(2);
  EXPECT_EQ(http().requestCount(), 2u);
}

// A message is journaled from just before its first send until the answer.
// The replay loop has ended on an empty queue: a failure schedules its own.
TEST_F(OfflineReplayTest, AFailedFirstSendMovesExactlyWhatWasSentIntoTheQueueAndIsReplayed) {
  manager();
  mainQueue().advance(2);
  int reported = 0;
  auto track = [&] {
    runtime_.runtime().appTracking().sendAppTrackingEvent(101, [&](int status) { reported = status; });
    return reported;
  };
  http().holdAnswers(true);
  track();
  EXPECT_EQ(journaled(), 1u);
  http().holdAnswers(false);
  http().releaseHeld();
  EXPECT_EQ(journaled(), 0u) << "200 removes the row";
  EXPECT_TRUE(queued().empty());

  status_ = 503;
  EXPECT_EQ(track(), 503);
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(queued(), (Texts{"app_activity " + sent_.at(1).first}));
  status_ = 200;
  mainQueue().advance(2);
  ASSERT_EQ(sent_.size(), 3u);
  EXPECT_EQ(sent_[2], (Sent{sent_[1].first, 4}));
  EXPECT_EQ(http().requests()[2].url, "https://track.test/app_activity");
  EXPECT_TRUE(queued().empty());
}

// Journaled and never settled: what a process killed before the answer
// leaves behind.
TEST_F(OfflineReplayTest, MessagesLeftInFlightByADeadProcessAreQueuedOldestFirstBeforeReplay) {
  const std::string body = "data={\"eventid\":101,\"q\":\"it's\"}";
  queue("data=0");
  ASSERT_TRUE(manager().recordInFlight("pn_login", "data={}"));
  ASSERT_TRUE(manager().recordInFlight("app_activity", body));
  runtime_.relaunch();
  logRequests();

  manager();
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(queued(), (Texts{"pn_open data=0", "pn_login data={}", "app_activity " + body}));
  EXPECT_TRUE(sent_.empty());
  mainQueue().advance(6);
  EXPECT_EQ(sent_, (std::vector<Sent>{{"data=0", 2}, {"data={}", 4}, {body, 6}}));
  EXPECT_EQ(http().requests().at(1).url, "https://track.test/pn_login");
  EXPECT_TRUE(queued().empty());
}

// Several host threads journal, settle and deliver notifications while the
// replay runs and the network comes and goes: no message may be lost, and
// the run must be clean under ThreadSanitizer.
TEST_F(OfflineReplayTest, ConcurrentTrackingLosesNothingWhileReplayRuns) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 60;  // per thread
  const auto params = [](int t, int i) {
    return "data=" + std::to_string(t) + "-" + std::to_string(i);
  };
  std::atomic<int> running{kThreads};
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Every third first send fails; the first thread also turns the network off and on.
      for (int i = 0; i < kMessages; ++i) {
        const auto ticket = manager().recordInFlight("app_activity", params(t, i));
        manager().settleInFlight(ticket, "app_activity", params(t, i), i % 3 == 0 ? 500 : 200);
        const Map notification{{"payload", Map{{"trid", "n" + std::to_string(i % 15)}}}};
        runtime_.databaseSource().NotificationReceived(notification, "unread");
        if (t == 0) setReachable(i % 2 == 1);
      }
      --running;
    });
  }
  // The main queue runs here, on the test's thread, as long as they run.
  while (running > 0) mainQueue().advance(2);
  threads.clear();
  setReachable(true);
  for (int round = 0; round < 1000 && !queued().empty(); ++round) mainQueue().advance(2);

  std::multiset<std::string> replayed, failed;
  for (const Sent& sent : sent_) replayed.insert(sent.first);
  for (int t = 0; t < kThreads; ++t) {
    for (int i = 0; i < kMessages; i += 3) failed.insert(params(t, i));
  }
  EXPECT_EQ(replayed, failed) << "each failed message replayed exactly once";
  EXPECT_EQ(journaled(), 0u);
  EXPECT_EQ(runtime_.databaseSource().GetAllReceivedNotifications().size(), 10u);
}

}  // namespace
}  // namespace orvanta
