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
  Map last() { return app.lastMessage().object; }

  TestRuntime app;
};

TEST_F(InstallationTest, RegistrationBeforeAnyTokenFixesAnEmptyOldToken) {
  installation().orvantaPushRegisteration(std::nullopt, nullptr);
  EXPECT_EQ(app.lastMessage().method, "pn_register");
  EXPECT_EQ(*last().find("token"), Value(""));
  EXPECT_EQ(*last().find("oldtoken"), Value(""));
  EXPECT_EQ(*last().find("eventid"), Value(25));
  EXPECT_EQ(*last().find("identity"), Value(""));

  installation().orvantaPushRegisteration("ada", Value(Bytes{0xab, 0xcd}), nullptr);
  EXPECT_EQ(*last().find("token"), Value("abcd"));
  EXPECT_EQ(*last().find("oldtoken"), Value(""));
  EXPECT_EQ(*last().find("identity"), Value("ada"));
  EXPECT_EQ(app.platform().standardSettings->get("oldtoken"), Value(""));
}

TEST_F(InstallationTest, TheFirstRegisteredTokenStaysTheOldToken) {
  app.runtime().sharedManager().setDeviceToken(Value(Bytes{0x01}));
  installation().orvantaPushRegisteration("ada", nullptr);
  installation().orvantaPushRegisteration("ada", Value(Bytes{0x02}), nullptr);
  EXPECT_EQ(*last().find("token"), Value("02"));
  EXPECT_EQ(*last().find("oldtoken"), Value("01"));
}

TEST_F(InstallationTest, LoginLogoutCarryTheRightIdentity) {
  installation().orvantaPushLogin(std::nullopt, nullptr);
  EXPECT_EQ(app.lastMessage().method, "pn_login");
  EXPECT_EQ(*last().find("identity"), Value(""));
  EXPECT_EQ(*last().find("eventid"), Value(22));

  installation().orvantaPushLogin("grace", nullptr);
  EXPECT_EQ(*last().find("identity"), Value("grace"));

  installation().orvantaPushLogout(nullptr);
  EXPECT_EQ(app.lastMessage().method, "pn_logout");
  EXPECT_EQ(*last().find("identity"), Value("grace"));
  EXPECT_EQ(*last().find("eventid"), Value(23));
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

  installation().orvantaProfilePush("ada", Value(Array{1, 2}), nullptr);
  EXPECT_EQ(*last().find("profileDetails"), Value(Map{}));
  EXPECT_NE(app.lastMessage().body.find("\"profileDetails\":{}"), std::string::npos);
}

}  // namespace
}  // namespace orvanta::testing
