#include "support/test_runtime.h"

#include <gtest/gtest.h>

#include "orvanta/json.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"

namespace orvanta::testing {

TestRuntime::TestRuntime(std::shared_ptr<TestPlatform> platform, Config config)
    : platform_(std::move(platform)), config_(std::move(config)),
      runtime_(std::make_unique<Runtime>(platform_->platform(), config_)) {}

TestRuntime::~TestRuntime() = default;

DatabaseSource& TestRuntime::databaseSource() { return runtime_->databaseSource(); }

DBManager& TestRuntime::dbManager() { return runtime_->dbManager(); }

void TestRuntime::relaunch() {
  runtime_.reset();
  // A new process has a new main queue and network; the stores, the secure
  // store and the folder are the installation's and stay.
  platform_->mainQueue = std::make_shared<ManualMainQueue>(platform_->clock);
  platform_->http = std::make_shared<ScriptedHttpClient>();
  runtime_ = std::make_unique<Runtime>(platform_->platform(), config_);
}

std::vector<SentMessage> TestRuntime::sentMessages() const {
  std::vector<SentMessage> messages;
  for (const auto& request : platform_->http->requests()) {
    if (request.method != "POST") continue;
    SentMessage message;
    message.method = request.url.substr(config_.trackingBaseUrl.size());
    message.body = request.body;
    const std::string prefix = "data=";
    if (request.body.compare(0, prefix.size(), prefix) != 0) {
      ADD_FAILURE() << "body is not data=JSON: " << request.body;
    } else if (auto parsed = parseJson(std::string_view(request.body).substr(prefix.size())); parsed && parsed->isMap()) {
      message.object = *parsed->asMap();
    } else {
      ADD_FAILURE() << "body JSON is not an object: " << request.body;
    }
    messages.push_back(std::move(message));
  }
  return messages;
}

SentMessage TestRuntime::lastMessage() const {
  auto messages = sentMessages();
  if (messages.empty()) {
    ADD_FAILURE() << "nothing was sent";
    return {};
  }
  return messages.back();
}

}  // namespace orvanta::testing
