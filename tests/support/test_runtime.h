// A runtime on the test platform, and readers for what it sent.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvanta/config.h"
#include "orvanta/runtime.h"
#include "orvanta/value.h"
#include "platform/testing/test_platform.h"
#include "support/value_printer.h"

namespace orvanta {
class DatabaseSource;
class DBManager;
}  // namespace orvanta

namespace orvanta::testing {

inline Config testConfig() {
  Config config;
  config.trackingBaseUrl = "https://track.test/";
  config.rulesBaseUrl = "https://rules.test/";
  config.bundleIdentifier = "io.orvanta.tests";
  config.bundleShortVersion = "3.1";
  return config;
}

// One tracking message as it went out: method name and decoded object.
struct SentMessage {
  std::string method;
  std::string body;
  Map object;
};

class TestRuntime {
 public:
  explicit TestRuntime(std::shared_ptr<TestPlatform> platform = std::make_shared<TestPlatform>(),
                       Config config = testConfig());
  ~TestRuntime();

  TestPlatform& platform() { return *platform_; }
  Runtime& runtime() { return *runtime_; }
  // The runtime's own storage components, for tests that drive or inspect
  // them beside the facade.
  DatabaseSource& databaseSource();
  DBManager& dbManager();
  // Ends this runtime and starts another on the same stores and folder: the
  // next launch of the same installation.
  void relaunch();

  // Every POST so far, decoded ("data=" + JSON); ADD_FAILURE for another form.
  std::vector<SentMessage> sentMessages() const;
  SentMessage lastMessage() const;

 private:
  std::shared_ptr<TestPlatform> platform_;
  Config config_;
  std::unique_ptr<Runtime> runtime_;
};

}  // namespace orvanta::testing
