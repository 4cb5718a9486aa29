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
  const std::pair<std::uint32_t, NetworkStatus> cases[] = {
      {0x0, NetworkStatusNone},
      {0x2, NetworkStatusLocal},          // reachable
      {0x6, NetworkStatusNone},           // reachable once a connection is made
      {0x0E, NetworkStatusLocal},         // ... made on traffic
      {0x26, NetworkStatusLocal},         // ... made on demand
      {0x3E, NetworkStatusNone},          // ... but needing the user
      {0x28, NetworkStatusNone},          // on demand without reachable
      {0x40002, NetworkStatusCellular},   // over the cellular interface
      {0x40006, NetworkStatusCellular},   // cellular wins over a required connection
      {0x40000, NetworkStatusNone}};      // cellular, but not reachable
  for (const auto& [flags, status] : cases) {
    EXPECT_EQ(Reachability::networkStatusForFlags(flags), status) << std::hex << "0x" << flags;
  }
}

TEST(ReachabilityTest, FollowsTheSourceAndPostsChangesWhileTheNotifierRuns) {
  NotificationHub hub;
  const auto source = std::make_shared<testing::FakeReachability>();
  std::vector<const void*> posted;
  hub.addObserver("kNetworkReachabilityChangedNotification", [&](const void* object) { posted.push_back(object); });
  auto reachability = std::make_unique<Reachability>(hub, source);

  source->setFlags(0x6);
  EXPECT_EQ(reachability->currentReachabilityStatus(), NetworkStatusNone);
  EXPECT_TRUE(reachability->connectionRequired());
  source->setFlags(std::nullopt);  // unreadable
  EXPECT_EQ(reachability->currentReachabilityStatus(), NetworkStatusNone);
  EXPECT_FALSE(reachability->connectionRequired());
  EXPECT_TRUE(posted.empty()) << "not before startNotifier";

  EXPECT_TRUE(reachability->startNotifier());
  source->setFlags(0x2);
  source->setFlags(0x40002);
  EXPECT_EQ(reachability->currentReachabilityStatus(), NetworkStatusCellular);
  EXPECT_EQ(posted, (std::vector<const void*>{reachability.get(), reachability.get()}));
  reachability->stopNotifier();
  source->setFlags(0);
  EXPECT_EQ(posted.size(), 2u);

  EXPECT_TRUE(reachability->startNotifier());
  reachability.reset();
  EXPECT_FALSE(source->started()) << "destruction stops the notifier";
}

}  // namespace
}  // namespace orvanta
