#include <gtest/gtest.h>

#include <regex>

#include "core/data_model.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

class StartUpTest : public ::testing::Test {
 protected:
  OrvantaSharedManager& manager() { return app.runtime().sharedManager(); }
  OrvantaDataModel& model() { return app.dataModel(); }
  std::optional<Value> stored(const char* key) { return app.platform().standardSettings->get(key); }

  TestRuntime app;
};

TEST_F(StartUpTest, FirstLaunchFillsTheStateStoresTheSettingsAndSendsEvent20) {
  manager().setSessionTimeOutInMinutes(5);  // set before start-up: overwritten
  manager().setUpApplicationId("app-42");

  // A random (version 4, RFC 4122 variant) UUID in upper case.
  EXPECT_TRUE(std::regex_match(
      model().strPushId(),
      std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")))
      << model().strPushId();
  EXPECT_EQ(model().strSessionid(), "231114221320");
  EXPECT_EQ(stored("sessionid"), Value("231114221320"));
  EXPECT_EQ(model().SessionIdTimeoutInMinutes(), 60);
  EXPECT_EQ(model().strAppID(), "app-42");
  EXPECT_EQ(model().intializationDate(), Date{1700000000});

  const auto sent = app.sentMessages();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].method, "app_activity");
  EXPECT_EQ(*sent[0].object.find("eventid"), Value(20));
}

TEST_F(StartUpTest, SecondLaunchKeepsTheIdentifierAndSendsEvent21AndANewInstallGetsANewOne) {
  manager().setUpApplicationId("app-42");
  const std::string firstId = model().strPushId();

  app.relaunch();
  manager().setUpApplicationId("app-42");
  EXPECT_EQ(model().strPushId(), firstId);
  EXPECT_EQ(*app.lastMessage().object.find("eventid"), Value(21));

  // Removing the app removes its settings but not the secure store.
  auto& platform = app.platform();
  platform.standardSettings = std::make_shared<InMemorySettingsStore>();
  app.relaunch();
  manager().setUpApplicationId("app-42");
  EXPECT_NE(model().strPushId(), firstId);
  EXPECT_EQ(*app.lastMessage().object.find("eventid"), Value(20));
  EXPECT_EQ(platform.secureStore->items().size(), 1u);
}

TEST_F(StartUpTest, PermissionAndRemoteRegistrationRunOnTheMainQueueAfterStartUp) {
  auto& platform = app.platform();
  manager().setUpApplicationId("app-42");
  EXPECT_TRUE(platform.notificationCenter->authorizationRequests().empty());

  platform.mainQueue->runUntilIdle();
  EXPECT_EQ(platform.notificationCenter->authorizationRequests(), std::vector<int>{7});
  // Once from the authorization answer, once without waiting for it.
  EXPECT_EQ(platform.appHost->remoteRegistrations(), 2);

  int options = -1;  // notifications arriving in the foreground: the alert option only
  manager().userNotificationCenter(Map{}, [&](int o) { options = o; });
  EXPECT_EQ(options, 4);
}

TEST_F(StartUpTest, IdentityIsEmptyUntilSetAndSurvivesARelaunchExactlyAsGiven) {
  EXPECT_EQ(manager().getIdentity(), "");
  for (const char* identity : {"ada", " ada\t", "(null)"}) {
    manager().setUpIdentity(identity);
    app.relaunch();
    EXPECT_EQ(manager().getIdentity(), identity);
  }
}

}  // namespace
}  // namespace orvanta::testing
