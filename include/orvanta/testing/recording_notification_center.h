#pragma once

#include <mutex>
#include <vector>

#include "orvanta/platform/notification_center.h"

namespace orvanta::testing {

// Records what the library asks of the notification centre. Authorization
// requests are answered at once, on the caller's thread, with `granted`.
class RecordingNotificationCenter : public NotificationCenter {
 public:
  void requestAuthorization(int options, AuthorizationCompletion completion) override;
  void registerUserNotificationSettings(int types) override;
  void setCategories(std::vector<NotificationCategory> categories) override;
  void scheduleLocalNotification(LocalNotification notification) override;

  void setGranted(bool granted);
  std::vector<int> authorizationRequests() const;
  std::vector<int> settingsRegistrations() const;
  std::vector<NotificationCategory> categories() const;
  std::vector<LocalNotification> localNotifications() const;

 private:
  mutable std::mutex mutex_;
  bool granted_ = true;
  std::vector<int> authorizationRequests_;
  std::vector<int> settingsRegistrations_;
  std::vector<NotificationCategory> categories_;
  std::vector<LocalNotification> localNotifications_;
};

}  // namespace orvanta::testing
