// Stored-settings access and small client-wide operations.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "orvanta/platform/settings_store.h"
#include "orvanta/value.h"

namespace orvanta {

class Logger;
class OrvantaDataModel;

// Every key the client keeps in the settings stores.
namespace settings_key {
inline constexpr const char* kToken = "OrvantaToken";
inline constexpr const char* kIdentity = "OrvantaIdentity";
inline constexpr const char* kAppGroupFallback = "key";
inline constexpr const char* kFirstLaunch = "OrvantaDataModelFirstLaunch";
inline constexpr const char* kHasRunAppOnce = "hasRunAppOnceKey";
inline constexpr const char* kOSVersion = "osversion";
inline constexpr const char* kAppVersion = "appversion";
inline constexpr const char* kPushId = "pushid";
inline constexpr const char* kAppId = "appid";
inline constexpr const char* kSessionId = "sessionid";
inline constexpr const char* kUserAgent = "strUserAgent";
inline constexpr const char* kAttribution = "OrvantaAttribution";
inline constexpr const char* kOldToken = "oldtoken";
inline constexpr const char* kPopupRules = "popupRules";
inline constexpr const char* kTRID = "OrvantaTRID";
}  // namespace settings_key

// One per Runtime; no state of its own. Any thread. Every collaborator must
// outlive it.
class OrvantaCommanMethods {
 public:
  // Sends a tracking event with no payload; the launch event goes through it.
  using TrackingEventSend = std::function<void(std::int64_t eventId)>;

  OrvantaCommanMethods(SettingsStore& standardSettings, SettingsStore& appGroupSettings, OrvantaDataModel& model,
                       const Logger& logger, TrackingEventSend sendTrackingEvent);

  // Writes value under key in the standard store and persists it at once.
  void saveToDefaults(Value value, std::string_view key);
  // The standard store's value under key; when there is none, the app-group
  // store's entry under the literal key "key", blank-normalised. So the
  // answer is never null: a missing setting reads as "".
  Value getFromDefaults(std::string_view key) const;
  // getFromDefaults for a setting kept as text: a stored string exactly as it
  // is (blanks included); any other kind as removeBlankSpaceValue renders it.
  std::string getTextFromDefaults(std::string_view key) const;
  // "" for null (nullptr), the null marker, "<null>", "(null)" and blanks;
  // otherwise the text trimmed of blanks and tabs. Numbers read as their text.
  static std::string removeBlankSpaceValue(const Value* value);
  // The device token as lowercase hex without separators, or "".
  std::string getDeviceToken();
  // Sends event 20 on the first start of this installation, 21 afterwards;
  // one 20 also when processes sharing the settings start at once.
  void launchEvent();
  // One line to the log sink: the configured prefix word, a blank, message.
  void log(std::string_view message) const;

 private:
  SettingsStore& standardSettings_;
  SettingsStore& appGroupSettings_;
  OrvantaDataModel& model_;
  const Logger& logger_;
  const TrackingEventSend sendTrackingEvent_;
};

}  // namespace orvanta
