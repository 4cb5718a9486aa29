// The one object through which every effect of the library on the outside
// world passes. A host builds one (or takes the Linux default) and installs it
// with Runtime::install before first use; tests build the test platform.
#pragma once

#include <memory>

#include "orvanta/platform/app_host.h"
#include "orvanta/platform/clock.h"
#include "orvanta/platform/http_client.h"
#include "orvanta/platform/location_provider.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/platform/notification_center.h"
#include "orvanta/platform/paths.h"
#include "orvanta/platform/reachability_source.h"
#include "orvanta/platform/secure_store.h"
#include "orvanta/platform/settings_store.h"
#include "orvanta/platform/views.h"

namespace orvanta {

struct Config;

struct Platform {
  std::shared_ptr<Clock> clock;
  std::shared_ptr<MainQueue> mainQueue;
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<SettingsStore> standardSettings;
  std::shared_ptr<SettingsStore> appGroupSettings;
  std::shared_ptr<SecureStore> secureStore;
  std::shared_ptr<Paths> paths;
  std::shared_ptr<ReachabilitySource> reachability;
  std::shared_ptr<LocationProvider> location;
  std::shared_ptr<AppHost> appHost;
  std::shared_ptr<NotificationCenter> notificationCenter;
  std::shared_ptr<Views> views;  // null: a HeadlessScreen of the default size
};

// The real Linux platform rooted at appHome (created if missing): documents
// and temporary folders, settings and secure store files live under it. An
// empty appHome means $ORVANTA_HOME, else $XDG_DATA_HOME/orvanta/<bundle id>,
// else ~/.local/share/orvanta/<bundle id>; without a bundle identifier the
// program's name stands in for it.
Platform makeLinuxPlatform(const Config& config, const std::string& appHome = {});

}  // namespace orvanta
