// The shared runtime used before Runtime::install: said in the log, no
// traffic, nothing lost. Each ctest case runs in a process of its own, so the
// process-wide runtime made here is this case's alone.
#include <gtest/gtest.h>

#include <thread>

#include "orvanta/orvanta.h"
#include "orvanta/testing/test_platform.h"
#include "support/log_lines.h"
#include "support/scoped_environment.h"

namespace orvanta::testing {
namespace {

TEST(SharedRuntimeTest, UsedBeforeInstallItSaysSoSendsNothingAndKeepsTheMessage) {
  TemporaryPaths home;
  ScopedEnvironment appHome("ORVANTA_HOME", home.root());
  LogLines log;

  std::optional<int> status;
  std::thread::id answeredOn;
  OrvantaAppTracking::sharedInstance().sendAppTrackingEvent(101, [&](int s) {
    status = s;
    answeredOn = std::this_thread::get_id();
  });
  // Answered before the call returned, on this thread: no request was made.
  EXPECT_EQ(status, 0);
  EXPECT_EQ(answeredOn, std::this_thread::get_id());
  EXPECT_TRUE(log.contains("used before Runtime::install"));
  EXPECT_TRUE(log.contains("no tracking URL is configured"));
  EXPECT_FALSE(Runtime::install(makeLinuxPlatform(Config{}, home.root()), Config{}));

  const auto queued = Inspection(makeLinuxPlatform(Config{}, home.root()), Config{}).queuedMessages();
  ASSERT_TRUE(queued);
  ASSERT_EQ(queued->size(), 1u);
  EXPECT_EQ(queued->front().method, "app_activity");
}

TEST(SharedRuntimeTest, InstalledBeforeFirstUseItRunsOnWhatWasInstalled) {
  TestPlatform doubles;
  Config config;
  config.trackingBaseUrl = "https://track.test/";
  ASSERT_TRUE(Runtime::install(doubles.platform(), config));
  OrvantaAppTracking::sharedInstance().sendAppTrackingEvent(101, nullptr);
  ASSERT_EQ(doubles.http->requestCount(), 1u);
  EXPECT_EQ(doubles.http->requests().front().url, "https://track.test/app_activity");
  EXPECT_EQ(&Runtime::shared().appTracking(), &OrvantaAppTracking::sharedInstance());
}

}  // namespace
}  // namespace orvanta::testing
