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

struct NotificationAction {
  std::string identifier;
  std::string title;
  bool foreground = true;
};

struct NotificationCategory {
  std::string identifier;
  std::vector<NotificationAction> actions;
};

struct LocalNotification {
  std::string title;
  std::string body;
  Map userInfo;
  std::string categoryIdentifier;
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
  virtual void setCategories(std::vector<NotificationCategory> categories) = 0;
  virtual void scheduleLocalNotification(LocalNotification notification) = 0;
};

}  // namespace orvanta
