#include "orvanta/shared_manager.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

#include "core/client_identity.h"
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "core/sessions.h"
#include "device/date_formator.h"
#include "device/location_tracker.h"
#include "inapp/popup_manager.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/version.h"
#include "runtime/facade_impls.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"

namespace orvanta {
namespace {

constexpr std::int64_t kDefaultSessionTimeoutMinutes = 60;
constexpr const char* kOSType = "IOS";
// One fix per start-up, asked for a little after it.
constexpr double kLocationDelaySeconds = 3;

}  // namespace

OrvantaSharedManager::OrvantaSharedManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

OrvantaSharedManager::~OrvantaSharedManager() = default;

void OrvantaSharedManager::setUpApplicationId(const std::string& applicationId) {
  auto& model = impl_->model;
  auto& dates = impl_->dates;

  impl_->mainQueue.post([this] { registerForPushNotifications(); });
  model.setIntializationDate(dates.getCurrentDate());
  model.setStrPushId(getPushID());
  model.setStrSessionid(dates.getUserLocalTimeStamp());
  model.setSessionIdTimeoutInMinutes(kDefaultSessionTimeoutMinutes);
  model.setStrAppVersion(impl_->bundleShortVersion);
  model.setStrOSVersion(impl_->appHost->systemVersion());
  model.setStrOSType(kOSType);
  model.setStrAppID(applicationId);
  model.setStrSDKVersion(kSDKVersion);
  saveStartUpSettings(applicationId);
  checkQueryParam();
  // The replay itself runs on the main queue.
  impl_->offlineQueue.syncOfflineData();
  impl_->popupManager.getPopupConfigurationData();
  impl_->mainQueue.postAfter(kLocationDelaySeconds, [&tracker = impl_->locationTracker] { tracker.trackLocation(); });
  impl_->settings.launchEvent();
}

void OrvantaSharedManager::saveStartUpSettings(const std::string& applicationId) {
  // Written in this order and made durable together: one fsync at start-up
  // instead of five, with the same content on disk afterwards.
  auto& store = impl_->standardSettings;
  const auto& model = impl_->model;
  store.set(settings_key::kOSVersion, model.strOSVersion());
  store.set(settings_key::kAppVersion, model.strAppVersion());
  store.set(settings_key::kPushId, model.strPushId());
  store.set(settings_key::kAppId, applicationId);
  store.set(settings_key::kSessionId, model.strSessionid());
  store.synchronize();
}

std::string OrvantaSharedManager::getGUID() { return ClientIdentity::getGUID(); }

std::string OrvantaSharedManager::getPushID() { return impl_->identity.getPushID(); }

void OrvantaSharedManager::setDeviceToken(const Value& token) { impl_->identity.setDeviceToken(token); }

std::optional<Value> OrvantaSharedManager::getDeviceToken() const { return impl_->identity.getDeviceToken(); }

void OrvantaSharedManager::setUpIdentity(const std::string& identity) { impl_->identity.setUpIdentity(identity); }

std::string OrvantaSharedManager::getIdentity() { return impl_->identity.getIdentity(); }

Array OrvantaSharedManager::getNotifications() { return impl_->database.GetAllReceivedNotifications(); }

void OrvantaSharedManager::registerForPushNotifications() {
  auto& app = *impl_->appHost;
  constexpr int kBadgeSoundAlert = kNotificationOptionBadge | kNotificationOptionSound | kNotificationOptionAlert;
  // The leading number of the version text, as a float reading takes it.
  const double systemVersion = std::strtod(app.systemVersion().c_str(), nullptr);
  if (systemVersion >= 10.0) {
    impl_->notificationCenter.requestAuthorization(
        kBadgeSoundAlert, [appHost = impl_->appHost](bool) { appHost->registerForRemoteNotifications(); });
    app.registerForRemoteNotifications();
  } else {
    impl_->notificationCenter.registerUserNotificationSettings(kBadgeSoundAlert);
    app.registerForRemoteNotifications();
  }
}

void OrvantaSharedManager::handleApplicationLaunchEvent(const std::optional<Map>& launchOptions,
                                                        const std::string& applicationId) {
  setUpApplicationId(applicationId);
  impl_->pushTaskManager.handelApplicationLaunchEvent(launchOptions);
}

void OrvantaSharedManager::userNotificationCenter(const Map& /*notification*/,
                                                  const std::function<void(int)>& completionHandler) {
  if (completionHandler) completionHandler(kNotificationOptionAlert);
}

void OrvantaSharedManager::setDeepLinkQueryParameters(Map parameters) {
  impl_->sessions.setDeepLinkQueryParameters(std::move(parameters));
}

void OrvantaSharedManager::checkQueryParam() { impl_->sessions.checkQueryParam(); }

void OrvantaSharedManager::checkSessionId() { impl_->sessions.checkSessionId(); }

void OrvantaSharedManager::addDeepLinkParametersInDict(Map& trackingObject) {
  impl_->sessions.addDeepLinkParametersInDict(trackingObject);
}

void OrvantaSharedManager::setSessionTimeOutInMinutes(std::int64_t minutes) {
  impl_->sessions.setSessionTimeOutInMinutes(minutes);
}

void OrvantaSharedManager::resetSession() { impl_->sessions.resetSession(); }

}  // namespace orvanta
