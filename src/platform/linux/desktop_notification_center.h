#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "orvanta/platform/notification_center.h"

namespace orvanta {

// Notifications on a Linux desktop: local notifications are shown with
// notify-send where it is installed; where it is not, a log line says so.
// Showing them is the desktop's decision, so authorization is always granted.
// notify-send cannot schedule, and reports nothing back: a local notification
// shows at once, and no response or foreground presentation ever reaches the
// delegate. A host that learns of them by other means wraps this centre and
// calls the delegate it installs (as the orvanta host simulator does).
class DesktopNotificationCenter : public NotificationCenter {
 public:
  // The completion runs at once, on the caller's thread.
  void requestAuthorization(int options, AuthorizationCompletion completion) override;
  void registerUserNotificationSettings(int types) override;
  void setCategories(std::vector<NotificationCategory> categories) override;
  // notify-send with the title as its summary and the body; a notification
  // without a title has the body as its summary.
  void scheduleLocalNotification(LocalNotification notification) override;
  void setDelegate(NotificationCenterDelegate delegate) override;

 private:
  std::mutex mutex_;
  std::vector<NotificationCategory> categories_;
};

}  // namespace orvanta
