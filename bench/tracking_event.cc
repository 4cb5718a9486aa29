// What one tracked event costs the host's thread: the envelope built and
// serialized, journaled, and handed to the network thread.
#include <filesystem>

#include "caller_cost.h"
#include "local_server.h"
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

void BM_TrackEventCallerCost(benchmark::State& state) {
  LocalServer server;
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
