// The replay of the offline queue on the test platform: the virtual clock
// and the manual main queue decide when each run happens.
#include <gtest/gtest.h>

#include "core/notification_hub.h"
#include "device/reachability.h"
#include "net/web_service_handler.h"
#include "support/database_probe.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"
#include "support/test_runtime.h"

namespace orvanta {
namespace {

class OfflineReplayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    runtime_.runtime().databaseSource().createDatabase();
    // Every request is logged with the virtual time it left at.
    http().setResponder([this](const HttpRequest& request) {
      sent_.push_back({request.body, seconds()});
      return HttpResponse{status_, {}, std::string(), {}};
    });
  }

  void queue(const std::string& data) {
    ASSERT_TRUE(runtime_.runtime().databaseSource().addEvent("app_activity", data));
  }
  DBManager& manager() { return runtime_.runtime().dbManager(); }
  testing::ManualMainQueue& mainQueue() { return *runtime_.platform().mainQueue; }
  testing::ScriptedHttpClient& http() { return *runtime_.platform().http; }
  double seconds() { return runtime_.platform().clock->now().secondsSince1970 - start_; }
  std::vector<std::string> queued() {
    return testing::DatabaseProbe(testing::databasePathIn(runtime_.platform().paths->documentsDirectory()))
        .column("SELECT EventData FROM OfflineEvents ORDER BY ID");
  }
  std::vector<std::string> sentBodies() {
    std::vector<std::string> bodies;
    for (const auto& s : sent_) bodies.push_back(s.body);
    return bodies;
  }
  void setReachable(bool reachable) {
    runtime_.platform().reachability->setFlags(reachable ? kReachabilityFlagReachable : 0);
  }

  struct Sent {
    std::string body;
    double at;
    bool operator==(const Sent&) const = default;
  };
  testing::TestRuntime runtime_;
  const double start_ = runtime_.platform().clock->now().secondsSince1970;
  int status_ = 200;
  std::vector<Sent> sent_;
};

TEST_F(OfflineReplayTest, SendsQueuedRowsOldestFirstTwoSecondsApartDeletingEachOn200) {
  queue("data=1");
  queue("data=2");
  queue("data=3");
  manager();
  mainQueue().advance(10);
  EXPECT_EQ(sent_, (std::vector<Sent>{{"data=1", 2}, {"data=2", 4}, {"data=3", 6}}));
  EXPECT_TRUE(queued().empty());
  EXPECT_FALSE(manager().isSyncing());
  EXPECT_EQ(mainQueue().pendingCount(), 0u) << "an empty queue ends the loop";
}

TEST_F(OfflineReplayTest, ReplayedRequestGoesToItsMethodWithTheStoredTextUnchanged) {
  ASSERT_TRUE(runtime_.runtime().databaseSource().addEvent("pn_deliver", "data={\"eventid\":12,\"cts\":231114221320}"));
  manager();
  mainQueue().advance(2);
  ASSERT_EQ(http().requests().size(), 1u);
  EXPECT_EQ(http().requests()[0].url, "https://track.test/pn_deliver");
  EXPECT_EQ(http().requests()[0].body, "data={\"eventid\":12,\"cts\":231114221320}");
}

TEST_F(OfflineReplayTest, AFailingOldestRowIsRetriedEveryTwoSecondsAndHoldsBackTheRest) {
  queue("data=1");
  queue("data=2");
  status_ = 500;
  manager();
  mainQueue().advance(6);
  EXPECT_EQ(sent_, (std::vector<Sent>{{"data=1", 2}, {"data=1", 4}, {"data=1", 6}}));
  EXPECT_EQ(queued(), (std::vector<std::string>{"data=1", "data=2"}));

  status_ = 0;  // no answer at all counts the same
  mainQueue().advance(2);
  status_ = 200;
  mainQueue().advance(4);
  EXPECT_EQ(sentBodies(), (std::vector<std::string>{"data=1", "data=1", "data=1", "data=1", "data=1", "data=2"}));
  EXPECT_TRUE(queued().empty());
}

TEST_F(OfflineReplayTest, StopsWhileUnreachableAndRestartsAtOnceOnAChange) {
  queue("data=1");
  queue("data=2");
  queue("data=3");
  manager();
  mainQueue().advance(2);
  ASSERT_EQ(sent_.size(), 1u);

  setReachable(false);
  mainQueue().advance(20);
  EXPECT_EQ(sent_.size(), 1u);
  EXPECT_FALSE(manager().checkNetWorkConnection());
  EXPECT_EQ(mainQueue().pendingCount(), 0u) << "nothing runs until the network changes";

  setReachable(true);
  mainQueue().runUntilIdle();
  mainQueue().advance(2);
  EXPECT_EQ(sent_, (std::vector<Sent>{{"data=1", 2}, {"data=2", 22}, {"data=3", 24}}));
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
  EXPECT_EQ(sentBodies(), (std::vector<std::string>{"data=1", "data=2"}));
}

TEST_F(OfflineReplayTest, AMessageFailingItsFirstSendIsReplayedTwoSecondsLaterVerbatim) {
  manager();
  mainQueue().advance(2);
  status_ = 503;
  int reported = 0;
  runtime_.runtime().webServiceHandler().callPostService("app_activity", Map{{"eventid", 101}},
                                                         [&](int status) { reported = status; });
  EXPECT_EQ(reported, 503);
  ASSERT_EQ(sent_.size(), 1u);
  status_ = 200;
  mainQueue().advance(2);
  ASSERT_EQ(sent_.size(), 2u);
  EXPECT_EQ(sent_[1], (Sent{sent_[0].body, 4}));
  EXPECT_TRUE(queued().empty());
}

TEST_F(OfflineReplayTest, ReachabilityChangesArePostedWithTheReachabilityAsObject) {
  std::vector<const void*> objects;
  auto& hub = runtime_.runtime().notificationHub();
  const auto token = hub.addObserver(kReachabilityChangedNotification, [&](const void* o) { objects.push_back(o); });
  manager();
  setReachable(false);
  hub.removeObserver(token);
  EXPECT_EQ(objects, (std::vector<const void*>{manager().internetReachability()}));
}

}  // namespace
}  // namespace orvanta
