#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "orvanta/platform/notification_center.h"

namespace orvanta {

// Notifications on a Linux desktop: local notifications are shown with
// notify-send where it is installed; where it is not, a log line says so.
// Showing them is the desktop's decision, so authorization is always granted.
class DesktopNotificationCenter : public NotificationCenter {
 public:
  // The completion runs at once, on the caller's thread.
  void requestAuthorization(int options, AuthorizationCompletion completion) override;
  void registerUserNotificationSettings(int types) override;
  void setCategories(std::vector<NotificationCategory> categories) override;
  void scheduleLocalNotification(LocalNotification notification) override;

 private:
  std::mutex mutex_;
  std::vector<NotificationCategory> categories_;
};

}  // namespace orvanta
