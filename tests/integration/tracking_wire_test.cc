// The whole library on the real Linux platform against a loopback server:
// what a tracking message looks like on the wire.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <thread>

#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "core/data_model.h"
#include "net/web_service_handler.h"
#include "platform/testing/temporary_paths.h"
#include "storage/database_source.h"
#include "support/loopback_server.h"

namespace orvanta::testing {
namespace {

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
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1u);
  const CapturedRequest& request = requests[0];
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/track/app_activity");
  std::vector<std::string> names;
  for (const auto& header : request.headers) names.push_back(header.first);
  std::ranges::sort(names);
  EXPECT_EQ(names, (std::vector<std::string>{"Content-Length", "Host", "User-Agent"}));
  EXPECT_EQ(request.values("Host"), std::vector<std::string>{"127.0.0.1:" + std::to_string(server.port())});
  EXPECT_EQ(request.values("User-Agent"), std::vector<std::string>{""});
  EXPECT_EQ(request.values("Content-Length"), std::vector<std::string>{std::to_string(request.body.size())});
  ASSERT_EQ(request.body.rfind("data=", 0), 0u);
  const auto object = parseJson(std::string_view(request.body).substr(5));
  ASSERT_TRUE(object && object->isMap());
  EXPECT_EQ(*object->asMap()->find("eventid"), Value(101));
  EXPECT_EQ(request.body, "data=" + dumpJson(*object));  // compact, in build order
}

TEST_F(TrackingWireTest, MethodNamesArePercentEncodedAndStatusesPassThrough) {
  start();
  server.setResponder([](const CapturedRequest&) { return ScriptedAnswer{404, {}, "", false}; });
  std::promise<int> status;
  runtime->webServiceHandler().postRequestDataToTheServer("odd method", "data={\"\u00e9\":1}",
                                                          [&](int s) { status.set_value(s); });
  EXPECT_EQ(status.get_future().get(), 404);
  const auto request = server.requests().back();
  EXPECT_EQ(request.target, "/track/odd%20method");
  EXPECT_EQ(request.body, "data={\"\u00e9\":1}");
  EXPECT_EQ(request.values("Content-Length"), std::vector<std::string>{"13"});
}

TEST_F(TrackingWireTest, AFailedMessageIsQueuedWithExactlyTheBytesThatWereSent) {
  start();
  server.setResponder([](const CapturedRequest&) { return ScriptedAnswer{500, {}, "", false}; });
  ASSERT_EQ(track(77), 500);
  const auto queued = runtime->databaseSource().getEvent();
  ASSERT_TRUE(queued);
  EXPECT_EQ(queued->strEventName, "app_activity");
  EXPECT_EQ(queued->strEventData, server.requests().front().body);
}

TEST_F(TrackingWireTest, ARefusedConnectionIsStatusZeroAndTheMessageWaitsInTheQueue) {
  start("http://127.0.0.1:1/track/");
  EXPECT_EQ(track(5), 0);
  EXPECT_TRUE(runtime->databaseSource().getEvent());
}

TEST_F(TrackingWireTest, ABurstOfMessagesSharesOneConnection) {
  start();
  constexpr int kBurst = 20;
  std::vector<std::promise<int>> statuses(kBurst);
  for (int i = 0; i < kBurst; ++i)
    runtime->appTracking().sendAppTrackingEvent(200 + i, [&, i](int s) { statuses[static_cast<std::size_t>(i)].set_value(s); });
  for (auto& status : statuses) EXPECT_EQ(status.get_future().get(), 200);
  EXPECT_EQ(server.requests().size(), static_cast<std::size_t>(kBurst));
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(TrackingWireTest, StartUpKeepsTheDeviceIdentifierUntilTheAppIsInstalledAgain) {
  // Whether the server has had launch event eventId from device pushId. A
  // launch that ended before its answer came back replays its message at the
  // next start, so other requests may arrive in between.
  auto arrived = [&](std::int64_t eventId, const std::string& pushId) {
    return std::ranges::any_of(server.requests(), [&](const CapturedRequest& request) {
      const auto object = parseJson(std::string_view(request.body).substr(5));
      const Map* fields = object ? object->asMap() : nullptr;
      return fields && fields->find("eventid") && *fields->find("eventid") == Value(eventId) &&
             fields->find("pushid") && *fields->find("pushid") == Value(pushId);
    });
  };
  // One launch: start up, wait (30 s at most) for its launch event, end.
  auto launch = [&](std::int64_t expectedEvent) {
    start();
    runtime->sharedManager().setUpApplicationId("wire-app");
    const std::string id = runtime->dataModel().strPushId();
    for (int tries = 0; tries < 3000 && !arrived(expectedEvent, id); ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(arrived(expectedEvent, id)) << "launch event " << expectedEvent;
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
