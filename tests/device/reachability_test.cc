// Reachability: the status each set of flags gives, unreadable flags, and
// the change notification.
#include "device/reachability.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/notification_hub.h"
#include "platform/testing/fake_reachability.h"

namespace orvanta {
namespace {

TEST(ReachabilityTest, StatusForFlags) {
  struct Case {
    std::uint32_t flags;
    NetworkStatus status;
    const char* what;
  };
  const Case cases[] = {
      {0x0, NetworkStatusNone, "nothing"},
      {0x2, NetworkStatusLocal, "reachable"},
      {0x6, NetworkStatusNone, "reachable once a connection is made"},
      {0x2E, NetworkStatusLocal, "the connection is made on traffic or demand"},
      {0x3E, NetworkStatusNone, "... but needs the user"},
      {0x40002, NetworkStatusCellular, "over the cellular interface"},
      {0x40006, NetworkStatusCellular, "cellular wins over a required connection"},
      {0x40000, NetworkStatusNone, "cellular, but not reachable"},
      {0x0E, NetworkStatusLocal, "on traffic alone suffices"},
      {0x26, NetworkStatusLocal, "on demand alone suffices"},
      {0x28, NetworkStatusNone, "on demand without reachable"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Reachability::networkStatusForFlags(c.flags), c.status) << std::hex << "0x" << c.flags << ": " << c.what;
  }
}

class ReachabilityNotifierTest : public ::testing::Test {
 protected:
  NotificationHub hub_;
  std::shared_ptr<testing::FakeReachability> source_ = std::make_shared<testing::FakeReachability>();
};

TEST_F(ReachabilityNotifierTest, CurrentStatusAndConnectionRequiredFollowTheSource) {
  Reachability reachability(hub_, source_);
  source_->setFlags(0x40002);
  EXPECT_EQ(reachability.currentReachabilityStatus(), NetworkStatusCellular);
  EXPECT_FALSE(reachability.connectionRequired());
  source_->setFlags(0x6);
  EXPECT_EQ(reachability.currentReachabilityStatus(), NetworkStatusNone);
  EXPECT_TRUE(reachability.connectionRequired());
  source_->setFlags(std::nullopt);
  EXPECT_EQ(reachability.currentReachabilityStatus(), NetworkStatusNone);
  EXPECT_FALSE(reachability.connectionRequired());
}

TEST_F(ReachabilityNotifierTest, ChangesArePostedWithTheInstanceWhileTheNotifierRuns) {
  std::vector<const void*> posted;
  hub_.addObserver(kReachabilityChangedNotification, [&](const void* object) { posted.push_back(object); });
  EXPECT_STREQ(kReachabilityChangedNotification, "kNetworkReachabilityChangedNotification");

  auto reachability = std::make_unique<Reachability>(hub_, source_);
  source_->setFlags(0);
  EXPECT_TRUE(posted.empty()) << "not before startNotifier";
  EXPECT_TRUE(reachability->startNotifier());
  source_->setFlags(0x2);
  source_->setFlags(0x40002);
  EXPECT_EQ(posted, (std::vector<const void*>{reachability.get(), reachability.get()}));

  reachability->stopNotifier();
  source_->setFlags(0);
  EXPECT_EQ(posted.size(), 2u);

  EXPECT_TRUE(reachability->startNotifier());
  reachability.reset();
  EXPECT_FALSE(source_->started()) << "destruction stops the notifier";
}

}  // namespace
}  // namespace orvanta
