#include "orvanta/installation.h"

#include <gtest/gtest.h>

#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

class InstallationTest : public ::testing::Test {
 protected:
  void SetUp() override { app.runtime().sharedManager().setUpApplicationId("app"); }
  OrvantaInstallation& installation() { return app.runtime().installation(); }
  // The given fields of the last message, with its method first.
  Map last(std::initializer_list<const char*> keys) {
    const SentMessage sent = app.lastMessage();
    Map fields{{"method", sent.method}};
    for (const char* key : keys) fields.set(key, sent.object.find(key) ? *sent.object.find(key) : Value("(absent)"));
    return fields;
  }

  TestRuntime app;
};

TEST_F(InstallationTest, TheOldTokenIsFixedOnceByTheFirstRegistration) {
  installation().orvantaPushRegisteration(std::nullopt, nullptr);
  EXPECT_EQ(last({"token", "oldtoken", "eventid", "identity"}),
            (Map{{"method", "pn_register"}, {"token", ""}, {"oldtoken", ""}, {"eventid", 25}, {"identity", ""}}));
  installation().orvantaPushRegisteration("ada", Value(Bytes{0xab, 0xcd}), nullptr);
  EXPECT_EQ(last({"token", "oldtoken", "identity"}),
            (Map{{"method", "pn_register"}, {"token", "abcd"}, {"oldtoken", ""}, {"identity", "ada"}}));
  EXPECT_EQ(app.platform().standardSettings->get("oldtoken"), Value(""));
}

TEST_F(InstallationTest, TheFirstRegisteredTokenStaysTheOldToken) {
  app.runtime().sharedManager().setDeviceToken(Value(Bytes{0x01}));
  installation().orvantaPushRegisteration("ada", nullptr);
  installation().orvantaPushRegisteration("ada", Value(Bytes{0x02}), nullptr);
  EXPECT_EQ(last({"token", "oldtoken"}), (Map{{"method", "pn_register"}, {"token", "02"}, {"oldtoken", "01"}}));
}

TEST_F(InstallationTest, LoginLogoutCarryTheRightIdentity) {
  installation().orvantaPushLogin(std::nullopt, nullptr);
  EXPECT_EQ(last({"identity", "eventid"}), (Map{{"method", "pn_login"}, {"identity", ""}, {"eventid", 22}}));
  installation().orvantaPushLogin("grace", nullptr);
  EXPECT_EQ(last({"identity"}), (Map{{"method", "pn_login"}, {"identity", "grace"}}));

  installation().orvantaPushLogout(nullptr);
  EXPECT_EQ(last({"identity", "eventid"}), (Map{{"method", "pn_logout"}, {"identity", "grace"}, {"eventid", 23}}));
  EXPECT_EQ(app.platform().standardSettings->get("OrvantaIdentity"), Value(""));
  EXPECT_EQ(app.runtime().sharedManager().getIdentity(), "");
}

TEST_F(InstallationTest, ProfileHasItsOwnFieldSet) {
  installation().orvantaProfilePush("ada", Value(Map{{"s^city", "Oslo"}}), nullptr);
  const SentMessage sent = app.lastMessage();
  EXPECT_EQ(sent.method, "profilePush");
  std::vector<std::string> keys;
  for (const auto& entry : sent.object) keys.push_back(entry.first);
  EXPECT_EQ(keys, (std::vector<std::string>{"identity", "pushid", "appid", "make", "model", "profileDetails",
                                            "sessionid", "adid"}));
  EXPECT_EQ(*sent.object.find("profileDetails"), Value(Map{{"s^city", "Oslo"}}));

  installation().orvantaProfilePush("ada", Value(Array{1, 2}), nullptr);  // not a map: sent empty
  EXPECT_NE(app.lastMessage().body.find("\"profileDetails\":{}"), std::string::npos);
}

}  // namespace
}  // namespace orvanta::testing
