// Reachability: the status each set of flags gives, unreadable flags, and
// the change notification.
#include "device/reachability.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "base/notification_hub.h"
#include "orvanta/testing/fake_reachability.h"

namespace orvanta {
namespace {

// Flags: 0x2 reachable, 0x4 once a connection is made, 0x8 made on traffic,
// 0x20 made on demand, 0x10 needing the user, 0x40000 over the cellular
// interface (which wins over a required connection).
TEST(ReachabilityTest, StatusForFlags) {
  const std::pair<NetworkStatus, std::vector<std::uint32_t>> cases[] = {
      {NetworkStatusNone, {0x0, 0x6, 0x3E, 0x28, 0x40000}},
      {NetworkStatusLocal, {0x2, 0x0E, 0x26}},
      {NetworkStatusCellular, {0x40002, 0x40006}}};
  for (const auto& [status, flagSets] : cases) {
    for (const std::uint32_t flags : flagSets) {
      EXPECT_EQ(Reachability::networkStatusForFlags(flags), status) << std::hex << "0x" << flags;
    }
  }
}

TEST(ReachabilityTest, FollowsTheSourceAndPostsChangesWhileTheNotifierRuns) {
  NotificationHub hub;
  const auto source = std::make_shared<testing::FakeReachability>();
  std::vector<const void*> posted;
  hub.addObserver("kNetworkReachabilityChangedNotification",
                  [&](const void* object) { posted.push_back(object); });
  auto reachability = std::make_unique<Reachability>(hub, source);

  source->setFlags(0x6);
  EXPECT_TRUE(reachability->connectionRequired());
  source->setFlags(std::nullopt);  // unreadable
  EXPECT_EQ(reachability->currentReachabilityStatus(), NetworkStatusNone);
  EXPECT_FALSE(reachability->connectionRequired());
  EXPECT_TRUE(posted.empty()) << "not before startNotifier";

  EXPECT_TRUE(reachability->startNotifier());
  source->setFlags(0x40002);
  EXPECT_EQ(reachability->currentReachabilityStatus(), NetworkStatusCellular);
  EXPECT_EQ(posted, std::vector<const void*>{reachability.get()});
  reachability->stopNotifier();
  source->setFlags(0);
  EXPECT_EQ(posted.size(), 1u);

  EXPECT_TRUE(reachability->startNotifier());
  reachability.reset();
  EXPECT_FALSE(source->started()) << "destruction stops the notifier";
}

}  // namespace
}  // namespace orvanta
