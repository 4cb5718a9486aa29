// A host program built against the installed package only: it starts the
// library in a fresh app home and prints the device identifier start-up made.
#include <orvanta/orvanta.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer APP_HOME\n");
    return 2;
  }
  orvanta::Config config;
  config.trackingBaseUrl = "http://127.0.0.1:9/";  // discard port: the launch event waits in the queue
  config.bundleIdentifier = "io.orvanta.consumer";
  orvanta::Runtime runtime(orvanta::makeLinuxPlatform(config, argv[1]), config);
  runtime.sharedManager().setUpApplicationId("consumer");
  std::printf("%s\n", runtime.sharedManager().getPushID().c_str());
  return 0;
}
