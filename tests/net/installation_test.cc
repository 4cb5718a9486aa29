#include "orvanta/installation.h"

#include <gtest/gtest.h>

#include "orvanta/json.h"
#include "orvanta/shared_manager.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

class InstallationTest : public ::testing::Test {
 protected:
  void SetUp() override { app.runtime().sharedManager().setUpApplicationId("app"); }
  OrvantaInstallation& installation() { return app.runtime().installation(); }
  // The last message's method and the given fields, as JSON.
  std::string last(std::initializer_list<const char*> keys) {
    const SentMessage sent = app.lastMessage();
    std::string fields = sent.method;
    for (const char* key : keys) {
      const Value* value = sent.object.find(key);
      fields += std::string(" ") + key + "=" + (value ? dumpJson(*value) : "(absent)");
    }
    return fields;
  }

  TestRuntime app;
};

TEST_F(InstallationTest, TheOldTokenIsFixedOnceByTheFirstRegistration) {
  installation().orvantaPushRegisteration(std::nullopt, nullptr);
  EXPECT_EQ(last({"token", "oldtoken", "eventid", "identity"}),
            R"(pn_register token="" oldtoken="" eventid=25 identity="")");
  installation().orvantaPushRegisteration("ada", Value(Bytes{0xab, 0xcd}), nullptr);
  EXPECT_EQ(last({"token", "oldtoken", "identity"}),
            R"(pn_register token="abcd" oldtoken="" identity="ada")");
  EXPECT_EQ(app.platform().standardSettings->get("oldtoken"), Value(""));
}

TEST_F(InstallationTest, TheFirstRegisteredTokenStaysTheOldToken) {
  app.runtime().sharedManager().setDeviceToken(Value(Bytes{0x01}));
  installation().orvantaPushRegisteration("ada", nullptr);
  installation().orvantaPushRegisteration("ada", Value(Bytes{0x02}), nullptr);
  EXPECT_EQ(last({"token", "oldtoken"}), R"(pn_register token="02" oldtoken="01")");
}

TEST_F(InstallationTest, LoginLogoutCarryTheRightIdentity) {
  installation().orvantaPushLogin(std::nullopt, nullptr);
  EXPECT_EQ(last({"identity", "eventid"}), R"(pn_login identity="" eventid=22)");
  installation().orvantaPushLogin("grace", nullptr);
  EXPECT_EQ(last({"identity"}), R"(pn_login identity="grace")");

  installation().orvantaPushLogout(nullptr);
  EXPECT_EQ(last({"identity", "eventid"}), R"(pn_logout identity="grace" eventid=23)");
  EXPECT_EQ(app.platform().standardSettings->get("OrvantaIdentity"), Value(""));
  EXPECT_EQ(app.runtime().sharedManager().getIdentity(), "");
}

TEST_F(InstallationTest, ProfileHasItsOwnFieldSet) {
  installation().orvantaProfilePush("ada", Value(Map{{"s^city", "Oslo"}}), nullptr);
  const SentMessage sent = app.lastMessage();
  std::vector<std::string> keys;
  for (const auto& entry : sent.object) keys.push_back(entry.first);
  EXPECT_EQ(keys, (std::vector<std::string>{"identity", "pushid", "appid", "make", "model",
                                            "profileDetails", "sessionid", "adid"}));
  EXPECT_EQ(last({"identity", "profileDetails"}),
            R"(profilePush identity="ada" profileDetails={"s^city":"Oslo"})");

  installation().orvantaProfilePush("ada", Value(Array{1, 2}), nullptr);  // not a map: sent empty
  EXPECT_EQ(last({"profileDetails"}), "profilePush profileDetails={}");
}

}  // namespace
}  // namespace orvanta::testing
