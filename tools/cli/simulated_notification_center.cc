#include "cli/simulated_notification_center.h"

#include <string>

namespace orvanta::cli {

void SimulatedNotificationCenter::setCategories(std::vector<NotificationCategory> categories) {
  for (const NotificationCategory& category : categories) {
    std::string actions;
    for (const NotificationAction& action : category.actions) {
      actions += (actions.empty() ? "" : ", ") + action.identifier;
    }
    output_->line("categories " + category.identifier + " [" + actions + "]");
  }
}

void SimulatedNotificationCenter::scheduleLocalNotification(LocalNotification notification) {
  output_->line("local-notification " + notification.title + " | " + notification.body);
}

void SimulatedNotificationCenter::setDelegate(NotificationCenterDelegate delegate) {
  std::lock_guard lock(mutex_);
  delegate_ = std::move(delegate);
}

bool SimulatedNotificationCenter::respond(const NotificationRequest& notification) {
  std::lock_guard lock(mutex_);
  if (!delegate_.didReceiveResponse) return false;
  delegate_.didReceiveResponse(notification);
  return true;
}

bool SimulatedNotificationCenter::present(const NotificationRequest& notification) {
  std::lock_guard lock(mutex_);
  if (!delegate_.willPresent) return false;
  delegate_.willPresent(notification, [](int) {});
  return true;
}

}  // namespace orvanta::cli
