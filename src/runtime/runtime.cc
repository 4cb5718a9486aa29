#include "orvanta/runtime.h"

#include <mutex>
#include <optional>
#include <utility>

#include "inapp/popup_event.h"
#include "notifications/open_in_service_impl.h"
#include "orvanta/platform/headless_screen.h"
#include "notifications/push_task_manager_impl.h"
#include "runtime/components.h"
#include "runtime/facade_impls.h"

namespace orvanta {
namespace {

constexpr const char* kKeychainIdentifierSuffix = "-OrvantaPush";
// The position is looked for this long after start-up.

}  // namespace

Runtime::Components::Components(const Platform& platform, const Config& config)
    : logger(config.logPrefix),
      dateFormator(*platform.clock, [this] { return dataModel.intializationDate(); }),
      fileUtilities(*platform.paths),
      commanMethods(*platform.standardSettings, *platform.appGroupSettings, dataModel, logger,
                    [this](std::int64_t eventId) { appTracking.sendAppTrackingEvent(eventId, nullptr); }),
      identity(dataModel, commanMethods, *platform.standardSettings, *platform.secureStore,
               config.bundleIdentifier + kKeychainIdentifierSuffix),
      sessions(dataModel, dateFormator, *platform.clock, *platform.standardSettings,
               [this] { popupManager.getPopupConfigurationData(); }),
      databaseSource(fileUtilities, dateFormator, logger),
      dbManager(databaseSource, *platform.mainQueue, notificationHub, platform.reachability,
                [this](const std::string& method, const std::string& params, StatusBlock answered) {
                  webServiceHandler.postRequestDataToTheServer(method, params, std::move(answered));
                }),
      locationTracker(*platform.location, *platform.clock),
      webServiceHandler(*platform.http, config.trackingBaseUrl, *platform.appHost, locationTracker, dataModel,
                        commanMethods, dateFormator, sessions, identity, dbManager),
      notificationReporter(databaseSource, webServiceHandler, commanMethods, *platform.standardSettings, logger),
      openInService(std::make_unique<OpenInService::Impl>(*platform.appHost)),
      pushTaskManager(std::make_unique<OrvantaPushTaskManager::Impl>(
          *platform.mainQueue, *platform.appHost, *platform.notificationCenter, notificationReporter, sessions,
          openInService, config.urlSchemes, logger)),
      frequencyRecords(*platform.standardSettings, dateFormator, dataModel),
      ruleParser(dateFormator, frequencyRecords),
      popupEvent(kPopupEventNone),
      popupManager(
          dataModel, dateFormator, *platform.appHost, ruleParser, frequencyRecords, *platform.mainQueue,
          *platform.views, openInService, popupEvent, logger, config.rulesBaseUrl,
          [this](const std::string& url, OrvantaWebServiceHandler::GetBlock answered) {
            webServiceHandler.callGetService(url, std::move(answered));
          },
          [this](const std::string& method, const Map& info, StatusBlock block) {
            webServiceHandler.callPostService(method, info, std::move(block));
          },
          [this] { return dbManager.checkNetWorkConnection(); }),
      appTracking(std::make_unique<OrvantaAppTracking::Impl>(OrvantaAppTracking::Impl{webServiceHandler, popupManager})),
      installation(std::make_unique<OrvantaInstallation::Impl>(
          OrvantaInstallation::Impl{*platform.standardSettings, commanMethods, identity, webServiceHandler})),
      sharedManager(std::make_unique<OrvantaSharedManager::Impl>(OrvantaSharedManager::Impl{
          config.bundleShortVersion, *platform.mainQueue, platform.appHost, *platform.notificationCenter,
          *platform.standardSettings, dataModel, dateFormator, commanMethods, identity, sessions, dbManager,
          databaseSource, pushTaskManager, popupManager, locationTracker})) {
  if (config.trackingBaseUrl.empty()) {
    logger.log("no tracking URL is configured: messages are kept in the offline queue and nothing is sent");
  }
  // The user's responses and foreground presentations come back from the
  // platform's centre; ~Runtime takes this delegate back first.
  platform.notificationCenter->setDelegate(NotificationCenterDelegate{
      .didReceiveResponse =
          [this](const NotificationRequest& notification) {
            pushTaskManager.userNotificationdidReceiveNotificationResponse(notification);
          },
      .willPresent =
          [this](const NotificationRequest& notification, std::function<void(int)> completion) {
            pushTaskManager.userNotificationWillPresentNotification(notification);
            sharedManager.userNotificationCenter(notification.userInfo, completion);
          },
  });
}

namespace {

// A host without a screen of its own gets one that shows nothing.
Platform withScreen(Platform platform) {
  if (!platform.views) {
    platform.views = std::make_shared<HeadlessScreen>(HeadlessScreen::kDefaultWidth, HeadlessScreen::kDefaultHeight);
  }
  return platform;
}

}  // namespace

Runtime::Runtime(Platform platform, Config config)
    : platform_(withScreen(std::move(platform))), config_(std::move(config)),
      components_(std::make_unique<Components>(platform_, config_)) {}

Runtime::~Runtime() {
  // No response or presentation reaches the components from here on.
  platform_.notificationCenter->setDelegate({});
  // Requests in flight get a short grace to be answered, so that a message
  // the server takes in now is not queued and sent again at the next start;
  // nothing new goes out meanwhile. What is still unanswered then completes
  // with status 0 and moves to the offline queue while the components are all
  // still here. The main queue runs on meanwhile: what it sends is refused
  // and queued.
  platform_.http->drain(config_.shutdownGraceSeconds);
  platform_.mainQueue->stop();
  platform_.standardSettings->synchronize();
  platform_.appGroupSettings->synchronize();
}

OrvantaSharedManager& Runtime::sharedManager() { return components_->sharedManager; }
OrvantaInstallation& Runtime::installation() { return components_->installation; }
OrvantaAppTracking& Runtime::appTracking() { return components_->appTracking; }
OrvantaPushTaskManager& Runtime::pushTaskManager() { return components_->pushTaskManager; }
OpenInService& Runtime::openInService() { return components_->openInService; }

Runtime::Components& internals(Runtime& runtime) { return *runtime.components_; }

namespace {

struct SharedState {
  std::mutex mutex;
  std::optional<std::pair<Platform, Config>> installed;
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
  if (state.runtime) return false;
  state.installed.emplace(std::move(platform), std::move(config));
  return true;
}

Runtime& Runtime::shared() {
  auto& state = sharedState();
  std::lock_guard lock(state.mutex);
  if (!state.runtime) {
    if (!state.installed) {
      Config config;
      Logger(config.logPrefix).log("used before Runtime::install: running with a default Config");
      state.installed.emplace(makeLinuxPlatform(config), config);
    }
    state.runtime = new Runtime(std::move(state.installed->first), std::move(state.installed->second));
    state.installed.reset();
  }
  return *state.runtime;
}

}  // namespace orvanta
