// The whole test platform in one object: virtual clock, manual main queue,
// scripted HTTP, in-memory stores, a temporary folder and recording doubles.
#pragma once

#include <memory>

#include "orvanta/platform/platform.h"
#include "orvanta/testing/fake_location_provider.h"
#include "orvanta/testing/fake_reachability.h"
#include "orvanta/testing/in_memory_secure_store.h"
#include "orvanta/testing/in_memory_settings_store.h"
#include "orvanta/testing/manual_main_queue.h"
#include "orvanta/testing/recording_app_host.h"
#include "orvanta/testing/recording_notification_center.h"
#include "orvanta/testing/recording_views.h"
#include "orvanta/testing/scripted_http_client.h"
#include "orvanta/testing/temporary_paths.h"
#include "orvanta/testing/virtual_clock.h"

namespace orvanta::testing {

struct TestPlatform {
  // 2023-11-14 22:13:20 UTC unless told otherwise; the zone is a fixed offset.
  explicit TestPlatform(Date start = Date{1700000000}, long utcOffsetSeconds = 0);

  // The platform to build a Runtime from; shares every double with this object.
  Platform platform() const;

  std::shared_ptr<VirtualClock> clock;
  std::shared_ptr<ManualMainQueue> mainQueue;
  std::shared_ptr<ScriptedHttpClient> http;
  std::shared_ptr<InMemorySettingsStore> standardSettings;
  std::shared_ptr<InMemorySettingsStore> appGroupSettings;
  std::shared_ptr<InMemorySecureStore> secureStore;
  std::shared_ptr<TemporaryPaths> paths;
  std::shared_ptr<FakeReachability> reachability;
  std::shared_ptr<FakeLocationProvider> location;
  std::shared_ptr<RecordingAppHost> appHost;
  std::shared_ptr<RecordingNotificationCenter> notificationCenter;
  std::shared_ptr<RecordingViews> views;
};

}  // namespace orvanta::testing
