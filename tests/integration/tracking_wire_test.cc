// The whole library on the real Linux platform against a loopback server:
// what a tracking message looks like on the wire.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <set>
#include <thread>
#include <tuple>

#include "core/data_model.h"
#include "net/web_service_handler.h"
#include "runtime/components.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/testing/temporary_paths.h"
#include "storage/database_source.h"
#include "support/loopback_server.h"

namespace orvanta::testing {
namespace {

// Field key of the object after "data=" in a message body; null when there is none.
Value fieldOf(const std::string& body, std::string_view key) {
  const auto data = body.starts_with("data=") ? parseJson(body.substr(5)) : std::nullopt;
  const Value* field = data && data->asMap() ? data->asMap()->find(key) : nullptr;
  return field ? *field : Value();
}

class TrackingWireTest : public ::testing::Test {
 protected:
  void start(const std::string& trackingBaseUrl) {
    Config config;
    config.trackingBaseUrl = trackingBaseUrl;
    config.bundleIdentifier = "io.orvanta.wire";
    config.bundleShortVersion = "5.0";
    runtime = std::make_unique<Runtime>(makeLinuxPlatform(config, home.root()), config);
  }
  void start() { start(server.url("/track/")); }

  // Tracks one event and waits for its status.
  int track(std::int64_t eventId) {
    std::promise<int> status;
    runtime->appTracking().sendAppTrackingEvent(eventId, [&](int s) { status.set_value(s); });
    return status.get_future().get();
  }

  TemporaryPaths home;
  LoopbackServer server;
  std::unique_ptr<Runtime> runtime;
};

TEST_F(TrackingWireTest, APostCarriesOnlyItsOwnHeadersAndTheExactBody) {
  start();
  ASSERT_EQ(track(101), 200);
  server.setResponder([](const CapturedRequest&) { return ScriptedAnswer{404}; });
  std::promise<int> status;
  internals(*runtime).webServiceHandler.postRequestDataToTheServer("odd method", "data={\"\u00e9\":1}",
                                                          [&](int s) { status.set_value(s); });
  EXPECT_EQ(status.get_future().get(), 404) << "statuses pass through";

  auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2u);
  const std::string host = "127.0.0.1:" + std::to_string(server.port());
  EXPECT_EQ(fieldOf(requests[0].body, "eventid"), Value(101));
  const Value launch = parseJson(std::string_view(requests[0].body).substr(5)).value_or(Value());
  const std::vector<std::pair<std::string, std::string>> sent{
      {"/track/app_activity", "data=" + dumpJson(launch)},  // compact, in build order
      {"/track/odd%20method", "data={\"\u00e9\":1}"}};
  for (std::size_t i = 0; i < sent.size(); ++i) {
    SCOPED_TRACE(sent[i].first);
    EXPECT_EQ(std::tuple(requests[i].method, requests[i].target, requests[i].body),
              std::tuple("POST", sent[i].first, sent[i].second));
    std::ranges::sort(requests[i].headers);
    const auto length = std::to_string(sent[i].second.size());  // bytes, not characters
    EXPECT_EQ(requests[i].headers,
              (HttpHeaders{{"Content-Length", length}, {"Host", host}, {"User-Agent", ""}}));
  }
}

TEST_F(TrackingWireTest, AFailedMessageIsQueuedWithExactlyTheBytesThatWereSent) {
  start();
  server.setResponder([](const CapturedRequest&) { return ScriptedAnswer{500}; });
  ASSERT_EQ(track(77), 500);
  const auto queued = internals(*runtime).databaseSource.getEvent();
  ASSERT_TRUE(queued);
  EXPECT_EQ(queued->strEventName, "app_activity");
  EXPECT_EQ(queued->strEventData, server.requests().front().body);
}

TEST_F(TrackingWireTest, ARefusedConnectionIsStatusZeroAndTheMessageWaitsInTheQueue) {
  start("http://127.0.0.1:1/track/");
  EXPECT_EQ(track(5), 0);
  EXPECT_TRUE(internals(*runtime).databaseSource.getEvent());
}

TEST_F(TrackingWireTest, ABurstOfMessagesSharesOneConnection) {
  start();
  std::vector<std::promise<int>> statuses(20);
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    runtime->appTracking().sendAppTrackingEvent(static_cast<std::int64_t>(200 + i),
                                                [&, i](int s) { statuses[i].set_value(s); });
  }
  for (auto& status : statuses) EXPECT_EQ(status.get_future().get(), 200);
  std::set<int> connections;
  for (const CapturedRequest& request : server.requests()) connections.insert(request.connection);
  EXPECT_EQ(server.requests().size(), statuses.size());
  EXPECT_EQ(connections, std::set<int>{1});
}

TEST_F(TrackingWireTest, StartUpKeepsTheDeviceIdentifierUntilTheAppIsInstalledAgain) {
  // One launch: start up, wait (30 s at most) for the server to have its
  // launch event from this device, end. A launch that ended before its answer
  // came back replays its message at the next start, so other requests may
  // arrive in between.
  auto launch = [&](std::int64_t expectedEvent) {
    start();
    runtime->sharedManager().setUpApplicationId("wire-app");
    const std::string id = internals(*runtime).dataModel.strPushId();
    auto arrived = [&] {
      return std::ranges::any_of(server.requests(), [&](const CapturedRequest& request) {
        return fieldOf(request.body, "eventid") == Value(expectedEvent) &&
               fieldOf(request.body, "pushid") == Value(id);
      });
    };
    for (int tries = 0; tries < 3000 && !arrived(); ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(arrived()) << "launch event " << expectedEvent;
    runtime.reset();
    return id;
  };
  const std::string firstId = launch(20);
  EXPECT_EQ(launch(21), firstId);
  // A new installation: the app's settings are gone, its secure store is not.
  std::filesystem::remove_all(std::filesystem::path(home.root()) / "Preferences");
  EXPECT_NE(launch(20), firstId);
}

}  // namespace
}  // namespace orvanta::testing
