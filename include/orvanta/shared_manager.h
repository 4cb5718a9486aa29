// The host application's entry point: start-up, device identifier, push
// token, identity, notification permission, sessions and attribution.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "orvanta/value.h"

namespace orvanta {

// One per Runtime, which builds it; any thread.
class OrvantaSharedManager {
 public:
  // The library's side: the components it works through.
  struct Impl;
  explicit OrvantaSharedManager(std::unique_ptr<Impl> impl);
  ~OrvantaSharedManager();
  OrvantaSharedManager(const OrvantaSharedManager&) = delete;
  OrvantaSharedManager& operator=(const OrvantaSharedManager&) = delete;

  // The shared runtime's instance (see Runtime::shared).
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

 private:
  void saveStartUpSettings(const std::string& applicationId);

  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
