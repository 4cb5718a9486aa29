#include "orvanta/runtime.h"

#include <optional>
#include <utility>

#include "core/comman_methods.h"
#include "core/data_model.h"
#include "core/lazy.h"
#include "base/logger.h"
#include "base/notification_hub.h"
#include "device/date_formator.h"
#include "device/file_utilities.h"
#include "net/web_service_handler.h"
#include "orvanta/app_tracking.h"
#include "orvanta/installation.h"
#include "orvanta/shared_manager.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"

namespace orvanta {

// Declared in the order they may need each other: destruction runs the other
// way, so the queue manager (which observes the hub and uses the database)
// goes first.
struct Runtime::Components {
  Lazy<OrvantaDataModel> dataModel;
  Lazy<DateFormator> dateFormator;
  Lazy<FileUtilities> fileUtilities;
  Lazy<OrvantaCommanMethods> commanMethods;
  Lazy<NotificationHub> notificationHub;
  Lazy<Logger> logger;
  Lazy<DatabaseSource> databaseSource;
  Lazy<OrvantaWebServiceHandler> webServiceHandler;
  Lazy<OrvantaInstallation> installation;
  Lazy<OrvantaAppTracking> appTracking;
  Lazy<OrvantaSharedManager> sharedManager;
  Lazy<DBManager> dbManager;
};

Runtime::Runtime(Platform platform, Config config)
    : platform_(std::move(platform)), config_(std::move(config)), components_(std::make_unique<Components>()) {}

Runtime::~Runtime() {
  // Requests still in flight complete now with status 0, so their messages
  // move to the offline queue while the components are all still here.
  platform_.http->stop();
  platform_.mainQueue->stop();
  platform_.standardSettings->synchronize();
  platform_.appGroupSettings->synchronize();
  // The components go with components_, after this body: unlike reset(), the
  // member's destructor keeps the pointer valid while they are destroyed, so
  // a component may still reach the ones declared before it.
}

namespace {

struct SharedState {
  std::mutex mutex;
  std::optional<std::pair<Platform, Config>> installed;
  bool created = false;
  Runtime* runtime = nullptr;
};

SharedState& sharedState() {
  static SharedState* state = new SharedState;  // never destroyed, like the runtime
  return *state;
}

}  // namespace

bool Runtime::install(Platform platform, Config config) {
  auto& state = sharedState();
  std::lock_guard lock(state.mutex);
  if (state.created) return false;
  state.installed.emplace(std::move(platform), std::move(config));
  return true;
}

Runtime& Runtime::shared() {
  auto& state = sharedState();
  std::lock_guard lock(state.mutex);
  if (!state.created) {
    if (!state.installed) {
      Config config;
      state.installed.emplace(makeLinuxPlatform(config), config);
    }
    state.runtime = new Runtime(std::move(state.installed->first), std::move(state.installed->second));
    state.installed.reset();
    state.created = true;
  }
  return *state.runtime;
}

OrvantaDataModel& Runtime::dataModel() {
  return components_->dataModel.get([] { return std::make_unique<OrvantaDataModel>(); });
}

OrvantaCommanMethods& Runtime::commanMethods() {
  return components_->commanMethods.get([this] { return std::make_unique<OrvantaCommanMethods>(*this); });
}

OrvantaSharedManager& Runtime::sharedManager() {
  return components_->sharedManager.get([this] { return std::make_unique<OrvantaSharedManager>(*this); });
}

DateFormator& Runtime::dateFormator() {
  return components_->dateFormator.get([this] {
    return std::make_unique<DateFormator>(*platform_.clock, [this] { return dataModel().intializationDate(); });
  });
}

FileUtilities& Runtime::fileUtilities() {
  return components_->fileUtilities.get([this] { return std::make_unique<FileUtilities>(*platform_.paths); });
}

OrvantaWebServiceHandler& Runtime::webServiceHandler() {
  return components_->webServiceHandler.get([this] { return std::make_unique<OrvantaWebServiceHandler>(*this); });
}

OrvantaInstallation& Runtime::installation() {
  return components_->installation.get([this] { return std::make_unique<OrvantaInstallation>(*this); });
}

OrvantaAppTracking& Runtime::appTracking() {
  return components_->appTracking.get([this] { return std::make_unique<OrvantaAppTracking>(*this); });
}

DatabaseSource& Runtime::databaseSource() {
  return components_->databaseSource.get([this] {
    Logger& logger = components_->logger.get([this] { return std::make_unique<Logger>(config_.logPrefix); });
    return std::make_unique<DatabaseSource>(fileUtilities(), dateFormator(), logger);
  });
}

DBManager& Runtime::dbManager() {
  return components_->dbManager.get([this] {
    ReplaySend send = [this](const std::string& method, const std::string& params, StatusBlock answered) {
      webServiceHandler().postRequestDataToTheServer(method, params, std::move(answered));
    };
    return std::make_unique<DBManager>(databaseSource(), *platform_.mainQueue, notificationHub(),
                                       platform_.reachability, std::move(send));
  });
}

NotificationHub& Runtime::notificationHub() {
  return components_->notificationHub.get([] { return std::make_unique<NotificationHub>(); });
}

}  // namespace orvanta
