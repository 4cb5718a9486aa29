#include "orvanta/testing/recording_notification_center.h"

namespace orvanta::testing {

void RecordingNotificationCenter::requestAuthorization(int options, AuthorizationCompletion completion) {
  bool granted;
  {
    std::lock_guard lock(mutex_);
    authorizationRequests_.push_back(options);
    granted = granted_;
  }
  if (completion) completion(granted);
}

void RecordingNotificationCenter::registerUserNotificationSettings(int types) {
  std::lock_guard lock(mutex_);
  settingsRegistrations_.push_back(types);
}

void RecordingNotificationCenter::setCategories(std::vector<NotificationCategory> categories) {
  std::lock_guard lock(mutex_);
  categories_ = std::move(categories);
}

void RecordingNotificationCenter::scheduleLocalNotification(LocalNotification notification) {
  std::lock_guard lock(mutex_);
  localNotifications_.push_back(std::move(notification));
}

void RecordingNotificationCenter::setGranted(bool granted) {
  std::lock_guard lock(mutex_);
  granted_ = granted;
}

std::vector<int> RecordingNotificationCenter::authorizationRequests() const {
  std::lock_guard lock(mutex_);
  return authorizationRequests_;
}

std::vector<int> RecordingNotificationCenter::settingsRegistrations() const {
  std::lock_guard lock(mutex_);
  return settingsRegistrations_;
}

std::vector<NotificationCategory> RecordingNotificationCenter::categories() const {
  std::lock_guard lock(mutex_);
  return categories_;
}

std::vector<LocalNotification> RecordingNotificationCenter::localNotifications() const {
  std::lock_guard lock(mutex_);
  return localNotifications_;
}

}  // namespace orvanta::testing
