// What each facade class works through: the components the runtime hands it
// when it builds the facade. Hosts see only the facades' declarations. The
// notification facades (OrvantaPushTaskManager, OpenInService) are
// implemented in src/notifications and keep their Impl there.
#pragma once

#include <memory>
#include <string>

#include "orvanta/app_tracking.h"
#include "orvanta/installation.h"
#include "orvanta/platform/platform.h"
#include "orvanta/shared_manager.h"

namespace orvanta {

class ClientIdentity;
class DatabaseSource;
class DateFormator;
class DBManager;
class OrvantaCommanMethods;
class OrvantaDataModel;
class OrvantaLocationTracker;
class OrvantaPopupManager;
class OrvantaPushTaskManager;
class OrvantaWebServiceHandler;
class Sessions;

struct OrvantaSharedManager::Impl {
  std::string bundleShortVersion;
  MainQueue& mainQueue;
  std::shared_ptr<AppHost> appHost;  // shared: the permission answer may come after the runtime
  NotificationCenter& notificationCenter;
  SettingsStore& standardSettings;
  OrvantaDataModel& model;
  DateFormator& dates;
  OrvantaCommanMethods& settings;
  ClientIdentity& identity;
  Sessions& sessions;
  DBManager& offlineQueue;
  DatabaseSource& database;
  OrvantaPushTaskManager& pushTaskManager;  // takes the launch options
  OrvantaPopupManager& popupManager;        // fetches the rules at start-up
  OrvantaLocationTracker& locationTracker;  // takes one fix per start-up
};

struct OrvantaInstallation::Impl {
  SettingsStore& standardSettings;
  OrvantaCommanMethods& settings;
  ClientIdentity& identity;
  OrvantaWebServiceHandler& handler;
};

struct OrvantaAppTracking::Impl {
  OrvantaWebServiceHandler& handler;
  OrvantaPopupManager& popupManager;  // sees every event once it is posted
};

}  // namespace orvanta
