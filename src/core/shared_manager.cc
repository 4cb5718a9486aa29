#include "orvanta/shared_manager.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/date_formator.h"
#include "device/keychain_item_wrapper.h"
#include "orvanta/platform/secure_store.h"
#include "orvanta/runtime.h"
#include "orvanta/version.h"
#include "storage/database_source.h"
#include "storage/db_manager.h"

namespace orvanta {
namespace {

constexpr std::int64_t kDefaultSessionTimeoutMinutes = 60;
constexpr const char* kOSType = "IOS";
constexpr const char* kKeychainIdentifierSuffix = "-OrvantaPush";

}  // namespace

OrvantaSharedManager::OrvantaSharedManager(Runtime& runtime) : runtime_(runtime) {}
OrvantaSharedManager::~OrvantaSharedManager() = default;

OrvantaSharedManager& OrvantaSharedManager::sharedInstance() { return Runtime::shared().sharedManager(); }

void OrvantaSharedManager::setUpApplicationId(const std::string& applicationId) {
  const auto& platform = runtime_.platform();
  auto& model = runtime_.dataModel();
  auto& dates = runtime_.dateFormator();

  platform.mainQueue->post([this] { registerForPushNotifications(); });
  model.setIntializationDate(dates.getCurrentDate());
  model.setStrPushId(getPushID());
  model.setStrSessionid(dates.getUserLocalTimeStamp());
  model.setSessionIdTimeoutInMinutes(kDefaultSessionTimeoutMinutes);
  model.setStrAppVersion(runtime_.config().bundleShortVersion);
  model.setStrOSVersion(platform.appHost->systemVersion());
  model.setStrOSType(kOSType);
  model.setStrAppID(applicationId);
  model.setStrSDKVersion(kSDKVersion);
  saveStartUpSettings(applicationId);
  checkQueryParam();
  // Making the queue manager moves what a killed process left in flight into
  // the queue; the replay itself runs on the main queue.
  runtime_.dbManager().syncOfflineData();
  runtime_.commanMethods().launchEvent();
}

void OrvantaSharedManager::saveStartUpSettings(const std::string& applicationId) {
  // Written in this order and made durable together: one fsync at start-up
  // instead of five, with the same content on disk afterwards.
  auto& store = *runtime_.platform().standardSettings;
  const auto& model = runtime_.dataModel();
  store.set(settings_key::kOSVersion, model.strOSVersion());
  store.set(settings_key::kAppVersion, model.strAppVersion());
  store.set(settings_key::kPushId, model.strPushId());
  store.set(settings_key::kAppId, applicationId);
  store.set(settings_key::kSessionId, model.strSessionid());
  store.synchronize();
}

std::string OrvantaSharedManager::getGUID() {
  // Every bit from the system's entropy source: the identifier names one
  // installation among millions, which a generator seeded with 32 bits could
  // not keep apart.
  std::random_device entropy;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t word = entropy();
    for (std::size_t j = 0; j < 4; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // the RFC 4122 variant
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string guid;
  guid.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) guid.push_back('-');
    guid.push_back(kDigits[bytes[i] >> 4]);
    guid.push_back(kDigits[bytes[i] & 0x0F]);
  }
  return guid;
}

std::string OrvantaSharedManager::getPushID() {
  const auto& platform = runtime_.platform();
  auto& store = *platform.standardSettings;
  std::lock_guard lock(keychainMutex_);
  keychainItemWrapperObj_ = std::make_shared<KeychainItemWrapper>(
      *platform.secureStore, runtime_.config().bundleIdentifier + kKeychainIdentifierSuffix, std::nullopt);
  // The secure store outlives a removed app while the settings do not, so the
  // first start of every installation forgets the old identifier.
  const auto firstLaunchDone = store.get(settings_key::kFirstLaunch);
  if (!(firstLaunchDone && firstLaunchDone->truthy())) {
    store.set(settings_key::kFirstLaunch, true);
    keychainItemWrapperObj_->resetKeychainItem();
  }
  store.synchronize();

  if (auto account = keychainItemWrapperObj_->objectForKey(kSecAttrAccount)) {
    if (const auto* bytes = account->asBytes()) return std::string(bytes->begin(), bytes->end());
  }
  std::string guid = getGUID();
  keychainItemWrapperObj_->setObject(Value(Bytes(guid.begin(), guid.end())), kSecAttrAccount);
  return guid;
}

void OrvantaSharedManager::setDeviceToken(const Value& token) {
  runtime_.commanMethods().saveToDefaults(token, settings_key::kToken);
  runtime_.dataModel().setDeviceToken(token);
}

std::optional<Value> OrvantaSharedManager::getDeviceToken() const { return runtime_.dataModel().deviceToken(); }

void OrvantaSharedManager::setUpIdentity(const std::string& identity) {
  runtime_.commanMethods().saveToDefaults(identity, settings_key::kIdentity);
  runtime_.dataModel().setStrIdentity(identity);
}

std::string OrvantaSharedManager::getIdentity() {
  auto& model = runtime_.dataModel();
  if (auto identity = model.strIdentity(); !identity.empty()) return identity;
  // The settings lookup never answers null, so the app-group identity is
  // never consulted: a missing identity reads as "".
  model.setStrIdentity(runtime_.commanMethods().getTextFromDefaults(settings_key::kIdentity));
  return model.strIdentity();
}

Array OrvantaSharedManager::getNotifications() { return runtime_.databaseSource().GetAllReceivedNotifications(); }

void OrvantaSharedManager::registerForPushNotifications() {
  const auto& platform = runtime_.platform();
  auto& app = *platform.appHost;
  constexpr int kBadgeSoundAlert = kNotificationOptionBadge | kNotificationOptionSound | kNotificationOptionAlert;
  // The leading number of the version text, as a float reading takes it.
  const double systemVersion = std::strtod(app.systemVersion().c_str(), nullptr);
  if (systemVersion >= 10.0) {
    auto appHost = platform.appHost;
    platform.notificationCenter->requestAuthorization(kBadgeSoundAlert,
                                                      [appHost](bool) { appHost->registerForRemoteNotifications(); });
    app.registerForRemoteNotifications();
  } else {
    platform.notificationCenter->registerUserNotificationSettings(kBadgeSoundAlert);
    app.registerForRemoteNotifications();
  }
}

void OrvantaSharedManager::handleApplicationLaunchEvent(const std::optional<Map>& /*launchOptions*/,
                                                        const std::string& applicationId) {
  // Launch options matter only to notification intake, which this library
  // does not have yet; they are accepted so hosts can call the final form.
  setUpApplicationId(applicationId);
}

void OrvantaSharedManager::userNotificationCenter(const Map& /*notification*/,
                                                  const std::function<void(int)>& completionHandler) {
  if (completionHandler) completionHandler(kNotificationOptionAlert);
}

std::shared_ptr<KeychainItemWrapper> OrvantaSharedManager::keychainItemWrapperObj() const {
  std::lock_guard lock(keychainMutex_);
  return keychainItemWrapperObj_;
}

}  // namespace orvanta
