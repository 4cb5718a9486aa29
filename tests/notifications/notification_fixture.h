// A runtime on the test platform whose app declares the scheme "myapp", a
// host delegate that records the links it gets, and readers for what the
// library reported and stored.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvanta/push_task_manager.h"
#include "support/log_lines.h"
#include "support/test_runtime.h"

namespace orvanta::testing {

// One of the library's notifications, with its link when given.
inline Map notification(const std::string& trid, const std::optional<std::string>& deepLink = std::nullopt) {
  Map payload{{"trid", trid}};
  if (deepLink) payload.set("deeplink", *deepLink);
  return Map{{"aps", Map{{"alert", Map{{"title", "Sale"}, {"body", "Half price"}}}}}, {"payload", payload}};
}

class NotificationTest : public ::testing::Test {
 protected:
  NotificationTest() { manager().setDelegate(host); }

  static Config config() {
    Config config = testConfig();
    config.urlSchemes = {"myapp"};
    return config;
  }

  OrvantaPushTaskManager& manager() { return app.runtime().pushTaskManager(); }
  TestPlatform& platform() { return app.platform(); }
  void setState(ApplicationState state) { platform().appHost->setApplicationState(state); }

  // Every notification report sent so far, as "method trid".
  std::vector<std::string> reports() {
    std::vector<std::string> out;
    for (const SentMessage& message : app.sentMessages()) {
      const Value* trid = message.object.find("trid");
      if (trid && trid->isString()) out.push_back(message.method + " " + *trid->asString());
    }
    return out;
  }
  // The inbox, newest first, as "ID=Status".
  std::vector<std::string> inbox() {
    std::vector<std::string> out;
    for (const Value& row : app.runtime().sharedManager().getNotifications()) {
      out.push_back(*row.asMap()->find("ID")->asString() + "=" + *row.asMap()->find("Status")->asString());
    }
    return out;
  }

  LogLines log;
  TestRuntime app{std::make_shared<TestPlatform>(), config()};
  // The links the host's delegate got, in order ("-" for none).
  std::vector<std::string> hostLinks;
  std::shared_ptr<OrvantaPushTaskManagerDelegate> host = [this] {
    auto delegate = std::make_shared<OrvantaPushTaskManagerDelegate>();
    delegate->handleNotificationOpenAction = [this](const Map&, const std::optional<std::string>& link) {
      hostLinks.push_back(link.value_or("-"));
    };
    return delegate;
  }();
};

}  // namespace orvanta::testing
