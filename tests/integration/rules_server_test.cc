// The whole library on the real Linux platform against the reference server's
// rule documents: the rules fetched at start-up and at every new session, a
// failed fetch keeping the rules in force, and the launch event replayed once
// when the rules come after it.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "devserver/dev_server.h"
#include "integration/rule_document.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta::testing {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);

// Forwards to the real client; answers to rule documents are counted and, while
// held, kept back until the test lets them through.
class RulesGate final : public HttpClient {
 public:
  explicit RulesGate(std::shared_ptr<HttpClient> inner) : inner_(std::move(inner)) {}
  ~RulesGate() override { inner_->stop(); }

  void send(HttpRequest request, Completion completion) override {
    if (!request.url.ends_with(".json")) return inner_->send(std::move(request), std::move(completion));
    inner_->send(std::move(request), [this, completion = std::move(completion)](HttpResponse response) {
      std::unique_lock lock(mutex_);
      if (holding_) {
        held_.push_back([completion, response] { completion(response); });
        changed_.notify_all();
        return;
      }
      lock.unlock();
      completion(std::move(response));
      answered();
    });
  }
  void stop() override { inner_->stop(); }
  void drain(double graceSeconds) override { inner_->drain(graceSeconds); }

  void hold() {
    std::lock_guard lock(mutex_);
    holding_ = true;
  }
  void release() {
    std::vector<std::function<void()>> held;
    {
      std::lock_guard lock(mutex_);
      holding_ = false;
      held.swap(held_);
    }
    for (auto& answer : held) {
      answer();
      answered();
    }
  }
  // Waits until `count` rule answers have reached the library.
  bool waitForAnswers(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return answers_ >= count; });
  }
  // Waits until the real client has answered a rule request that is held.
  bool waitUntilHeld() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return !held_.empty(); });
  }

 private:
  void answered() {
    std::lock_guard lock(mutex_);
    ++answers_;
    changed_.notify_all();
  }

  const std::shared_ptr<HttpClient> inner_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool holding_ = false;                     // guarded by mutex_
  std::vector<std::function<void()>> held_;  // guarded by mutex_
  int answers_ = 0;                          // guarded by mutex_
};

class RulesServerTest : public ::testing::Test {
 protected:
  RulesServerTest() { std::filesystem::create_directories(rulesDir()); }

  std::filesystem::path rulesDir() const { return std::filesystem::path(files_.root()) / "rules"; }
  void publishText(const std::string& document) const { std::ofstream(rulesDir() / "app.json") << document; }
  void publish(const std::vector<Json>& rules) const { publishText(Json{{"InAppRuleList", rules}}.dump()); }

  // holdRules: the rules' answers wait for gate->release().
  void start(bool holdRules = false) {
    Config config;
    config.trackingBaseUrl = server_.trackingBase();
    config.rulesBaseUrl = server_.rulesBase();
    config.bundleIdentifier = "io.orvanta.rules";
    Platform platform = makeLinuxPlatform(config, home_.root());
    gate = std::make_shared<RulesGate>(platform.http);
    if (holdRules) gate->hold();
    platform.http = gate;
    runtime_ = std::make_unique<Runtime>(std::move(platform), config);
    runtime_->appTracking().setPopupTraceSink([this](const PopupTrace& trace) {
      std::lock_guard lock(mutex_);
      traces_.push_back(trace);
      traced_.notify_all();
    });
    runtime_->sharedManager().setUpApplicationId("app");
  }

  std::vector<std::string> ruleIds() const {
    std::vector<std::string> ids;
    for (const Value& entry : runtime_->appTracking().popupRules()) {
      ids.push_back(*entry.asMap()->find("id")->asString());
    }
    return ids;
  }
  // The traces so far, once there are at least `count`.
  std::vector<PopupTrace> traces(std::size_t count) {
    std::unique_lock lock(mutex_);
    traced_.wait_for(lock, kPatience, [&] { return traces_.size() >= count; });
    return traces_;
  }

  TemporaryPaths files_;
  TemporaryPaths home_;
  devserver::DevServer server_{{.db_path = std::filesystem::path(files_.root()) / "messages.sqlite",
                                .rules_dir = rulesDir(),
                                .initial_faults = {}}};
  std::shared_ptr<RulesGate> gate;
  std::unique_ptr<Runtime> runtime_;
  std::mutex mutex_;
  std::condition_variable traced_;
  std::vector<PopupTrace> traces_;  // guarded by mutex_
};

TEST_F(RulesServerTest, FetchedAtStartUpAndEachNewSessionAndAFailedFetchKeepsTheRulesInForce) {
  publish({ruleListeningTo("a", "101")});
  start();
  ASSERT_TRUE(gate->waitForAnswers(1));
  EXPECT_EQ(ruleIds(), std::vector<std::string>{"a"});

  struct Step {
    std::function<void()> serverSide;
    std::vector<std::string> inForce;
  };
  const std::vector<Step> sessions{
      {[&] {
         publish({ruleListeningTo("b", "101"), ruleListeningTo("c", "102")});
       },
       {"b", "c"}},
      {[&] { std::filesystem::remove(rulesDir() / "app.json"); }, {"b", "c"}},  // 404
      {[&] { publishText("{\"InAppRuleList\":[{\"id\":\"d\""); }, {"b", "c"}},  // not JSON
      {[&] { publishText(R"({"InAppRuleList":{}})"); }, {}},                    // no rules: the list empties
  };
  int answers = 1;
  for (const Step& step : sessions) {
    step.serverSide();
    runtime_->sharedManager().resetSession();
    ASSERT_TRUE(gate->waitForAnswers(++answers));
    EXPECT_EQ(ruleIds(), step.inForce) << "after session " << answers;
  }
}

TEST_F(RulesServerTest, ALaunchEventBeforeTheRulesIsEvaluatedAgainOnceWhenTheyArrive) {
  publish({ruleListeningTo("launch", "20")});
  start(/*holdRules=*/true);
  ASSERT_TRUE(gate->waitUntilHeld());
  // Start-up's launch event met no rules and waits.
  std::vector<PopupTrace> seen = traces(1);
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].eventId, 20);
  EXPECT_TRUE(seen[0].candidates.empty());
  EXPECT_EQ(runtime_->appTracking().popupEvent(), 20);

  gate->release();
  seen = traces(2);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[1].eventId, 20);
  ASSERT_EQ(seen[1].candidates.size(), 1u);
  EXPECT_EQ(seen[1].candidates[0].ruleId, "launch");
  EXPECT_EQ(runtime_->appTracking().popupEvent(), 0);

  // Replayed once per process: the next session's rules evaluate nothing.
  runtime_->sharedManager().resetSession();
  ASSERT_TRUE(gate->waitForAnswers(2));
  EXPECT_EQ(traces(2).size(), 2u);
}

}  // namespace
}  // namespace orvanta::testing
