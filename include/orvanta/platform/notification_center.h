#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orvanta/value.h"

namespace orvanta {

// Authorization option and presentation option bits.
inline constexpr int kNotificationOptionBadge = 1;
inline constexpr int kNotificationOptionSound = 2;
inline constexpr int kNotificationOptionAlert = 4;

// Action option bits: the user must unlock the device first; the action
// brings the app to the foreground.
inline constexpr int kNotificationActionOptionAuthenticationRequired = 1;
inline constexpr int kNotificationActionOptionForeground = 4;

struct NotificationAction {
  std::string identifier;
  std::string title;
  int options = 0;  // kNotificationActionOption... bits
};

struct NotificationCategory {
  std::string identifier;
  std::vector<NotificationAction> actions;
};

// A notification the app schedules itself. An empty title shows none.
struct LocalNotification {
  std::string title;
  std::string body;
  Map userInfo;
  std::string categoryIdentifier;
  double fireAfterSeconds = 0;  // from the moment it is scheduled, in the device's time zone
};

// A notification as the platform hands it to the app: its request's
// identifier, its content's user info and category identifier.
struct NotificationRequest {
  std::string identifier;
  Map userInfo;
  std::string categoryIdentifier;
};

// The library's side of the notification centre: what the platform reports
// back about notifications. Either callable may be empty.
struct NotificationCenterDelegate {
  // The user opened a notification (tapped it or one of its actions).
  std::function<void(const NotificationRequest& notification)> didReceiveResponse;
  // A notification arrives while the app is in the foreground; completion
  // gets the presentation option bits to show it with.
  std::function<void(const NotificationRequest& notification, std::function<void(int options)> completion)>
      willPresent;
};

// The platform's user-notification centre.
class NotificationCenter {
 public:
  using AuthorizationCompletion = std::function<void(bool granted)>;
  virtual ~NotificationCenter() = default;
  // Asks for permission to show notifications with the given option bits.
  // The completion runs once, on a thread of the centre's choosing.
  virtual void requestAuthorization(int options, AuthorizationCompletion completion) = 0;
  // The older settings registration (option bits, no categories).
  virtual void registerUserNotificationSettings(int types) = 0;
  // Replaces every category of the app.
  virtual void setCategories(std::vector<NotificationCategory> categories) = 0;
  virtual void scheduleLocalNotification(LocalNotification notification) = 0;
  // A runtime installs its delegate when it is built and an empty one when
  // it is destroyed. The centre (the host's adapter) hands the user's
  // responses and foreground presentations to the delegate installed at the
  // time, on any thread; once this returns, no call to an earlier delegate
  // is still running or starts.
  virtual void setDelegate(NotificationCenterDelegate delegate) = 0;
};

}  // namespace orvanta
