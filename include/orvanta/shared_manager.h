// The host application's entry point: start-up, device identifier, push
// token, identity, notification permission, sessions and attribution.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "orvanta/value.h"

namespace orvanta {

class Runtime;
class KeychainItemWrapper;

class OrvantaSharedManager {
 public:
  explicit OrvantaSharedManager(Runtime& runtime);
  ~OrvantaSharedManager();
  static OrvantaSharedManager& sharedInstance();

  // The start-up sequence; call once at launch, before anything else.
  void setUpApplicationId(const std::string& applicationId);
  // A new random UUID, canonical upper-case text.
  static std::string getGUID();
  // The device's stable identifier, kept in the secure store and renewed on
  // the first start of each installation.
  std::string getPushID();
  // Keeps the raw token as the platform delivered it.
  void setDeviceToken(const Value& token);
  // The raw token, or null before one was set or loaded.
  std::optional<Value> getDeviceToken() const;
  void setUpIdentity(const std::string& identity);
  // The current identity, never null ("" when none).
  std::string getIdentity();
  // The ten newest stored notifications, newest first.
  Array getNotifications();
  // Asks for notification permission and a remote-notification token.
  void registerForPushNotifications();
  // setUpApplicationId, then the launch options go to notification intake.
  void handleApplicationLaunchEvent(const std::optional<Map>& launchOptions, const std::string& applicationId);

  // Sessions and deep-link attribution.
  void setDeepLinkQueryParameters(Map parameters);
  void checkQueryParam();
  void checkSessionId();
  void addDeepLinkParametersInDict(Map& trackingObject);
  void setSessionTimeOutInMinutes(std::int64_t minutes);
  void resetSession();

  // Foreground presentation of a notification: always the alert option only.
  void userNotificationCenter(const Map& notification, const std::function<void(int options)>& completionHandler);

  // The secure-store item opened by getPushID (null before). Shared, so that
  // it stays valid for its holder when a later start-up opens a new one; not
  // thread-safe itself.
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj() const;

 private:
  void saveStartUpSettings(const std::string& applicationId);

  Runtime& runtime_;
  mutable std::mutex keychainMutex_;
  std::shared_ptr<KeychainItemWrapper> keychainItemWrapperObj_;
};

}  // namespace orvanta
