// What one tracked event costs the host's thread: the envelope built and
// serialized, journaled, and handed to the network thread.
#include <httplib.h>

#include <filesystem>
#include <thread>

#include "caller_cost.h"
#include "orvanta/app_tracking.h"
#include "orvanta/json.h"
#include "orvanta/log.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta::bench {
namespace {

Array typicalPayload() {
  return Array{Map{{"s^sku", "A-1234"}, {"s^name", "Trail shoe"}, {"i^qty", 2}, {"f^price", 89.95}}};
}

// An envelope of the usual size: the common fields, a payload and the id.
Map typicalEnvelope() {
  return Map{{"identity", "ada@example.com"},
             {"osversion", "16.4"},
             {"sdkversion", "2.2.0"},
             {"appversion", "3.1"},
             {"pushid", "8F14E45F-CEEA-467A-9A36-DEDD4BEA2543"},
             {"appid", "app-42"},
             {"ostype", "IOS"},
             {"cts", 231114221320},
             {"lat", Null{}},
             {"lng", Null{}},
             {"sessionid", "231114221320"},
             {"tx", 231114221320},
             {"make", "apple"},
             {"model", "iphone x"},
             {"payload", typicalPayload()},
             {"eventid", 101},
             {"atcs", "mail"},
             {"adid", "00000000-0000-0000-0000-000000000000"}};
}

void BM_EnvelopeBuildAndSerialize(benchmark::State& state) {
  LatencySamples samples;
  for (auto _ : state) {
    samples.time([] {
      std::string body = "data=" + dumpJson(typicalEnvelope());
      benchmark::DoNotOptimize(body);
    });
  }
  samples.report(state);
}
BENCHMARK(BM_EnvelopeBuildAndSerialize);

// A tracking server on loopback that answers every message 200.
class AcceptingServer {
 public:
  AcceptingServer() {
    server_.Post(R"(/track/.*)", [](const httplib::Request&, httplib::Response& response) { response.status = 200; });
    port_ = server_.bind_to_any_port("127.0.0.1");
    // The socket already listens once bound: connections wait in its backlog.
    thread_ = std::thread([this] { server_.listen_after_bind(); });
  }
  ~AcceptingServer() {
    server_.stop();
    thread_.join();
  }
  std::string trackingUrl() const { return "http://127.0.0.1:" + std::to_string(port_) + "/track/"; }

 private:
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
};

void BM_TrackEventCallerCost(benchmark::State& state) {
  AcceptingServer server;
  testing::TemporaryPaths home;
  Config config;
  config.trackingBaseUrl = server.trackingUrl();
  auto runtime = std::make_unique<Runtime>(makeLinuxPlatform(config, home.root()), config);
  runtime->sharedManager().setUpApplicationId("bench-app");
  auto& tracking = runtime->appTracking();
  const Array payload = typicalPayload();

  LatencySamples samples;
  for (auto _ : state) {
    samples.time([&] { tracking.sendAppTrackingEventWithCustomPayload(101, payload, nullptr); });
  }
  samples.report(state);
  // Ending the runtime fails what is still in flight into the queue; those
  // log lines are not what is measured.
  setLogSink([](std::string_view) {});
  runtime.reset();
  setLogSink(nullptr);
}
BENCHMARK(BM_TrackEventCallerCost)->Iterations(5000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvanta::bench
