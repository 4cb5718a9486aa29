// A host's own test built against the installed package: the library runs on
// the installed test platform, with no network and no real clock.
#include <orvanta/orvanta.h>
#include <orvanta/testing/test_platform.h>

#include <cstdio>

int main() {
  orvanta::testing::TestPlatform doubles;
  orvanta::Config config;
  config.trackingBaseUrl = "https://track.test/";
  config.bundleIdentifier = "io.orvanta.consumer";
  {
    orvanta::Runtime runtime(doubles.platform(), config);
    runtime.sharedManager().setUpApplicationId("consumer");
    doubles.mainQueue->runUntilIdle();
  }
  // The launch event of a first start went to the scripted client.
  for (const auto& request : doubles.http->requests()) {
    if (request.url == "https://track.test/app_activity" && request.body.find("\"eventid\":20") != std::string::npos) {
      std::printf("launch event recorded\n");
      return 0;
    }
  }
  std::fprintf(stderr, "no launch event among %zu requests\n", doubles.http->requests().size());
  return 1;
}
