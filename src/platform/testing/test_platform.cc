#include "orvanta/testing/test_platform.h"

namespace orvanta::testing {

TestPlatform::TestPlatform(Date start, long utcOffsetSeconds)
    : clock(std::make_shared<VirtualClock>(start, utcOffsetSeconds)),
      mainQueue(std::make_shared<ManualMainQueue>(clock)),
      http(std::make_shared<ScriptedHttpClient>()),
      standardSettings(std::make_shared<InMemorySettingsStore>()),
      appGroupSettings(std::make_shared<InMemorySettingsStore>()),
      secureStore(std::make_shared<InMemorySecureStore>()),
      paths(std::make_shared<TemporaryPaths>()),
      reachability(std::make_shared<FakeReachability>()),
      location(std::make_shared<FakeLocationProvider>()),
      appHost(std::make_shared<RecordingAppHost>()),
      notificationCenter(std::make_shared<RecordingNotificationCenter>()),
      views(std::make_shared<RecordingViews>()) {}

Platform TestPlatform::platform() const {
  return Platform{clock,   mainQueue,    http,     standardSettings, appGroupSettings,   secureStore,
                  paths,   reachability, location, appHost,          notificationCenter, views};
}

}  // namespace orvanta::testing
