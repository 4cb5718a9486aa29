#include "platform/linux/desktop_notification_center.h"

#include "orvanta/log.h"
#include "platform/linux/detached_process.h"

namespace orvanta {

void DesktopNotificationCenter::requestAuthorization(int /*options*/, AuthorizationCompletion completion) {
  // Whether notifications show is the desktop's decision, not the app's.
  if (completion) completion(true);
}

void DesktopNotificationCenter::registerUserNotificationSettings(int /*types*/) {}

void DesktopNotificationCenter::setCategories(std::vector<NotificationCategory> categories) {
  std::lock_guard lock(mutex_);
  categories_ = std::move(categories);
}

void DesktopNotificationCenter::scheduleLocalNotification(LocalNotification notification) {
  // "--": a title or body that begins with "-" is text, not an option.
  std::vector<std::string> arguments{"--", notification.title, notification.body};
  if (notification.title.empty()) arguments = {"--", notification.body};
  std::string error;
  if (!startDetached("notify-send", arguments, &error)) {
    logLine("Orvanta cannot show a desktop notification: " + error);
  }
}

// Nothing on this desktop reports back, so there is nothing to hand over.
void DesktopNotificationCenter::setDelegate(NotificationCenterDelegate /*delegate*/) {}

}  // namespace orvanta
